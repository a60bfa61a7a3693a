// Local frames of surface elements: the axes of worked planes, the tie-break
// around global X decided on the exact bit pattern of the limit, collapsed
// surfaces, and the right-handed orthonormal triple on arbitrary elements.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "shell_batch.hpp"
#include "support/call.hpp"

namespace {

using shell_test::axis;
using shell_test::gauss_rule;
using shell_test::P3;
using shell_test::Quad;
using shell_test::surface_local;
using sti_test::ulp_distance;

const float kTieBreak = std::bit_cast<float>(0x3F7FBE77u);  // 0.999

P3 cross(P3 a, P3 b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
float dot(P3 a, P3 b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// The unit-area square spanned by a and b from the origin, nodes 0, a, a + b, b.
Quad square(P3 a, P3 b) {
  return Quad{P3{0, 0, 0}, a, P3{a[0] + b[0], a[1] + b[1], a[2] + b[2]}, b};
}

TEST(SurfaceFrame, AxesOfWorkedPlanes) {
  struct Row {
    const char* what;
    Quad quad;
    P3 s, t, n;
  };
  const Row rows[] = {
      // Normal along Z: t from n x e_x, s the projection of X.
      {"XY plane", square({1, 0, 0}, {0, 1, 0}), {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
      // Normal along X: inside the tie-break cone, t from n x e_z.
      {"YZ plane", square({0, 1, 0}, {0, 0, 1}), {0, 0, 1}, {0, -1, 0}, {1, 0, 0}},
      // Normal along -Y: t = n x e_x is Z, s is X.
      {"ZX plane", square({1, 0, 0}, {0, 0, 1}), {1, 0, 0}, {0, 0, 1}, {0, -1, 0}},
  };
  const auto rule = gauss_rule();
  for (const Row& row : rows) {
    // The one-point tangents and those of every Gauss point agree on a flat element.
    for (int point = 0; point <= 4; ++point) {
      const auto l = surface_local({row.quad}, point == 0 ? 1 : point, point == 0 ? 1 : 4, rule);
      for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(axis(l.frame, 1, 0, 0)[c], row.s[c]) << row.what << " point " << point;
        EXPECT_EQ(axis(l.frame, 1, 0, 1)[c], row.t[c]) << row.what << " point " << point;
        EXPECT_EQ(axis(l.frame, 1, 0, 2)[c], row.n[c]) << row.what << " point " << point;
      }
    }
  }
  // In the XY plane the local coordinates are the global ones, the third the global z.
  const Quad lifted = {P3{0, 0, 3}, P3{1, 0, 3}, P3{1, 1, 3}, P3{0, 1, 3}};
  const auto l = surface_local({lifted}, 1, 1, rule);
  for (int k = 0; k < 4; ++k)
    for (int c = 0; c < 3; ++c) EXPECT_EQ(shell_test::get(l.local_g, 1, 4, 0, k, c), lifted[k][c]);
}

// A square whose normal is exactly (nx, ny, 0): with nx^2 + ny^2 rounding to
// exactly 1 the normalisation leaves nx untouched, so the tie-break sees the
// chosen bit pattern.
Quad square_with_normal_x(float nx) {
  float ny = std::sqrt(1.0f - nx * nx);
  while (nx * nx + ny * ny > 1.0f) ny = std::nextafter(ny, 0.0f);
  while (nx * nx + ny * ny < 1.0f) ny = std::nextafter(ny, 1.0f);
  return square({-ny, nx, 0}, {0, 0, 1});  // a x b = (nx, ny, 0)
}

TEST(SurfaceFrame, TieBreakOnAbsoluteNormalX) {
  struct Row {
    const char* what;
    float nx;
    bool across_x;  // true: t = n x e_x, which has no X component
  };
  const Row rows[] = {
      {"0.998", 0.998f, true},
      {"-0.9995", -0.9995f, false},
      {"just below the limit", std::nextafter(kTieBreak, 0.0f), true},
      {"at the limit", kTieBreak, false},
      {"at minus the limit", -kTieBreak, false},
      {"just above minus the limit", -std::nextafter(kTieBreak, 0.0f), true},
  };
  const auto rule = gauss_rule();
  for (const Row& row : rows) {
    const auto l = surface_local({square_with_normal_x(row.nx)}, 1, 1, rule);
    const P3 n = axis(l.frame, 1, 0, 2), t = axis(l.frame, 1, 0, 1), s = axis(l.frame, 1, 0, 0);
    ASSERT_LE(ulp_distance(n[0], row.nx), 1) << row.what;
    if (row.across_x) {
      // w = (0, n_z, -n_y) with n_z = 0: t = -Z, s along the projection of X.
      EXPECT_EQ(t[0], 0.0f) << row.what;
      EXPECT_EQ(t[2], -1.0f) << row.what;
      EXPECT_EQ(s[2], 0.0f) << row.what;
    } else {
      // w = (n_y, -n_x, 0): t in the XY plane, s = +Z for either sign of n_x.
      EXPECT_EQ(t[2], 0.0f) << row.what;
      EXPECT_NE(t[0], 0.0f) << row.what;
      EXPECT_EQ(s[2], 1.0f) << row.what;
    }
  }
}

TEST(SurfaceFrame, CollapsedSurfacesGiveZeroFrame) {
  const Quad rows[] = {
      {P3{0, 0, 0}, P3{1, 1, 1}, P3{2, 2, 2}, P3{3, 3, 3}},  // four nodes on one line
      {P3{0, 0, 0}, P3{0, 0, 0}, P3{1, 2, 3}, P3{1, 2, 3}},  // edges 1-2 and 3-4 collapsed
      {P3{0, 0, 0}, P3{1, 0, 0}, P3{1, 0, 0}, P3{0, 0, 0}},  // edges 2-3 and 4-1 collapsed
      {P3{5, 5, 5}, P3{5, 5, 5}, P3{5, 5, 5}, P3{5, 5, 5}},  // one point
  };
  const auto rule = gauss_rule();
  for (int r = 0; r < 4; ++r) {
    for (int point = 0; point <= 4; ++point) {
      const auto l = surface_local({rows[r]}, point == 0 ? 1 : point, point == 0 ? 1 : 4, rule);
      for (float v : l.frame) EXPECT_EQ(v, 0.0f) << "row " << r << " point " << point;
      for (float v : l.local_g) EXPECT_EQ(v, 0.0f) << "row " << r << " point " << point;
    }
  }
}

TEST(SurfaceFrame, StoredTriangleGetsItsPlaneNormal) {
  // Triangle in the plane z = x, nodes 1, 2, 3, 1: normal (-1, 0, 1)/sqrt(2) by the node order.
  const Quad tri = {P3{0, 0, 0}, P3{1, 0, 1}, P3{0, 1, 0}, P3{0, 0, 0}};
  const auto l = surface_local({tri}, 1, 1, gauss_rule());
  const P3 n = axis(l.frame, 1, 0, 2);
  const float h = 1.0f / std::sqrt(2.0f);
  EXPECT_LE(ulp_distance(n[0], -h), 1);
  EXPECT_EQ(n[1], 0.0f);
  EXPECT_LE(ulp_distance(n[2], h), 1);
}

TEST(SurfaceFrame, WarpedElementHasFramePerPoint) {
  const Quad warped = {P3{0, 0, 0}, P3{1, 0, 0.3f}, P3{1, 1, 0}, P3{0, 1, 0.3f}};
  const auto rule = gauss_rule();
  std::vector<P3> normals;
  for (int p = 1; p <= 4; ++p)
    normals.push_back(axis(surface_local({warped}, p, 4, rule).frame, 1, 0, 2));
  for (int i = 0; i < 4; ++i)
    for (int j = i + 1; j < 4; ++j) EXPECT_NE(normals[i], normals[j]) << i << " " << j;
  // The centre normal of the one-point form is the Z axis by symmetry.
  const P3 centre = axis(surface_local({warped}, 1, 1, rule).frame, 1, 0, 2);
  EXPECT_EQ(centre[0], 0.0f);
  EXPECT_EQ(centre[1], 0.0f);
  EXPECT_EQ(centre[2], 1.0f);
}

TEST(SurfaceFrame, RightHandedOrthonormalOnArbitraryElements) {
  // s x t = n and unit lengths, to rounding, on a batch of random warped
  // quadrilaterals, for the one-point form and at every Gauss point; the
  // normal follows the node order by the right-hand rule.
  std::mt19937 gen(42);
  std::uniform_real_distribution<float> u(-1.0f, 1.0f);
  std::vector<Quad> quads;
  for (int e = 0; e < 100; ++e) {
    Quad q = {P3{0, 0, 0}, P3{1, 0, 0}, P3{1, 1, 0}, P3{0, 1, 0}};
    for (auto& p : q)
      for (auto& c : p) c += 0.3f * u(gen);
    quads.push_back(q);
  }
  const auto rule = gauss_rule();
  const size_t n = quads.size();
  for (int point = 0; point <= 4; ++point) {
    const auto l = surface_local(quads, point == 0 ? 1 : point, point == 0 ? 1 : 4, rule);
    for (size_t e = 0; e < n; ++e) {
      const P3 s = axis(l.frame, n, e, 0), t = axis(l.frame, n, e, 1), nn = axis(l.frame, n, e, 2);
      const P3 st = cross(s, t);
      for (int c = 0; c < 3; ++c) EXPECT_NEAR(st[c], nn[c], 1e-6f) << e;
      EXPECT_NEAR(dot(s, s), 1.0f, 1e-6f);
      EXPECT_NEAR(dot(t, t), 1.0f, 1e-6f);
      EXPECT_NEAR(dot(nn, nn), 1.0f, 1e-6f);
      EXPECT_NEAR(dot(s, t), 0.0f, 1e-6f);
      EXPECT_NEAR(dot(s, nn), 0.0f, 1e-6f);
      const Quad& q = quads[e];
      const P3 d13 = {q[2][0] - q[0][0], q[2][1] - q[0][1], q[2][2] - q[0][2]};
      const P3 d24 = {q[3][0] - q[1][0], q[3][1] - q[1][1], q[3][2] - q[1][2]};
      EXPECT_GT(dot(cross(d13, d24), nn), 0.0f) << e;
    }
  }
}

TEST(SurfaceFrame, EmptyBatchWritesNothing) {
  const auto rule = gauss_rule();
  std::vector<float> coords(12, 1.0f), frame(9, -7.0f);
  const int zero = 0, point = 1, points = 4;
  sti_ope_m3dq4normal(&zero, &point, &points, rule.dn1, rule.dn2, coords.data(), frame.data());
  for (float v : frame) EXPECT_EQ(v, -7.0f);
}

}  // namespace
