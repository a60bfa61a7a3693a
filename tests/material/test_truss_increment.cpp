// Trusses end to end: worked values fixed bit for bit by the design, and the
// physical invariants of the increment L * sqrt(density / (E * thickness)).
#include <gtest/gtest.h>

#include <cmath>

#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::Call;
using sti_test::run;

Call truss(const char* name, std::array<float, 3> a, std::array<float, 3> b) {
  Call c;
  c.name = name;
  c.mesh = sti_test::single_element({a, b});
  return c;
}

TEST(TrussIncrement, WorkedValues) {
  // E = 200, nu = 0.3, unit density, area and thickness, nodes 1 apart:
  // x = sqrt(1 * 1 / 200) and, without damping, dt = x.
  const float expected = std::sqrt(1.0f * 1.0f / 200.0f);
  for (const char* name : {"T3D2", "T2D2"}) {
    const auto r = run(truss(name, {0, 0, 0}, {1, 0, 0}));
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(bits(r.dt[0]), bits(expected)) << name;
  }
  // The planar truss ignores the third coordinate.
  const auto planar = run(truss("T2D2", {0, 0, 5}, {1, 0, -7}));
  EXPECT_EQ(bits(planar.dt[0]), bits(expected));
}

TEST(TrussIncrement, DegenerateAndUnusableInputs) {
  // Coincident nodes: status 1, the one-point element keeps the largest float.
  const auto collapsed = run(truss("T3D2", {1, 2, 3}, {1, 2, 3}));
  EXPECT_EQ(collapsed.code, 400);
  EXPECT_EQ(bits(collapsed.dt[0]), 0x7F7FFFFFu);

  // Non-positive modulus: status 7; unknown material code: status 8.
  Call soft = truss("T3D2", {0, 0, 0}, {1, 0, 0});
  soft.material_props = {-5.0f, 0.3f};
  EXPECT_EQ(run(soft).code, 200);
  Call unknown = truss("T3D2", {0, 0, 0}, {1, 0, 0});
  unknown.material_code = 104;
  EXPECT_EQ(run(unknown).code, 200);
  EXPECT_EQ(run(unknown).element_code[0], 200);

  // Zero thickness zeroes the modulus: status 7.
  Call thin = truss("T3D2", {0, 0, 0}, {1, 0, 0});
  thin.thickness = std::vector<float>{0.0f};
  EXPECT_EQ(run(thin).code, 200);
}

TEST(TrussIncrement, DampingShortensTheIncrement) {
  const float x = std::sqrt(1.0f / 200.0f);
  // Bulk viscosity alone: xi = 0.06 * scale.
  Call bulk = truss("T3D2", {0, 0, 0}, {1, 0, 0});
  bulk.bulk_scale = 2.0f;
  const float xi = std::bit_cast<float>(0x3D75C28Fu) * 2.0f;
  EXPECT_EQ(bits(run(bulk).dt[0]), bits(x * (std::sqrt(1.0f + xi * xi) - xi)));

  // Stiffness-proportional damping large enough for the limit form 0.5 / xi.
  Call stiff = truss("T3D2", {0, 0, 0}, {1, 0, 0});
  const float beta = 300.0f * x;
  stiff.section_damping = std::array<float, 3>{1.0f, 0.0f, beta};
  const float xi_beta = 0.0f + 0.0f * x + beta / x;
  ASSERT_GE(xi_beta, 200.0f);
  EXPECT_EQ(bits(run(stiff).dt[0]), bits(x * (0.5f / xi_beta)));

  // Mass-proportional damping enters as alpha / 4 times x.
  Call mass = truss("T3D2", {0, 0, 0}, {1, 0, 0});
  mass.section_damping = std::array<float, 3>{1.0f, 10.0f, 0.0f};
  const float xi_alpha = 0.0f + 0.25f * 10.0f * x + 0.0f / x;
  EXPECT_EQ(bits(run(mass).dt[0]), bits(x * (std::sqrt(1.0f + xi_alpha * xi_alpha) - xi_alpha)));
}

}  // namespace
