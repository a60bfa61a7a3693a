// Well-shaped single elements for every catalogue name, and the material each
// family is called with: the shared input of the reliability tests (concurrent
// callers, floating-point traps, hostile inputs).
#pragma once

#include <array>
#include <string>
#include <vector>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace sti_test {

using Points = std::vector<std::array<float, 3>>;

inline const std::vector<std::string>& catalogue_names() {
  static const std::vector<std::string> names = {
      "AC2D3",  "AC2D4R", "AC3D4",  "AC3D6",  "AC3D8R", "ACAX3",  "ACAX4R", "B21",    "B22",
      "B31",    "B32",    "C3D10M", "C3D10MT", "C3D4",  "C3D4T",  "C3D6",   "C3D6T",  "C3D8",
      "C3D8I",  "C3D8R",  "C3D8RT", "C3D8T",  "CAX3",   "CAX3T",  "CAX4R",  "CAX4RT", "CAX6M",
      "CAX6MT", "COH2D4", "COH3D6", "COH3D8", "COHAX4", "CPE3",   "CPE3T",  "CPE4R",  "CPE4RT",
      "CPE6M",  "CPE6MT", "CPS3",   "CPS3T",  "CPS4R",  "CPS4RT", "CPS6M",  "CPS6MT", "M3D3",
      "M3D4",   "M3D4R",  "S3",     "S3R",    "S3RS",   "S3T",    "S3RT",   "S4",     "S4R",
      "S4RS",   "S4RSW",  "S4RT",   "SAX1",   "SC6R",   "SC8R",   "T2D2",   "T3D2"};
  return names;
}

inline bool starts_with(const std::string& s, const char* prefix) {
  return s.rfind(prefix, 0) == 0;
}
inline bool is_acoustic(const std::string& n) { return starts_with(n, "AC"); }
inline bool is_cohesive(const std::string& n) { return starts_with(n, "COH"); }
inline bool is_line(const std::string& n) {
  return starts_with(n, "B") || starts_with(n, "T") || n == "SAX1";
}

// Nodes in a connectivity row of the named type (0 for unknown names).
inline int node_count(const std::string& n) {
  int id = 0, nodes = 0, points = 0, status = 0;
  const int length = static_cast<int>(n.size());
  sti_ele_typefromname(&id, &nodes, &points, &status, n.data(), &length);
  return nodes;
}

// Node coordinates of one well-shaped element of the named type: unit-sized,
// away from the axis (axisymmetric radii are positive), nodes in the usual
// order (corners first, then mid-side nodes).
inline Points well_shaped_points(const std::string& n) {
  const bool tet = n == "C3D4" || n == "C3D4T" || n == "AC3D4";
  const bool tet10 = starts_with(n, "C3D10");
  const bool wedge = n == "C3D6" || n == "C3D6T" || n == "AC3D6" || n == "COH3D6" || n == "SC6R";
  const bool hex = starts_with(n, "C3D8") || n == "AC3D8R" || n == "SC8R" || n == "COH3D8";
  const bool tri6 = n.find("6M") != std::string::npos;
  if (n == "B22" || n == "B32") return {{1, 0, 0}, {2, 0, 0}, {1.5f, 0, 0}};
  if (is_line(n)) return {{1, 0, 0}, {2, 0, 0}};
  if (tet) return {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  if (tet10)
    return {{0, 0, 0},    {1, 0, 0},    {0, 1, 0},       {0, 0, 1},    {0.5f, 0, 0},
            {0.5f, 0.5f, 0}, {0, 0.5f, 0}, {0, 0, 0.5f}, {0.5f, 0, 0.5f}, {0, 0.5f, 0.5f}};
  if (n == "COH3D6")
    return {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0.1f}, {1, 0, 0.1f}, {0, 1, 0.1f}};
  if (wedge) return {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}};
  if (n == "COH3D8")
    return {{0, 0, 0},    {1, 0, 0},    {1, 1, 0},    {0, 1, 0},
            {0, 0, 0.1f}, {1, 0, 0.1f}, {1, 1, 0.1f}, {0, 1, 0.1f}};
  if (hex)
    return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
            {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
  if (tri6)
    return {{1, 0, 0}, {2, 0, 0}, {1, 1, 0}, {1.5f, 0, 0}, {1.5f, 0.5f, 0}, {1, 0.5f, 0}};
  if (is_cohesive(n)) return {{1, 0, 0}, {2, 0, 0}, {2, 0.1f, 0}, {1, 0.1f, 0}};
  if (node_count(n) == 3) return {{1, 0, 0}, {2, 0, 0}, {1, 1, 0}};
  return {{1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}};
}

// A call on `copies` well-shaped elements of the named type, each copy moved
// and scaled a little so that the elements differ, with a sound material.
inline Call well_shaped_call(const std::string& name, int copies = 1, float scale = 1.0f) {
  Call c;
  c.name = name;
  std::vector<Mesh> parts;
  for (int i = 0; i < copies; ++i)
    parts.push_back(scaled(single_element(well_shaped_points(name)),
                           scale * (1.0f + 0.01f * static_cast<float>(i % 17))));
  c.mesh = joined(parts);
  const int count = c.mesh.element_count();
  c.density.assign(static_cast<std::size_t>(count), 7.8f);
  c.thickness = std::vector<float>(static_cast<std::size_t>(count), 0.5f);
  if (is_acoustic(name)) {
    c.material_code = 100;
    c.material_props = {2.2f, 0.0f};
  }
  if (is_cohesive(name)) c.cohesive_params = std::array<float, 2>{-1.0f, 1.0f};
  return c;
}

}  // namespace sti_test
