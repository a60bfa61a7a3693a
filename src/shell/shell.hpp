// Membranes, shells and continuum shells: frames, rotation into them,
// surface measures and the plane-stress frequency bounds.
#pragma once

#include "common/numerics.hpp"

namespace sti::shell {

void surface_frame(int n, int point_index, int run_point_count, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                   float* STI_RESTRICT frame);

// surface_frame, then the in-plane components (0 and 1) of rotate_into_frame
// into `local`; with `vectors_d` not null, also those of that second set of
// nodal vectors, in `local_d`. The normal components are not formed.
void surface_plane(int n, int point_index, int run_point_count, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                   float* STI_RESTRICT frame, float* STI_RESTRICT local,
                   const float* STI_RESTRICT vectors_d, float* STI_RESTRICT local_d);

void rotate_into_frame(int n, const float* STI_RESTRICT vectors, float* STI_RESTRICT local,
                       const float* STI_RESTRICT frame);

void full_membrane(int n, int* STI_RESTRICT elem_status, int point_index,
                   const float* STI_RESTRICT tri_flag, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT local_g,
                   float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                   float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                   const float* STI_RESTRICT density, float* STI_RESTRICT lsq);

// Axes s and t of the fully integrated membrane at the four points of its
// rule, formed together (the points' tangents share their node differences):
// point p + 1 in the six rows from axes + 6 n p, s then t, each as x, y and z
// rows. The same axes as surface_frame's at each point.
void membrane_axes(int n, const float* STI_RESTRICT rule_dn1, const float* STI_RESTRICT rule_dn2,
                   const float* STI_RESTRICT coords, float* STI_RESTRICT axes);

// The fully integrated membrane at one point from its global nodes and that
// point's six axis rows of membrane_axes, in one pass: the in-plane corners,
// full_membrane's status, mass and length term, and the minimum-height
// frequency term (freq_b zero).
void full_membrane_point(int n, int point_index, const float* STI_RESTRICT rule_dn1,
                         const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                         const float* STI_RESTRICT axes, int* STI_RESTRICT elem_status,
                         const float* STI_RESTRICT tri_flag, float* STI_RESTRICT element_mass,
                         const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                         float* STI_RESTRICT lsq, float* STI_RESTRICT freq_a,
                         float* STI_RESTRICT freq_b);

// The one-point quadrilateral surface from its global nodes: the frame of the
// element centre (six rows into `axes`, as membrane_axes), then in one pass
// the in-plane corners, the plane measure (status, mass, length term) and the
// one-point frequency terms.
void one_point_surface(int n, const float* STI_RESTRICT coords, float* STI_RESTRICT axes,
                       int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                       float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                       const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                       float* STI_RESTRICT freq_a, float* STI_RESTRICT freq_b);

void axisymmetric_shell(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords_g,
                        float* STI_RESTRICT local_line, float* STI_RESTRICT element_mass,
                        const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                        float* STI_RESTRICT lsq);

// Terms of the one-point quadrilateral's frequency bound, from the edges and
// diagonals, for the padded area `padded` and its reciprocal `inverse` (zero
// for a collapsed element). Inline so that the plane measure loop can fuse it.
inline void one_point_frequency(const Corners4& c, float padded, float inverse, float& freq_a,
                                float& freq_b) {
  constexpr float kQuadFactor = std::bit_cast<float>(0x3E8B2164u);  // 0.27173913
  const float l12 = squared_distance(c.x[0], c.y[0], c.x[1], c.y[1]);
  const float l23 = squared_distance(c.x[1], c.y[1], c.x[2], c.y[2]);
  const float l34 = squared_distance(c.x[2], c.y[2], c.x[3], c.y[3]);
  const float l41 = squared_distance(c.x[3], c.y[3], c.x[0], c.y[0]);
  const float d13 = squared_distance(c.x[0], c.y[0], c.x[2], c.y[2]);
  const float d24 = squared_distance(c.x[1], c.y[1], c.x[3], c.y[3]);
  const float p = l23 - l41, q = l12 - l34;
  const float s = d13 + d24;
  const float f = s >= kSmallestNormal ? 0.0f : 1.0f;
  freq_a = kQuadFactor * inverse * ((q * q + p * p) * 0.5f * inverse + s);
  const float r = padded * 2.0f * (1.0f - f) / (s + f);
  freq_b = r * r;
}

void triangle_frequency(int n, const float* STI_RESTRICT coords, const float* STI_RESTRICT work_b,
                        float* STI_RESTRICT freq);

void quadrilateral_frequency(int full_integration, int n, const float* STI_RESTRICT coords,
                             const float* STI_RESTRICT work_a, const float* STI_RESTRICT work_b,
                             float* STI_RESTRICT freq);

void small_strain_shell_frequency(int n, const float* STI_RESTRICT coords,
                                  const float* STI_RESTRICT work_a,
                                  const float* STI_RESTRICT work_b, float* STI_RESTRICT lsq,
                                  const float* STI_RESTRICT tri_flag, float* STI_RESTRICT freq);

void continuum_shell(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                     const float* STI_RESTRICT local_g, const float* STI_RESTRICT coords_d,
                     const float* STI_RESTRICT local_d, float* STI_RESTRICT element_mass,
                     const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                     float* STI_RESTRICT lsq);

}  // namespace sti::shell
