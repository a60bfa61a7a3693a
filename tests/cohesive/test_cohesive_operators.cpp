// Cohesive operators on one element, fed the corner rule tables and the
// mid-surface and half-thickness vectors directly: worked values of the frame,
// the solid stacks and the planar elements, bit for bit where exact.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <initializer_list>
#include <vector>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;
using V3 = std::array<float, 3>;

constexpr float kTwoThirds = std::bit_cast<float>(0x3F2AAAABu);
constexpr float kOneThird = std::bit_cast<float>(0x3EAAAAABu);
constexpr float kOneSixth = std::bit_cast<float>(0x3E2AAAABu);

struct Rules {
  float n[88] = {}, dn1[88] = {}, dn2[88] = {}, w[8] = {};
};

Rules corner_rules(int rule_nodes, int point_count) {
  Rules r;
  const int kind = 0, family = 2;
  sti_ope_fullintegrule(&kind, &family, &rule_nodes, &point_count, r.n, r.dn1, r.dn2, r.w);
  return r;
}

struct Frame {
  float frame[9] = {}, work_a = -1.0f, work_b[6] = {};
  V3 axis(int a) const { return {frame[3 * a], frame[3 * a + 1], frame[3 * a + 2]}; }
};

// Frame of one element: coords_g holds point k component c at k + 4 c.
Frame frame_of(const std::array<V3, 4>& mid, int point, int point_count = 4) {
  const Rules r = corner_rules(4, point_count);
  std::vector<float> g(12);
  for (int k = 0; k < 4; ++k)
    for (int c = 0; c < 3; ++c) g[static_cast<size_t>(k + 4 * c)] = mid[static_cast<size_t>(k)][static_cast<size_t>(c)];
  Frame f;
  const int n = 1;
  sti_ope_coh3d8normal(&n, &point, &point_count, r.dn1, r.dn2, g.data(), f.frame, &f.work_a,
                       f.work_b);
  return f;
}

// Exact comparison by value: a zero may come out with either sign.
void expect_vec(V3 got, V3 want, const char* what) {
  for (int c = 0; c < 3; ++c)
    EXPECT_EQ(got[static_cast<size_t>(c)], want[static_cast<size_t>(c)])
        << what << " component " << c;
}

const std::array<V3, 4> kUnitSquare = {V3{0, 0, 0}, V3{1, 0, 0}, V3{1, 1, 0}, V3{0, 1, 0}};

TEST(CohesiveFrame, UnitSquareAtEveryCorner) {
  for (int p = 1; p <= 4; ++p) {
    const Frame f = frame_of(kUnitSquare, p);
    EXPECT_EQ(bits(f.work_a), bits(4.0f)) << p;
    expect_vec({f.work_b[0], f.work_b[1], f.work_b[2]}, {0.5f, 0, 0}, "a");
    expect_vec({f.work_b[3], f.work_b[4], f.work_b[5]}, {0, 0.5f, 0}, "b");
    expect_vec(f.axis(0), {1, 0, 0}, "s");
    expect_vec(f.axis(1), {0, 1, 0}, "t");
    expect_vec(f.axis(2), {0, 0, 1}, "n");
  }
}

TEST(CohesiveFrame, NormalAlongGlobalXTakesTheZBranch) {
  // The square in the YZ plane: n = (1, 0, 0), w = (n_y, -n_x, 0) = (0, -1, 0).
  const std::array<V3, 4> yz = {V3{0, 0, 0}, V3{0, 1, 0}, V3{0, 1, 1}, V3{0, 0, 1}};
  const Frame f = frame_of(yz, 2);
  expect_vec(f.axis(2), {1, 0, 0}, "n");
  expect_vec(f.axis(1), {0, -1, 0}, "t");
  expect_vec(f.axis(0), {0, 0, 1}, "s");
}

TEST(CohesiveFrame, WarpedSurfaceReadsAllFourTableEntries) {
  // Node 3 lifted: a corner frame reading only two entries per table would
  // miss it at the corner opposite to node 3.
  const std::array<V3, 4> warped = {V3{0, 0, 0}, V3{1, 0, 0}, V3{1, 1, 0.5f}, V3{0, 1, 0}};
  const Frame f1 = frame_of(warped, 1), f3 = frame_of(warped, 3);
  expect_vec(f1.axis(2), {0, 0, 1}, "n at corner 1");
  EXPECT_LT(f3.axis(2)[2], 0.95f);
  EXPECT_GT(f3.axis(2)[2], 0.5f);
}

TEST(CohesiveFrame, WedgeAndDegenerateSurfaces) {
  // A triangle stored as 1, 2, 3, 1 has the plane's normal at its three corners.
  const std::array<V3, 4> tri = {V3{0, 0, 2}, V3{2, 0, 2}, V3{0, 2, 2}, V3{0, 0, 2}};
  for (int p = 1; p <= 3; ++p) expect_vec(frame_of(tri, p, 3).axis(2), {0, 0, 1}, "wedge n");
  // All points equal: no tangents, a zero reciprocal and a zero frame.
  const std::array<V3, 4> point = {V3{1, 2, 3}, V3{1, 2, 3}, V3{1, 2, 3}, V3{1, 2, 3}};
  const Frame f = frame_of(point, 1);
  EXPECT_EQ(bits(f.work_a), bits(0.0f));
  for (float v : f.frame) EXPECT_EQ(v, 0.0f);
}

// Solid cohesive operator on one element from its mid-surface and half-thickness vectors.
struct Solid {
  float mass = -1.0f, lsq = -1.0f;
  int status = 0;
};

Solid solid(bool wedge, const std::array<V3, 4>& mid, const std::array<V3, 4>& half, int point,
            int coh_flag = 0, float thickness = 1.0f, float density = 1.0f) {
  const int point_count = wedge ? 3 : 4;
  const Rules r = corner_rules(4, point_count);
  std::vector<float> g(12), d(12), local(12);
  for (int k = 0; k < 4; ++k)
    for (int c = 0; c < 3; ++c) {
      g[static_cast<size_t>(k + 4 * c)] = mid[static_cast<size_t>(k)][static_cast<size_t>(c)];
      d[static_cast<size_t>(k + 4 * c)] = half[static_cast<size_t>(k)][static_cast<size_t>(c)];
    }
  const int n = 1;
  Frame f;
  sti_ope_coh3d8normal(&n, &point, &point_count, r.dn1, r.dn2, g.data(), f.frame, &f.work_a,
                       f.work_b);
  sti_ope_m3dq4rot(&n, g.data(), local.data(), f.frame);
  Solid s;
  if (wedge)
    sti_ope_coh3d6geom(&coh_flag, &n, &point, &point_count, &s.status, r.n, r.dn1, r.dn2, r.w,
                       f.frame, &f.work_a, f.work_b, g.data(), local.data(), d.data(), &s.mass,
                       &thickness, &density, &s.lsq);
  else
    sti_ope_coh3d8geom(&coh_flag, &n, &point, &point_count, &s.status, r.n, r.dn1, r.dn2,
                       f.frame, &f.work_a, f.work_b, g.data(), local.data(), d.data(), &s.mass,
                       &thickness, &density, &s.lsq);
  return s;
}

std::array<V3, 4> all(V3 v) { return {v, v, v, v}; }

TEST(SolidCohesive, FlatStackWorkedValues) {
  // Unit-square mid-surface, flat stacks: h_g = 2 D_z, J = 0.25, S_n = 2 and
  // S_s = 2 (1 + (2 D_z)^2) at every corner, S = 4 + 8 D_z^2.
  struct Row {
    const char* what;
    std::array<V3, 4> half;
    int coh_flag;
    float thickness, mass, lsq;
    int status;
  };
  const Row rows[] = {
      // S = 6, f = 2: mass 0.25, lsq 1 * 2 / (0.25 * 6) = 4/3.
      {"unit stack", all({0, 0, 0.5f}), 0, 1.0f, 0.25f, 2.0f / (0.25f * 6.0f), 0},
      // S = 4.5 inside the ramp: f = 3.5.
      {"ramp 4.5", all({0, 0, 0.25f}), 0, 1.0f, 0.125f, 0.5f * 3.5f / (0.25f * 4.5f), 0},
      // S = 8.5 above the ramp: f = 1.
      {"ramp 8.5", all({0, 0, 0.75f}), 0, 1.0f, 0.375f, 1.5f / (0.25f * 8.5f), 0},
      // The caller's thickness replaces h_g; S is still built on h_g.
      {"given thickness", all({0, 0, 0.5f}), 1, 0.25f, 0.0625f,
       0.25f * 0.25f * 2.0f / (0.25f * 6.0f), 0},
      // Faces swapped: h_g = -1, the same magnitudes, status 3.
      {"swapped faces", all({0, 0, -0.5f}), 0, 1.0f, 0.25f, 2.0f / (0.25f * 6.0f), 3},
      // Zero opening: h_g = 0, nothing to measure, status 3.
      {"zero opening", all({0, 0, 0}), 0, 1.0f, 0.0f, 0.0f, 3},
      // Zero opening with a given thickness: S = 4 exactly, f = 4, the measure is h.
      {"zero opening, given", all({0, 0, 0}), 1, 0.5f, 0.125f, 0.25f * 4.0f / (0.25f * 4.0f), 0},
      // A given thickness not above zero is status 3.
      {"given zero", all({0, 0, 0.5f}), 1, 0.0f, 0.0f, 0.0f, 3},
  };
  for (const Row& r : rows)
    for (int p = 1; p <= 4; ++p) {
      const Solid s = solid(false, kUnitSquare, r.half, p, r.coh_flag, r.thickness);
      EXPECT_EQ(bits(s.mass), bits(r.mass)) << r.what << " point " << p;
      EXPECT_EQ(bits(s.lsq), bits(r.lsq)) << r.what << " point " << p;
      EXPECT_EQ(s.status, r.status) << r.what << " point " << p;
    }
}

TEST(SolidCohesive, ThinStackSitsJustInsideTheRamp) {
  // D_z = 0.0005: S = 4.000002, so f = 8 - S = 3.999998, not the plateau 4.
  const double S = 4.0 + 8.0 * 0.0005 * 0.0005;
  const float expected = static_cast<float>(0.001 * (8.0 - S) / (0.25 * S));
  const float plateau = static_cast<float>(0.001 * 4.0 / (0.25 * S));
  const Solid s = solid(false, kUnitSquare, all({0, 0, 0.0005f}), 2);
  EXPECT_LE(sti_test::ulp_distance(s.lsq, expected), 2);
  EXPECT_LT(s.lsq, plateau);
  EXPECT_EQ(bits(s.mass), bits(0.001f * 0.25f));
}

TEST(SolidCohesive, ShearedStackTurnsTheNormal) {
  // D = (0.5, 0, 0.5): e = (1, 0, 0), P = (0, 0, -1) at corner 1, so S_n = 3
  // instead of 2, and the edge (1 -> 4) now slides: S_s = 2 + 3, S = 8, f = 1.
  const Solid s = solid(false, kUnitSquare, all({0.5f, 0, 0.5f}), 1);
  EXPECT_EQ(bits(s.mass), bits(0.25f));
  EXPECT_EQ(bits(s.lsq), bits(1.0f / (0.25f * 8.0f)));
  EXPECT_EQ(s.status, 0);
}

TEST(SolidCohesive, SumsOfSquaresFollowTheirEnumeration) {
  // D = (dx, 0, dz) at every point of the unit square, corner 1, by hand:
  // h_g = 2 dz, e = (2 dx, 0, 0), P = (0, 0, -2 dx), Q = 0. The normal rows
  // vanish but for component z of point 1 (dx - 1 lower, dx + 1 upper) and of
  // point 2 (-dx, -dx). Sliding: axis s takes the edge (1 -> 2) with kappa 1/2,
  // rows of size 1/2 in x and dz in z at nodes 1 and 2 of both faces; axis t
  // the edge (1 -> 4), rows of size dx in x, 1/2 in y and dz in z at nodes 1
  // and 4. These dx and dz make the float sums depend on the order of terms.
  const float dx = 0.61f, dz = 0.75f;
  const float a = (dx - 1.0f) * (dx - 1.0f), b = (dx + 1.0f) * (dx + 1.0f), c = dx * dx;
  const float q = 0.25f, z = dz * dz;
  const auto sum = [](std::initializer_list<float> terms) {
    float s = 0.0f;
    for (float t : terms) s += t;
    return s;
  };
  // Point by point, component by component, lower node then upper node.
  const float s_n = sum({a, b, c, c});
  // Axis s then t; component x, y, z; lower nodes, then upper nodes.
  const float s_s = sum({q, q, q, q, z, z, z, z, c, c, c, c, q, q, q, q, z, z, z, z});
  const auto lsq_of = [&](float S) { return 2.0f * dz / (0.25f * S); };  // S above 7: f = 1
  const Solid s = solid(false, kUnitSquare, all({dx, 0, dz}), 1);
  EXPECT_EQ(bits(s.lsq), bits(lsq_of(s_s + s_n)));
  EXPECT_EQ(bits(s.mass), bits(0.375f));
  // Lower face first, components fastest, gives other floats for both sums.
  const float s_n_by_face = sum({a, c, b, c});
  const float s_s_by_face = sum({q, z, q, z, q, z, q, z, c, q, z, c, q, z, c, q, z, c, q, z});
  EXPECT_NE(bits(s.lsq), bits(lsq_of(s_s + s_n_by_face)));
  EXPECT_NE(bits(s.lsq), bits(lsq_of(s_s_by_face + s_n)));
}

TEST(SolidCohesive, WedgeCornerWeightAndNoRamp) {
  // Triangle (0,0), (1,0), (0,1) stored as 1, 2, 3, 1; D = (0, 0, 0.5).
  // At corner 1: J = 0.25, A = J * 2/3, S_n = 1, S_s = 4, S = 5 and f = 1
  // where the eight-node ramp would give 3.
  const std::array<V3, 4> tri = {V3{0, 0, 0}, V3{1, 0, 0}, V3{0, 1, 0}, V3{0, 0, 0}};
  const float area = 0.25f * kTwoThirds;
  const Solid s = solid(true, tri, all({0, 0, 0.5f}), 1);
  EXPECT_EQ(bits(s.mass), bits(area));
  EXPECT_EQ(bits(s.lsq), bits(1.0f / (area * 5.0f)));
  EXPECT_EQ(s.status, 0);
  // Two thirds of the eight-node element's mass on the unit square.
  EXPECT_EQ(bits(s.mass), bits(solid(false, kUnitSquare, all({0, 0, 0.5f}), 1).mass * kTwoThirds));
}

TEST(SolidCohesive, DegenerateSurfacesAndStatusOrder) {
  // All mid-surface points on a line: J = 0 -> status 1, J + 1 keeps results finite.
  const std::array<V3, 4> line = {V3{0, 0, 0}, V3{1, 0, 0}, V3{2, 0, 0}, V3{3, 0, 0}};
  const Solid collapsed = solid(false, line, all({0, 0, 0.5f}), 1, 1, 1.0f);
  EXPECT_EQ(collapsed.status, 1);
  EXPECT_TRUE(std::isfinite(collapsed.lsq));
  EXPECT_TRUE(std::isfinite(collapsed.mass));
  // With coh_flag 0 the zero frame gives h_g = 0: the thickness status overrides.
  EXPECT_EQ(solid(false, line, all({0, 0, 0.5f}), 1).status, 3);
  // One edge collapsed (points 3 and 4 coincide): no status from the edge itself.
  const std::array<V3, 4> kite = {V3{0, 0, 0}, V3{1, 0, 0}, V3{1, 1, 0}, V3{1, 1, 0}};
  const Solid k = solid(false, kite, all({0, 0, 0.5f}), 2);
  EXPECT_EQ(k.status, 0);
  EXPECT_GT(k.lsq, 0.0f);
}

// Planar cohesive operator from the two mid-line points and half separations.
Solid planar(bool axisymmetric, std::array<float, 2> p0, std::array<float, 2> p1,
             std::array<float, 2> d0, std::array<float, 2> d1, int point, int coh_flag = 0,
             float coh_value = 1.0f, float thickness = 1.0f) {
  const Rules r = corner_rules(2, 2);
  const float g[4] = {p0[0], p1[0], p0[1], p1[1]};
  const float d[4] = {d0[0], d1[0], d0[1], d1[1]};
  const int n = 1, point_count = 2;
  const float density = 1.0f;
  Solid s;
  auto op = axisymmetric ? sti_ope_cohaxgeom : sti_ope_coh2dgeom;
  op(&coh_flag, &n, &point, &point_count, &s.status, r.n, r.dn1, &coh_value, g, d, &s.mass,
     &thickness, &density, &s.lsq);
  return s;
}

TEST(PlanarCohesive, RectangleWorkedValues) {
  // Length 2 along x, opening 1 along y: n = (0, 1), opening 1 at both points,
  // S = 2 and the shear rows add 1.25: total 3.25, f = 6 - 3.25 = 2.75, jac = 1.
  for (int p = 1; p <= 2; ++p) {
    const Solid s = planar(false, {0, 0.5f}, {2, 0.5f}, {0, 0.5f}, {0, 0.5f}, p);
    EXPECT_EQ(bits(s.lsq), bits(2.75f / 3.25f)) << p;
    EXPECT_EQ(bits(s.mass), bits(1.0f)) << p;
    EXPECT_EQ(s.status, 0) << p;
    // The width multiplies the mass and divides the length term.
    const Solid wide = planar(false, {0, 0.5f}, {2, 0.5f}, {0, 0.5f}, {0, 0.5f}, p, 0, 4.0f);
    EXPECT_EQ(bits(wide.lsq), bits(2.75f / (4.0f * 3.25f))) << p;
    EXPECT_EQ(bits(wide.mass), bits(4.0f)) << p;
  }
  // The axisymmetric element: jac = (x0 w0 + x1 w1) len, the radial weight of
  // the point's half, and lsq without the thickness factor.
  const float jac[2] = {2.0f * kOneSixth, 2.0f * kOneThird};
  for (int p = 1; p <= 2; ++p) {
    const Solid s = planar(true, {0, 0.5f}, {2, 0.5f}, {0, 0.5f}, {0, 0.5f}, p, 0, 1.0f, 5.0f);
    EXPECT_EQ(bits(s.lsq), bits(2.75f / (jac[p - 1] * 3.25f))) << p;
    EXPECT_EQ(bits(s.mass), bits(jac[p - 1])) << p;
  }
}

TEST(PlanarCohesive, StiffnessRampAndSigns) {
  // A thin element: total = 2 + 1 + 4 r_y^2 with r_y = d / 2, so near 3 and f = 3.
  const Solid thin = planar(false, {0, 0}, {2, 0}, {0, 0.001f}, {0, 0.001f}, 1);
  EXPECT_EQ(bits(thin.mass), bits(0.002f));  // the opening, times width and density
  EXPECT_NEAR(thin.lsq / 0.002f, 1.0f, 1e-5f);  // f / total = 3 / 3
  // An opening 4 times the length: total well above 5, f = 1.
  const Solid thick = planar(false, {0, 0}, {2, 0}, {0, 4.0f}, {0, 4.0f}, 1);
  const float total_thick = 2.0f + 1.0f + 4.0f * 4.0f;  // r_y = 2
  EXPECT_EQ(bits(thick.lsq), bits(8.0f * 1.0f / total_thick));
  // The default width -1 flips both signs and leaves their product.
  const Solid neg = planar(false, {0, 0.5f}, {2, 0.5f}, {0, 0.5f}, {0, 0.5f}, 1, 0, -1.0f);
  EXPECT_EQ(bits(neg.lsq), bits(-2.75f / 3.25f));
  EXPECT_EQ(bits(neg.mass), bits(-1.0f));
}

TEST(PlanarCohesive, Failures) {
  struct Row {
    const char* what;
    bool axi;
    std::array<float, 2> p0, p1, d0, d1;
    int coh_flag;
    int status;
  };
  const Row rows[] = {
      {"zero opening", false, {0, 0}, {2, 0}, {0, 0}, {0, 0}, 0, 3},
      {"zero opening, given thickness", false, {0, 0}, {2, 0}, {0, 0}, {0, 0}, 1, 0},
      {"faces in the wrong order", false, {0, 0}, {2, 0}, {0, -0.5f}, {0, -0.5f}, 0, 3},
      {"zero mid-line, plane", false, {1, 1}, {1, 1}, {0, 0.5f}, {0, 0.5f}, 1, 2},
      {"zero mid-line, axisymmetric", true, {1, 1}, {1, 1}, {0, 0.5f}, {0, 0.5f}, 1, 1},
      {"zero mid-line, no opening, status 3 last", false, {1, 1}, {1, 1}, {0, 0.5f}, {0, 0.5f}, 0, 3},
  };
  for (const Row& r : rows) {
    const Solid s = planar(r.axi, r.p0, r.p1, r.d0, r.d1, 1, r.coh_flag);
    EXPECT_EQ(s.status, r.status) << r.what;
  }
  // On the axis the axisymmetric measure is zero and nothing says so.
  const Solid axis = planar(true, {0, 0}, {0, 2}, {-0.5f, 0}, {-0.5f, 0}, 1);
  EXPECT_EQ(axis.status, 0);
  EXPECT_EQ(bits(axis.mass), bits(0.0f));
  EXPECT_TRUE(std::isinf(axis.lsq));
}

}  // namespace
