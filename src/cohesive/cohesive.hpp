// Cohesive elements: the frame of solid cohesive elements and the
// opening-based measures of planar, axisymmetric and solid cohesive elements.
#pragma once

#include "common/numerics.hpp"

namespace sti::cohesive {

// Frame of a solid cohesive element at one corner point: the two surface
// tangents ta and tb of the mid-surface, the guarded reciprocal length rn of
// their cross product, the unit normal nrm and the in-plane axes s and t.
struct CornerFrame {
  Vec3 ta, tb;
  float rn;
  Vec3 s, t, nrm;
};

// The frame from the four mid-surface points x and the point's rows d1, d2 of
// the derivative tables. Every guard here is non-strict.
[[gnu::always_inline]] inline CornerFrame corner_frame(const float* d1, const float* d2,
                                                       const Vec3 (&x)[4]) {
  CornerFrame f;
  f.ta = {d1[0] * x[0].x + d1[1] * x[1].x + d1[2] * x[2].x + d1[3] * x[3].x,
          d1[0] * x[0].y + d1[1] * x[1].y + d1[2] * x[2].y + d1[3] * x[3].y,
          d1[0] * x[0].z + d1[1] * x[1].z + d1[2] * x[2].z + d1[3] * x[3].z};
  f.tb = {d2[0] * x[0].x + d2[1] * x[1].x + d2[2] * x[2].x + d2[3] * x[3].x,
          d2[0] * x[0].y + d2[1] * x[1].y + d2[2] * x[2].y + d2[3] * x[3].y,
          d2[0] * x[0].z + d2[1] * x[1].z + d2[2] * x[2].z + d2[3] * x[3].z};
  const Vec3 m = cross(f.ta, f.tb);
  f.rn = guarded_reciprocal_nonstrict(length(m));
  f.nrm = {m.x * f.rn, m.y * f.rn, m.z * f.rn};
  in_plane_axes<Guard::kNonStrict>(f.nrm, f.s, f.t);
  return f;
}

void cohesive_frame(int n, int point_index, const float* STI_RESTRICT rule_dn1,
                    const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords_g,
                    float* STI_RESTRICT frame, float* STI_RESTRICT work_a,
                    float* STI_RESTRICT work_b);

void plane_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                    const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                    float coh_value, const float* STI_RESTRICT coords_g,
                    const float* STI_RESTRICT coords_d, float* STI_RESTRICT element_mass,
                    const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                    float* STI_RESTRICT lsq);

void axisymmetric_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                           const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                           float coh_value, const float* STI_RESTRICT coords_g,
                           const float* STI_RESTRICT coords_d, float* STI_RESTRICT element_mass,
                           const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                           float* STI_RESTRICT lsq);

void eight_node_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                         const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                         const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT frame,
                         const float* STI_RESTRICT work_a, const float* STI_RESTRICT work_b,
                         const float* STI_RESTRICT coords_g, const float* STI_RESTRICT local_g,
                         const float* STI_RESTRICT coords_d, float* STI_RESTRICT element_mass,
                         const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                         float* STI_RESTRICT lsq);

void six_node_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                       const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                       const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT rule_w,
                       const float* STI_RESTRICT frame, const float* STI_RESTRICT work_a,
                       const float* STI_RESTRICT work_b, const float* STI_RESTRICT coords_g,
                       const float* STI_RESTRICT local_g, const float* STI_RESTRICT coords_d,
                       float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                       const float* STI_RESTRICT density, float* STI_RESTRICT lsq);

// Results of corner points 2 to 4 of a batch of solid cohesive elements,
// formed together with those of point 1: mass, length term and the status each
// point sets (1 or 3; 0 where it keeps the element's own).
struct LaterCorners {
  float element_mass[3][kBatchCapacity];
  float lsq[3][kBatchCapacity];
  int status[3][kBatchCapacity];
};

// The frame and the measure of a solid cohesive element at one corner point in
// one pass, the frame and the local coordinates never stored: the same results
// as cohesive_frame, the rotation of the points into the frame and then
// eight_node_cohesive (eight_node true) or six_node_cohesive. With `later`
// given, the caller runs the run_point_count corners of the batch in turn from
// point 1 and keeps `later` between them: point 1 forms them all (3 or 4), the
// edges once, and the later points hand out what it kept. Without, or for
// another count, each point is formed alone.
void solid_cohesive_corner(bool eight_node, int coh_flag, int n, int point_index,
                           int run_point_count, int* STI_RESTRICT elem_status,
                           const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                           const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT rule_w,
                           const float* STI_RESTRICT coords_g, const float* STI_RESTRICT coords_d,
                           float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                           const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                           LaterCorners* STI_RESTRICT later);

}  // namespace sti::cohesive
