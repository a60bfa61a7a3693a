// Membranes, shells and continuum shells: frames, rotation into them,
// surface measures and the plane-stress frequency bounds.
#pragma once

namespace sti::shell {

void surface_frame(int n, int point_index, int run_point_count, const float* rule_dn1,
                   const float* rule_dn2, const float* coords, float* frame);

void rotate_into_frame(int n, const float* vectors, float* local, const float* frame);

void full_membrane(int n, int* elem_status, int point_index, const float* tri_flag,
                   const float* rule_dn1, const float* rule_dn2, const float* local_g,
                   float* work_a, float* work_b, float* element_mass, const float* thickness,
                   const float* density, float* lsq);

void axisymmetric_shell(int n, int* elem_status, const float* coords_g, float* local_line,
                        float* element_mass, const float* thickness, const float* density,
                        float* lsq);

void triangle_frequency(int n, const float* coords, const float* work_b, float* freq);

void quadrilateral_frequency(int full_integration, int n, const float* coords, const float* work_a,
                             const float* work_b, float* freq);

void small_strain_shell_frequency(int n, const float* coords, const float* work_a,
                                  const float* work_b, float* lsq, const float* tri_flag,
                                  float* freq);

void continuum_shell(int n, int* elem_status, const float* tri_flag, const float* local_g,
                     const float* coords_d, const float* local_d, float* element_mass,
                     const float* thickness, const float* density, float* lsq);

}  // namespace sti::shell
