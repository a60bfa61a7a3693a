// Physical invariants of the increment through the public entry, for every
// element name: rigid motions leave it unchanged, lengths x2 double it,
// density x4 doubles it, modulus x4 halves it, batches of 1, 128 and 129
// copies give every copy the increment of one, and failed elements in a batch
// leave their neighbours bit for bit alone.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::Call;
using sti_test::Mesh;
using sti_test::run;
using sti_test::single_element;
using sti_test::ulp_distance;
using P3 = std::array<float, 3>;

enum class Motion { kPlanar, kSolid, kAxial };

struct Row {
  std::vector<const char*> names;
  Mesh element;
  Motion motion;
  int rigid_ulp;      // rounding of the moved coordinates
  int collapsed_code; // public code of the element with every node at one point
  bool inverted_fails = false;
  bool acoustic = false;       // modulus is the bulk modulus, no damping
  bool shell = false;          // section thickness given
};

Mesh mid_sides(std::vector<P3> corners, const std::vector<std::array<int, 2>>& edges, float bend) {
  for (size_t i = 0; i < edges.size(); ++i) {
    const P3 a = corners[static_cast<size_t>(edges[i][0])];
    const P3 b = corners[static_cast<size_t>(edges[i][1])];
    const float w = 0.5f + bend * static_cast<float>(i % 3);
    corners.push_back({a[0] + w * (b[0] - a[0]), a[1] + w * (b[1] - a[1]), a[2] + w * (b[2] - a[2])});
  }
  return single_element(corners);
}

Mesh stack(std::vector<P3> bottom, P3 across) {
  std::vector<P3> nodes = bottom;
  for (const P3& b : bottom) nodes.push_back({b[0] + across[0], b[1] + across[1], b[2] + across[2]});
  return single_element(nodes);
}

std::vector<Row> rows() {
  const Mesh quad = single_element({{0.1f, 0, 0}, {1.2f, 0.1f, 0}, {1.0f, 0.9f, 0}, {-0.1f, 1.1f, 0}});
  const Mesh tri = single_element({{0, 0, 0}, {1.1f, 0.2f, 0}, {0.3f, 0.9f, 0}});
  const Mesh tri6 = mid_sides({{0, 0, 0}, {1.2f, 0.1f, 0}, {0.2f, 1.0f, 0}}, {{0, 1}, {1, 2}, {2, 0}}, 0.03f);
  const Mesh ring = single_element({{1.0f, 0, 0}, {2.1f, 0.1f, 0}, {1.9f, 1.2f, 0}, {1.1f, 0.9f, 0}});
  const Mesh ring3 = single_element({{1.0f, 0, 0}, {2.1f, 0.1f, 0}, {1.4f, 1.2f, 0}});
  const Mesh ring6 = mid_sides({{1.0f, 0, 0}, {2.2f, 0.1f, 0}, {1.3f, 1.0f, 0}}, {{0, 1}, {1, 2}, {2, 0}}, 0.03f);
  const Mesh hex = single_element({{0, 0, 0}, {1.1f, 0.1f, 0}, {1.0f, 1.2f, 0.1f}, {-0.1f, 0.9f, 0},
                                   {0.1f, 0, 1.0f}, {1.0f, -0.1f, 1.1f}, {1.2f, 1.0f, 0.9f}, {0, 1.1f, 1.0f}});
  const Mesh wedge = single_element({{0, 0, 0}, {1.1f, 0.1f, 0}, {0.1f, 0.9f, 0.1f}, {0, 0.1f, 1.0f},
                                     {1.0f, 0, 1.1f}, {0.2f, 1.0f, 0.9f}});
  const std::vector<P3> tet_corners = {{0, 0, 0}, {1.1f, 0.1f, 0}, {0.2f, 0.9f, 0.1f}, {0.1f, 0.2f, 1.0f}};
  const Mesh tet = single_element(tet_corners);
  const Mesh tet10 = mid_sides(tet_corners, {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}, 0.02f);
  // Warped surfaces with normals near +Z, and continuum shell stacks.
  const Mesh warped4 = single_element({{0, 0, 0}, {1.2f, 0, 0.1f}, {1, 1, -0.1f}, {0, 0.9f, 0.05f}});
  const Mesh warped3 = single_element({{0, 0, 0}, {1.2f, 0, 0.1f}, {1, 1, -0.1f}});
  const Mesh sc8 = stack({{0, 0, 0}, {1, 0, 0.1f}, {1, 1, 0}, {0, 1, 0.1f}}, {0.05f, -0.03f, 0.2f});
  const Mesh sc6 = stack({{0, 0, 0}, {1, 0, 0.1f}, {1, 1, 0}}, {0.05f, -0.03f, 0.2f});
  const Mesh sax = single_element({{1.0f, 0, 0}, {1.4f, 0.7f, 0}});
  const Mesh coh8 = stack({{0, 0, 0}, {1.2f, 0.1f, 0}, {1.1f, 0.9f, 0.05f}, {0.1f, 1, 0}}, {0.05f, 0.02f, 0.3f});
  const Mesh coh6 = stack({{0, 0, 0}, {1, 0.1f, 0}, {0.2f, 0.9f, 0.1f}}, {0.02f, 0.01f, 0.25f});
  const Mesh coh2 = single_element({{0, 0, 0}, {2, 0.1f, 0}, {2.05f, 0.4f, 0}, {0.02f, 0.35f, 0}});
  const Mesh cohax = single_element({{1, 0, 0}, {1.2f, 2, 0}, {0.9f, 2.05f, 0}, {0.7f, 0.02f, 0}});
  const Mesh line3 = single_element({{0.3f, -1.2f, 2.0f}, {1.1f, 0.4f, 2.5f}});
  const Mesh line2 = single_element({{0.3f, -1.2f, 0}, {1.1f, 0.4f, 0}});
  const Mesh curve2 = single_element({{0.1f, -0.3f, 0}, {1.3f, 0.5f, 0}, {2.2f, 0.9f, 0}});
  const Mesh curve3 = single_element({{0.1f, -0.3f, 2.0f}, {1.3f, 0.5f, 2.4f}, {2.2f, 0.9f, 3.3f}});
  using M = Motion;
  return {
      {{"CPS4R", "CPS4RT", "CPE4R", "CPE4RT"}, quad, M::kPlanar, 8, 400, true},
      {{"CPS3", "CPS3T", "CPE3", "CPE3T"}, tri, M::kPlanar, 8, 400, true},
      {{"CPS6M", "CPS6MT", "CPE6M", "CPE6MT"}, tri6, M::kPlanar, 8, 400, true},
      {{"CAX4R", "CAX4RT"}, ring, M::kAxial, 8, 400, true},
      {{"CAX3", "CAX3T"}, ring3, M::kAxial, 8, 400, true},
      {{"CAX6M", "CAX6MT"}, ring6, M::kAxial, 8, 400, true},
      {{"C3D8", "C3D8I", "C3D8R", "C3D8T", "C3D8RT"}, hex, M::kSolid, 8, 400, true},
      {{"C3D6", "C3D6T"}, wedge, M::kSolid, 8, 400, true},
      {{"C3D4", "C3D4T"}, tet, M::kSolid, 8, 400, true},
      {{"C3D10M", "C3D10MT"}, tet10, M::kSolid, 16, 400, true},
      {{"AC2D4R"}, quad, M::kPlanar, 8, 400, true, true},
      {{"AC2D3"}, tri, M::kPlanar, 8, 400, true, true},
      {{"ACAX4R"}, ring, M::kAxial, 8, 400, true, true},
      {{"ACAX3"}, ring3, M::kAxial, 8, 400, true, true},
      {{"AC3D8R"}, hex, M::kSolid, 8, 400, true, true},
      {{"AC3D6"}, wedge, M::kSolid, 8, 400, true, true},
      {{"AC3D4"}, tet, M::kSolid, 8, 400, true, true},
      {{"T3D2"}, line3, M::kSolid, 8, 400},
      {{"T2D2"}, line2, M::kPlanar, 8, 400},
      {{"B31"}, line3, M::kSolid, 16, 400},
      {{"B21"}, line2, M::kPlanar, 16, 400},
      {{"B22"}, curve2, M::kPlanar, 16, 400},
      {{"B32"}, curve3, M::kSolid, 16, 400},
      {{"M3D4", "M3D4R", "S4", "S4R", "S4RT", "S4RS", "S4RSW"}, warped4, M::kSolid, 16, 400,
       false, false, true},
      {{"M3D3", "S3", "S3R", "S3T", "S3RT", "S3RS"}, warped3, M::kSolid, 16, 400, false, false, true},
      {{"SC8R"}, sc8, M::kSolid, 16, 400, false, false, true},
      {{"SC6R"}, sc6, M::kSolid, 16, 400, false, false, true},
      {{"SAX1"}, sax, M::kAxial, 32, 400, false, false, true},
      // The collapsed surface has no frame, so its thickness status (code 100)
      // comes last and overrides the area's.
      {{"COH3D8"}, coh8, M::kSolid, 64, 100},
      {{"COH3D6"}, coh6, M::kSolid, 64, 100},
      {{"COH2D4"}, coh2, M::kPlanar, 64, 100},
      {{"COHAX4"}, cohax, M::kAxial, 16, 100},
  };
}

Call call_of(const Row& row, const char* name, const Mesh& mesh) {
  Call c;
  c.name = name;
  c.mesh = mesh;
  const auto n = static_cast<size_t>(mesh.element_count());
  if (row.acoustic) c.material_props = {200.0f, 0.0f};
  if (row.shell) c.thickness = std::vector<float>(n, 0.7f);
  return c;
}

float single_dt(const Call& c) {
  const auto r = run(c);
  EXPECT_EQ(r.code, 0) << c.name;
  EXPECT_EQ(r.element_code[0], 0) << c.name;
  EXPECT_TRUE(std::isfinite(r.dt[0]) && r.dt[0] > 0.0f) << c.name;
  return r.dt[0];
}

Mesh moved(const Row& row, unsigned seed) {
  const float shift = 0.25f * static_cast<float>(seed);
  switch (row.motion) {
    case Motion::kPlanar:
      return sti_test::moved(row.element, sti_test::rotation_about_z(0.7 * seed), {shift, -shift, 0});
    case Motion::kAxial:  // only a shift along the axis keeps a ring a ring
      return sti_test::moved(row.element, sti_test::rotation_about_z(0.0), {0, shift, 0});
    case Motion::kSolid:
      break;
  }
  // Surfaces lie near +Z: keep their normals well outside the tie-break cone about X.
  for (unsigned s = seed;; s += 100) {
    const auto r = sti_test::random_rotation(s);
    if (std::fabs(r[0][2]) <= 0.8f) return sti_test::moved(row.element, r, {shift, -2.0f * shift, 0.5f});
  }
}

TEST(Invariants, CoverEveryElementName) {
  int names = 0;
  for (const Row& row : rows()) names += static_cast<int>(row.names.size());
  EXPECT_EQ(names, 62);
}

TEST(Invariants, RigidMotion) {
  for (const Row& row : rows())
    for (const char* name : row.names) {
      const float base = single_dt(call_of(row, name, row.element));
      for (unsigned seed = 1; seed <= 8; ++seed)
        EXPECT_LE(ulp_distance(single_dt(call_of(row, name, moved(row, seed))), base), row.rigid_ulp)
            << name << " seed " << seed;
    }
}

// Powers of two scale every intermediate exactly, so these hold bit for bit.
TEST(Invariants, LengthDensityAndModulus) {
  for (const Row& row : rows())
    for (const char* name : row.names) {
      const Call base_call = call_of(row, name, row.element);
      const float base = single_dt(base_call);
      const float longer = single_dt(call_of(row, name, sti_test::scaled(row.element, 2.0f)));
      EXPECT_EQ(bits(longer), bits(2.0f * base)) << name << " length x2";
      Call denser = base_call;
      denser.density = {4.0f};
      EXPECT_EQ(bits(single_dt(denser)), bits(2.0f * base)) << name << " density x4";
      Call stiffer = base_call;
      stiffer.material_props[0] *= 4.0f;
      EXPECT_EQ(bits(single_dt(stiffer)), bits(0.5f * base)) << name << " modulus x4";
    }
}

TEST(Invariants, BatchesOf1And128And129) {
  for (const Row& row : rows())
    for (const char* name : row.names) {
      const float alone = single_dt(call_of(row, name, row.element));
      for (int copies : {1, 128, 129}) {
        const auto r = run(call_of(row, name, sti_test::repeated(row.element, copies)));
        ASSERT_EQ(r.code, 0) << name;
        int mismatches = 0;
        for (int e = 0; e < copies; ++e) mismatches += bits(r.dt[e]) != bits(alone) || r.element_code[e] != 0;
        EXPECT_EQ(mismatches, 0) << name << " x" << copies;
      }
    }
}

TEST(Invariants, FailedElementsLeaveNeighboursAlone) {
  for (const Row& row : rows()) {
    Mesh collapsed = row.element;
    for (size_t i = 0; i < collapsed.nodes.size(); ++i) collapsed.nodes[i] = 1.5f + static_cast<float>(i % 3);
    Mesh inverted = row.element;  // mirror image in the second component
    for (size_t i = 1; i < inverted.nodes.size(); i += 3) inverted.nodes[i] = -inverted.nodes[i];
    std::vector<Mesh> parts(130, row.element);
    parts[1] = collapsed;
    if (row.inverted_fails) parts[128] = inverted;
    for (const char* name : row.names) {
      const float alone = single_dt(call_of(row, name, row.element));
      const auto r = run(call_of(row, name, sti_test::joined(parts)));
      EXPECT_EQ(r.code, row.collapsed_code) << name;
      for (int e = 0; e < 130; ++e) {
        const bool bad = e == 1 || (row.inverted_fails && e == 128);
        if (bad) {
          EXPECT_EQ(r.element_code[e], row.collapsed_code) << name << " element " << e;
        } else {
          // In a batch with failures the codes of sound elements are not written.
          if (e < 128) {
            EXPECT_EQ(r.element_code[e], sti_test::kUntouchedCode) << name << " element " << e;
          }
          EXPECT_EQ(bits(r.dt[e]), bits(alone)) << name << " element " << e;
        }
      }
    }
  }
}

}  // namespace
