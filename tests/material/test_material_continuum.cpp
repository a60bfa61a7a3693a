// Modulus tensors end to end on a solid and on a plane-stress element. Both
// tensor forms clear the plane-stress flag, so that CPS4R takes the increment
// from the wave modulus alone, as the solid C3D8R always does.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <vector>

#include "support/call.hpp"

namespace {

using sti_test::bits;

sti_test::Call unit_cube(int code, const std::vector<float>& props) {
  sti_test::Call c;
  c.name = "C3D8R";
  c.mesh = sti_test::single_element({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                     {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}});
  c.material_code = code;
  c.material_props = props;
  return c;
}

sti_test::Call unit_square(int code, const std::vector<float>& props) {
  sti_test::Call c;
  c.name = "CPS4R";
  c.mesh = sti_test::single_element({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
  c.material_code = code;
  c.material_props = props;
  return c;
}

// On a solid the increment depends on the wave modulus alone: a tensor with
// principal value 1 gives the increment of an isotropic material with E = 1
// and nu = 0, whose wave modulus (3K + 4G) / 3 is also 1.
TEST(MaterialContinuum, TensorFormsOnTheSolidMatchTheirWaveModulus) {
  const auto reference = sti_test::run(unit_cube(100, {1.0f, 0.0f}));
  ASSERT_EQ(reference.code, 0);
  for (const auto& [code, props] : std::vector<std::pair<int, std::vector<float>>>{
           {125, {1, 1, 1}}, {126, {1, 1, 1, 0, 0, 0}}}) {
    const auto out = sti_test::run(unit_cube(code, props));
    EXPECT_EQ(out.code, 0) << code;
    EXPECT_EQ(bits(out.dt[0]), bits(reference.dt[0])) << code;
  }
  // Principal value 3 (all entries 1: eigenvalues 3, 0, 0) against E = 3.
  const auto three = sti_test::run(unit_cube(100, {3.0f, 0.0f}));
  EXPECT_EQ(bits(sti_test::run(unit_cube(126, {1, 1, 1, 1, 1, 1})).dt[0]), bits(three.dt[0]));
}

// On CPS4R the isotropic form takes the plane-stress modulus from 2G and 3K,
// which the tensor forms never write. After the flag is cleared the increment
// follows the wave modulus: four times the modulus halves it exactly, and the
// two forms agree on a diagonal tensor.
TEST(MaterialContinuum, TensorFormsSwitchPlaneStressToTheWaveModulus) {
  for (int code : {125, 126}) {
    const std::vector<float> unit = code == 125 ? std::vector<float>{1, 1}
                                                : std::vector<float>{1, 1, 0};
    const std::vector<float> four = code == 125 ? std::vector<float>{4, 4}
                                                : std::vector<float>{4, 4, 0};
    const auto a = sti_test::run(unit_square(code, unit));
    const auto b = sti_test::run(unit_square(code, four));
    ASSERT_EQ(a.code, 0) << code;
    ASSERT_EQ(b.code, 0) << code;
    EXPECT_TRUE(std::isfinite(a.dt[0]) && a.dt[0] > 0.0f) << code;
    EXPECT_EQ(bits(b.dt[0] * 2.0f), bits(a.dt[0])) << code;
  }
  // Unit square: lsq 0.5, mass 1 and the frequency term freq_a = 0.27173913 * 4.
  // The wave branch takes l = max(lsq, freq_a) with modulus 1; the isotropic
  // material of the same wave modulus (E = 1, nu = 0) takes the plane-stress
  // branch, whose length is 1 / freq_a instead.
  const float freq_a = std::bit_cast<float>(0x3E8B2164u) * 1.0f * 4.0f;
  const float wave_dt = std::sqrt(freq_a * 1.0f / 1.0f);
  EXPECT_EQ(bits(sti_test::run(unit_square(125, {1, 1})).dt[0]), bits(wave_dt));
  EXPECT_EQ(bits(sti_test::run(unit_square(126, {1, 1, 0})).dt[0]), bits(wave_dt));
  const float isotropic_dt = sti_test::run(unit_square(100, {1.0f, 0.0f})).dt[0];
  EXPECT_EQ(bits(isotropic_dt), bits(std::sqrt(1.0f / freq_a * 1.0f / 1.0f)));
  // A negative tensor: the magnitude still gives the increment's modulus in
  // two dimensions (|mean| + radius), with no status.
  EXPECT_EQ(bits(sti_test::run(unit_square(126, {-1, -1, 0})).dt[0]),
            bits(sti_test::run(unit_square(126, {1, 1, 0})).dt[0]));
}

}  // namespace
