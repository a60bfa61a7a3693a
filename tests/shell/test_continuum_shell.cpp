// Continuum shell geometry called through the chain the dispatcher runs:
// directional gather of the stack, mid-surface frame, both rotations, then
// the measure and the shape tests of the stack.
#include <gtest/gtest.h>

#include <random>

#include "shell_batch.hpp"
#include "support/call.hpp"

namespace {

using shell_test::P3;
using shell_test::Quad;
using sti_test::bits;

using Stack = std::array<P3, 8>;  // nodes 1-4 the lower face, 5-8 the upper

// A stack from its mid-surface and the half-thickness vector of each corner.
Stack stack(const Quad& mid, const std::array<P3, 4>& d) {
  Stack s{};
  for (int k = 0; k < 4; ++k)
    for (int c = 0; c < 3; ++c) {
      s[k][c] = mid[k][c] - d[k][c];
      s[k + 4][c] = mid[k][c] + d[k][c];
    }
  return s;
}

std::array<P3, 4> uniform(P3 d) { return {d, d, d, d}; }

struct Out {
  std::vector<int> status;
  std::vector<float> mass, lsq, local_g;
};

Out continuum_shell(const std::vector<Stack>& stacks, const std::vector<float>& tri,
                    const std::vector<float>& thickness, const std::vector<float>& density) {
  const int n = static_cast<int>(stacks.size());
  const size_t s = stacks.size();
  std::vector<float> nodes;
  std::vector<int> connectivity(8 * s);
  for (size_t e = 0; e < s; ++e)
    for (int k = 0; k < 8; ++k) {
      nodes.insert(nodes.end(), stacks[e][k].begin(), stacks[e][k].end());
      connectivity[e + s * k] = static_cast<int>(8 * e) + k + 1;  // one-based, element-fastest
    }
  const int ndim = 3, stride = 3, total = static_cast<int>(8 * s), direction = 3, one = 1;
  std::vector<float> coords_g(12 * s), coords_d(12 * s), frame(9 * s), local_d(12 * s);
  Out o{std::vector<int>(s, 0), std::vector<float>(s), std::vector<float>(s),
        std::vector<float>(12 * s)};
  const auto rule = shell_test::gauss_rule();
  sti_ope_gengatherr3dndir(&n, &ndim, &stride, &total, &direction, connectivity.data(),
                           coords_g.data(), coords_d.data(), nodes.data());
  sti_ope_m3dq4normal(&n, &one, &one, rule.dn1, rule.dn2, coords_g.data(), frame.data());
  sti_ope_m3dq4rot(&n, coords_g.data(), o.local_g.data(), frame.data());
  sti_ope_m3dq4rot(&n, coords_d.data(), local_d.data(), frame.data());
  sti_ope_sc3dgeom(&n, o.status.data(), tri.data(), o.local_g.data(), coords_d.data(),
                   local_d.data(), o.mass.data(), thickness.data(), density.data(), o.lsq.data());
  return o;
}

const Quad kUnitSquare = {P3{0, 0, 0}, P3{1, 0, 0}, P3{1, 1, 0}, P3{0, 1, 0}};

TEST(ContinuumShell, StacksAndTheirStatuses) {
  struct Row {
    const char* what;
    Stack stack;
    float thickness;
    int status;
  };
  const Row rows[] = {
      // A = 1, W = 1, lsq = 0.5, h = 0.5: far above the limit.
      {"unit stack", stack(kUnitSquare, uniform({0, 0, 0.5f})), 1.0f, 0},
      // h^2 = 1e-8 below lsq * 1e-6 * A = 5e-7.
      {"thin stack", stack(kUnitSquare, uniform({0, 0, 1e-4f})), 1.0f, 2},
      // The limit is h^2 against lsq * 1e-6 * A = 5e-7: h = 1e-3 passes, 7e-4 fails.
      {"half-thickness 1e-3", stack(kUnitSquare, uniform({0, 0, 1e-3f})), 1.0f, 0},
      {"half-thickness 7e-4", stack(kUnitSquare, uniform({0, 0, 7e-4f})), 1.0f, 2},
      // One corner of zero height: h = 0 however thick the others are.
      {"pinched corner",
       stack(kUnitSquare, {P3{0, 0, 0.5f}, P3{0, 0, 0}, P3{0, 0, 0.5f}, P3{0, 0, 0.5f}}), 1.0f, 2},
      // Thinness is measured on the whole vector in three dimensions, not on its
      // normal part: a strongly leaning stack of small height passes.
      {"leaning stack", stack(kUnitSquare, uniform({0.5f, 0, 1e-4f})), 1.0f, 0},
      // Pure shear: all d equal, both faces are the mid-surface moved.
      {"sheared stack", stack(kUnitSquare, uniform({0.7f, -0.4f, 0.5f})), 1.0f, 0},
      // Corner 3 of the upper face crosses corner 1: the upper face folds.
      {"upper face folded",
       stack(kUnitSquare, {P3{0, 0, 0.5f}, P3{0, 0, 0.5f}, P3{-1.5f, -1.5f, 0.5f}, P3{0, 0, 0.5f}}),
       1.0f, 2},
      {"lower face folded",
       stack(kUnitSquare, {P3{0, 0, 0.5f}, P3{0, 0, 0.5f}, P3{1.5f, 1.5f, 0.5f}, P3{0, 0, 0.5f}}),
       1.0f, 2},
      // Upper corners (0,0), (1,0), (3,0), (3,0): the upper face is seen edge-on.
      {"upper face edge-on",
       stack(kUnitSquare, {P3{0, 0, 0.5f}, P3{0, 0, 0.5f}, P3{2, -1, 0.5f}, P3{3, -1, 0.5f}}), 1.0f,
       2},
      {"negative thickness, good stack", stack(kUnitSquare, uniform({0, 0, 0.5f})), -1.0f, 3},
      {"negative thickness, thin stack", stack(kUnitSquare, uniform({0, 0, 1e-4f})), -1.0f, 2},
      {"zero thickness, folded stack",
       stack(kUnitSquare, {P3{0, 0, 0.5f}, P3{0, 0, 0.5f}, P3{-1.5f, -1.5f, 0.5f}, P3{0, 0, 0.5f}}),
       0.0f, 2},
      // Collapsed mid-surface: zero frame, zero area, and both face sums zero.
      {"collapsed mid-surface",
       stack({P3{0, 0, 0}, P3{1, 1, 1}, P3{2, 2, 2}, P3{3, 3, 3}}, uniform({0, 0, 0.5f})), 1.0f, 2},
      {"collapsed mid-surface, negative thickness",
       stack({P3{0, 0, 0}, P3{1, 1, 1}, P3{2, 2, 2}, P3{3, 3, 3}}, uniform({0, 0, 0.5f})), -1.0f,
       2},
  };
  std::vector<Stack> stacks;
  std::vector<float> thickness;
  for (const Row& r : rows) {
    stacks.push_back(r.stack);
    thickness.push_back(r.thickness);
  }
  const size_t n = stacks.size();
  const auto o =
      continuum_shell(stacks, std::vector<float>(n, 0.0f), thickness, std::vector<float>(n, 1.0f));
  for (size_t e = 0; e < n; ++e) EXPECT_EQ(o.status[e], rows[e].status) << rows[e].what;
  EXPECT_EQ(o.lsq[0], 0.5f);
  EXPECT_EQ(o.mass[0], 1.0f);
  // Neither the height of the stack nor its shear enters the measure.
  for (size_t e : {1, 2, 6}) {
    EXPECT_EQ(bits(o.lsq[e]), bits(o.lsq[0])) << rows[e].what;
    EXPECT_EQ(bits(o.mass[e]), bits(o.mass[0])) << rows[e].what;
  }
}

TEST(ContinuumShell, UpsideDownStackJudgedTheSame) {
  // Swapping the faces flips every half-thickness vector: the thinness test
  // reads lengths and the two folding tests trade places.
  const std::vector<Stack> stacks = {
      stack(kUnitSquare, uniform({0, 0, 0.5f})),
      stack(kUnitSquare, uniform({0, 0, 1e-4f})),
      stack(kUnitSquare, {P3{0, 0, 0.5f}, P3{0, 0, 0.5f}, P3{-1.5f, -1.5f, 0.5f}, P3{0, 0, 0.5f}}),
  };
  std::vector<Stack> flipped;
  for (const Stack& s : stacks) {
    Stack f{};
    for (int k = 0; k < 4; ++k) {
      f[k] = s[k + 4];
      f[k + 4] = s[k];
    }
    flipped.push_back(f);
  }
  const std::vector<float> ones(3, 1.0f), zeros(3, 0.0f);
  const auto a = continuum_shell(stacks, zeros, ones, ones);
  const auto b = continuum_shell(flipped, zeros, ones, ones);
  EXPECT_EQ(a.status, (std::vector<int>{0, 2, 2}));
  EXPECT_EQ(b.status, a.status);
  for (size_t e = 0; e < 3; ++e) EXPECT_EQ(bits(b.lsq[e]), bits(a.lsq[e]));
}

TEST(ContinuumShell, MidSurfaceMeasuredAsOnePointQuadrilateral) {
  // On random convex mid-surfaces, tilted in space, the length term and the
  // area status are those of the plane quadrilateral on the same local
  // coordinates, bit for bit; for the triangle too (nodes 1, 2, 3, 1).
  std::mt19937 gen(7);
  std::uniform_real_distribution<float> u(-0.2f, 0.2f);
  std::vector<Stack> stacks;
  std::vector<float> tri;
  for (int e = 0; e < 60; ++e) {
    Quad q = {P3{0, 0, 0}, P3{1, 0, 0.3f}, P3{1, 1, 0.6f}, P3{0, 1, 0.3f}};
    for (auto& p : q)
      for (auto& c : p) c += u(gen);
    if (e % 3 == 0) q[3] = q[0];
    if (e == 59) q = {P3{0, 0, 0}, P3{1, 0, 0}, P3{2, 0, 0}, P3{3, 0, 0}};
    stacks.push_back(stack(q, uniform({0, 0, 0.25f})));
    tri.push_back(e % 3 == 0 ? 1.0f : 0.0f);
  }
  const int n = static_cast<int>(stacks.size());
  const std::vector<float> ones(stacks.size(), 1.0f);
  const auto o = continuum_shell(stacks, tri, ones, ones);
  std::vector<int> status(stacks.size(), 0);
  std::vector<float> wa(stacks.size()), wb(stacks.size()), mass(stacks.size()), lsq(stacks.size());
  sti_ope_c2dq4geom(&n, status.data(), tri.data(), o.local_g.data(), wa.data(), wb.data(),
                    mass.data(), ones.data(), ones.data(), lsq.data());
  for (int e = 0; e < n; ++e) {
    EXPECT_EQ(o.status[e], status[e]) << e;
    EXPECT_EQ(bits(o.lsq[e]), bits(lsq[e])) << e;
    EXPECT_EQ(bits(o.mass[e]), bits(mass[e])) << e;
  }
  EXPECT_EQ(o.status[n - 1], 2);
}

TEST(ContinuumShell, TriangleFactorIsTwoThirds) {
  // Right triangle of legs 1 as nodes 1, 2, 3, 1: A = 0.5 and W = 0.5 (the
  // cross term vanishes here), so the factor alone moves lsq from 1/2 to 2/3.
  const Quad tri = {P3{0, 0, 0}, P3{1, 0, 0}, P3{0, 1, 0}, P3{0, 0, 0}};
  const auto o =
      continuum_shell({stack(tri, uniform({0, 0, 0.5f})), stack(tri, uniform({0, 0, 0.5f}))},
                      {1.0f, 0.0f}, {1.0f, 1.0f}, {1.0f, 1.0f});
  EXPECT_EQ(o.status, (std::vector<int>{0, 0}));
  EXPECT_EQ(o.mass[0], 0.5f);
  EXPECT_EQ(bits(o.lsq[0]), bits(std::bit_cast<float>(0x3F2AAAABu)));  // 2/3
  EXPECT_EQ(o.lsq[1], 0.5f);
}

TEST(ContinuumShell, EmptyBatchWritesNothing) {
  const int zero = 0;
  std::vector<int> status(1, -3);
  std::vector<float> v(12, 1.0f), mass(1, -5.0f), lsq(1, -5.0f);
  sti_ope_sc3dgeom(&zero, status.data(), v.data(), v.data(), v.data(), v.data(), mass.data(),
                   v.data(), v.data(), lsq.data());
  EXPECT_EQ(status[0], -3);
  EXPECT_EQ(mass[0], -5.0f);
  EXPECT_EQ(lsq[0], -5.0f);
}

}  // namespace
