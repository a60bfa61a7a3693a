// Measure, mass and length term of four-node plane and axisymmetric elements,
// and of three-node ones stored as quadrilaterals with node 4 on node 1.
// The length term is the measure over the squared gradient of the measure by
// the corner coordinates, so that L^2 = measure * lsq and the increment is L/c.
// A collapsed or inverted element gets a padded measure of 1 and finite
// outputs, so that no later stage needs a guard; its status says it failed.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "continuum/continuum.hpp"
#include "continuum/plane_measure.hpp"
#include "shell/shell.hpp"

namespace sti::continuum {

namespace {
inline constexpr float kTwentyFourth = std::bit_cast<float>(0x3D2AAAABu);  // 0.041666668
}  // namespace

namespace {
// The measure loop. With Freq it writes the one-point quadrilateral's
// frequency terms from the values it holds, in place of the padded area and
// its reciprocal that a second pass would read. Not inlined, so that its
// restrict columns freq_a and freq_b stay distinct.
template <bool Freq>
[[gnu::noinline]] void plane_quadrilateral_loop(int n, int* STI_RESTRICT elem_status,
                                     const float* STI_RESTRICT tri_flag,
                                     const float* STI_RESTRICT coords, float* STI_RESTRICT work_a,
                                     float* STI_RESTRICT work_b, float* STI_RESTRICT element_mass,
                                     const float* STI_RESTRICT thickness,
                                     const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                                     float* STI_RESTRICT freq_a, float* STI_RESTRICT freq_b) {
  for (int e = 0; e < n; ++e) {
    const float x1 = coords[at(n, 4, e, 0, 0)], y1 = coords[at(n, 4, e, 0, 1)];
    const float x2 = coords[at(n, 4, e, 1, 0)], y2 = coords[at(n, 4, e, 1, 1)];
    const float x3 = coords[at(n, 4, e, 2, 0)], y3 = coords[at(n, 4, e, 2, 1)];
    const float x4 = coords[at(n, 4, e, 3, 0)], y4 = coords[at(n, 4, e, 3, 1)];
    const float f = tri_flag[e];

    const PlaneMeasure m = plane_measure(x1, y1, x2, y2, x3, y3, x4, y4, f);
    if constexpr (!Freq) {
      work_a[e] = m.padded;
      work_b[e] = m.inverse;
    }
    // The thickness test comes after the area test and overwrites its status.
    int status = elem_status[e];
    status = m.area == 0.0f ? 2 : status;
    status = thickness[e] <= 0.0f ? 3 : status;
    elem_status[e] = status;
    element_mass[e] = thickness[e] * m.padded * density[e];
    lsq[e] = m.lsq;
    if constexpr (Freq)
      shell::one_point_frequency(four_corners(coords, n, e), m.padded, m.inverse, freq_a[e],
                                 freq_b[e]);
  }
}
}  // namespace

void plane_quadrilateral(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                         const float* STI_RESTRICT coords, float* STI_RESTRICT work_a,
                         float* STI_RESTRICT work_b, float* STI_RESTRICT element_mass,
                         const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                         float* STI_RESTRICT lsq) {
  plane_quadrilateral_loop<false>(n, elem_status, tri_flag, coords, work_a, work_b, element_mass,
                                  thickness, density, lsq, nullptr, nullptr);
}

void plane_quadrilateral_frequency(int n, int* STI_RESTRICT elem_status,
                                   const float* STI_RESTRICT tri_flag,
                                   const float* STI_RESTRICT coords,
                                   float* STI_RESTRICT element_mass,
                                   const float* STI_RESTRICT thickness,
                                   const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                                   float* STI_RESTRICT freq) {
  plane_quadrilateral_loop<true>(n, elem_status, tri_flag, coords, nullptr, nullptr, element_mass,
                                 thickness, density, lsq, freq, freq + n);
}

void axisymmetric_quadrilateral(int n, int* STI_RESTRICT elem_status,
                                const float* STI_RESTRICT tri_flag,
                                const float* STI_RESTRICT coords, float* STI_RESTRICT element_mass,
                                const float* STI_RESTRICT density, float* STI_RESTRICT lsq) {
  constexpr float w = kTwentyFourth;
  constexpr float h = 0.125f;
  for (int e = 0; e < n; ++e) {
    const float r1 = coords[at(n, 4, e, 0, 0)], z1 = coords[at(n, 4, e, 0, 1)];
    const float r2 = coords[at(n, 4, e, 1, 0)], z2 = coords[at(n, 4, e, 1, 1)];
    const float r3 = coords[at(n, 4, e, 2, 0)], z3 = coords[at(n, 4, e, 2, 1)];
    const float r4 = coords[at(n, 4, e, 3, 0)], z4 = coords[at(n, 4, e, 3, 1)];
    const float f = tri_flag[e];

    const float R = r1 + r2 + r3 + r4;
    const float P = r2 + r3 - r1 - r4;
    const float Q = r3 + r4 - r1 - r2;
    const float D = (r3 - r1) * (z4 - z2) - (r2 - r4) * (z1 - z3);
    const float E = -(r2 - r3) * (z4 - z1) - (r1 - r4) * (z2 - z3);
    const float F = -(r3 - r4) * (z2 - z1) + (r2 - r1) * (z3 - z4);

    // Volume per radian, clamped at zero from below. Unlike the other clamps
    // this one lets a NaN through (the coordinates held one, or inf - inf from
    // an overflow): the product test below then fails to match, no status is
    // set and the mass and length term come out NaN. A negative signed area
    // fails even where V stays positive.
    const float raw = 0.125f * R * D + w * (P * F + Q * E);
    const float v = raw < 0.0f ? 0.0f : raw;
    const bool collapsed = max_of(D, 0.0f) * v == 0.0f;
    const float p = collapsed ? 1.0f : 0.0f;
    elem_status[e] = collapsed ? 1 : elem_status[e];
    const float padded = v + p;
    element_mass[e] = density[e] * padded;

    // Integrals over the area of r dN/dr, r dN/dz and N for the bilinear shape functions.
    const float s1 = (z4 - z2) * h * R, s2 = (z1 - z3) * h * R;
    const float br1 = -s1 - w * ((z2 - z3) * Q + (z3 - z4) * P);
    const float br2 = -s2 + w * ((z3 - z4) * P - (z4 - z1) * Q);
    const float br3 = s1 + w * ((z4 - z1) * Q - (z2 - z1) * P);
    const float br4 = s2 + w * ((z2 - z1) * P + (z2 - z3) * Q);
    const float s3 = (r2 - r4) * h * R, s4 = (r3 - r1) * h * R;
    const float bz1 = -s3 + w * ((r2 - r3) * Q + (r3 - r4) * P);
    const float bz2 = -s4 - w * ((r3 - r4) * P + (r1 - r4) * Q);
    const float bz3 = s3 + w * ((r1 - r4) * Q + (r2 - r1) * P);
    const float bz4 = s4 - w * ((r2 - r1) * P + (r2 - r3) * Q);
    const float t = D * h;
    const float bh1 = t - w * (F + E), bh2 = t + w * (F - E);
    const float bh3 = t + w * (F + E), bh4 = t - w * (F - E);

    // A triangle folds node 4 into node 1.
    const float g = 1.0f - f;
    const float br1f = g * br1 + f * (br1 + br4), br4f = g * br4;
    const float bz1f = g * bz1 + f * (bz1 + bz4), bz4f = g * bz4;
    const float bh1f = g * bh1 + f * (bh1 + bh4), bh4f = g * bh4;

    const float s = p + (br1f * br1f + br2 * br2 + br3 * br3 + br4f * br4f) +
                    (bz1f * bz1f + bz2 * bz2 + bz3 * bz3 + bz4f * bz4f) +
                    (bh1f * bh1f + bh2 * bh2 + bh3 * bh3 + bh4f * bh4f);
    lsq[e] = padded / s;
  }
}

}  // namespace sti::continuum
