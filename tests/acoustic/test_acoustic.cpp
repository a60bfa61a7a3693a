// Acoustic elements through the public entry: the increment 0.9 L sqrt(rho/K)
// of unit shapes of every type, the two forms of the damping reduction about
// the threshold 200, the whole-batch failure of an unusable bulk modulus, and
// the invariants of rigid motion and length scaling.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::Call;
using sti_test::Mesh;
using sti_test::run;
using sti_test::single_element;
using sti_test::ulp_distance;

const Mesh kSquare = single_element({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}});
const Mesh kCube = single_element({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1},
                                   {1, 0, 1}, {1, 1, 1}, {0, 1, 1}});

Call acoustic(const char* name, const Mesh& mesh, float bulk, float damping) {
  Call c;
  c.name = name;
  c.mesh = mesh;
  c.material_code = 4242;  // not read on this path
  c.material_props = {bulk, damping};
  return c;
}

TEST(AcousticIncrement, UnitShapesOfEveryType) {
  // K = 1, rho = 1, no damping: dt = 0.9 L with L^2 = measure * lsq.
  struct Row {
    const char* name;
    Mesh mesh;
    double l_squared;
  };
  const Row rows[] = {
      {"AC2D4R", kSquare, 0.5},
      {"AC2D3", single_element({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), 1.0 / 3.0},
      {"ACAX4R", single_element({{1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}}), 1.5 * 27.0 / 86.0},
      {"ACAX3", single_element({{1, 0, 0}, {2, 0, 0}, {2, 1, 0}}), 5.0 / 6.0 * 30.0 / 103.0},
      {"AC3D8R", kCube, 1.0 / 3.0},
      {"AC3D4", single_element({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}), 1.0 / 12.0},
      {"AC3D6",
       single_element({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}}),
       0.5 * 9.0 / 23.0},
  };
  for (const Row& r : rows) {
    const auto out = run(acoustic(r.name, r.mesh, 1.0f, 0.0f));
    ASSERT_EQ(out.code, 0) << r.name;
    EXPECT_EQ(out.element_code[0], 0) << r.name;
    const float expected = static_cast<float>(0.9 * std::sqrt(r.l_squared));
    EXPECT_LE(ulp_distance(out.dt[0], expected), 4) << r.name;
  }
  // The unit square bit for bit: L = sqrt(0.5 * 1), then L * 0.9 * sqrt(1 * 1) * 1.
  EXPECT_EQ(bits(run(acoustic("AC2D4R", kSquare, 1.0f, 0.0f)).dt[0]),
            bits(std::sqrt(0.5f) * 0.9f));
}

TEST(AcousticIncrement, DampingFormsAboutTheThreshold) {
  // With K = rho = 1 the damping constant is xi itself.
  const float below = std::nextafter(200.0f, 0.0f);
  struct Row {
    const char* what;
    float xi, f;
  };
  const Row rows[] = {
      {"none", 0.0f, 1.0f},
      {"three quarters", 0.75f, 0.5f},  // sqrt(1 + 9/16) - 3/4, exact
      {"just below 200, root form", below, std::sqrt(below * below + 1.0f) - below},
      {"200, limit form", 200.0f, 0.5f / 200.0f},
      {"far above", 1.0e6f, 0.5f / 1.0e6f},
  };
  const float length_term = std::sqrt(0.5f) * 0.9f;
  for (const Row& r : rows) {
    const auto out = run(acoustic("AC2D4R", kSquare, 1.0f, r.xi));
    ASSERT_EQ(out.code, 0) << r.what;
    EXPECT_EQ(bits(out.dt[0]), bits(length_term * r.f)) << r.what;
  }
  // The forms differ just below the threshold: the root loses digits there.
  EXPECT_NE(bits(std::sqrt(below * below + 1.0f) - below), bits(0.5f / below));
}

TEST(AcousticIncrement, DampingScalesWithSlownessOfSound) {
  // xi = damping * sqrt(1 / (rho K)): rho = 4, K = 4, damping 3 gives xi = 3/4.
  Call c = acoustic("AC2D4R", kSquare, 4.0f, 3.0f);
  c.density = {4.0f};
  const auto out = run(c);
  EXPECT_EQ(bits(out.dt[0]), bits(std::sqrt(0.5f) * 0.9f * 1.0f * 0.5f));
}

TEST(AcousticIncrement, UnusableBulkModulusFailsTheWholeBatch) {
  const float tiny = std::bit_cast<float>(0x00800000u);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const Mesh batch = sti_test::repeated(kSquare, 3);
  for (float bulk : {0.0f, -5.0f, tiny, nan}) {
    Call c = acoustic("AC2D4R", batch, bulk, 0.0f);
    c.density = {1.0f, 0.0f, 1.0f};  // an element already failed is marked too
    const auto out = run(c);
    EXPECT_EQ(out.code, 200) << bulk;
    for (int e = 0; e < 3; ++e) {
      EXPECT_EQ(out.element_code[e], 200) << bulk << " element " << e;
      EXPECT_EQ(bits(out.dt[e]), bits(std::numeric_limits<float>::max())) << bulk;
    }
  }
  // Just above the smallest normal float the modulus is usable.
  const auto ok = run(acoustic("AC2D4R", kSquare, 2.0f * tiny, 0.0f));
  EXPECT_EQ(ok.code, 0);
  EXPECT_TRUE(std::isfinite(ok.dt[0]));
}

TEST(AcousticIncrement, BadElementsLeaveNeighboursAlone) {
  Mesh collapsed = kCube;
  for (float& v : collapsed.nodes) v = 2.0f;
  Mesh inverted = kCube;
  for (size_t i = 2; i < inverted.nodes.size(); i += 3) inverted.nodes[i] = -inverted.nodes[i];
  const Mesh batch = sti_test::joined({kCube, collapsed, kCube, inverted, kCube});
  Call c = acoustic("AC3D8R", batch, 1.0f, 0.1f);
  c.density = {1.0f, 1.0f, -1.0f, 1.0f, 1.0f};
  const auto out = run(c);
  const float alone = run(acoustic("AC3D8R", kCube, 1.0f, 0.1f)).dt[0];
  for (int e : {0, 4}) EXPECT_EQ(bits(out.dt[e]), bits(alone)) << e;
  EXPECT_EQ(out.element_code[1], 400);
  EXPECT_EQ(out.element_code[2], 200);  // density not positive
  EXPECT_EQ(out.element_code[3], 400);
  for (int e : {1, 2, 3}) EXPECT_EQ(bits(out.dt[e]), bits(std::numeric_limits<float>::max()));
}

TEST(AcousticIncrement, RigidMotionAndLengthScaling) {
  const Mesh brick = single_element({{0, 0, 0}, {1.1f, 0.1f, 0}, {1.0f, 1.2f, 0.1f},
                                     {-0.1f, 0.9f, 0}, {0.1f, 0, 1.0f}, {1.0f, -0.1f, 1.1f},
                                     {1.2f, 1.0f, 0.9f}, {0, 1.1f, 1.0f}});
  const Mesh quad = single_element({{0.1f, 0, 0}, {1.2f, 0.1f, 0}, {1.0f, 0.9f, 0},
                                    {-0.1f, 1.1f, 0}});
  const float brick_dt = run(acoustic("AC3D8R", brick, 2.5f, 0.0f)).dt[0];
  const float quad_dt = run(acoustic("AC2D4R", quad, 2.5f, 0.0f)).dt[0];
  for (unsigned seed = 1; seed <= 6; ++seed) {
    const Mesh b = sti_test::moved(brick, sti_test::random_rotation(seed), {0.3f, -1.0f, 2.0f});
    EXPECT_LE(ulp_distance(run(acoustic("AC3D8R", b, 2.5f, 0.0f)).dt[0], brick_dt), 8) << seed;
    const Mesh q =
        sti_test::moved(quad, sti_test::rotation_about_z(0.9 * seed), {-0.4f, 1.5f, 0.0f});
    EXPECT_LE(ulp_distance(run(acoustic("AC2D4R", q, 2.5f, 0.0f)).dt[0], quad_dt), 8) << seed;
  }
  // Doubling every length doubles the increment exactly.
  EXPECT_EQ(bits(run(acoustic("AC3D8R", sti_test::scaled(brick, 2.0f), 2.5f, 0.0f)).dt[0]),
            bits(2.0f * brick_dt));
  EXPECT_EQ(bits(run(acoustic("AC2D4R", sti_test::scaled(quad, 2.0f), 2.5f, 0.0f)).dt[0]),
            bits(2.0f * quad_dt));
}

TEST(AcousticIncrement, BatchBoundariesDoNotMatter) {
  const float alone = run(acoustic("AC3D8R", kCube, 3.0f, 0.2f)).dt[0];
  for (int copies : {1, 128, 129}) {
    const auto out = run(acoustic("AC3D8R", sti_test::repeated(kCube, copies), 3.0f, 0.2f));
    int mismatches = 0;
    for (int e = 0; e < copies; ++e) mismatches += bits(out.dt[e]) != bits(alone);
    EXPECT_EQ(mismatches, 0) << copies;
  }
}

}  // namespace
