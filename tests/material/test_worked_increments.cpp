// Worked increments through the public entry, family by family. Expected
// values are exact rationals of the shape and material, worked in double and
// compared by ulp distance (a few roundings in single precision), or bit-exact
// relations between two calls where the arithmetic fixes them: a power-of-two
// scaling, the same number reached by two routes.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>
#include <vector>

#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::Call;
using sti_test::run;
using sti_test::single_element;
using sti_test::ulp_distance;
using P3 = std::array<float, 3>;

Call element(const char* name, const std::vector<P3>& nodes, std::vector<float> props = {200, 0.3f}) {
  Call c;
  c.name = name;
  c.mesh = single_element(nodes);
  c.material_props = std::move(props);
  return c;
}

float dt_of(const Call& c) {
  const auto r = run(c);
  EXPECT_EQ(r.code, 0) << c.name;
  return r.dt[0];
}

// A unit truss (length, area, density 1): x = sqrt(1 * 1 / M) for the
// family's modulus M, the dilatational modulus (3K + 4G) / 3 of the
// equivalent isotropic material (E itself for code 100).
TEST(WorkedIncrements, MaterialFamiliesOnAUnitTruss) {
  struct Row {
    const char* what;
    int code;
    std::vector<float> props;
    double modulus;
  };
  const float tiny = std::bit_cast<float>(0x00800000u);
  std::vector<float> full(21, 0.0f);  // 103: C11, C12, C22, C13, C23, C33, then the rest
  full[0] = full[2] = full[5] = 3.0f;
  full[20] = 5.0f;
  const double series = 1 + 3.0 / 5 / 4 + 99.0 / 175 / 16 + 513.0 / 875 / 64 + 42039.0 / 67375 / 256;
  const Row rows[] = {
      {"isotropic: E", 100, {4, 0.3f}, 4},
      // 3K = (C11 + C22 + C33 + 2 (C12 + C13 + C23)) / 3 = 2, 2G = 2 max C = 12.
      {"orthotropic, largest constant first", 101, {6, 0, 0, 0, 0, 0, 1, 1, 1}, 26.0 / 3},
      // 3K = 9 / 3, 2G = 2 * 5 from the last of 21 constants.
      {"anisotropic, largest constant last", 103, full, 23.0 / 3},
      // E = max(E1, E2) = 3, 3K = E / (1 - 2 nu) = 6, 2G = 2 max G = 2.
      {"lamina", 102, {1, 3, 0.25f, 1, 0.5f, 0.25f}, 10.0 / 3},
      // E = 4, nu = 0.25, G = 1 (largest of each): 3K = 8, 2G = 2.
      {"engineering constants", 9001, {1, 2, 4, 0.1f, 0.25f, 0.2f, 1, 0.5f, 0.25f}, 4},
      // G0 = 2 (C10 + C01) = 1, K0 = 2 / D1 = 4.
      {"polynomial", 105, {1, 0.25f, 0.25f, 0.5f}, 16.0 / 3},
      // D1 at the smallest normal float counts as incompressible: K0 = 20 G0.
      {"polynomial, D1 smallest normal", 105, {1, 0.25f, 0.25f, tiny}, 64.0 / 3},
      // G0 = mu1 + mu2 = 1, K0 = 2 / D1 = 2.
      {"Ogden", 107, {2, 0.5f, 9, 0.5f, 9, 1}, 10.0 / 3},
      // 3K = 3 * 2 mu (1/3 + nu / (1 - 2 nu)) = 5 with nu = 1/4, 2G = 2.
      {"foam", 109, {1, 1, 9, 0.25f}, 3},
      // No locking stretch: G0 = mu = 1; D = 1: K0 = 2.
      {"Arruda-Boyce, no locking", 118, {0, 1, 0, 1}, 10.0 / 3},
      // Locking stretch 2: G0 = mu times the inverse Langevin series in 1/4.
      {"Arruda-Boyce, locking stretch 2", 118, {0, 1, 2, 1}, (6 + 4 * series) / 3},
      // mu in entry 1, D in entry 5: K0 = 2.
      {"five constants", 119, {0, 1, 0, 0, 0, 1}, 10.0 / 3},
      {"diagonal tensor", 125, {1, 2, 3}, 3},
      // Principal values 4, 1, 1 of 2 on the diagonal and 1 off it.
      {"symmetric tensor", 126, {2, 2, 2, 1, 1, 1}, 4},
  };
  for (const Row& r : rows) {
    Call c = element("T3D2", {{0, 0, 0}, {1, 0, 0}}, r.props);
    c.material_code = r.code;
    const float dt = dt_of(c);
    EXPECT_LE(ulp_distance(dt, static_cast<float>(1 / std::sqrt(r.modulus))), 4) << r.what;
    // The section area scales mass and modulus alike, except that a modulus
    // tensor is already the section's: area 4 then doubles the increment.
    c.section_damping = std::array<float, 3>{4, 0, 0};
    EXPECT_EQ(bits(dt_of(c)), bits(r.code == 125 || r.code == 126 ? 2 * dt : dt)) << r.what << ", area 4";
  }
  // A sum over terms in their order: 1 + 2^-24 rounds back to 1 sixteen times.
  Call one = element("T3D2", {{0, 0, 0}, {1, 0, 0}}, {1, 1, 9, 1});
  one.material_code = 107;
  Call many = one;
  many.material_props = {17, 1};
  for (int k = 0; k < 16; ++k) many.material_props.insert(many.material_props.end(), {9, 0x1p-24f});
  many.material_props.insert(many.material_props.end(), {9, 1});
  EXPECT_EQ(bits(dt_of(many)), bits(dt_of(one)));
}

// Damping of the unit truss with E = 1, where the undamped increment x is 1
// and the fraction xi = bulk + alpha x / 4 + beta / x.
TEST(WorkedIncrements, DampingOfAUnitTruss) {
  auto damped = [](float bulk_scale, float alpha, float beta) {
    Call c = element("T3D2", {{0, 0, 0}, {1, 0, 0}}, {1, 0});
    c.bulk_scale = bulk_scale;
    c.section_damping = std::array<float, 3>{1, alpha, beta};
    return dt_of(c);
  };
  EXPECT_EQ(damped(0, 0, 0), 1.0f);
  EXPECT_EQ(damped(0, 0, 0.75f), 0.5f);  // sqrt(1 + 9/16) - 3/4
  // xi = 200 takes the limit form 1 / (2 xi).
  EXPECT_EQ(bits(damped(0, 800, 0)), bits(0.5f / 200.0f));
  // The bulk fraction 0.06 scaled by 4096 is the stiffness fraction of
  // alpha = 983.04 = 0.24 * 4096: the same float, since 0.24 = 4 * 0.06 and
  // powers of two scale exactly. At xi = 245.76 the limit form 1 / (2 xi)
  // shows a change of one ulp in the fraction.
  EXPECT_EQ(bits(damped(4096, 0, 0)), bits(damped(0, 983.04f, 0)));
  EXPECT_LE(ulp_distance(damped(4096, 0, 0), static_cast<float>(0.5 / 245.76)), 1);
}

// Beams: L sqrt(rho / E); a three-node beam measures 2 |J| at its two Gauss
// points and scales the increment by 1/sqrt(6), the middle node second. The
// scale is the float 0x3ED105EB (0.40824828), one ulp below the nearest float
// to 1/sqrt(6), which lies within a hundredth of an ulp of the midpoint.
TEST(WorkedIncrements, Beams) {
  const float straight = dt_of(element("B31", {{0, 0, 0}, {0, 0, 2}}, {4, 0}));
  EXPECT_EQ(straight, 1.0f);
  EXPECT_EQ(bits(dt_of(element("B21", {{0, 0, 0}, {2, 0, 0}}, {4, 0}))), bits(straight));
  const float scale = std::bit_cast<float>(0x3ED105EBu);
  EXPECT_EQ(bits(dt_of(element("B32", {{0, 0, 0}, {0, 1, 0}, {0, 2, 0}}, {4, 0}))),
            bits(straight * scale));
  // Middle node at 1/4 of the span 2: J = g + 1, the smaller at g = -1/sqrt(3).
  const double l = 2 * (1 - 1 / std::sqrt(3.0));
  const float curved = dt_of(element("B22", {{0, 0, 0}, {0.5f, 0, 0}, {2, 0, 0}}, {1, 0}));
  EXPECT_LE(ulp_distance(curved, static_cast<float>(l / std::sqrt(6.0))), 8);
}

// Unit shapes, E = 200, nu = 0.3, unit density, no damping: dt = sqrt(l m / M)
// with the measure m, the length term l (the larger of the two estimates
// where the type has a frequency bound) and the dilatational or plane-stress
// modulus M. Worked from the exact rationals of each shape.
constexpr double kWave = (500.0 + 2.0 * 200.0 / 1.3) / 3.0;  // 3K = 500, 2G = 200 / 1.3
constexpr double kPlaneStress = 200.0 / 0.91;                 // E / (1 - nu^2)
const std::vector<P3> kSquare = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
const std::vector<P3> kTriangle = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
const std::vector<P3> kCube = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                               {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
const std::vector<P3> kWedge = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}};
const std::vector<P3> kTet = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
const std::vector<P3> kTet10 = {{0, 0, 0},       {1, 0, 0},    {0, 1, 0},       {0, 0, 1},
                                {0.5f, 0, 0},    {0.5f, 0.5f, 0}, {0, 0.5f, 0}, {0, 0, 0.5f},
                                {0.5f, 0, 0.5f}, {0, 0.5f, 0.5f}};
const std::vector<P3> kTri6 = {{0, 0, 0},       {1, 0, 0},       {0, 1, 0},
                               {0.5f, 0, 0}, {0.5f, 0.5f, 0}, {0, 0.5f, 0}};

TEST(WorkedIncrements, ContinuumAndShellUnitShapes) {
  // Plane-stress frequency bound 1 / ((1 + sqrt(1 - 4 b (1 - nu^2))) a).
  auto bound = [](double a, double b) { return 1 / ((1 + std::sqrt(1 - 4 * b * 0.91)) * a); };
  struct Row {
    const char* name;
    std::vector<P3> nodes;
    double l, m, modulus;
  };
  const Row rows[] = {
      {"CPE4R", kSquare, 0.5, 1, kWave},
      {"CPS4R", kSquare, bound(25.0 / 92 * 4, 0.25), 1, kPlaneStress},
      // A linear triangle: L^2 = 16 A^2 / (3 (sum of squared edges)) = 16 / 24.
      {"CPE3", {{0, 0, 0}, {2, 0, 0}, {1, 1, 0}}, 2.0 / 3, 1, kWave},
      {"CAX4R", {{1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}}, 27.0 / 86, 1.5, kWave},
      {"C3D8R", kCube, 0.504, 1, kWave},  // the cube's face estimate beats lsq = 1/3
      // The tetrahedron's face estimate 56.5504 / 72 beats lsq = 1/2.
      {"C3D4", kTet, 56.5504 / 72, 1.0 / 6, kWave},
      {"C3D6", kWedge, 9.0 / 23, 0.5, kWave},  // lsq beats the face estimate
      // Pieces of a sixth of the area; points 2 and 3 have the smaller lsq 12/29.
      {"CPS6M", kTri6, 12.0 / 29, 1.0 / 6, kPlaneStress},
      // Pieces of a quarter of the volume; points 2 to 4 rest on face estimates.
      {"C3D10M", kTet10, 2048.0 / 75 / 24 / (4.0 / 3), 1.0 / 24, kWave},
      // Each Gauss point of the unit square: J = 1/4, lsq = 3/2, and the
      // full-integration bound 2 * 25/24 * J over a minimum height of 1.
      {"M3D4", kSquare, std::max(1.5, bound(25.0 / 96, 0)), 0.25, kPlaneStress},
      // Small-strain shells: lsq = 1/2, frequency factor 25/97 on S = 4.
      {"S4RS", kSquare, std::max(0.5, bound(100.0 / 97, 0.25)), 1, kPlaneStress},
      {"M3D3", kTriangle, std::max(2.0 / 3, bound(75.0 / 776 * 8, 3.0 / 16)), 0.5, kPlaneStress},
      {"SC8R", {{0, 0, -0.5f}, {1, 0, -0.5f}, {1, 1, -0.5f}, {0, 1, -0.5f},
                {0, 0, 0.5f}, {1, 0, 0.5f}, {1, 1, 0.5f}, {0, 1, 0.5f}}, 0.5, 1, kPlaneStress},
      {"SC6R", {{0, 0, -0.5f}, {1, 0, -0.5f}, {0, 1, -0.5f},
                {0, 0, 0.5f}, {1, 0, 0.5f}, {0, 1, 0.5f}}, 2.0 / 3, 0.5, kPlaneStress},
      {"SAX1", {{1, 0, 0}, {1, 1, 0}}, 0.8, 1, kPlaneStress},
  };
  for (const Row& r : rows) {
    const double expected = std::sqrt(r.l * r.m / r.modulus);
    // Some face estimates are known to five digits only.
    EXPECT_NEAR(dt_of(element(r.name, r.nodes)) / expected, 1.0, 2e-5) << r.name;
  }
  // A flat shell is the plane-stress element of its plane, bit for bit on the
  // unit square, whose frame is exact.
  for (const char* shell : {"S4R", "S4RT", "M3D4R"})
    EXPECT_EQ(bits(dt_of(element(shell, kSquare))), bits(dt_of(element("CPS4R", kSquare)))) << shell;
  for (const char* shell : {"S3", "S3R", "M3D3"})
    EXPECT_EQ(bits(dt_of(element(shell, kTriangle))), bits(dt_of(element("CPS3", kTriangle)))) << shell;
  // With nu = 0 the dilatational modulus (3K + 4G) / 3 is E: the increment of
  // a diagonal modulus tensor E, E, E.
  Call tensor = element("C3D8R", kCube, {4, 4, 4});
  tensor.material_code = 125;
  EXPECT_EQ(bits(dt_of(element("C3D8R", kCube, {4, 0}))), bits(dt_of(tensor)));
  // Renumbering a scalene six-node triangle's corners (and mid-sides) in turn
  // changes which piece each point measures, not the increment.
  const std::vector<P3> a = {{0, 0, 0}, {1.3f, 0.1f, 0}, {0.4f, 0.9f, 0}};
  std::vector<float> turns;
  for (int t = 0; t < 3; ++t) {
    std::vector<P3> nodes;
    for (int k = 0; k < 3; ++k) nodes.push_back(a[static_cast<size_t>((k + t) % 3)]);
    for (int k = 0; k < 3; ++k) {
      const P3 p = nodes[static_cast<size_t>(k)], q = nodes[static_cast<size_t>((k + 1) % 3)];
      nodes.push_back({(p[0] + q[0]) / 2, (p[1] + q[1]) / 2, 0});
    }
    turns.push_back(dt_of(element("CPS6M", nodes)));
  }
  EXPECT_LE(ulp_distance(turns[0], turns[1]), 8);
  EXPECT_LE(ulp_distance(turns[0], turns[2]), 8);
}

// Cohesive elements: a flat unit stack of opening 1 has mass 1/4 and lsq 4/3
// at each corner point; without cohesive_params, or with a first parameter of
// 0, the opening is measured, with a positive one the thickness is given.
TEST(WorkedIncrements, Cohesive) {
  EXPECT_NEAR(dt_of(element("COH3D8", kCube)) / std::sqrt(4.0 / 3 * 0.25 / kWave), 1.0, 2e-6);
  const std::vector<P3> stack = {{0, 0, 0}, {1.2f, 0.1f, 0}, {1.1f, 0.9f, 0.05f}, {0.1f, 1, 0},
                                 {0.05f, 0.02f, 0.3f}, {1.25f, 0.12f, 0.3f},
                                 {1.15f, 0.92f, 0.35f}, {0.15f, 1.02f, 0.3f}};
  const std::vector<P3> strip = {{0, 0, 0}, {2, 0.1f, 0}, {2.05f, 0.4f, 0}, {0.02f, 0.35f, 0}};
  const std::vector<P3> ring = {{1, 0, 0}, {1.2f, 2, 0}, {0.9f, 2.05f, 0}, {0.7f, 0.02f, 0}};
  for (const Call& base : {element("COH3D8", stack), element("COH2D4", strip), element("COHAX4", ring)}) {
    Call zero = base;
    zero.cohesive_params = std::array<float, 2>{0.0f, 1.0f};
    EXPECT_EQ(bits(dt_of(base)), bits(dt_of(zero))) << base.name;
  }
  // A zero opening given a thickness is sound (measured, it fails: see the hostile table).
  Call flat = element("COH2D4", {{0, 0, 0}, {2, 0, 0}, {2, 0, 0}, {0, 0, 0}});
  flat.cohesive_params = std::array<float, 2>{1.0f, 1.0f};
  EXPECT_EQ(run(flat).code, 0);
}

// Acoustic elements, K = rho = 1: dt = 0.9 L with L^2 = measure * lsq, shortened
// by sqrt(1 + xi^2) - xi for xi = damping * sqrt(1 / (rho K)).
TEST(WorkedIncrements, Acoustic) {
  struct Row {
    const char* name;
    std::vector<P3> nodes;
    double l_squared;
  };
  const Row rows[] = {
      {"AC2D4R", kSquare, 0.5},
      {"AC2D3", kTriangle, 1.0 / 3},
      {"ACAX4R", {{1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}}, 1.5 * 27.0 / 86},
      {"ACAX3", {{1, 0, 0}, {2, 0, 0}, {2, 1, 0}}, 5.0 / 6 * 30.0 / 103},
      {"AC3D8R", kCube, 1.0 / 3},
      {"AC3D4", kTet, 1.0 / 12},
      {"AC3D6", kWedge, 0.5 * 9.0 / 23},
  };
  for (const Row& r : rows)
    EXPECT_LE(ulp_distance(dt_of(element(r.name, r.nodes, {1, 0})),
                           static_cast<float>(0.9 * std::sqrt(r.l_squared))), 4) << r.name;
  // The unit square turned by 45 degrees and scaled by sqrt(2) has integer
  // corners and L^2 = 2 * 0.5 = 1 exactly: the increment is the float nearest 0.9.
  EXPECT_EQ(bits(dt_of(element("AC2D4R", {{0, 0, 0}, {1, 1, 0}, {0, 2, 0}, {-1, 1, 0}}, {1, 0}))),
            bits(0.9f));
  const float undamped = dt_of(element("AC2D4R", kSquare, {1, 0}));
  EXPECT_EQ(bits(dt_of(element("AC2D4R", kSquare, {1, 0.75f}))), bits(undamped * 0.5f));
  EXPECT_EQ(bits(dt_of(element("AC2D4R", kSquare, {1, 200}))), bits(undamped * (0.5f / 200)));
  // rho = K = 4 with damping 3 is xi = 3/4 again.
  Call slow = element("AC2D4R", kSquare, {4, 3});
  slow.density = {4};
  EXPECT_EQ(bits(dt_of(slow)), bits(undamped * 0.5f));
}

}  // namespace
