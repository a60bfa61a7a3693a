#include "support/call.hpp"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "stabletime/stabletime.h"

namespace sti_test {

std::int64_t ulp_distance(float a, float b) {
  auto ordered = [](float v) {
    const auto i = static_cast<std::int64_t>(std::bit_cast<std::int32_t>(v));
    return i < 0 ? std::int64_t{INT32_MIN} - i : i;
  };
  const std::int64_t d = ordered(a) - ordered(b);
  return d < 0 ? -d : d;
}

Mesh single_element(const std::vector<std::array<float, 3>>& points) {
  Mesh m;
  m.nodes_per_element = static_cast<int>(points.size());
  for (int i = 0; i < m.nodes_per_element; ++i) {
    m.nodes.insert(m.nodes.end(), points[i].begin(), points[i].end());
    m.connectivity.push_back(i);
  }
  return m;
}

Mesh joined(const std::vector<Mesh>& parts) {
  Mesh m;
  for (const Mesh& p : parts) {
    if (m.nodes_per_element == 0) m.nodes_per_element = p.nodes_per_element;
    if (p.nodes_per_element != m.nodes_per_element)
      throw std::invalid_argument("joined: meshes of different types");
    const int offset = m.node_count();
    m.nodes.insert(m.nodes.end(), p.nodes.begin(), p.nodes.end());
    for (int node : p.connectivity) m.connectivity.push_back(node + offset);
  }
  return m;
}

Matrix3 rotation(std::array<double, 3> axis, double angle) {
  // Rodrigues: cos(a) I + sin(a) [k]x + (1 - cos(a)) k k^T for the unit axis k.
  const double norm = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
  for (double& v : axis) v /= norm;
  const double c = std::cos(angle), s = std::sin(angle);
  Matrix3 m{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      const double cross = i == j ? 0.0 : (j == (i + 1) % 3 ? -1 : 1) * axis[3 - i - j];
      m[i][j] = static_cast<float>((i == j ? c : 0.0) + s * cross + (1 - c) * axis[i] * axis[j]);
    }
  return m;
}

Mesh moved(const Mesh& mesh, const Matrix3& r, std::array<float, 3> t) {
  Mesh m = mesh;
  for (int i = 0; i < mesh.node_count(); ++i) {
    const double x = mesh.nodes[3 * i], y = mesh.nodes[3 * i + 1], z = mesh.nodes[3 * i + 2];
    for (int k = 0; k < 3; ++k)
      m.nodes[3 * i + k] = static_cast<float>(r[k][0] * x + r[k][1] * y + r[k][2] * z + t[k]);
  }
  return m;
}

Mesh scaled(const Mesh& mesh, float factor) {
  Mesh m = mesh;
  for (float& v : m.nodes) v *= factor;
  return m;
}

bool same_bits(const Result& a, const Result& b) {
  if (a.code != b.code || a.element_code != b.element_code || a.dt.size() != b.dt.size())
    return false;
  for (std::size_t i = 0; i < a.dt.size(); ++i)
    if (bits(a.dt[i]) != bits(b.dt[i])) return false;
  return true;
}

Result run(const Call& call) {
  const int n = call.mesh.element_count();
  const std::vector<float> density =
      call.density.empty() ? std::vector<float>(static_cast<size_t>(n > 0 ? n : 0), 1.0f)
                           : call.density;
  Result r;
  const size_t slots = static_cast<size_t>(n > 0 ? n : 0) + 2;
  r.dt.assign(slots, std::numeric_limits<float>::quiet_NaN());
  r.element_code.assign(slots, kUntouchedCode);
  r.code = sti_StableTime(call.name.c_str(), call.mesh.node_count(), n, call.mesh.nodes.data(),
                          call.mesh.connectivity.data(), call.material_code,
                          call.material_props.data(), density.data(),
                          call.thickness ? call.thickness->data() : nullptr, call.bulk_scale,
                          call.section_damping ? call.section_damping->data() : nullptr,
                          call.cohesive_params ? call.cohesive_params->data() : nullptr,
                          r.dt.data(), r.element_code.data());
  // Guard entries past the end must be untouched.
  if (!std::isnan(r.dt[slots - 1]) || !std::isnan(r.dt[slots - 2]) ||
      r.element_code[slots - 1] != kUntouchedCode || r.element_code[slots - 2] != kUntouchedCode)
    throw std::runtime_error("sti_StableTime wrote past element_count");
  r.dt.resize(slots - 2);
  r.element_code.resize(slots - 2);
  return r;
}

}  // namespace sti_test
