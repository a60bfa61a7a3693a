// Acoustic elements: the characteristic length from the continuum geometry
// run on unit density and thickness (L^2 = measure * lsq), and the increment
// 0.9 L / c, c = sqrt(K / rho), shortened by the fluid damping of the
// highest mode with the damped central-difference factor sqrt(1 + xi^2) - xi.
#include <cmath>

#include "common/numerics.hpp"
#include "continuum/continuum.hpp"
#include "continuum/hexahedron_measure.hpp"
#include "acoustic/acoustic.hpp"

namespace sti::acoustic {

namespace {
inline constexpr int kPlanar = 0x902404;
inline constexpr int kAxisymmetric = 0x906404;
inline constexpr int kSolid = 0x903C08;
inline constexpr float kSafetyFactor = 0.9f;
}  // namespace

void element_length(int n, int* STI_RESTRICT elem_status, int shape_code,
                    const float* STI_RESTRICT tri_flag, const float* STI_RESTRICT coords_g,
                    float* STI_RESTRICT element_mass, float* STI_RESTRICT lsq) {
  if (shape_code == kSolid) {
    // The hexahedron's measure with the length formed in the same pass: with
    // unit density the mass is the padded volume itself.
    using namespace continuum::hexahedron_detail;
    for (int e = 0; e < n; ++e) {
      const Corners c = corners_of<8>(n, coords_g, continuum::kHexahedronCorners, e);
      const Measure m = measure(c, differences(c.x), differences(c.y), differences(c.z));
      elem_status[e] = m.collapsed ? 1 : elem_status[e];
      element_mass[e] = m.padded;
      lsq[e] = std::sqrt(m.lsq * m.padded);
    }
    return;
  }
  float unit_values[kBatchCapacity];
  float work_a[kBatchCapacity], work_b[kBatchCapacity];
  for (int e = 0; e < n; ++e) unit_values[e] = 1.0f;
  if (shape_code == kPlanar) {
    continuum::plane_quadrilateral(n, elem_status, tri_flag, coords_g, work_a, work_b,
                                   element_mass, unit_values, unit_values, lsq);
  } else if (shape_code == kAxisymmetric) {
    continuum::axisymmetric_quadrilateral(n, elem_status, tri_flag, coords_g, element_mass,
                                          unit_values, lsq);
  } else {
    for (int e = 0; e < n; ++e) elem_status[e] = 4;
  }
  // With unit density the product of the two geometry outputs is L^2.
  for (int e = 0; e < n; ++e) lsq[e] = std::sqrt(lsq[e] * element_mass[e]);
}

void increment(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT density,
               const float* STI_RESTRICT lsq, float* STI_RESTRICT stable_time,
               const float* STI_RESTRICT material_props) {
  const float bulk = material_props[0];
  const float damping = material_props[1];
  const float k_pad = bulk > kSmallestNormal ? 0.0f : 1.0f;
  const float inv_k = (1.0f - k_pad) / (bulk + k_pad);
  if (!(inv_k > 0.0f)) {  // no usable bulk modulus: the whole batch fails
    for (int e = 0; e < n; ++e) elem_status[e] = 7;
    return;
  }
  for (int e = 0; e < n; ++e) {
    if (elem_status[e] != 0) continue;
    const float rho = density[e];
    const float r_pad = rho > kSmallestNormal ? 0.0f : 1.0f;
    const float xi = std::sqrt((1.0f - r_pad) / (r_pad + rho) * inv_k) * damping;
    const float f = damping_reduction(xi);
    stable_time[e] = lsq[e] * kSafetyFactor * std::sqrt(std::fabs(rho) * inv_k) * f;
  }
}

}  // namespace sti::acoustic
