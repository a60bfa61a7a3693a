// Cohesive elements: the frame of solid cohesive elements and the
// opening-based measures of planar, axisymmetric and solid cohesive elements.
#pragma once

#include "common/numerics.hpp"

namespace sti::cohesive {

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

}  // namespace sti::cohesive
