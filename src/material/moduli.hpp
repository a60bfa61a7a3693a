// Effective moduli shared by the material families: every family except the
// modulus tensors reduces its constants once per call to 2G and 3K of an
// equivalent isotropic material and then runs the common element loop.
#pragma once

namespace sti::material {

// Moduli of a family at the undeformed state, before section and thickness.
struct IsotropicEquivalent {
  float two_g;
  float three_k;
};

// two_g = (2G * s) * t, three_k = (3K * s) * t, wave = (3K + 2 * 2G) / 3, and
// status 7 where the wave modulus is not greater than zero.
void common_tail(int n, IsotropicEquivalent m, float modulus_scale, const float* thickness,
                 float* two_g, float* three_k, float* wave_modulus, int* elem_status);

// Anisotropic elastic families (anisotropic.cpp). The shear term takes the
// largest constant on offer, so that the estimate stays conservative.
IsotropicEquivalent orthotropic_stiffness(const float* props);     // 101
IsotropicEquivalent lamina(const float* props);                    // 102
IsotropicEquivalent anisotropic_stiffness(const float* props);     // 103
IsotropicEquivalent orthotropic_engineering(const float* props);   // 9001

// Hyperelastic families (hyperelastic.cpp): initial shear and bulk moduli.
// The term count of the forms with a variable number of terms is entry 0
// truncated to an integer. A count below zero leaves no entry for D1 of the
// polynomial and Ogden forms, which the caller rejects before reducing them.
int term_count(const float* props);
IsotropicEquivalent polynomial_form(const float* props);    // 105, term count >= 0
IsotropicEquivalent ogden_form(const float* props);         // 107, term count >= 0
IsotropicEquivalent foam(const float* props);               // 109
IsotropicEquivalent arruda_boyce_form(const float* props);  // 118
IsotropicEquivalent five_constant_form(const float* props); // 119

// Modulus tensors (tensor.cpp): the largest principal value w of the tensor,
// then wave = |w| * t, with status 7 for every element when w is not positive.
float diagonal_tensor_modulus(int ndim, const float* props);   // 125
float symmetric_tensor_modulus(int ndim, const float* props);  // 126
void tensor_tail(int n, float w, const float* thickness, float* wave_modulus, int* elem_status);

}  // namespace sti::material
