// Measures of membranes and shells called directly: the fully integrated
// membrane point by point, the axisymmetric shell, and the length term of the
// small-strain shells. Values fixed by the formulas are compared by bits, values
// fixed by the physics (sum of squared shape function gradients) by ulp distance.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "shell_batch.hpp"
#include "support/call.hpp"

namespace {

using shell_test::gauss_rule;
using shell_test::P3;
using shell_test::Quad;
using shell_test::Rule;
using sti_test::bits;
using sti_test::ulp_distance;

struct MembraneOut {
  std::vector<int> status;
  std::vector<float> work_a, work_b, mass, lsq;
};

// Frame, rotation and measure of one Gauss point, as the dispatcher runs M3D4.
MembraneOut membrane_point(const std::vector<Quad>& quads, int point, const std::vector<float>& tri,
                           const std::vector<float>& thickness, const std::vector<float>& density,
                           const Rule& rule) {
  const int n = static_cast<int>(quads.size()), points = 4;
  const auto l = shell_test::surface_local(quads, point, points, rule);
  const size_t s = quads.size();
  MembraneOut o{std::vector<int>(s, 0), std::vector<float>(s), std::vector<float>(s),
                std::vector<float>(s), std::vector<float>(s)};
  sti_ope_m3d4geom(&n, o.status.data(), &point, &points, tri.data(), rule.dn1, rule.dn2,
                   l.local_g.data(), o.work_a.data(), o.work_b.data(), o.mass.data(),
                   thickness.data(), density.data(), o.lsq.data());
  return o;
}

const Quad kUnitSquare = {P3{0, 0, 0}, P3{1, 0, 0}, P3{1, 1, 0}, P3{0, 1, 0}};

TEST(FullMembrane, UnitSquareAtEveryGaussPoint) {
  // x = (1 + xi)/2: J = 0.25 everywhere, and at each Gauss point
  // sum |grad N|^2 = 4 * (1 + g^2)/4 * 2 = 8/3, so lsq * mass / (t rho) = 3/8.
  const auto rule = gauss_rule();
  for (int p = 1; p <= 4; ++p) {
    const auto o = membrane_point({kUnitSquare}, p, {0.0f}, {2.0f}, {3.0f}, rule);
    EXPECT_EQ(o.status[0], 0);
    EXPECT_EQ(o.work_a[0], 0.25f) << p;
    EXPECT_EQ(o.work_b[0], 4.0f) << p;
    EXPECT_EQ(o.mass[0], 2.0f * 0.25f * 3.0f) << p;
    EXPECT_LE(ulp_distance(o.lsq[0] * o.mass[0] / 6.0f, 0.375f), 4) << p;
  }
}

TEST(FullMembrane, ReversedNodeOrderKeepsTheMeasure) {
  // The frame turns over with the node order, so J stays positive: no status.
  const auto rule = gauss_rule();
  const Quad q = {P3{0, 0, 0}, P3{2, 0.2f, 0.1f}, P3{1.7f, 1.4f, -0.2f}, P3{0.1f, 0.9f, 0.3f}};
  const Quad reversed = {q[0], q[3], q[2], q[1]};
  // Point p of the reversed element sits where point r(p) of the original does.
  const int same_place[5] = {0, 1, 4, 3, 2};
  for (int p = 1; p <= 4; ++p) {
    const auto a = membrane_point({q}, same_place[p], {0.0f}, {1.0f}, {1.0f}, rule);
    const auto b = membrane_point({reversed}, p, {0.0f}, {1.0f}, {1.0f}, rule);
    EXPECT_EQ(b.status[0], 0) << p;
    EXPECT_GT(b.work_a[0], 0.0f) << p;
    EXPECT_LE(ulp_distance(a.work_a[0], b.work_a[0]), 8) << p;
    EXPECT_LE(ulp_distance(a.lsq[0], b.lsq[0]), 16) << p;
  }
}

TEST(FullMembrane, StoredTriangleMergesNodesOneAndFour) {
  // Nodes (0,0), (1,0), (0,1), (0,0): the collapsed bilinear map gives
  // N2 = x and N3 = y exactly, and N1 + N4 = 1 - x - y, so the merged sum of
  // squared gradients is 1 + 1 + 2 = 4 at every point where J is not zero.
  const Quad tri = {P3{0, 0, 0}, P3{1, 0, 0}, P3{0, 1, 0}, P3{0, 0, 0}};
  const auto rule = gauss_rule();
  for (int p = 1; p <= 4; ++p) {
    const auto o = membrane_point({tri}, p, {1.0f}, {1.0f}, {1.0f}, rule);
    ASSERT_EQ(o.status[0], 0);
    EXPECT_LE(ulp_distance(o.lsq[0] * o.mass[0], 0.25f), 8) << p;
  }
}

TEST(FullMembrane, FailuresAndTheirOrder) {
  const auto rule = gauss_rule();
  const Quad line = {P3{0, 0, 0}, P3{1, 1, 1}, P3{2, 2, 2}, P3{3, 3, 3}};
  const auto o = membrane_point({line, kUnitSquare, line, kUnitSquare}, 2, {0.0f, 0.0f, 0.0f, 0.0f},
                                {1.0f, 0.0f, -1.0f, 1.0f}, {1.0f, 1.0f, 1.0f, 1.0f}, rule);
  // Collinear nodes: J = 0, status 2, padded Jacobian 1 and reciprocal 0.
  EXPECT_EQ(o.status[0], 2);
  EXPECT_EQ(o.work_a[0], 1.0f);
  EXPECT_EQ(o.work_b[0], 0.0f);
  EXPECT_TRUE(std::isfinite(o.lsq[0]));
  // Zero thickness on a good element: status 3, no mass.
  EXPECT_EQ(o.status[1], 3);
  EXPECT_EQ(o.mass[1], 0.0f);
  // A bad thickness overrides the area status.
  EXPECT_EQ(o.status[2], 3);
  // The neighbour is untouched by the failures around it.
  EXPECT_EQ(o.status[3], 0);
  EXPECT_EQ(o.work_a[3], 0.25f);
}

struct AxisymmetricOut {
  std::vector<int> status;
  std::vector<float> local_line, mass, lsq;
};

AxisymmetricOut axisymmetric(const std::vector<std::array<P3, 2>>& lines,
                             const std::vector<float>& thickness,
                             const std::vector<float>& density) {
  const int n = static_cast<int>(lines.size());
  const auto coords = shell_test::layout<2, 3>(lines);
  const size_t s = lines.size();
  AxisymmetricOut o{std::vector<int>(s, 0), std::vector<float>(4 * s), std::vector<float>(s),
                    std::vector<float>(s, -1.0f)};
  sti_ope_maxl2geom(&n, o.status.data(), coords.data(), o.local_line.data(), o.mass.data(),
                    thickness.data(), density.data(), o.lsq.data());
  return o;
}

TEST(AxisymmetricShell, WorkedLines) {
  struct Row {
    const char* what;
    P3 a, b;
    float thickness;
    int status;
    float lsq, mass;  // density 2
  };
  const Row rows[] = {
      // L = 1, r = 1, T = 1, E = 1.25.
      {"axial unit line at radius 1", {1, 0, 0}, {1, 1, 0}, 3.0f, 0, 0.8f, 6.0f},
      {"the same, nodes swapped", {1, 1, 0}, {1, 0, 0}, 3.0f, 0, 0.8f, 6.0f},
      // Radial line from r = 1 to r = 3: L = 2, r = 2, T = 4, E = 5.
      {"radial line", {1, 5, 0}, {3, 5, 0}, 1.0f, 0, 0.8f, 8.0f},
      // On the axis: r = 0, T = 0.
      {"on the axis", {0, 0, 0}, {0, 1, 0}, 1.0f, 1, 0.0f, 0.0f},
      // Coincident at radius 2: L = 0, T = 0, E = 4.
      {"coincident nodes", {2, 3, 0}, {2, 3, 0}, 1.0f, 1, 0.0f, 0.0f},
      // Negative mean radius: T clamps at 0.
      {"negative radius", {-1, 0, 0}, {-2, 1, 0}, 1.0f, 1, 0.0f, 0.0f},
      {"zero thickness", {1, 0, 0}, {1, 1, 0}, 0.0f, 3, 0.8f, 0.0f},
      {"negative thickness on the axis", {0, 0, 0}, {0, 1, 0}, -1.0f, 3, 0.0f, -0.0f},
  };
  std::vector<std::array<P3, 2>> lines;
  std::vector<float> thickness;
  for (const Row& r : rows) {
    lines.push_back({r.a, r.b});
    thickness.push_back(r.thickness);
  }
  const auto o = axisymmetric(lines, thickness, std::vector<float>(lines.size(), 2.0f));
  for (size_t e = 0; e < lines.size(); ++e) {
    EXPECT_EQ(o.status[e], rows[e].status) << rows[e].what;
    EXPECT_EQ(bits(o.lsq[e]), bits(rows[e].lsq)) << rows[e].what;
    EXPECT_EQ(bits(o.mass[e]), bits(rows[e].mass)) << rows[e].what;
  }
  // The line from (1, 0) to (1, 1) turned onto its own direction: c = 0, s = 1.
  const size_t n = lines.size();
  EXPECT_EQ(shell_test::get(o.local_line, n, 2, 0, 0, 0), 0.0f);
  EXPECT_EQ(shell_test::get(o.local_line, n, 2, 0, 1, 0), 1.0f);
  EXPECT_EQ(shell_test::get(o.local_line, n, 2, 0, 0, 1), -1.0f);
  EXPECT_EQ(shell_test::get(o.local_line, n, 2, 0, 1, 1), -1.0f);
}

TEST(AxisymmetricShell, LengthLimits) {
  // lsq * mass / (rho t) tends to L^2 far from the axis and to 4 r^2 when L >> r.
  const auto far = axisymmetric({{P3{1000, 0, 0}, P3{1000, 1, 0}}}, {1.0f}, {1.0f});
  EXPECT_NEAR(far.lsq[0] * far.mass[0], 1.0f, 1e-6f);
  const auto long_line = axisymmetric({{P3{0.01f, 0, 0}, P3{0.01f, 1000, 0}}}, {1.0f}, {1.0f});
  EXPECT_NEAR(long_line.lsq[0] * long_line.mass[0], 4 * 0.01f * 0.01f, 1e-8f);
}

struct SmallStrainOut {
  std::vector<float> freq, lsq;
};

SmallStrainOut small_strain(const std::vector<std::array<std::array<float, 2>, 4>>& quads,
                            const std::vector<float>& work_a, const std::vector<float>& work_b,
                            const std::vector<float>& tri) {
  const int n = static_cast<int>(quads.size());
  const auto coords = shell_test::layout<4, 2>(quads);
  SmallStrainOut o{std::vector<float>(2 * quads.size(), -1.0f),
                   std::vector<float>(quads.size(), 123.0f)};
  sti_ope_s4rsfreqgeom(&n, coords.data(), work_a.data(), work_b.data(), o.lsq.data(), tri.data(),
                       o.freq.data());
  return o;
}

TEST(SmallStrainShell, WorkedShapes) {
  using Q = std::array<std::array<float, 2>, 4>;
  const Q square = {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}};
  const Q triangle = {{{0, 0}, {1, 0}, {0, 1}, {0, 0}}};
  const Q line = {{{0, 0}, {1, 0}, {2, 0}, {3, 0}}};
  const Q point = {{{4, 4}, {4, 4}, {4, 4}, {4, 4}}};
  const auto o = small_strain({square, triangle, line, point}, {1.0f, 0.5f, 1.0f, 1.0f},
                              {1.0f, 2.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f});
  const float k = std::bit_cast<float>(0x3E83F571u);
  // Square: S = 4, P = Q = 0; r = 0.5; Bq = 1 and Lq = 1, the diagonal
  // measure 2 * Bq wins: lsq = 1/2.
  EXPECT_EQ(bits(o.freq[0]), bits(1.0f * k * 4.0f));
  EXPECT_EQ(o.freq[4 + 0], 0.25f);
  EXPECT_EQ(o.lsq[0], 0.5f);
  // Triangle: Bq = 0.5, Lq = max(1, 2, 1, 0 + 1) = 2; the edge measure
  // 0.375 * 2 beats 0.5 * 0.5: lsq = 0.5 / 0.75.
  EXPECT_EQ(bits(o.lsq[1]), bits(0.5f / 0.75f));
  // Collapsed onto a line (work_b 0): w = 0, Bq = 0, lsq = 1 / max edge 9;
  // no frequency term.
  EXPECT_EQ(bits(o.lsq[2]), bits(1.0f / 9.0f));
  EXPECT_EQ(o.freq[2], 0.0f);
  EXPECT_EQ(o.freq[4 + 2], 0.0625f);
  // All nodes on one point: v = 0 gives lsq 0; the unguarded ratio of the
  // second column is infinite, on an element whose area already failed.
  EXPECT_EQ(o.lsq[3], 0.0f);
  EXPECT_TRUE(std::isinf(o.freq[4 + 3]));
}

}  // namespace
