// Geometry of the continuum shells SC8R and SC6R: the mid-surface measured in
// its own plane as a one-point quadrilateral, with the section thickness in
// the mass, and the stack judged as a shell. A stack far too thin for its span,
// or one whose upper or lower face has folded over or stands edge-on, fails
// with the area status; the stack's own thickness enters no output.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "shell/shell.hpp"

namespace sti::shell {

namespace {
inline constexpr float kThinLimit = std::bit_cast<float>(0x358637BDu);  // 1.0e-6

inline float global_length(const float* d, int n, int e, int k) {
  return length({d[at(n, 4, e, k, 0)], d[at(n, 4, e, k, 1)], d[at(n, 4, e, k, 2)]});
}
}  // namespace

void continuum_shell(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                     const float* STI_RESTRICT local_g, const float* STI_RESTRICT coords_d,
                     const float* STI_RESTRICT local_d, float* STI_RESTRICT element_mass,
                     const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                     float* STI_RESTRICT lsq) {
  for (int e = 0; e < n; ++e) {
    const Corners4 c = four_corners(local_g, n, e);
    const float x1 = c.x[0], y1 = c.y[0], x2 = c.x[1], y2 = c.y[1];
    const float x3 = c.x[2], y3 = c.y[2], x4 = c.x[3], y4 = c.y[3];
    const float tri = tri_flag[e];

    // Mid-surface as a one-point quadrilateral. The frame turns over with the
    // node order, so the area is negative only by rounding.
    const float x13 = x1 - x3, x24 = x2 - x4, y24 = y2 - y4, y31 = y3 - y1;
    const float area = max_of(0.5f * (x13 * y24 + x24 * y31), 0.0f);
    const float g = area == 0.0f ? 1.0f : 0.0f;
    elem_status[e] = area == 0.0f ? 2 : elem_status[e];
    const float padded = area + g;
    elem_status[e] = 0.0f >= thickness[e] ? 3 : elem_status[e];
    element_mass[e] = thickness[e] * density[e] * padded;

    const float e1 = 0.5f * y24, e2 = -0.5f * x24, e3 = 0.5f * y31, e4 = 0.5f * x13;
    const float w = g + e1 * e1 + e2 * e2 + e3 * e3 + e4 * e4 - tri * (e1 * e3 + e2 * e4);
    const float l = (tri * kOneSixth + 0.5f) * padded / w;
    lsq[e] = l;

    // Thinness, on the half-thickness vectors in three dimensions: the
    // smallest may not fall below a thousandth of the characteristic length.
    const float d1 = global_length(coords_d, n, e, 0), d2 = global_length(coords_d, n, e, 1);
    const float d3 = global_length(coords_d, n, e, 2), d4 = global_length(coords_d, n, e, 3);
    const float h = max_of(0.0f, min_of(min_of(min_of(d1, d2), d3), d4));
    elem_status[e] = l * kThinLimit * padded > h * h ? 2 : elem_status[e];
  }

  // Folding: twice the signed area of each face as seen along the mid-surface
  // normal must stay positive.
  for (int e = 0; e < n; ++e) {
    const Corners4 c = four_corners(local_g, n, e);
    const float x1 = c.x[0], y1 = c.y[0], x2 = c.x[1], y2 = c.y[1];
    const float x3 = c.x[2], y3 = c.y[2], x4 = c.x[3], y4 = c.y[3];
    const Corners4 d = four_corners(local_d, n, e);
    const float u1 = d.x[0], v1 = d.y[0], u2 = d.x[1], v2 = d.y[1];
    const float u3 = d.x[2], v3 = d.y[2], u4 = d.x[3], v4 = d.y[3];

    const float uf1 = (u3 + (x3 - x1)) - u1;
    const float uf2 = (v4 + (y4 - y2)) - v2;
    const float uf3 = (u2 + (x2 - x4)) - u4;
    const float uf4 = (v3 + (y3 - y1)) - v1;
    elem_status[e] = 0.0f >= uf1 * uf2 + uf3 * uf4 ? 2 : elem_status[e];

    const float lf1 = ((x3 - x1) - u3) + u1;
    const float lf2 = ((y4 - y2) - v4) + v2;
    const float lf3 = ((x2 - x4) - u2) + u4;
    const float lf4 = ((y3 - y1) - v3) + v1;
    elem_status[e] = 0.0f >= lf1 * lf2 + lf3 * lf4 ? 2 : elem_status[e];
  }
}

}  // namespace sti::shell
