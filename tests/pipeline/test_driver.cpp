// The batch driver called directly, with what the public entry never hands it:
// several sections, skipped sections, a modulus scale other than 1 and node
// coordinates at strides other than 3.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "interface/well_shaped.hpp"
#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;

struct Batch {
  std::string name;
  std::vector<sti_test::Points> elements;  // each element's own nodes
  int coord_stride = 3;
  std::vector<int> material_code = {100};
  std::vector<int> section_skip = {0};
  std::vector<float> props = {200.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f};
  float unit_scale = 1.0f;
};

struct Outcome {
  int call_status = -1;
  std::vector<int> status;
  std::vector<float> dt;
};

// Density, thickness and section area 1, no damping, no bulk viscosity. Each
// node is followed by coord_stride - 3 NaNs, or cut to coord_stride floats.
Outcome run_batch(const Batch& b) {
  int id = 0, node_count = 0, point_count = 0, name_status = 0;
  const int length = static_cast<int>(b.name.size());
  sti_ele_typefromname(&id, &node_count, &point_count, &name_status, b.name.data(), &length);
  const int n = static_cast<int>(b.elements.size());
  std::vector<float> nodes;
  std::vector<int> connectivity(static_cast<size_t>(n * node_count));
  for (int e = 0; e < n; ++e)
    for (int k = 0; k < node_count; ++k) {
      const auto& p = b.elements[static_cast<size_t>(e)][static_cast<size_t>(k)];
      for (int c = 0; c < b.coord_stride; ++c)
        nodes.push_back(c < 3 ? p[static_cast<size_t>(c)] : std::nanf(""));
      connectivity[static_cast<size_t>(e + n * k)] = e * node_count + k + 1;
    }
  const int node_total = n * node_count;
  const int section_count = static_cast<int>(b.section_skip.size());
  const std::vector<float> ones(static_cast<size_t>(n), 1.0f);
  const float area = 1.0f, zero = 0.0f, cohesive[2] = {-1.0f, -1.0f};
  Outcome o;
  o.status.assign(static_cast<size_t>(n), -1);
  o.dt.assign(static_cast<size_t>(n), -1.0f);
  sti_ele_stabletime(&b.coord_stride, &node_total, &n, &o.call_status, o.status.data(),
                     &point_count, &section_count, &node_count, b.section_skip.data(),
                     b.material_code.data(), &id, connectivity.data(), nodes.data(), ones.data(),
                     &b.unit_scale, &area, &zero, &zero, &zero, ones.data(), cohesive,
                     o.dt.data(), b.props.data());
  return o;
}

Batch two_of(const std::string& name) {
  Batch b;
  b.name = name;
  const sti_test::Points p = sti_test::well_shaped_points(name);
  sti_test::Points q = p;
  for (auto& x : q) x = {x[0] * 1.5f, x[1] * 1.5f, x[2] * 1.5f};
  b.elements = {p, q};
  return b;
}

// A truss of length 1 with E = 200: x = sqrt(1 * 1 / 200), 1/sqrt(200) in double.
const float kTrussDt = static_cast<float>(1.0 / std::sqrt(200.0));

TEST(Driver, CoordinateStrideOtherThanThree) {
  // The gathers read node n at (n - 1) * coord_stride: NaNs between the nodes
  // must never reach a result, and the results equal those at stride 3.
  for (const char* name : {"T3D2", "CPE4R", "C3D8R", "C3D10M", "S4R", "SC8R", "COH3D8"}) {
    Batch b = two_of(name);
    const Outcome three = run_batch(b);
    b.coord_stride = 5;
    const Outcome five = run_batch(b);
    EXPECT_EQ(three.call_status, 0) << name;
    EXPECT_EQ(five.call_status, 0) << name;
    for (size_t e = 0; e < 2; ++e) {
      EXPECT_TRUE(std::isfinite(three.dt[e])) << name;
      EXPECT_EQ(bits(five.dt[e]), bits(three.dt[e])) << name << " element " << e;
    }
  }
  // A planar element needs only two floats per node.
  Batch plane = two_of("CPE4R");
  const Outcome three = run_batch(plane);
  plane.coord_stride = 2;
  const Outcome two = run_batch(plane);
  EXPECT_EQ(bits(two.dt[1]), bits(three.dt[1]));
  // And the worked value of the truss, read at stride 5.
  Batch truss = two_of("T3D2");
  truss.coord_stride = 5;
  EXPECT_LE(sti_test::ulp_distance(run_batch(truss).dt[0], kTrussDt), 1);
}

TEST(Driver, UnitScaleScalesTheModulusOfNonLineElements) {
  // CPE4R unit square, E = 200, nu = 0: wave modulus 200, lsq 0.5, mass 1,
  // x = sqrt(0.5 / 200) = 0.05. A modulus scale of 4 halves it exactly (a
  // power of four under the root); a truss takes its section area instead.
  Batch plane = two_of("CPE4R");
  const Outcome one = run_batch(plane);
  EXPECT_LE(sti_test::ulp_distance(one.dt[0], 0.05f), 1);
  plane.unit_scale = 4.0f;
  const Outcome four = run_batch(plane);
  for (size_t e = 0; e < 2; ++e) EXPECT_EQ(bits(four.dt[e]), bits(one.dt[e] / 2.0f)) << e;

  Batch truss = two_of("T3D2");
  truss.unit_scale = 4.0f;
  EXPECT_LE(sti_test::ulp_distance(run_batch(truss).dt[0], kTrussDt), 1);
}

TEST(Driver, SectionsRunInTurn) {
  // The truss once more. Code 119 reads mu = props[1] = 0.3 and D = props[5]
  // = 0, incompressible: K = 20 mu, 2G = 0.6, 3K = 18, wave modulus
  // (18 + 1.2) / 3 = 6.4 and x = 1/sqrt(6.4), far above the 1/sqrt(200) of
  // code 100, which reads E = props[0] = 200.
  Batch b = two_of("T3D2");
  b.props = {200.0f, 0.3f, 0.0f, 0.0f, 0.0f, 0.0f};
  b.material_code = {119};
  EXPECT_NEAR(run_batch(b).dt[0], 1.0 / std::sqrt(6.4), 1e-6);

  // Two sections: the second computes too, and the smaller increment wins.
  b.material_code = {119, 100};
  b.section_skip = {0, 0};
  Outcome o = run_batch(b);
  EXPECT_EQ(o.call_status, 0);
  EXPECT_LE(sti_test::ulp_distance(o.dt[0], kTrussDt), 1);

  // An unknown code in the second section fails every element (8); the
  // increment of the first section stays.
  b.material_code = {100, 104};
  o = run_batch(b);
  EXPECT_EQ(o.call_status, 8);
  EXPECT_EQ(o.status, (std::vector<int>{8, 8}));
  EXPECT_LE(sti_test::ulp_distance(o.dt[0], kTrussDt), 1);

  // A skipped second section runs no geometry and sets no status; the moduli
  // and increment of the same geometry run again and change nothing.
  b.material_code = {100, 100};
  b.section_skip = {0, 1};
  o = run_batch(b);
  EXPECT_EQ(o.call_status, 0);
  EXPECT_LE(sti_test::ulp_distance(o.dt[0], kTrussDt), 1);

  // A skipped first section fails every element (5) before the first
  // increment; the second point's unset value, a tenth of the largest float,
  // is all the minimum gets.
  b.section_skip = {1, 0};
  o = run_batch(b);
  EXPECT_EQ(o.call_status, 5);
  EXPECT_EQ(o.status, (std::vector<int>{5, 5}));
  for (float dt : o.dt) EXPECT_EQ(bits(dt), 0x7DCCCCCCu);
}

TEST(Driver, UnknownMaterialCodeFailsTheBatchWithoutAnIncrement) {
  // A plane-stress type, whose increment loop reads 2G and 3K of every
  // element: with no moduli written, every element fails with 8 and keeps
  // the largest float.
  for (int code : {104, 0, -1}) {
    Batch b = two_of("CPS4R");
    b.material_code = {code};
    const Outcome o = run_batch(b);
    EXPECT_EQ(o.call_status, 8) << code;
    EXPECT_EQ(o.status, (std::vector<int>{8, 8})) << code;
    for (float dt : o.dt) EXPECT_EQ(bits(dt), 0x7F7FFFFFu) << code;
  }
}

}  // namespace
