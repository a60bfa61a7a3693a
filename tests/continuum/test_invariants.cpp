// Physical invariants of the continuum increment through the public entry,
// for every continuum family: rigid motions leave it unchanged, scaling all
// lengths by 2 doubles it, density x4 doubles it, modulus x4 halves it, bad
// elements in a batch leave their neighbours bit for bit alone, and batches of
// 1, 128 and 129 copies give every copy the increment of one.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::Call;
using sti_test::Mesh;
using sti_test::run;
using sti_test::ulp_distance;

enum class Motion { kPlanar, kSolid, kAxial };

struct Family {
  std::vector<const char*> names;
  Mesh element;
  Motion motion;
};

Mesh mid_sides(std::vector<std::array<float, 3>> corners,
               const std::vector<std::array<int, 2>>& edges, float bend) {
  for (size_t i = 0; i < edges.size(); ++i) {
    const auto& a = corners[static_cast<size_t>(edges[i][0])];
    const auto& b = corners[static_cast<size_t>(edges[i][1])];
    const float w = 0.5f + bend * static_cast<float>(i % 3);
    corners.push_back({a[0] + w * (b[0] - a[0]), a[1] + w * (b[1] - a[1]),
                       a[2] + w * (b[2] - a[2])});
  }
  return sti_test::single_element(corners);
}

std::vector<Family> families() {
  using sti_test::single_element;
  const Mesh quad = single_element({{0.1f, 0.0f, 0}, {1.2f, 0.1f, 0}, {1.0f, 0.9f, 0},
                                    {-0.1f, 1.1f, 0}});
  const Mesh tri = single_element({{0, 0, 0}, {1.1f, 0.2f, 0}, {0.3f, 0.9f, 0}});
  const Mesh tri6 = mid_sides({{0, 0, 0}, {1.2f, 0.1f, 0}, {0.2f, 1.0f, 0}},
                              {{0, 1}, {1, 2}, {2, 0}}, 0.03f);
  const Mesh ring = single_element({{1.0f, 0.0f, 0}, {2.1f, 0.1f, 0}, {1.9f, 1.2f, 0},
                                    {1.1f, 0.9f, 0}});
  const Mesh ring_tri = single_element({{1.0f, 0.0f, 0}, {2.1f, 0.1f, 0}, {1.4f, 1.2f, 0}});
  const Mesh ring6 = mid_sides({{1.0f, 0.0f, 0}, {2.2f, 0.1f, 0}, {1.3f, 1.0f, 0}},
                               {{0, 1}, {1, 2}, {2, 0}}, 0.03f);
  const Mesh hex = single_element({{0, 0, 0}, {1.1f, 0.1f, 0}, {1.0f, 1.2f, 0.1f},
                                   {-0.1f, 0.9f, 0}, {0.1f, 0, 1.0f}, {1.0f, -0.1f, 1.1f},
                                   {1.2f, 1.0f, 0.9f}, {0, 1.1f, 1.0f}});
  const Mesh wedge = single_element({{0, 0, 0}, {1.1f, 0.1f, 0}, {0.1f, 0.9f, 0.1f},
                                     {0, 0.1f, 1.0f}, {1.0f, 0, 1.1f}, {0.2f, 1.0f, 0.9f}});
  const Mesh tet = single_element({{0, 0, 0}, {1.1f, 0.1f, 0}, {0.2f, 0.9f, 0.1f},
                                   {0.1f, 0.2f, 1.0f}});
  const Mesh tet10 = mid_sides({{0, 0, 0}, {1.1f, 0.1f, 0}, {0.2f, 0.9f, 0.1f}, {0.1f, 0.2f, 1.0f}},
                               {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}, 0.02f);
  return {
      {{"CPS4R", "CPS4RT", "CPE4R", "CPE4RT"}, quad, Motion::kPlanar},
      {{"CPS3", "CPS3T", "CPE3", "CPE3T"}, tri, Motion::kPlanar},
      {{"CPS6M", "CPS6MT", "CPE6M", "CPE6MT"}, tri6, Motion::kPlanar},
      {{"CAX4R", "CAX4RT"}, ring, Motion::kAxial},
      {{"CAX3", "CAX3T"}, ring_tri, Motion::kAxial},
      {{"CAX6M", "CAX6MT"}, ring6, Motion::kAxial},
      {{"C3D8", "C3D8I", "C3D8R", "C3D8T", "C3D8RT"}, hex, Motion::kSolid},
      {{"C3D6", "C3D6T"}, wedge, Motion::kSolid},
      {{"C3D4", "C3D4T"}, tet, Motion::kSolid},
      {{"C3D10M", "C3D10MT"}, tet10, Motion::kSolid},
  };
}

Call call_of(const char* name, const Mesh& mesh) {
  Call c;
  c.name = name;
  c.mesh = mesh;
  return c;
}

float single_dt(const char* name, const Mesh& mesh) {
  const auto r = run(call_of(name, mesh));
  EXPECT_EQ(r.code, 0) << name;
  EXPECT_EQ(r.element_code[0], 0) << name;
  EXPECT_TRUE(std::isfinite(r.dt[0]) && r.dt[0] > 0.0f && r.dt[0] < 1.0f) << name;
  return r.dt[0];
}

// The mirror image in the second component: every family turns inside out.
Mesh mirrored(const Mesh& m) {
  Mesh out = m;
  for (size_t i = 1; i < out.nodes.size(); i += 3) out.nodes[i] = -out.nodes[i];
  return out;
}

Mesh collapsed(const Mesh& m) {
  Mesh out = m;
  for (size_t i = 0; i < out.nodes.size(); ++i) out.nodes[i] = 1.5f + static_cast<float>(i % 3);
  return out;
}

TEST(ContinuumInvariants, RigidMotionLeavesIncrementUnchanged) {
  for (const Family& f : families()) {
    for (const char* name : f.names) {
      const float base = single_dt(name, f.element);
      for (unsigned seed = 1; seed <= 6; ++seed) {
        Mesh m;
        const float shift = 0.25f * static_cast<float>(seed);
        switch (f.motion) {
          case Motion::kPlanar:
            m = sti_test::moved(f.element, sti_test::rotation_about_z(0.7 * seed),
                                {shift, -shift, 3.0f});
            break;
          case Motion::kSolid:
            m = sti_test::moved(f.element, sti_test::random_rotation(seed),
                                {shift, -2.0f * shift, 0.5f});
            break;
          case Motion::kAxial:  // only a shift along the axis keeps a ring a ring
            m = sti_test::moved(f.element, sti_test::rotation_about_z(0.0), {0, shift, 0});
            break;
        }
        // Rounding of the moved coordinates: a few ulp of the increment.
        EXPECT_LE(ulp_distance(single_dt(name, m), base), 8) << name << " seed " << seed;
      }
    }
  }
}

TEST(ContinuumInvariants, ScalesWithLengthDensityAndModulus) {
  // Powers of two scale every intermediate exactly, so these hold bit for bit.
  for (const Family& f : families()) {
    for (const char* name : f.names) {
      const float base = single_dt(name, f.element);
      EXPECT_EQ(bits(single_dt(name, sti_test::scaled(f.element, 2.0f))), bits(2.0f * base))
          << name;
      Call denser = call_of(name, f.element);
      denser.density = {4.0f};
      EXPECT_EQ(bits(run(denser).dt[0]), bits(2.0f * base)) << name;
      Call stiffer = call_of(name, f.element);
      stiffer.material_props = {800.0f, 0.3f};
      EXPECT_EQ(bits(run(stiffer).dt[0]), bits(0.5f * base)) << name;
    }
  }
}

TEST(ContinuumInvariants, BadElementsLeaveNeighboursAlone) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const Family& f : families()) {
    Mesh with_nan = f.element;
    with_nan.nodes[3] = nan;  // x of the second node
    const Mesh batch = sti_test::joined(
        {f.element, collapsed(f.element), f.element, mirrored(f.element), with_nan, f.element});
    for (const char* name : f.names) {
      const float alone = single_dt(name, f.element);
      const auto r = run(call_of(name, batch));
      for (int e : {0, 2, 5}) {
        // In a batch with failures the codes of sound elements are not written.
        EXPECT_EQ(r.element_code[e], sti_test::kUntouchedCode) << name << " element " << e;
        EXPECT_EQ(bits(r.dt[e]), bits(alone)) << name << " element " << e;
      }
      for (int e : {1, 3}) {  // collapsed and inside out: degenerate geometry
        EXPECT_EQ(r.element_code[e], 400) << name << " element " << e;
        EXPECT_TRUE(std::isfinite(r.dt[e])) << name << " element " << e;
      }
      EXPECT_EQ(r.code, 400) << name;
    }
  }
}

TEST(ContinuumInvariants, BatchBoundariesDoNotMatter) {
  for (const Family& f : families()) {
    const char* name = f.names.front();
    const float alone = single_dt(name, f.element);
    for (int copies : {1, 128, 129}) {
      const auto r = run(call_of(name, sti_test::repeated(f.element, copies)));
      ASSERT_EQ(static_cast<int>(r.dt.size()), copies);
      int mismatches = 0;
      for (int e = 0; e < copies; ++e) mismatches += bits(r.dt[e]) != bits(alone);
      EXPECT_EQ(mismatches, 0) << name << " x" << copies;
    }
  }
}

}  // namespace
