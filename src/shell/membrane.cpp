// Mass and length terms of the fully integrated membrane at one integration
// point, and of the axisymmetric shell. The length term is chosen so that
// lsq * element_mass = thickness * density / sum |grad N_i|^2, the gradients
// taken in the element's plane at this point: the square of the element's
// wave transit length. A collapsed point gets a padded Jacobian of 1 and
// finite outputs, and its status says it failed.
#include <cmath>

#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "shell/shell.hpp"
#include "shell/surface_terms.hpp"

namespace sti::shell {

void full_membrane(int n, int* STI_RESTRICT elem_status, int point_index,
                   const float* STI_RESTRICT tri_flag, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT local_g,
                   float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                   float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                   const float* STI_RESTRICT density, float* STI_RESTRICT lsq) {
  if (n < 1) return;
  const MembraneRule rule(point_index, rule_dn1, rule_dn2);
  for (int e = 0; e < n; ++e) {
    const MembranePoint m = membrane_point(rule, four_corners(local_g, n, e), tri_flag[e]);
    work_a[e] = m.padded;
    work_b[e] = (1.0f - m.g) / m.padded;
    lsq[e] = m.lsq;
    element_mass[e] = thickness[e] * m.padded * density[e];
    // The thickness test overwrites a status 2 of the same element.
    int status = m.jac == 0.0f ? 2 : elem_status[e];
    status = 0.0f >= thickness[e] ? 3 : status;
    elem_status[e] = status;
  }
}

namespace {
// full_membrane_point's pass with the batch size as N, a constant for a full
// batch (0: the run-time `count`), so that every row is a fixed offset.
template <int N>
void membrane_point_rows(int count, int point_index, const float* STI_RESTRICT rule_dn1,
                         const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                         const float* STI_RESTRICT axes, int* STI_RESTRICT elem_status,
                         const float* STI_RESTRICT tri_flag, float* STI_RESTRICT element_mass,
                         const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                         float* STI_RESTRICT lsq, float* STI_RESTRICT freq_a,
                         float* STI_RESTRICT freq_b) {
  const int n = N > 0 ? N : count;
  const MembraneRule rule(point_index, rule_dn1, rule_dn2);
  for (int e = 0; e < n; ++e) {
    const Corners4 c =
        plane_corners(four_nodes(coords, n, e), axis_of(axes, n, e), axis_of(axes + 3 * n, n, e));
    const MembranePoint m = membrane_point(rule, c, tri_flag[e]);
    lsq[e] = m.lsq;
    element_mass[e] = thickness[e] * m.padded * density[e];
    int status = m.jac == 0.0f ? 2 : elem_status[e];
    status = 0.0f >= thickness[e] ? 3 : status;
    elem_status[e] = status;
    freq_a[e] = height_frequency(c, m.padded);
    freq_b[e] = 0.0f;
  }
}
}  // namespace

void full_membrane_point(int n, int point_index, const float* STI_RESTRICT rule_dn1,
                         const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                         const float* STI_RESTRICT axes, int* STI_RESTRICT elem_status,
                         const float* STI_RESTRICT tri_flag, float* STI_RESTRICT element_mass,
                         const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                         float* STI_RESTRICT lsq, float* STI_RESTRICT freq_a,
                         float* STI_RESTRICT freq_b) {
  if (n == kBatchCapacity)
    membrane_point_rows<kBatchCapacity>(n, point_index, rule_dn1, rule_dn2, coords, axes,
                                        elem_status, tri_flag, element_mass, thickness, density,
                                        lsq, freq_a, freq_b);
  else if (n > 0)
    membrane_point_rows<0>(n, point_index, rule_dn1, rule_dn2, coords, axes, elem_status,
                           tri_flag, element_mass, thickness, density, lsq, freq_a, freq_b);
}

void axisymmetric_shell(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords_g,
                        float* STI_RESTRICT local_line, float* STI_RESTRICT element_mass,
                        const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                        float* STI_RESTRICT lsq) {
  for (int e = 0; e < n; ++e) {
    const float x1 = coords_g[at(n, 2, e, 0, 0)], y1 = coords_g[at(n, 2, e, 0, 1)];
    const float x2 = coords_g[at(n, 2, e, 1, 0)], y2 = coords_g[at(n, 2, e, 1, 1)];
    const float dx = x2 - x1, dy = y2 - y1;
    const float l = std::sqrt(squared_distance(x1, y1, x2, y2));
    const float f = guarded_reciprocal(l);
    const float c = dx * f, s = dy * f;

    local_line[at(n, 2, e, 0, 0)] = x1 * c + y1 * s;
    local_line[at(n, 2, e, 0, 1)] = y1 * c - x1 * s;
    local_line[at(n, 2, e, 1, 0)] = x2 * c + y2 * s;
    local_line[at(n, 2, e, 1, 1)] = y2 * c - x2 * s;

    const float length_along = local_line[at(n, 2, e, 1, 0)] - local_line[at(n, 2, e, 0, 0)];
    const float r = (x1 + x2) * 0.5f;  // mean radius
    const float t = max_of(0.0f, length_along * r);
    const float ext = 0.25f * length_along * length_along + r * r;
    const float g2 = kSmallestNormal > ext ? 1.0f : 0.0f;
    lsq[e] = (1.0f - g2) * t / (ext + g2);
    element_mass[e] = density[e] * thickness[e] * t;  // per radian

    elem_status[e] = 0.0f >= lsq[e] ? 1 : elem_status[e];
    elem_status[e] = 0.0f >= thickness[e] ? 3 : elem_status[e];
  }
}

}  // namespace sti::shell
