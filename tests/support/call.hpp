// Test support: building public calls from small meshes, rigid motions and
// scalings of meshes, and float comparison by bits and by ulp distance.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sti_test {

// Written into element_code before a call, so that untouched entries show.
inline constexpr int kUntouchedCode = -12345;

inline std::uint32_t bits(float v) { return std::bit_cast<std::uint32_t>(v); }

// Distance in units in the last place between two finite floats of any sign.
std::int64_t ulp_distance(float a, float b);

struct Mesh {
  std::vector<float> nodes;        // three floats per node
  std::vector<int> connectivity;   // zero-based, nodes_per_element per row
  int nodes_per_element = 0;
  int element_count() const {
    return nodes_per_element ? static_cast<int>(connectivity.size()) / nodes_per_element : 0;
  }
  int node_count() const { return static_cast<int>(nodes.size()) / 3; }
};

// One element from its node coordinates, given as {x, y, z} triples.
Mesh single_element(const std::vector<std::array<float, 3>>& points);
// Concatenation of meshes of the same type.
Mesh joined(const std::vector<Mesh>& parts);

using Matrix3 = std::array<std::array<float, 3>, 3>;
// Rotation by angle (radians) about an axis of any length, in double then rounded.
Matrix3 rotation(std::array<double, 3> axis, double angle);
Mesh moved(const Mesh& mesh, const Matrix3& rotation, std::array<float, 3> translation);
Mesh scaled(const Mesh& mesh, float factor);

struct Call {
  std::string name;
  Mesh mesh;
  int material_code = 100;
  std::vector<float> material_props = {200.0f, 0.3f};
  std::vector<float> density;                      // empty: 1.0 for every element
  std::optional<std::vector<float>> thickness;     // nullopt: null pointer
  float bulk_scale = 0.0f;
  std::optional<std::array<float, 3>> section_damping = std::array<float, 3>{1.0f, 0.0f, 0.0f};
  std::optional<std::array<float, 2>> cohesive_params;  // nullopt: null pointer
};

struct Result {
  int code = 0;
  std::vector<float> dt;
  std::vector<int> element_code;
};

// Same call code, element codes and increment bits.
bool same_bits(const Result& a, const Result& b);

// Runs sti_StableTime. Outputs are prefilled: dt with NaN, codes with
// kUntouchedCode, each with two guard entries past the end that must survive.
Result run(const Call& call);

}  // namespace sti_test
