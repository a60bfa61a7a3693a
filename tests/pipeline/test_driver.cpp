// The batch driver and two of its steps called directly, with what the public
// entry never hands them: several sections, skipped sections, a modulus scale
// other than 1, node coordinates at strides other than 3, a preset geometry
// node count and section rules of fewer than one point.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>
#include <vector>

#include "interface/well_shaped.hpp"
#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;

struct Batch {
  std::string name;
  std::vector<float> nodes;  // the first element's nodes; the second is it x1.5
  int coord_stride = 3;
  std::vector<int> material_code = {100};
  std::vector<int> section_skip = {0};
  std::vector<float> props = {200.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
  float unit_scale = 1.0f;
};

struct Outcome {
  int call_status = -1;
  std::vector<int> status = std::vector<int>(2, -1);
  std::vector<float> dt = std::vector<float>(2, -1.0f);
};

// Density, thickness and section area 1, no damping, no bulk viscosity. Each
// node is followed by coord_stride - 3 NaNs, or cut to coord_stride floats.
Outcome run_batch(const Batch& b) {
  int id = 0, node_count = 0, point_count = 0, name_status = 0;
  const int length = static_cast<int>(b.name.size()), n = 2;
  sti_ele_typefromname(&id, &node_count, &point_count, &name_status, b.name.data(), &length);
  std::vector<float> nodes;
  std::vector<int> connectivity(static_cast<size_t>(n * node_count));
  for (int e = 0; e < n; ++e)
    for (int k = 0; k < node_count; ++k) {
      for (int c = 0; c < b.coord_stride; ++c)
        nodes.push_back(c < 3 ? b.nodes[static_cast<size_t>(3 * k + c)] * (e ? 1.5f : 1.0f)
                              : std::nanf(""));
      connectivity[static_cast<size_t>(e + n * k)] = e * node_count + k + 1;
    }
  const int node_total = n * node_count;
  const int section_count = static_cast<int>(b.section_skip.size());
  const float ones[2] = {1.0f, 1.0f}, area = 1.0f, zero = 0.0f, cohesive[2] = {-1.0f, -1.0f};
  Outcome o;
  sti_ele_stabletime(&b.coord_stride, &node_total, &n, &o.call_status, o.status.data(),
                     &point_count, &section_count, &node_count, b.section_skip.data(),
                     b.material_code.data(), &id, connectivity.data(), nodes.data(), ones,
                     &b.unit_scale, &area, &zero, &zero, &zero, ones, cohesive, o.dt.data(),
                     b.props.data());
  return o;
}

// The distorted element of the shared table, or unit ones for worked values.
Batch two_of(const std::string& name) { return {name, sti_test::family_of(name).element.nodes}; }
Batch unit_truss() { return {"T3D2", {1, 0, 0, 2, 0, 0}}; }
Batch unit_square() { return {"CPE4R", {1, 0, 0, 2, 0, 0, 2, 1, 0, 1, 1, 0}}; }

// A truss of length 1 with E = 200: x = sqrt(1 * 1 / 200), 1/sqrt(200) in double.
const float kTrussDt = static_cast<float>(1.0 / std::sqrt(200.0));

TEST(Driver, CoordinateStrideOtherThanThree) {
  // The gathers read node n at (n - 1) * coord_stride: NaNs between the nodes
  // must never reach a result, a planar element needs only two floats per
  // node, and the results equal those at stride 3.
  for (const char* name : {"T3D2", "CPE4R", "C3D8R", "C3D10M", "S4R", "SC8R", "COH3D8"}) {
    Batch b = two_of(name);
    const Outcome three = run_batch(b);
    EXPECT_EQ(three.call_status, 0) << name;
    for (int stride : {5, name == std::string("CPE4R") ? 2 : 5}) {
      b.coord_stride = stride;
      const Outcome other = run_batch(b);
      for (size_t e = 0; e < 2; ++e) {
        EXPECT_TRUE(std::isfinite(three.dt[e])) << name;
        EXPECT_EQ(bits(other.dt[e]), bits(three.dt[e])) << name << " stride " << stride << ' ' << e;
      }
    }
  }
}

TEST(Driver, UnitScaleScalesTheModulusOfNonLineElements) {
  // CPE4R unit square, E = 200, nu = 0: wave modulus 200, lsq 0.5, mass 1,
  // x = sqrt(0.5 / 200) = 0.05. A modulus scale of 4 halves it exactly (a
  // power of four under the root); a truss takes its section area instead.
  Batch plane = unit_square();
  const Outcome one = run_batch(plane);
  EXPECT_LE(sti_test::ulp_distance(one.dt[0], 0.05f), 1);
  plane.unit_scale = 4.0f;
  const Outcome four = run_batch(plane);
  for (size_t e = 0; e < 2; ++e) EXPECT_EQ(bits(four.dt[e]), bits(one.dt[e] / 2.0f)) << e;
  Batch truss = unit_truss();
  truss.unit_scale = 4.0f;
  EXPECT_LE(sti_test::ulp_distance(run_batch(truss).dt[0], kTrussDt), 1);
}

TEST(Driver, SectionsRunInTurnAndUnknownCodesFail) {
  // The truss once more. Code 119 reads mu = props[1] = 0.3 and D = props[5]
  // = 0, incompressible: K = 20 mu, 2G = 0.6, 3K = 18, wave modulus
  // (18 + 1.2) / 3 = 6.4 and x = 1/sqrt(6.4), far above the 1/sqrt(200) of
  // code 100, which reads E = props[0] = 200. With two sections the second
  // computes too and the smaller increment wins; an unknown code in the second
  // fails every element (8) and the first's increment stays; a skipped second
  // section runs no geometry and sets no status, and the moduli and increment
  // of the same geometry run again change nothing. A skipped first section
  // fails every element (5) before the first increment: the second point's
  // unset value, a tenth of the largest float, is all the minimum gets. Last,
  // a plane-stress type, whose increment loop reads 2G and 3K of every
  // element: with no moduli written for an unknown code, every element fails
  // with 8 and keeps the largest float.
  const float tenth = std::bit_cast<float>(0x7DCCCCCCu), largest = std::bit_cast<float>(0x7F7FFFFFu);
  struct Case {
    Batch batch;
    std::vector<int> codes, skip;
    int status;
    float dt;
    int ulps;
  } cases[] = {{unit_truss(), {119}, {0}, 0, static_cast<float>(1.0 / std::sqrt(6.4)), 32},
               {unit_truss(), {119, 100}, {0, 0}, 0, kTrussDt, 1},
               {unit_truss(), {100, 104}, {0, 0}, 8, kTrussDt, 1},
               {unit_truss(), {100, 100}, {0, 1}, 0, kTrussDt, 1},
               {unit_truss(), {100, 100}, {1, 0}, 5, tenth, 0},
               {two_of("CPS4R"), {104}, {0}, 8, largest, 0},
               {two_of("CPS4R"), {0}, {0}, 8, largest, 0},
               {two_of("CPS4R"), {-1}, {0}, 8, largest, 0}};
  for (Case& c : cases) {
    c.batch.props = {200.0f, 0.3f, 0.0f, 0.0f, 0.0f, 0.0f};
    c.batch.material_code = c.codes;
    c.batch.section_skip = c.skip;
    const Outcome o = run_batch(c.batch);
    const std::string what = c.batch.name + " " + std::to_string(c.codes.back()) + std::to_string(c.skip[0]);
    EXPECT_EQ(o.call_status, c.status) << what;
    EXPECT_EQ(o.status, std::vector<int>(2, c.status)) << what;
    EXPECT_LE(sti_test::ulp_distance(o.dt[0], c.dt), c.ulps) << what;
    if (c.ulps == 0) {
      EXPECT_EQ(bits(o.dt[1]), bits(c.dt)) << what;
    }
  }
}

TEST(Classification, PresetGeometryCountThatDiffersIsExpanded) {
  // CPS4R (id 52) keeps the caller's preset geometry node count. One that
  // exceeds the 4 nodes by 1 expands each element as a triangle stored
  // 1, 2, 3, 1; by 2, as a wedge stored 1, 2, 3, 1, 4, 5, 6, 4. Entry k of
  // element e is 100 (k + 1) + e, so the expanded entries name their positions.
  for (int preset : {5, 6}) {
    const int n = 2, nodes = 4, id = 52;
    int geom = preset, ndim = 2, points = 1, u = 0, ps = 0, ua = 0, shape = 0, cls = 1, freq = 0;
    float dt_scale = 1.0f, b1 = 0.0f, tri[2] = {0, 0};
    std::vector<int> connectivity(16), expanded(16, -1), status(2, 0);
    for (int k = 0; k < 8; ++k)
      for (int e = 0; e < n; ++e) connectivity[static_cast<size_t>(e + n * k)] = 100 * (k + 1) + e;
    sti_ele_type(&n, &nodes, &geom, &ndim, &points, &id, &u, &ps, &ua, &shape, &cls,
                 connectivity.data(), expanded.data(), status.data(), &freq, &dt_scale, &b1, tri);
    // Expanded position k holds stored node order[k] of each element.
    const int order[] = {1, 2, 3, 1, 4, 5, 6, 4};
    std::vector<int> want(16, -1);
    for (int k = 0; k < 4 * (preset - 4); ++k)
      for (int e = 0; e < n; ++e) want[static_cast<size_t>(e + n * k)] = 100 * order[k] + e;
    EXPECT_EQ(geom, preset);
    EXPECT_EQ(expanded, want);
  }
}

TEST(SectionRule, CountsBelowOne) {
  // Arrays prefilled with -9 show what each kind writes.
  for (int count : {0, -3}) {
    const auto rule = [&](int kind, float center, float width) {
      struct { std::vector<float> p, w; std::vector<int> order; int count; } r{
          std::vector<float>(8, -9.0f), std::vector<float>(8, -9.0f), std::vector<int>(8, -9), count};
      sti_ope_integrule(&r.count, &center, &width, r.p.data(), r.w.data(), r.order.data(), &kind);
      EXPECT_EQ(r.order, std::vector<int>(8, -9)) << kind << ' ' << count;
      return r;
    };
    // Simpson on [-1, 3]: the first point c - h = -1 and nothing else.
    const auto simpson = rule(1, 1.0f, 4.0f);
    EXPECT_EQ(simpson.p, (std::vector<float>{-1, -9, -9, -9, -9, -9, -9, -9})) << count;
    EXPECT_EQ(simpson.w, std::vector<float>(8, -9.0f));
    // Gauss on [-0.75, 1.25]: the seven-point rule, whose outer abscissae are
    // -+0.9491079123 (largest root of P7), in the first seven entries, not
    // mirrored; its weights sum to the width.
    const auto gauss = rule(2, 0.25f, 2.0f);
    EXPECT_NEAR(gauss.p[0], 0.25 - 0.9491079123, 1e-6) << count;
    EXPECT_EQ(gauss.p[3], 0.25f);
    EXPECT_NEAR(gauss.p[6], 0.25 + 0.9491079123, 1e-6);
    EXPECT_NEAR(gauss.w[0] + gauss.w[1] + gauss.w[2] + gauss.w[3] + gauss.w[4] + gauss.w[5] + gauss.w[6],
                2.0f, 1e-6f);
    EXPECT_EQ(gauss.p[7] + gauss.w[7], -18.0f);
    // Trapezoid: its last point would lie before the arrays; nothing is written.
    const auto trapezoid = rule(3, 0.0f, 1.0f);
    EXPECT_EQ(trapezoid.p, std::vector<float>(8, -9.0f)) << count;
    EXPECT_EQ(trapezoid.w, std::vector<float>(8, -9.0f));
    EXPECT_EQ(trapezoid.count, count);
  }
}

}  // namespace
