// Beam geometry: the operators' length and mass fixed bit for bit where the
// design fixes them, and beams end to end through the public entry, including
// the quadratic beams' time scale and what a failed quadratic beam is left with.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <vector>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::Call;
using sti_test::run;

constexpr float kInvSqrt3 = std::bit_cast<float>(0x3F13CD3Au);
constexpr float kInvSqrt6 = std::bit_cast<float>(0x3ED105EBu);

// Element-fastest coordinates of one element: coords[k + K * c].
struct OneBeam {
  std::vector<float> coords;
  int status = 0;
  float mass = -1.0f, lsq = -1.0f;
};

OneBeam two_node(int dim, std::vector<std::vector<float>> nodes, float area, float density) {
  OneBeam b;
  for (int c = 0; c < dim; ++c)
    for (const auto& p : nodes) b.coords.push_back(p[static_cast<size_t>(c)]);
  const int n = 1;
  if (dim == 2)
    sti_ope_b2dl2geom(&n, &b.status, b.coords.data(), &area, &b.mass, &density, &b.lsq);
  else
    sti_ope_b3dl2geom(&n, &b.status, b.coords.data(), &area, &b.mass, &density, &b.lsq);
  return b;
}

OneBeam three_node(int dim, int point, std::vector<std::vector<float>> nodes, float area = 1.0f,
                   float density = 1.0f) {
  OneBeam b;
  for (int c = 0; c < dim; ++c)
    for (const auto& p : nodes) b.coords.push_back(p[static_cast<size_t>(c)]);
  const int n = 1;
  if (dim == 2)
    sti_ope_b2dl3geom(&n, &point, &b.status, b.coords.data(), &area, &b.mass, &density, &b.lsq);
  else
    sti_ope_b3dl3geom(&n, &point, &b.status, b.coords.data(), &area, &b.mass, &density, &b.lsq);
  return b;
}

// The tangent length of the design, with its one double-precision half difference.
float reference_length(float g, const std::vector<std::vector<float>>& nodes, int dim) {
  float sum = 0.0f;
  for (int c = 0; c < dim; ++c) {
    const float u1 = nodes[0][static_cast<size_t>(c)], u2 = nodes[1][static_cast<size_t>(c)],
                u3 = nodes[2][static_cast<size_t>(c)];
    const float j = static_cast<float>(static_cast<double>(g * (u1 - u2 - u2 + u3)) +
                                       0.5 * static_cast<double>(u3 - u1));
    sum = c == 0 ? j * j : sum + j * j;
  }
  const float s = std::sqrt(sum);
  return s + s;
}

TEST(BeamGeometry, TwoNodeLengthAndMass) {
  struct Row { const char* what; int dim; std::vector<std::vector<float>> nodes; float area;
               float lsq, mass; int status; };
  const Row rows[] = {
      {"B21 nodes 2 apart", 2, {{1, 1}, {1, 3}}, 3.0f, 2.0f, 30.0f, 0},
      {"B31 nodes 2 apart", 3, {{0, 0, 1}, {0, 0, 3}}, 3.0f, 2.0f, 30.0f, 0},
      {"B31 3-4-0 triangle", 3, {{0, 0, 0}, {3, 4, 0}}, 1.0f, 5.0f, 25.0f, 0},
      {"coincident nodes", 2, {{1, 1}, {1, 1}}, 3.0f, 0.0f, 0.0f, 1},
      {"negative area", 3, {{0, 0, 0}, {2, 0, 0}}, -1.0f, 2.0f, 0.0f, 1},
  };
  for (const Row& r : rows) {
    const OneBeam b = two_node(r.dim, r.nodes, r.area, 5.0f);
    EXPECT_EQ(bits(b.lsq), bits(r.lsq)) << r.what;
    EXPECT_EQ(bits(b.mass), bits(r.mass)) << r.what;
    EXPECT_EQ(b.status, r.status) << r.what;
  }
}

TEST(BeamGeometry, ThreeNodeTangentAtEachPoint) {
  // Straight with the middle node centred: J = 1 at both points, L = 2.
  for (int point : {1, 2}) {
    const OneBeam b2 = three_node(2, point, {{0, 0}, {1, 0}, {2, 0}}, 3.0f, 5.0f);
    EXPECT_EQ(bits(b2.lsq), bits(2.0f)) << point;
    EXPECT_EQ(bits(b2.mass), bits(30.0f)) << point;
    const OneBeam b3 = three_node(3, point, {{0, 0, 0}, {0, 1, 0}, {0, 2, 0}});
    EXPECT_EQ(bits(b3.lsq), bits(2.0f)) << point;
  }
  // Middle node off centre or off the chord: the two points see different
  // lengths, the formula's values bit for bit.
  const std::vector<std::vector<float>> cases[] = {
      {{0, 0, 0}, {0.7f, 0, 0}, {2, 0, 0}},
      {{0, 0, 0}, {1, 0.4f, 0}, {2, 0, 0}},
      {{0.1f, -0.3f, 2.0f}, {1.3f, 0.5f, 2.4f}, {2.2f, 0.9f, 3.3f}},
  };
  for (const auto& nodes : cases) {
    for (int dim : {2, 3}) {
      const float l1 = three_node(dim, 1, nodes).lsq;
      const float l2 = three_node(dim, 2, nodes).lsq;
      EXPECT_EQ(bits(l1), bits(reference_length(-kInvSqrt3, nodes, dim)));
      EXPECT_EQ(bits(l2), bits(reference_length(kInvSqrt3, nodes, dim)));
    }
  }
  // Middle node at 0.7 of 0..2: J = 0.6 g + 1, so the point at g = -1/sqrt(3)
  // is the shorter.
  const float l1 = three_node(2, 1, cases[0]).lsq, l2 = three_node(2, 2, cases[0]).lsq;
  EXPECT_LT(l1, l2);
  EXPECT_NEAR(l1, 2.0f * (1.0f - 0.6f * kInvSqrt3), 1e-6f);
  EXPECT_NEAR(l2, 2.0f * (1.0f + 0.6f * kInvSqrt3), 1e-6f);
}

TEST(BeamGeometry, ThreeNodeCollapsedIsStatusOne) {
  const OneBeam b = three_node(3, 1, {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}});
  EXPECT_EQ(b.status, 1);
  EXPECT_EQ(bits(b.lsq), bits(0.0f));
}

TEST(BeamGeometry, DispatchLeavesOtherShapesUntouched) {
  const int n = 1, point = 1, nodes = 2;
  float coords[6] = {0, 2, 0, 0, 0, 0};
  float mass = -7.0f, lsq = -9.0f, area = 1.0f, density = 1.0f;
  int status = 0;
  for (int shape : {0x2202, 0x3202}) {
    mass = -7.0f, lsq = -9.0f;
    sti_ope_beamelementgeom(&n, &point, &nodes, &status, &shape, coords, &mass, &area, &density,
                            &lsq);
    EXPECT_EQ(bits(lsq), bits(2.0f)) << shape;
  }
  for (int shape : {0x3404, 0x2404, 0}) {
    mass = -7.0f, lsq = -9.0f;
    sti_ope_beamelementgeom(&n, &point, &nodes, &status, &shape, coords, &mass, &area, &density,
                            &lsq);
    EXPECT_EQ(bits(lsq), bits(-9.0f)) << shape;
    EXPECT_EQ(bits(mass), bits(-7.0f)) << shape;
  }
  EXPECT_EQ(status, 0);
}

Call beam(const char* name, std::vector<std::array<float, 3>> nodes) {
  Call c;
  c.name = name;
  c.mesh = sti_test::single_element(nodes);
  return c;
}

Call b22_curved() { return beam("B22", {{0.1f, -0.3f, 0}, {1.3f, 0.5f, 0}, {2.2f, 0.9f, 0}}); }
Call b32_curved() { return beam("B32", {{0.1f, -0.3f, 2.0f}, {1.3f, 0.5f, 2.4f}, {2.2f, 0.9f, 3.3f}}); }

TEST(BeamIncrement, WorkedValues) {
  // E = 200, unit area and thickness, length 2: lsq 2, mass 2, dt = sqrt(4 / 200).
  const float linear = std::sqrt(2.0f * 2.0f / 200.0f);
  struct Row { Call call; float dt; };
  const Row rows[] = {
      {beam("B21", {{0, 0, 0}, {2, 0, 0}}), linear},
      {beam("B31", {{0, 0, 0}, {0, 0, 2}}), linear},
      // Quadratic beams: every point through the time scale 1/sqrt(6).
      {beam("B22", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}), linear * kInvSqrt6},
      {beam("B32", {{0, 0, 0}, {0, 1, 0}, {0, 2, 0}}), linear * kInvSqrt6},
  };
  for (const Row& r : rows) {
    const auto res = run(r.call);
    ASSERT_EQ(res.code, 0) << r.call.name;
    EXPECT_EQ(bits(res.dt[0]), bits(r.dt)) << r.call.name;
  }
  // A curved B22 keeps the smaller of its two points.
  const float l1 = reference_length(-kInvSqrt3, {{0.1f, -0.3f}, {1.3f, 0.5f}, {2.2f, 0.9f}}, 2);
  const float l2 = reference_length(kInvSqrt3, {{0.1f, -0.3f}, {1.3f, 0.5f}, {2.2f, 0.9f}}, 2);
  const float l = l1 < l2 ? l1 : l2;
  EXPECT_EQ(bits(run(b22_curved()).dt[0]), bits(std::sqrt(l * l / 200.0f) * kInvSqrt6));
}

TEST(BeamIncrement, FailedBeamKeepsTheScaledUnsetValue) {
  // Every point goes through the scaled minimum, so a failed beam ends at a
  // tenth of the largest float, times the time scale of its type.
  const float unset = std::bit_cast<float>(0x7DCCCCCCu);
  struct Row { const char* name; int nodes; float dt; };
  const Row rows[] = {{"B21", 2, unset}, {"B31", 2, unset}, {"B22", 3, unset * kInvSqrt6},
                      {"B32", 3, unset * kInvSqrt6}};
  for (const Row& r : rows) {
    const std::vector<std::array<float, 3>> nodes(static_cast<size_t>(r.nodes), {1, 2, 3});
    const auto bad = run(beam(r.name, nodes));
    EXPECT_EQ(bad.code, 400) << r.name;
    EXPECT_EQ(bits(bad.dt[0]), bits(r.dt)) << r.name;
  }
  // A failed neighbour does not disturb the element beside it.
  Call pair = beam("B22", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
  pair.mesh = sti_test::joined({sti_test::single_element({{5, 5, 5}, {5, 5, 5}, {5, 5, 5}}),
                                pair.mesh});
  const auto r = run(pair);
  EXPECT_EQ(r.element_code[0], 400);
  EXPECT_EQ(bits(r.dt[1]), bits(std::sqrt(4.0f / 200.0f) * kInvSqrt6));
}

TEST(BeamIncrement, Invariants) {
  const Call bases[] = {beam("B31", {{0.3f, -1.2f, 2.0f}, {1.1f, 0.4f, 2.5f}}), b22_curved(),
                        b32_curved(), beam("B21", {{0.3f, -1.2f, 0}, {1.1f, 0.4f, 0}})};
  for (const Call& base_call : bases) {
    const bool planar = base_call.name[1] == '2';
    const float base = run(base_call).dt[0];
    for (unsigned seed = 1; seed <= 20; ++seed) {
      Call m = base_call;
      m.mesh = sti_test::moved(
          base_call.mesh,
          planar ? sti_test::rotation_about_z(0.37 * seed) : sti_test::random_rotation(seed),
          {0.5f * static_cast<float>(seed), -3.0f, planar ? 0.0f : 1.25f});
      EXPECT_LE(sti_test::ulp_distance(run(m).dt[0], base), 16)
          << base_call.name << " seed " << seed;
    }
    Call longer = base_call;
    longer.mesh = sti_test::scaled(base_call.mesh, 4.0f);
    EXPECT_LE(sti_test::ulp_distance(run(longer).dt[0], 4.0f * base), 4) << base_call.name;
    Call denser = base_call;
    denser.density = {4.0f};
    EXPECT_LE(sti_test::ulp_distance(run(denser).dt[0], 2.0f * base), 2) << base_call.name;
    Call stiffer = base_call;
    stiffer.material_props = {800.0f, 0.3f};
    EXPECT_LE(sti_test::ulp_distance(run(stiffer).dt[0], 0.5f * base), 2) << base_call.name;
    Call wider = base_call;  // the section area cancels between mass and modulus
    wider.section_damping = std::array<float, 3>{3.0f, 0.0f, 0.0f};
    EXPECT_LE(sti_test::ulp_distance(run(wider).dt[0], base), 2) << base_call.name;
  }
}

}  // namespace
