// Planar and axisymmetric four-node cohesive elements at one end of their
// mid-line. The time scale comes from the constitutive thickness over the
// square norm of the rows that map node motion to the normal opening (at the
// point) and to the shear separation (at the element's centre); a stiffness
// factor on that norm raises the measure of thin elements. The planar and the
// axisymmetric element differ only in their degenerate status, their length
// measure and the signs they keep.
#include <cmath>

#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "cohesive/cohesive.hpp"

namespace sti::cohesive {
namespace {


enum class Planar { kPlane, kAxisymmetric };

template <Planar V>
void planar_cohesive(int coh_flag, int n, int point_index, int* elem_status, const float* rule_n,
                     const float* rule_dn1, float coh_value, const float* coords_g,
                     const float* coords_d, float* element_mass, const float* thickness,
                     const float* density, float* lsq) {
  constexpr bool kAxi = V == Planar::kAxisymmetric;
  constexpr int kDegenerate = kAxi ? 1 : 2;
  constexpr int K = 2;
  const float N1 = rule_n[K * (point_index - 1)], N2 = rule_n[K * (point_index - 1) + 1];
  const float g1 = rule_dn1[K * (point_index - 1)], g2 = rule_dn1[K * (point_index - 1) + 1];
  // Radial weights of the point's half of the element.
  const float w0 = point_index == 2 ? kOneSixth : kOneThird;
  const float w1 = point_index == 2 ? kOneThird : kOneSixth;

  for (int e = 0; e < n; ++e) {
    const float x0 = coords_g[at(n, K, e, 0, 0)], y0 = coords_g[at(n, K, e, 0, 1)];
    const float x1 = coords_g[at(n, K, e, 1, 0)], y1 = coords_g[at(n, K, e, 1, 1)];
    const float d0x = coords_d[at(n, K, e, 0, 0)], d0y = coords_d[at(n, K, e, 0, 1)];
    const float d1x = coords_d[at(n, K, e, 1, 0)], d1y = coords_d[at(n, K, e, 1, 1)];
    int status = elem_status[e];

    // Tangent, normal and opening at the point.
    const float tx = (x0 - x1) * g1, ty = (y0 - y1) * g1;
    const float len = std::sqrt(tx * tx + ty * ty);
    const float pad = len > kSmallestNormal ? 0.0f : 1.0f;
    status = pad == 1.0f ? kDegenerate : status;
    const float inv_len = guarded_quotient(1.0f, len, pad);
    const float jac = kAxi ? (x0 * w0 + x1 * w1) * len : len + pad;
    const float nx = 0.0f - ty * inv_len, ny = tx * inv_len;
    const float sx = (d0x * N1 + d1x * N2) * 2.0f, sy = (d0y * N1 + d1y * N2) * 2.0f;
    const float opening = nx * sx + ny * sy;
    const float thick = thickness[e];
    const float t_c = coh_flag != 0 ? thick : opening;

    // Normal row: the derivatives of the opening by the eight node displacements.
    const float h = inv_len * 0.5f;
    const float u = (sy - ny * opening) * h;
    const float v = 0.0f - h * (sx - opening * nx);
    auto sq = [](float a) { return a * a; };
    const float S = sq(g1 * u - N1 * nx) + sq(g1 * v - N1 * ny) + sq(g2 * u - N2 * nx) +
                    sq(g2 * v - N2 * ny) + sq(g2 * u + N2 * nx) + sq(g2 * v + N2 * ny) +
                    sq(g1 * u + N1 * nx) + sq(g1 * v + N1 * ny);

    // Shear row at the element's centre; its pad writes no status.
    const float cx = (x1 - x0) * 0.5f, cy = (y1 - y0) * 0.5f;
    const float l = std::sqrt(cx * cx + cy * cy);
    const float pad_c = l > kSmallestNormal ? 0.0f : 1.0f;
    const float inv_c = guarded_quotient(1.0f, l, pad_c);
    const float ex = cx * inv_c, ey = cy * inv_c;
    const float mx = d0x + d1x, my = d0y + d1y;
    const float q = mx * ex + my * ey;
    const float w = ny * ex - nx * ey;
    const float rx = (mx - ex * q) * 0.5f * inv_c * 0.5f;
    const float ry = (my - ey * q) * 0.5f * inv_c * 0.5f;
    const float A = (ex * 0.5f + rx) * w, B = (ex * 0.5f - rx) * w;
    const float C = (ey * 0.5f + ry) * w, D = w * (ey * 0.5f - ry);
    const float total = S + sq(-A) + sq(-B) + sq(A) + sq(B) + sq(-C) + sq(-D) + sq(C) + sq(D);

    // Stiffness factor: 3 up to a norm of 3, 1 from 5 on, linear between.
    const bool usable = total > kSmallestNormal;
    const float pad2 = usable ? 0.0f : 1.0f;
    const float ramp = total <= 3.0f ? 3.0f : (total >= 5.0f ? 1.0f : 6.0f - total);
    const float f = usable ? ramp : 1.0f;
    status = usable ? status : kDegenerate;

    if constexpr (kAxi) {
      lsq[e] = f * t_c / (coh_value * jac * (total + pad2));
      element_mass[e] = t_c * coh_value * jac * density[e];
    } else {
      lsq[e] = std::fabs(thick * t_c) * f / (coh_value * jac * (total + pad2));
      element_mass[e] = std::fabs(t_c) * coh_value * jac * density[e];
    }
    elem_status[e] = t_c > 0.0f ? status : 3;
  }
}

}  // namespace
}  // namespace sti::cohesive

namespace sti::cohesive {

void plane_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                    const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                    float coh_value, const float* STI_RESTRICT coords_g,
                    const float* STI_RESTRICT coords_d, float* STI_RESTRICT element_mass,
                    const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                    float* STI_RESTRICT lsq) {
  planar_cohesive<Planar::kPlane>(coh_flag, n, point_index, elem_status, rule_n, rule_dn1,
                                  coh_value, coords_g, coords_d, element_mass, thickness, density,
                                  lsq);
}

void axisymmetric_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                           const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                           float coh_value, const float* STI_RESTRICT coords_g,
                           const float* STI_RESTRICT coords_d, float* STI_RESTRICT element_mass,
                           const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                           float* STI_RESTRICT lsq) {
  planar_cohesive<Planar::kAxisymmetric>(coh_flag, n, point_index, elem_status, rule_n,
                                         rule_dn1, coh_value, coords_g, coords_d, element_mass,
                                         thickness, density, lsq);
}

}  // namespace sti::cohesive
