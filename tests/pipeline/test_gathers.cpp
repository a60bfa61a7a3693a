// Gathers: element-fastest layout of the plain copy, mid-surface points and
// half differences of the directional gathers, the derived tetrahedron points.
#include <gtest/gtest.h>

#include <vector>

#include "stabletime/pipeline.h"

namespace {

// Node i (one-based) of a test cloud sits at (i, 10 i, 100 i).
std::vector<float> cloud(int nodes) {
  std::vector<float> c;
  for (int i = 1; i <= nodes; ++i) c.insert(c.end(), {1.0f * i, 10.0f * i, 100.0f * i});
  return c;
}

TEST(PlainGather, ElementFastestByComponent) {
  const std::vector<float> coords = cloud(6);
  const int node_list[6] = {3, 1, 6, 2, 5, 4};  // two elements of three nodes, element fastest
  const int value_count = 6, stride = 3, total = 6;
  std::vector<float> out(18, -1.0f);
  for (int ndim : {2, 3}) {
    std::fill(out.begin(), out.end(), -1.0f);
    sti_ope_gengatherr(&value_count, &ndim, &stride, &total, node_list, out.data(), coords.data());
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(out[static_cast<size_t>(i)], 1.0f * node_list[i]);
      EXPECT_EQ(out[static_cast<size_t>(i + 6)], 10.0f * node_list[i]);
      EXPECT_EQ(out[static_cast<size_t>(i + 12)], ndim == 3 ? 100.0f * node_list[i] : -1.0f);
    }
  }
  const int one = 1;  // any other ndim copies the last float of each node
  sti_ope_gengatherr(&value_count, &one, &stride, &total, node_list, out.data(), coords.data());
  EXPECT_EQ(out[0], 300.0f);
}

TEST(DirectionalGather, PlanarPairsNodes1And4And2And3) {
  // One COH2D4: nodes 1, 2 on the bottom, 4, 3 above them.
  const std::vector<float> coords = {0, 0, 0, 2, 0, 0, 2, 1, 0, 0, 1, 0};
  const int conn[4] = {1, 2, 3, 4};
  const int n = 1, ndim = 2, stride = 3, total = 4, direction = 2;
  std::vector<float> g(4, -1.0f), d(4, -1.0f);
  sti_ope_gengatherr2dndir(&n, &ndim, &stride, &total, &direction, conn, g.data(), d.data(),
                           coords.data());
  EXPECT_EQ(g, (std::vector<float>{0.0f, 2.0f, 0.5f, 0.5f}));  // x of points 0, 1; then y
  EXPECT_EQ(d, (std::vector<float>{0.0f, 0.0f, 0.5f, 0.5f}));  // node 4 minus node 1, halved
}

TEST(DirectionalGather, SolidPairsGiveHalfTheShift) {
  // A COH3D8 whose top face is its bottom face shifted by v = (0.2, -0.4, 1.0).
  const float v[3] = {0.2f, -0.4f, 1.0f};
  std::vector<float> coords = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
  for (int k = 0; k < 4; ++k)
    for (int c = 0; c < 3; ++c) coords.push_back(coords[static_cast<size_t>(3 * k + c)] + v[c]);
  const int conn[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  const int n = 1, ndim = 3, stride = 3, total = 8, direction = 3;
  std::vector<float> g(12), d(12);
  sti_ope_gengatherr3dndir(&n, &ndim, &stride, &total, &direction, conn, g.data(), d.data(),
                           coords.data());
  for (int k = 0; k < 4; ++k)
    for (int c = 0; c < 3; ++c) {
      const float a = coords[static_cast<size_t>(3 * k + c)];
      const float b = coords[static_cast<size_t>(3 * (k + 4) + c)];
      EXPECT_EQ(g[static_cast<size_t>(k + 4 * c)], (b + a) * 0.5f);
      EXPECT_EQ(d[static_cast<size_t>(k + 4 * c)], (b + a) * 0.5f - a);
      EXPECT_NEAR(d[static_cast<size_t>(k + 4 * c)], v[c] / 2, 1e-6f);
    }
}

TEST(TetrahedralGather, DerivedPointsOfAStraightSidedTetrahedron) {
  const float corners[4][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const int mid[6][2] = {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}};
  std::vector<float> coords;
  for (auto& c : corners) coords.insert(coords.end(), c, c + 3);
  for (auto& m : mid)
    for (int c = 0; c < 3; ++c) coords.push_back((corners[m[0]][c] + corners[m[1]][c]) * 0.5f);
  // Two elements, the second the first with nodes shifted by ten.
  for (int i = 0; i < 30; ++i) coords.push_back(coords[static_cast<size_t>(i)] + 10.0f);
  std::vector<int> conn(20);
  for (int k = 0; k < 10; ++k) {
    conn[static_cast<size_t>(2 * k)] = k + 1;
    conn[static_cast<size_t>(2 * k + 1)] = k + 11;
  }
  const int n = 2, ndim = 3, stride = 3, total = 20;
  std::vector<float> g(2 * 15 * 3);
  sti_ope_gengatherrc3d10m(&n, &ndim, &stride, &total, conn.data(), g.data(), coords.data());
  auto at = [&](int e, int node, int c) { return g[static_cast<size_t>(e + 2 * (node + 15 * c))]; };
  for (int c = 0; c < 3; ++c) {
    EXPECT_NEAR(at(0, 10, c), 0.25f, 1e-6f) << "centroid";
    EXPECT_NEAR(at(1, 10, c), 10.25f, 1e-5f) << "a rigid shift moves the centroid with it";
    EXPECT_EQ(at(0, 4, c), coords[static_cast<size_t>(12 + c)]) << "node 5 copied";
  }
  const int faces[4][3] = {{0, 1, 2}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}};
  for (int f = 0; f < 4; ++f)
    for (int c = 0; c < 3; ++c) {
      const float mean =
          (corners[faces[f][0]][c] + corners[faces[f][1]][c] + corners[faces[f][2]][c]) / 3.0f;
      EXPECT_NEAR(at(0, 11 + f, c), mean, 1e-6f) << "face point " << f;
    }
}

}  // namespace
