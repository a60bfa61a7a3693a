// Cohesive elements end to end through the public entry: a worked increment,
// the defaults of the cohesive parameters, failures, and the invariants of the
// increment under rigid motion, length scaling and a given thickness.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::Call;
using sti_test::run;
using V3 = std::array<float, 3>;

Call element(const char* name, std::vector<V3> nodes) {
  Call c;
  c.name = name;
  c.mesh = sti_test::single_element(nodes);
  return c;
}

// A stack on a bottom face, the top face shifted by `across`.
std::vector<V3> stack(std::vector<V3> bottom, V3 across) {
  std::vector<V3> nodes = bottom;
  for (const V3& b : bottom) nodes.push_back({b[0] + across[0], b[1] + across[1], b[2] + across[2]});
  return nodes;
}

Call coh3d8() {
  return element("COH3D8", stack({{0, 0, 0}, {1.2f, 0.1f, 0}, {1.1f, 0.9f, 0.05f}, {0.1f, 1, 0}},
                                 {0.05f, 0.02f, 0.3f}));
}
Call coh3d6() {
  return element("COH3D6", stack({{0, 0, 0}, {1, 0.1f, 0}, {0.2f, 0.9f, 0.1f}}, {0.02f, 0.01f, 0.25f}));
}
// Node pairs 1-4 and 2-3 across the mid-line.
Call coh2d4() {
  return element("COH2D4", {{0, 0, 0}, {2, 0.1f, 0}, {2.05f, 0.4f, 0}, {0.02f, 0.35f, 0}});
}
Call cohax4() {
  return element("COHAX4", {{1, 0, 0}, {1.2f, 2, 0}, {0.9f, 2.05f, 0}, {0.7f, 0.02f, 0}});
}

float wave_modulus_3d(float thickness) {
  const int n = 1, ndim = 3, code = 100, uniaxial = 0;
  int status = 0, plane_stress = 0;
  const float scale = 1.0f, props[2] = {200.0f, 0.3f};
  float two_g, three_k, wave;
  sti_ele_effmodulus(&n, &ndim, &status, &code, &plane_stress, &uniaxial, &scale, &thickness,
                     &two_g, &three_k, &wave, props);
  return wave;
}

TEST(CohesiveIncrement, FlatUnitStackWorkedValue) {
  // Unit-square stack of opening 1: mass 0.25 and lsq 4/3 at every corner.
  const Call c = element("COH3D8", stack({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 0, 1}));
  const auto r = run(c);
  ASSERT_EQ(r.code, 0);
  const float lsq = 2.0f / (0.25f * 6.0f);
  EXPECT_EQ(bits(r.dt[0]), bits(std::sqrt(std::fabs(lsq * 0.25f / wave_modulus_3d(1.0f)))));
}

TEST(CohesiveIncrement, EveryCohesiveNameRuns) {
  for (const Call& c : {coh3d8(), coh3d6(), coh2d4(), cohax4()}) {
    const auto r = run(c);
    EXPECT_EQ(r.code, 0) << c.name;
    EXPECT_TRUE(std::isfinite(r.dt[0]) && r.dt[0] > 0.0f) << c.name << " " << r.dt[0];
  }
}

TEST(CohesiveIncrement, DefaultParametersAndZeroOpening) {
  // Without cohesive_params the width is -1: both signs flip and the
  // increment is that of width 1.
  for (const Call& base : {coh2d4(), cohax4(), coh3d8()}) {
    Call given = base;
    given.cohesive_params = std::array<float, 2>{0.0f, 1.0f};
    EXPECT_EQ(bits(run(base).dt[0]), bits(run(given).dt[0])) << base.name;
  }
  // Zero opening: no thickness to measure (status 3, code 100) unless given.
  for (const char* name : {"COH2D4", "COH3D8"}) {
    Call flat = std::string(name) == "COH2D4"
                    ? element(name, {{0, 0, 0}, {2, 0, 0}, {2, 0, 0}, {0, 0, 0}})
                    : element(name, stack({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 0, 0}));
    EXPECT_EQ(run(flat).code, 100) << name;
    flat.cohesive_params = std::array<float, 2>{1.0f, 1.0f};
    flat.thickness = std::vector<float>{1.0f};
    const auto r = run(flat);
    EXPECT_EQ(r.code, 0) << name;
    EXPECT_TRUE(std::isfinite(r.dt[0]) && r.dt[0] > 0.0f) << name;
  }
  // Faces in the wrong order: status 3 as well.
  Call swapped = element("COH3D8", stack({{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, {0, 0, -1}));
  EXPECT_EQ(run(swapped).code, 100);
}

TEST(CohesiveIncrement, GivenThicknessScalesTheIncrement) {
  // With coh_flag set, thickness h enters squared through mass and length term
  // and once through the modulus: dt grows as h for the solid and planar
  // elements, and as sqrt(h) for the axisymmetric one, whose length term has
  // no thickness factor.
  struct Row { Call call; float factor; };
  const Row rows[] = {{coh3d8(), 4.0f}, {coh3d6(), 4.0f}, {coh2d4(), 4.0f}, {cohax4(), 2.0f}};
  for (const Row& r : rows) {
    Call base = r.call;
    base.cohesive_params = std::array<float, 2>{1.0f, 1.0f};
    base.thickness = std::vector<float>{0.1f};
    Call thicker = base;
    thicker.thickness = std::vector<float>{0.4f};
    const auto a = run(base), b = run(thicker);
    ASSERT_EQ(a.code, 0) << r.call.name;
    EXPECT_LE(sti_test::ulp_distance(b.dt[0], r.factor * a.dt[0]), 4) << r.call.name;
  }
}

TEST(CohesiveIncrement, UnchangedByRigidMotion) {
  for (const Call& base : {coh3d8(), coh3d6()}) {
    const float dt = run(base).dt[0];
    for (unsigned seed = 1; seed <= 25; ++seed) {
      Call m = base;
      m.mesh = sti_test::moved(base.mesh, sti_test::random_rotation(seed),
                               {0.5f * static_cast<float>(seed), -3.0f, 1.25f});
      EXPECT_LE(sti_test::ulp_distance(run(m).dt[0], dt), 64) << base.name << " seed " << seed;
    }
  }
  const float planar = run(coh2d4()).dt[0];
  for (int k = 1; k <= 12; ++k) {
    Call m = coh2d4();
    m.mesh = sti_test::moved(m.mesh, sti_test::rotation_about_z(0.5 * k), {0.25f * k, -2.0f, 0});
    EXPECT_LE(sti_test::ulp_distance(run(m).dt[0], planar), 64) << "COH2D4 " << k;
  }
  // The axisymmetric element may slide along its axis.
  const float axi = run(cohax4()).dt[0];
  Call slid = cohax4();
  slid.mesh = sti_test::moved(slid.mesh, sti_test::rotation_about_z(0.0), {0, 7.5f, 0});
  EXPECT_LE(sti_test::ulp_distance(run(slid).dt[0], axi), 16);
}

TEST(CohesiveIncrement, ScalesLinearlyWithLength) {
  for (const Call& base : {coh3d8(), coh3d6(), coh2d4(), cohax4()}) {
    const float dt = run(base).dt[0];
    Call big = base;
    big.mesh = sti_test::scaled(base.mesh, 4.0f);
    EXPECT_LE(sti_test::ulp_distance(run(big).dt[0], 4.0f * dt), 4) << base.name;
  }
}

TEST(CohesiveIncrement, FailedElementDoesNotDisturbItsNeighbour) {
  Call pair = coh3d8();
  const float alone = run(pair).dt[0];
  pair.mesh = sti_test::joined(
      {sti_test::single_element(stack({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}}, {0, 0, 1})),
       pair.mesh});
  // The collapsed surface has no frame, so h_g = 0: the thickness status 3
  // (code 100) comes last and overrides the area's status 1.
  const auto r = run(pair);
  EXPECT_EQ(r.element_code[0], 100);
  EXPECT_EQ(bits(r.dt[1]), bits(alone));
}

}  // namespace
