// The public entry: name lookup, batching, the untouched-entries rule, the
// two tie-break rules and the handling of null optional pointers.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "interface/batches.hpp"
#include "stabletime/pipeline.h"
#include "stabletime/stabletime.h"
#include "well_shaped.hpp"
#include "support/call.hpp"

namespace {

using sti_test::Call;
using sti_test::kUntouchedCode;
using sti_test::Mesh;
using sti_test::run;

Mesh truss(float length) { return sti_test::single_element({{0, 0, 0}, {length, 0, 0}}); }

Call truss_call(int count) {
  Call c;
  c.name = "T3D2";
  c.mesh = sti_test::repeated(truss(1.0f), count);
  return c;
}

struct Lookup {
  int id, nodes, points, status;
};
Lookup lookup(const std::string& name) {
  Lookup l{-1, -1, -1, -1};
  const int length = static_cast<int>(name.size());
  sti_ele_typefromname(&l.id, &l.nodes, &l.points, &l.status, name.data(), &length);
  return l;
}

TEST(NameLookup, BlankPaddedExactComparison) {
  struct Row {
    const char* name;
    int id, nodes, points, status;
  };
  const Row rows[] = {
      {"C3D8", 6, 8, 8, 0},       {"C3D8  ", 6, 8, 8, 0},   {"C3D8I", 6, 8, 8, 0},
      {" C3D8", 0, 0, 0, 1},      {"c3d8", 0, 0, 0, 1},     {"", 0, 0, 0, 1},
      {"   ", 0, 0, 0, 1},        {"C3D", 0, 0, 0, 1},      {"C3D8RX", 0, 0, 0, 1},
      {"S3", 2074, 3, 1, 0},      {"S3R", 2074, 3, 1, 0},   {"S3RS", 2072, 3, 1, 0},
      {"S4RT", 2021, 4, 1, 0},    {"S4", 2022, 4, 4, 0},    {"C3D10MT", 444, 10, 4, 0},
      {"AC3D6", 6045, 6, 6, 0},   {"T2D2", 32, 2, 1, 0},    {"COH3D8", 3903, 8, 4, 0},
  };
  for (const Row& r : rows) {
    const Lookup l = lookup(r.name);
    EXPECT_EQ(l.status, r.status) << '"' << r.name << '"';
    EXPECT_EQ(l.id, r.id) << '"' << r.name << '"';
    EXPECT_EQ(l.nodes, r.nodes) << '"' << r.name << '"';
    EXPECT_EQ(l.points, r.points) << '"' << r.name << '"';
  }
}

TEST(NameLookup, AllSixtyTwoNamesResolve) {
  const std::vector<std::string>& names = sti_test::catalogue_names();
  ASSERT_EQ(names.size(), 62u);
  for (const std::string& name : names) {
    EXPECT_EQ(lookup(name).status, 0) << name;
    EXPECT_EQ(lookup(name + "   ").status, 0) << name;
  }
}

TEST(PublicEntry, CountBelowOneReturns999AndWritesNothing) {
  float node[3] = {0, 0, 0};
  int conn[2] = {0, 0};
  float props[2] = {200, 0.3f}, density[1] = {1};
  for (int count : {0, -1, -1000}) {
    float dt[1] = {7.0f};
    int code[1] = {kUntouchedCode};
    for (const char* name : {"T3D2", "NOSUCH"}) {
      EXPECT_EQ(sti_StableTime(name, 1, count, node, conn, 100, props, density, nullptr, 0.0f,
                               nullptr, nullptr, dt, code),
                999);
      EXPECT_EQ(dt[0], 7.0f);
      EXPECT_EQ(code[0], kUntouchedCode);
    }
  }
}

TEST(PublicEntry, UnknownNameFailsEveryElementWith300) {
  for (const char* name : {"NOSUCH", "t3d2", " T3D2", ""}) {
    Call c = truss_call(5);
    c.name = name;
    const auto r = run(c);
    EXPECT_EQ(r.code, 300) << '"' << name << '"';
    for (int e = 0; e < 5; ++e) {
      EXPECT_EQ(r.element_code[e], 300);
      EXPECT_TRUE(std::isnan(r.dt[e])) << "stable_time stays untouched";
    }
  }
}

// Every batch size gives each element the increment it has alone; the
// element-fastest stride of the last batch is its own size.
TEST(PublicEntry, BatchingKeepsEachElementsIncrement) {
  for (int count : {1, 127, 128, 129, 255, 256, 257, 300}) {
    std::vector<Mesh> parts;
    for (int e = 0; e < count; ++e) parts.push_back(truss(1.0f + 0.01f * static_cast<float>(e)));
    Call all;
    all.name = "T3D2";
    all.mesh = sti_test::joined(parts);
    const auto r = run(all);
    ASSERT_EQ(r.code, 0) << count;
    for (int e = 0; e < count; e += (e < 120 ? 37 : 1)) {
      Call one;
      one.name = "T3D2";
      one.mesh = parts[static_cast<size_t>(e)];
      const auto single = run(one);
      ASSERT_EQ(sti_test::bits(r.dt[e]), sti_test::bits(single.dt[0])) << count << " " << e;
      ASSERT_EQ(r.element_code[e], 0);
    }
  }
}

TEST(PublicEntry, BatchesOfTheLargestCountStayInRange) {
  // INT_MAX = 16777215 * 128 + 127: as many full batches, then one of 127,
  // whose start lies within 128 of INT_MAX.
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

TEST(PublicEntry, SoundElementsOfAFailingBatchKeepTheCallersCodes) {
  Call c = truss_call(5);
  c.density = {1, 0, 1, 1, 1};  // element 2 (one-based) fails with status 6
  const auto r = run(c);
  EXPECT_EQ(r.code, 200);
  EXPECT_EQ(r.element_code[1], 200);
  for (int e : {0, 2, 3, 4}) {
    EXPECT_EQ(r.element_code[e], kUntouchedCode) << e;
    EXPECT_GT(r.dt[e], 0.0f);
    EXPECT_LT(r.dt[e], 1.0f);
  }
  EXPECT_EQ(r.dt[1], std::numeric_limits<float>::max()) << "failed one-point element";
}

TEST(PublicEntry, WithinABatchTheLastFailedElementDecides) {
  // Element 3 fails with 200 (density), element 7 with 400 (zero length).
  Call c = truss_call(8);
  c.density = {1, 1, -1, 1, 1, 1, 1, 1};
  c.mesh.nodes[3 * 13] = 0.0f;  // element 7 (index 6) uses nodes 12 and 13
  const auto r = run(c);
  EXPECT_EQ(r.element_code[2], 200);
  EXPECT_EQ(r.element_code[6], 400);
  EXPECT_EQ(r.code, 400);

  // The reverse order within one batch reports 200.
  Call d = truss_call(8);
  d.density = {1, 1, 1, 1, 1, 1, -1, 1};
  d.mesh.nodes[3 * 5] = 0.0f;  // element 3 (index 2) uses nodes 4 and 5
  EXPECT_EQ(run(d).code, 200);
}

TEST(PublicEntry, BetweenBatchesTheSmallestNonzeroCodeWins) {
  // First batch ends in 400, second in 200: the call returns 200.
  Call c = truss_call(200);
  c.mesh.nodes[3 * 11] = 0.0f;  // element index 5 collapses: 400
  c.density.assign(200, 1.0f);
  c.density[150] = 0.0f;  // second batch: 200
  EXPECT_EQ(run(c).code, 200);

  // A clean batch after a failing one does not reset the result.
  Call d = truss_call(300);
  d.density.assign(300, 1.0f);
  d.density[3] = 0.0f;
  const auto r = run(d);
  EXPECT_EQ(r.code, 200);
  EXPECT_EQ(r.element_code[3], 200);
  EXPECT_EQ(r.element_code[2], kUntouchedCode);
  EXPECT_EQ(r.element_code[200], 0) << "a clean batch writes 0 to all its entries";

  // 400 in the second batch after 200 in the first: still 200.
  Call e = truss_call(200);
  e.density.assign(200, 1.0f);
  e.density[0] = 0.0f;
  e.mesh.nodes[3 * 301] = 0.0f;  // element index 150
  EXPECT_EQ(run(e).code, 200);
}

TEST(PublicEntry, NullPointersTakeTheirDefaults) {
  // Null thickness is 1.0 for every element.
  Call with_ones = truss_call(3), with_null = truss_call(3);
  with_ones.thickness = std::vector<float>(3, 1.0f);
  with_null.thickness.reset();
  const auto a = run(with_ones), b = run(with_null);
  for (int e = 0; e < 3; ++e) EXPECT_EQ(sti_test::bits(a.dt[e]), sti_test::bits(b.dt[e]));

  // Null section data: area 0 fails the geometry (1) and then the modulus (7).
  Call no_section = truss_call(4);
  no_section.section_damping.reset();
  const auto r = run(no_section);
  EXPECT_EQ(r.code, 200);
  for (int e = 0; e < 4; ++e) EXPECT_EQ(r.element_code[e], 200);
}

TEST(PublicEntry, NanDensityPassesTheDensityTest) {
  Call c = truss_call(2);
  c.density = {std::numeric_limits<float>::quiet_NaN(), 1.0f};
  const auto r = run(c);
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.element_code[0], 0);
  EXPECT_TRUE(std::isnan(r.dt[0]));
}

}  // namespace
