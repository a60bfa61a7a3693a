// Effective moduli of every material family and the damped time increment
// of one point.
#pragma once

namespace sti::material {

void effective_moduli(int n, int ndim, int* elem_status, int material_code, int& plane_stress_flag,
                      int uniaxial_flag, float modulus_scale, const float* thickness, float* two_g,
                      float* three_k, float* wave_modulus, const float* props);

void element_dt(int n, int plane_stress_flag, const int* elem_status, int freq_flag,
                float alpha_damping, float beta_damping, float bulk_b1, const float* lsq,
                const float* freq, const float* two_g, const float* three_k,
                const float* wave_modulus, const float* element_mass, float* dt_out);

}  // namespace sti::material
