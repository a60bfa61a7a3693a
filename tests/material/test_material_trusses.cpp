// Every material family end to end on unit trusses through the public entry:
// a line element of any family but the isotropic one takes the dilatational
// modulus of its equivalent material, and the tensor forms take their
// principal value unscaled by the section area.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "material/moduli_call.hpp"
#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::kOneThird;

constexpr float kX = 99.0f;  // an entry that must not be read

struct Row {
  const char* name;
  int code;
  std::vector<float> props;
  float wave;  // the modulus the increment must come from
};

float equivalent(float two_g, float three_k) { return kOneThird * (three_k + 2.0f * two_g); }

sti_test::Call unit_truss(const char* name, int code, const std::vector<float>& props) {
  sti_test::Call c;
  c.name = name;
  c.mesh = sti_test::single_element({{0, 0, 0}, {1, 0, 0}});
  c.material_code = code;
  c.material_props = props;
  c.material_props.resize(props.size() + 8, kX);
  return c;
}

const std::vector<Row>& rows() {
  static const std::vector<Row> table = {
      {"T3D2", 101, {10, 50, 20, 3, 4, 30, 5, 6, 7}, equivalent(100.0f, kOneThird * 174.0f)},
      {"T3D2", 102, {7, 9, 0.25f, 1, 2, 3}, equivalent(6.0f, 18.0f)},
      {"T3D2", 103, {1, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 40},
       equivalent(80.0f, 1.0f)},
      {"T3D2", 9001, {1, 2, 4, 0.1f, 0.25f, 0.2f, 1, 3, 2}, equivalent(6.0f, 8.0f)},
      {"T3D2", 105, {1, 1.5f, 0.25f, 0}, equivalent(7.0f, 210.0f)},
      {"T3D2", 107, {2, 1, kX, 2, kX, 0.5f}, equivalent(6.0f, 12.0f)},
      {"T3D2", 109, {1, 1, kX, 0}, equivalent(2.0f, 3.0f * (2.0f * kOneThird))},
      {"T3D2", 118, {kX, 2, 0, 0.5f}, equivalent(4.0f, 12.0f)},
      {"T3D2", 119, {kX, 3, kX, kX, kX, 0.5f}, equivalent(6.0f, 12.0f)},
      {"T3D2", 125, {3, 5, 4}, 5.0f},
      {"T3D2", 126, {1, 2, -3, 0, 0, 0}, 2.0f},
      {"T2D2", 125, {3, 1}, 3.0f},      // two dimensions: |mean| + half difference
      {"T2D2", 126, {0, 0, 2}, 2.0f},   // two dimensions: entry 2 is A12
  };
  return table;
}

TEST(MaterialTrusses, IncrementFromTheFamilyModulus) {
  // Unit length, density, area and thickness, no damping: dt = sqrt(1 / wave).
  for (const Row& r : rows()) {
    const auto out = sti_test::run(unit_truss(r.name, r.code, r.props));
    EXPECT_EQ(out.code, 0) << r.name << " " << r.code;
    EXPECT_EQ(bits(out.dt[0]), bits(std::sqrt(1.0f * 1.0f / r.wave))) << r.name << " " << r.code;
  }
}

TEST(MaterialTrusses, SectionAreaCancelsExceptForTensorForms) {
  // Area 2 doubles the mass; it doubles the modulus too, except for the tensor
  // forms, which ignore the section scale. Thickness 4 scales every modulus.
  for (const Row& r : rows()) {
    auto call = unit_truss(r.name, r.code, r.props);
    call.section_damping = std::array<float, 3>{2.0f, 0.0f, 0.0f};
    call.thickness = std::vector<float>{4.0f};
    const auto out = sti_test::run(call);
    EXPECT_EQ(out.code, 0) << r.name << " " << r.code;
    if (r.code == 125 || r.code == 126) {
      EXPECT_EQ(bits(out.dt[0]), bits(std::sqrt(1.0f * 2.0f / (r.wave * 4.0f))))
          << r.name << " " << r.code;
    } else {  // the same modulus up to the rounding of the scaled sum
      EXPECT_LE(sti_test::ulp_distance(out.dt[0], 0.5f * std::sqrt(1.0f / r.wave)), 2)
          << r.name << " " << r.code;
    }
  }
}

TEST(MaterialTrusses, UnusableMaterialsFailWithCode200) {
  const std::vector<std::pair<int, std::vector<float>>> bad = {
      {101, {0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {102, {1, 1, 0, -1, -2, -3}},
      {9001, {-1, -2, -3, 0, 0, 0, -1, -1, -1}},
      {107, {0, 0}},
      {107, {-1, 1, 1}},  // negative term count
      {109, {0}},
      {126, {-1, -1, -1, -1, -1, -1}},
      {125, {-1, -2, -3}},
  };
  for (const auto& [code, props] : bad) {
    const auto out = sti_test::run(unit_truss("T3D2", code, props));
    EXPECT_EQ(out.code, 200) << code;
    EXPECT_EQ(out.element_code[0], 200) << code;
    EXPECT_EQ(bits(out.dt[0]), 0x7F7FFFFFu) << code << ": the element keeps the largest float";
  }
}

}  // namespace
