// Effective moduli of every material family and the damped time increment
// of one point.
#pragma once

#include "common/numerics.hpp"

namespace sti::material {

void effective_moduli(int n, int ndim, int* STI_RESTRICT elem_status, int material_code,
                      int& plane_stress_flag, int uniaxial_flag, float modulus_scale,
                      const float* STI_RESTRICT thickness, float* STI_RESTRICT two_g,
                      float* STI_RESTRICT three_k, float* STI_RESTRICT wave_modulus,
                      const float* STI_RESTRICT props);

void element_dt(int n, int plane_stress_flag, const int* STI_RESTRICT elem_status, int freq_flag,
                float alpha_damping, float beta_damping, float bulk_b1,
                const float* STI_RESTRICT lsq, const float* STI_RESTRICT freq,
                const float* STI_RESTRICT two_g, const float* STI_RESTRICT three_k,
                const float* STI_RESTRICT wave_modulus, const float* STI_RESTRICT element_mass,
                float* STI_RESTRICT dt_out);

}  // namespace sti::material
