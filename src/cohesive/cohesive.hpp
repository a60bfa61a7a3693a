// Cohesive elements: the frame of solid cohesive elements and the
// opening-based measures of planar, axisymmetric and solid cohesive elements.
#pragma once

namespace sti::cohesive {

void cohesive_frame(int n, int point_index, const float* rule_dn1, const float* rule_dn2,
                    const float* coords_g, float* frame, float* work_a, float* work_b);

void plane_cohesive(int coh_flag, int n, int point_index, int* elem_status, const float* rule_n,
                    const float* rule_dn1, float coh_value, const float* coords_g,
                    const float* coords_d, float* element_mass, const float* thickness,
                    const float* density, float* lsq);

void axisymmetric_cohesive(int coh_flag, int n, int point_index, int* elem_status,
                           const float* rule_n, const float* rule_dn1, float coh_value,
                           const float* coords_g, const float* coords_d, float* element_mass,
                           const float* thickness, const float* density, float* lsq);

void eight_node_cohesive(int coh_flag, int n, int point_index, int* elem_status,
                         const float* rule_n, const float* rule_dn1, const float* rule_dn2,
                         const float* frame, const float* work_a, const float* work_b,
                         const float* coords_g, const float* local_g, const float* coords_d,
                         float* element_mass, const float* thickness, const float* density,
                         float* lsq);

void six_node_cohesive(int coh_flag, int n, int point_index, int* elem_status, const float* rule_n,
                       const float* rule_dn1, const float* rule_dn2, const float* rule_w,
                       const float* frame, const float* work_a, const float* work_b,
                       const float* coords_g, const float* local_g, const float* coords_d,
                       float* element_mass, const float* thickness, const float* density,
                       float* lsq);

}  // namespace sti::cohesive
