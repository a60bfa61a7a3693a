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

namespace sti::shell {

namespace {
constexpr int kRuleNodes = 4;
}  // namespace

void full_membrane(int n, int* STI_RESTRICT elem_status, int point_index,
                   const float* STI_RESTRICT tri_flag, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT local_g,
                   float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                   float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                   const float* STI_RESTRICT density, float* STI_RESTRICT lsq) {
  if (n < 1) return;
  const int row = kRuleNodes * (point_index - 1);
  const float a1 = rule_dn1[row + 0], a2 = rule_dn1[row + 1];
  const float a3 = rule_dn1[row + 2], a4 = rule_dn1[row + 3];
  const float b1 = rule_dn2[row + 0], b2 = rule_dn2[row + 1];
  const float b3 = rule_dn2[row + 2], b4 = rule_dn2[row + 3];
  for (int e = 0; e < n; ++e) {
    const Corners4 c = four_corners(local_g, n, e);
    const float x1 = c.x[0], y1 = c.y[0], x2 = c.x[1], y2 = c.y[1];
    const float x3 = c.x[2], y3 = c.y[2], x4 = c.x[3], y4 = c.y[3];

    const float j11 = a1 * x1 + a2 * x2 + a3 * x3 + a4 * x4;
    const float j12 = a1 * y1 + a2 * y2 + a3 * y3 + a4 * y4;
    const float j21 = b1 * x1 + b2 * x2 + b3 * x3 + b4 * x4;
    const float j22 = b1 * y1 + b2 * y2 + b3 * y3 + b4 * y4;

    // In the point's own frame J is the length of the tangents' cross
    // product; the clamp only catches rounding (and a NaN).
    const float jac = max_of(j11 * j22 - j21 * j12, 0.0f);
    const float g = jac == 0.0f ? 1.0f : 0.0f;
    elem_status[e] = jac == 0.0f ? 2 : elem_status[e];
    const float padded = jac + g;
    work_a[e] = padded;
    work_b[e] = (1.0f - g) / padded;

    // Shape function gradients times J; the pairs of the bilinear derivative
    // tables let the first and third of one and the first two of the other do.
    const float p1 = a1 * j22 - b1 * j12;
    const float p2 = -(a1 * j22 + b2 * j12);
    const float p3 = b2 * j12 + a3 * j22;
    const float p4 = b1 * j12 - a3 * j22;
    const float q1 = b1 * j11 - a1 * j21;
    const float q2 = a1 * j21 + b2 * j11;
    const float q3 = -(b2 * j11 + a3 * j21);
    const float q4 = a3 * j21 - b1 * j11;
    // A stored triangle merges the gradients of nodes 1 and 4.
    const float w = p1 * p1 + p2 * p2 + p3 * p3 + p4 * p4 + q1 * q1 + q2 * q2 + q3 * q3 + q4 * q4 +
                    2.0f * tri_flag[e] * (p1 * p4 + q1 * q4) + g;
    lsq[e] = padded / w;

    element_mass[e] = thickness[e] * padded * density[e];
    // The thickness test overwrites a status 2 of the same element.
    elem_status[e] = 0.0f >= thickness[e] ? 3 : elem_status[e];
  }
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
