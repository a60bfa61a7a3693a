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

void axisymmetric_shell(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords_g,
                        float* STI_RESTRICT local_line, float* STI_RESTRICT element_mass,
                        const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                        float* STI_RESTRICT lsq);

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
