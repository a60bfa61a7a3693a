// Acoustic elements: length measure and increment.
#pragma once

#include "common/numerics.hpp"

namespace sti::acoustic {

void element_length(int n, int* STI_RESTRICT elem_status, int shape_code,
                    const float* STI_RESTRICT tri_flag, const float* STI_RESTRICT coords_g,
                    float* STI_RESTRICT element_mass, float* STI_RESTRICT lsq);

void increment(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT density,
               const float* STI_RESTRICT lsq, float* STI_RESTRICT stable_time,
               const float* STI_RESTRICT material_props);

}  // namespace sti::acoustic
