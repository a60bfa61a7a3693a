// One sound, slightly distorted element of every catalogue name, with what its
// family admits: the shared input of the invariants, concurrent-caller, trap
// and hostile-input tests.
#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/call.hpp"

namespace sti_test {

using P3 = std::array<float, 3>;

enum class Motion { kPlanar, kSolid, kAxial };

struct Family {
  std::vector<const char*> names;
  Mesh element;
  Motion motion;      // the rigid motions that keep the element what it is
  int rigid_ulp;      // rounding of the moved coordinates
  int collapsed_code; // public code of the element with every node at one point
  bool inverted_fails = false;
  bool acoustic = false;  // modulus is the bulk modulus, no damping
};

inline Mesh mid_sides(std::vector<P3> corners, const std::vector<std::array<int, 2>>& edges, float bend) {
  for (size_t i = 0; i < edges.size(); ++i) {
    const P3 a = corners[static_cast<size_t>(edges[i][0])];
    const P3 b = corners[static_cast<size_t>(edges[i][1])];
    const float w = 0.5f + bend * static_cast<float>(i % 3);
    corners.push_back({a[0] + w * (b[0] - a[0]), a[1] + w * (b[1] - a[1]), a[2] + w * (b[2] - a[2])});
  }
  return single_element(corners);
}

inline Mesh stack(std::vector<P3> bottom, P3 across) {
  std::vector<P3> nodes = bottom;
  for (const P3& b : bottom) nodes.push_back({b[0] + across[0], b[1] + across[1], b[2] + across[2]});
  return single_element(nodes);
}

inline const std::vector<Family>& families() {
  static const std::vector<Family> table = [] {
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
  return std::vector<Family>{
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
      {{"M3D4", "M3D4R", "S4", "S4R", "S4RT", "S4RS", "S4RSW"}, warped4, M::kSolid, 16, 400},
      {{"M3D3", "S3", "S3R", "S3T", "S3RT", "S3RS"}, warped3, M::kSolid, 16, 400},
      {{"SC8R"}, sc8, M::kSolid, 16, 400},
      {{"SC6R"}, sc6, M::kSolid, 16, 400},
      {{"SAX1"}, sax, M::kAxial, 32, 400},
      // The collapsed surface has no frame, so its thickness status (code 100)
      // comes last and overrides the area's.
      {{"COH3D8"}, coh8, M::kSolid, 64, 100},
      {{"COH3D6"}, coh6, M::kSolid, 64, 100},
      {{"COH2D4"}, coh2, M::kPlanar, 64, 100},
      {{"COHAX4"}, cohax, M::kAxial, 16, 100},
  };
  }();
  return table;
}


inline const Family& family_of(const std::string& name) {
  for (const Family& f : families())
    for (const char* n : f.names)
      if (name == n) return f;
  throw std::invalid_argument("no element for " + name);
}

inline std::vector<std::string> catalogue_names() {
  std::vector<std::string> names;
  for (const Family& f : families()) names.insert(names.end(), f.names.begin(), f.names.end());
  return names;
}

inline bool is_acoustic(const std::string& n) { return family_of(n).acoustic; }
inline bool is_cohesive(const std::string& n) { return family_of(n).collapsed_code == 100; }

// A call on `mesh` with a sound material: E = 200, nu = 0.3 (a bulk modulus
// of 200 for acoustic types), density 7.8, thickness 0.5, a given cohesive width.
inline Call call_on(const std::string& name, const Mesh& mesh) {
  Call c;
  c.name = name;
  c.mesh = mesh;
  const auto n = static_cast<std::size_t>(mesh.element_count());
  c.density.assign(n, 7.8f);
  c.thickness = std::vector<float>(n, 0.5f);
  if (is_acoustic(name)) c.material_props = {200.0f, 0.0f};
  if (is_cohesive(name)) c.cohesive_params = std::array<float, 2>{-1.0f, 1.0f};
  return c;
}

// `copies` elements of the named type, each scaled a little so that they differ.
inline Call well_shaped_call(const std::string& name, int copies = 1, float scale = 1.0f) {
  std::vector<Mesh> parts;
  for (int i = 0; i < copies; ++i)
    parts.push_back(scaled(family_of(name).element, scale * (1.0f + 0.01f * static_cast<float>(i % 17))));
  return call_on(name, joined(parts));
}

}  // namespace sti_test
