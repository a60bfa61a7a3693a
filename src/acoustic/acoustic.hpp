// Acoustic elements: length measure and increment.
#pragma once

namespace sti::acoustic {

void element_length(int n, int* elem_status, int shape_code, const float* tri_flag,
                    const float* coords_g, float* element_mass, float* lsq);

void increment(int n, int* elem_status, const float* density, const float* lsq, float* stable_time,
               const float* material_props);

}  // namespace sti::acoustic
