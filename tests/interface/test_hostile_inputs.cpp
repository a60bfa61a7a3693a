// Hostile inputs to the public entry: one table of calls that a careless or
// malicious caller could make, each with the element codes and the call code
// that each family gives it; calls rejected as a whole; and the rules that
// decide a batch's and a call's code. Every row also proves that no output
// entry past element_count is written (run() checks two guard entries past the end).
#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "interface/batches.hpp"
#include "stabletime/stabletime.h"
#include "support/call.hpp"
#include "well_shaped.hpp"

namespace {

using sti_test::Call;
using sti_test::kUntouchedCode;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr int kCopies = 3;

struct Row {
  std::string what;
  std::string name;                    // catalogue name the call starts from
  std::function<void(Call&)> change;   // what makes it hostile
  int element_code;                    // expected for every element
  int call_code;
};

std::string row_label(const Row& r) { return r.what + " [" + r.name + "]"; }

// One name of each family: the checks below run per family.
const std::vector<std::string> kFamilies = {"T3D2", "B31",  "C3D8R", "C3D10M", "CPE4R", "CAX6M",
                                            "M3D4", "S4R",  "SC8R",  "COH3D8", "COH2D4", "AC3D8R"};

std::vector<Row> hostile_rows() {
  std::vector<Row> rows;
  auto set_all_density = [](float v) { return [v](Call& c) { c.density.assign(c.density.size(), v); }; };
  auto set_all_thickness = [](float v) { return [v](Call& c) { c.thickness->assign(c.thickness->size(), v); }; };
  // Every coordinate x becomes x * factor + shift (0 * NaN is NaN).
  auto scale_nodes = [](float factor, float shift) {
    return [=](Call& c) {
      for (float& x : c.mesh.nodes) x = factor == 0.0f ? shift : x * factor + shift;
    };
  };
  for (const std::string& n : kFamilies) {
    const bool ac = sti_test::is_acoustic(n);
    // Well-shaped, every optional pointer null where the family allows it.
    rows.push_back({"sound", n, [](Call&) {}, 0, 0});
    rows.push_back({"thickness null", n, [](Call& c) { c.thickness.reset(); }, 0, 0});
    rows.push_back({"density zero", n, set_all_density(0.0f), 200, 200});
    rows.push_back({"density negative", n, set_all_density(-7.8f), 200, 200});
    // Thickness scales every modulus, so the modulus check turns any section
    // failure into a material failure; acoustic types never read it.
    rows.push_back({"thickness zero", n, set_all_thickness(0.0f), ac ? 0 : 200, ac ? 0 : 200});
    rows.push_back({"thickness negative", n, set_all_thickness(-0.5f), ac ? 0 : 200, ac ? 0 : 200});
    // Cohesive types measure their opening last: zero opening is a section
    // failure that overwrites the degenerate area.
    const int coincident = sti_test::is_cohesive(n) ? 100 : 400;
    rows.push_back({"coincident nodes", n, scale_nodes(0.0f, 1.0f), coincident, coincident});
    // NaN passes every comparison of the line measure and the axisymmetric
    // volume clamp; the area of every other family clamps it to zero; the
    // planar cohesive opening is then not positive.
    const bool passes = n == "T3D2" || n == "B31" || n == "CAX6M", planar_coh = n == "COH2D4";
    const int nan_code = passes ? 0 : planar_coh ? 100 : 400;
    rows.push_back({"coordinates NaN", n, scale_nodes(0.0f, kNaN), nan_code, nan_code});
    rows.push_back({"density NaN", n, set_all_density(kNaN), 0, 0});
    rows.push_back({"unknown material code 104", n, [](Call& c) { c.material_code = 104; },
                    ac ? 0 : 200, ac ? 0 : 200});
    if (ac) {
      // The bulk modulus must exceed the smallest normal float.
      for (float bulk : {0.0f, -2.2f, std::bit_cast<float>(0x00800000u)})
        rows.push_back({"bulk modulus " + std::to_string(bulk), n,
                        [bulk](Call& c) { c.material_props = {bulk, 0.0f}; }, 200, 200});
    }
  }
  // Trusses: section data and extreme coordinates, whose outcome the line
  // measure fixes exactly.
  rows.push_back({"section_damping null", "T3D2", [](Call& c) { c.section_damping.reset(); }, 200, 200});
  rows.push_back({"section area zero", "T2D2",
                  [](Call& c) { c.section_damping = std::array<float, 3>{0, 0, 0}; }, 200, 200});
  rows.push_back({"huge coordinates 1e30", "T3D2", scale_nodes(1e30f, 0.0f), 0, 0});
  // The squared length 1e-60 underflows to zero in single precision: the
  // truss has zero length.
  rows.push_back({"tiny coordinates 1e-30", "T3D2", scale_nodes(1e-30f, 0.0f), 400, 400});
  // Every material family with all parameters zero, and with negative ones
  // where a negative entry is the stiffness itself; term counts 0 and -1.
  const std::vector<int> codes = {100, 101, 102, 103, 9001, 105, 107, 109, 118, 119, 125, 126};
  auto material = [](int code, float value) {
    return [=](Call& c) {
      c.material_code = code;
      c.material_props.assign(32, value);
    };
  };
  for (int code : codes)
    rows.push_back({"material " + std::to_string(code) + " all zero", "T3D2", material(code, 0), 200, 200});
  for (int code : {100, 101, 125})
    rows.push_back({"material " + std::to_string(code) + " all negative", "T3D2", material(code, -1), 200, 200});
  rows.push_back({"material 100 E negative", "T3D2", [](Call& c) { c.material_props[0] = -200.0f; }, 200, 200});
  // With no terms, 105 still takes G0 from C10 and C01 and 107 takes its bulk
  // modulus from D1 in entry 1, so both stay usable; 109 has nothing left. A
  // negative count, which would place D1 before the array, rejects the batch.
  for (int code : {105, 107, 109}) {
    for (float terms : {0.0f, -1.0f, -1e9f}) {
      const int outcome = code == 109 || terms < 0.0f ? 200 : 0;
      rows.push_back({"material " + std::to_string(code) + " term count " + std::to_string(terms),
                      "T3D2",
                      [=](Call& c) {
                        material(code, 1.0f)(c);
                        c.material_props[0] = terms;
                      },
                      outcome, outcome});
    }
  }
  return rows;
}

TEST(HostileInputs, TableOfExpectedOutcomes) {
  for (const Row& row : hostile_rows()) {
    Call c = sti_test::well_shaped_call(row.name, kCopies);
    row.change(c);
    sti_test::Result r;
    ASSERT_NO_THROW(r = sti_test::run(c)) << row_label(row);
    EXPECT_EQ(r.code, row.call_code) << row_label(row);
    EXPECT_EQ(r.element_code, std::vector<int>(kCopies, row.element_code)) << row_label(row);
  }
}

// Calls decided before any element is looked at: nothing at all is written
// for a count below 1, and 300 everywhere for a name outside the catalogue.
TEST(HostileInputs, CallsRejectedAsAWhole) {
  struct Whole {
    std::string what, name;
    int count, call_code;
    bool writes_codes;
  };
  const std::string longest_plus = "C3D10MT" + std::string(1, 'X');
  const Whole rows[] = {
      {"count zero", "T3D2", 0, 999, false},
      {"count negative", "T3D2", -1, 999, false},
      {"count most negative", "T3D2", std::numeric_limits<int>::min(), 999, false},
      {"count zero, unknown name", "NOPE", 0, 999, false},
      {"unknown name", "C3D9", 3, 300, true},
      {"empty name", "", 3, 300, true},
      {"blank name", "        ", 3, 300, true},
      {"lower case", "t3d2", 3, 300, true},
      {"leading blank", " T3D2", 3, 300, true},
      {"longer than any name", longest_plus, 3, 300, true},
      {"prefix of a name", "C3D", 3, 300, true},
      {"very long name", std::string(4096, 'C'), 3, 300, true},
      {"catalogue name then junk", "T3D2" + std::string(300, ' ') + "X", 3, 300, true},
      {"catalogue name, long blank tail", "T3D2" + std::string(300, ' '), 3, 0, true},
  };
  const std::vector<float> nodes = {0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0};
  const std::vector<int> conn = {0, 1, 1, 2, 2, 3};
  const std::vector<float> props = {200.0f, 0.3f}, density(3, 1.0f);
  const float section[3] = {1.0f, 0.0f, 0.0f};
  for (const Whole& w : rows) {
    std::vector<float> dt(5, kNaN);
    std::vector<int> codes(5, kUntouchedCode);
    const int code = sti_StableTime(w.name.c_str(), 4, w.count, nodes.data(), conn.data(), 100,
                                    props.data(), density.data(), nullptr, 0.0f, section, nullptr,
                                    dt.data(), codes.data());
    EXPECT_EQ(code, w.call_code) << w.what;
    for (int i = 0; i < 5; ++i) {
      const bool inside = w.writes_codes && i < 3;
      EXPECT_EQ(codes[static_cast<std::size_t>(i)], inside ? w.call_code : kUntouchedCode)
          << w.what << " entry " << i;
      const bool dt_written = inside && w.call_code == 0;
      EXPECT_EQ(std::isnan(dt[static_cast<std::size_t>(i)]), !dt_written) << w.what << " entry " << i;
    }
  }
}

// Codes of batches with failures, on unit trusses: a batch reports its last
// failed element, and between batches the smallest nonzero code wins.
TEST(HostileInputs, CodesOfBatchesWithFailures) {
  auto trusses = [](int count, std::vector<int> zero_density, std::vector<int> zero_length) {
    Call c;
    c.name = "T3D2";
    c.mesh = sti_test::joined(std::vector<sti_test::Mesh>(static_cast<std::size_t>(count),
                                                         sti_test::single_element({{0, 0, 0}, {1, 0, 0}})));
    c.density.assign(static_cast<std::size_t>(count), 1.0f);
    for (int e : zero_density) c.density[static_cast<std::size_t>(e)] = 0.0f;  // 200
    for (int e : zero_length) c.mesh.nodes[static_cast<std::size_t>(6 * e + 3)] = 0.0f;  // 400
    return sti_test::run(c);
  };
  EXPECT_EQ(trusses(8, {2}, {6}).code, 400);
  EXPECT_EQ(trusses(8, {6}, {2}).code, 200);
  EXPECT_EQ(trusses(200, {150}, {5}).code, 200);
  EXPECT_EQ(trusses(200, {0}, {150}).code, 200);

  // A failed one-point element keeps the largest float. (What a failing batch
  // does to its sound elements and to a clean batch after it is an invariant
  // of every name.)
  EXPECT_EQ(sti_test::bits(trusses(300, {3}, {}).dt[3]), 0x7F7FFFFFu);

  // Each element reads its own thickness, in every batch; a null thickness is 1.
  Call shells = sti_test::well_shaped_call("S4R", 200);
  shells.thickness->at(150) = -1.0f;
  const sti_test::Result s = sti_test::run(shells);
  EXPECT_EQ(s.element_code[150], 200);
  EXPECT_EQ(s.element_code[22], 0);
  EXPECT_EQ(s.element_code[149], kUntouchedCode);
  Call ones = sti_test::well_shaped_call("S4R", 3), null = ones;
  ones.thickness->assign(3, 1.0f);
  null.thickness.reset();
  EXPECT_EQ(sti_test::bits(sti_test::run(ones).dt[2]), sti_test::bits(sti_test::run(null).dt[2]));
}

// The cutting of the largest count into batches, INT_MAX = 16777215 * 128 +
// 127: as many full batches, then one of 127 starting at 2147483520, with no
// index past INT_MAX on the way.
TEST(HostileInputs, BatchesOfTheLargestCountStayInRange) {
  long long batches = 0, next = 0;
  bool contiguous = true;
  int last_first = -1, last_count = -1;
  sti::interface::for_each_batch(INT_MAX, [&](int first, int count) {
    contiguous = contiguous && first == next && count >= 1 && count <= 128;
    next = static_cast<long long>(first) + count;
    last_first = first;
    last_count = count;
    ++batches;
  });
  EXPECT_TRUE(contiguous);
  EXPECT_EQ(next, INT_MAX);
  EXPECT_EQ(batches, 16777216);
  EXPECT_EQ(last_first, 2147483520);
  EXPECT_EQ(last_count, 127);
}

// Non-finite and extreme coordinates in one element and all of another, in
// every family: the codes stay public and the same call gives the same bits.
TEST(HostileInputs, NonFiniteAndExtremeCoordinatesInEveryFamily) {
  for (const std::string& name : sti_test::catalogue_names()) {
    for (float v : {kNaN, kInf, -kInf, 1e30f, -1e30f, 1e-30f, 3.4028235e38f}) {
      Call c = sti_test::well_shaped_call(name, kCopies);
      c.mesh.nodes[0] = v;
      const std::size_t per = c.mesh.nodes.size() / kCopies;
      for (std::size_t i = c.mesh.nodes.size() - per; i < c.mesh.nodes.size(); ++i)
        c.mesh.nodes[i] = v * static_cast<float>(1 + i % 3);
      sti_test::Result a, b;
      ASSERT_NO_THROW(a = sti_test::run(c); b = sti_test::run(c)) << name << ' ' << v;
      for (int code : a.element_code)
        EXPECT_TRUE((code % 100 == 0 && code >= 0 && code <= 400) || code == kUntouchedCode) << name;
      EXPECT_TRUE(sti_test::same_bits(a, b)) << name << ' ' << v;
    }
  }

  // Axisymmetric volume: a NaN passes its clamp and sets no status. Finite
  // coordinates reach it too: here both products of the signed area overflow
  // (1e20 * 1e20), and inf - inf is NaN.
  Call cax = sti_test::well_shaped_call("CAX4R", 1);
  cax.mesh.nodes = {0, 1e20f, 0, 1e20f, 0, 0, 1e20f, 0, 0, 0, 1e20f, 0};
  cax.mesh.connectivity = {0, 1, 2, 3};
  const sti_test::Result a = sti_test::run(cax);
  EXPECT_EQ(a.code, 0);
  EXPECT_EQ(a.element_code[0], 0);
  EXPECT_TRUE(std::isnan(a.dt[0]));
}

}  // namespace
