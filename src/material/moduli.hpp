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

}  // namespace sti::material
