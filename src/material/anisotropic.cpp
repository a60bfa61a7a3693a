// Anisotropic elastic materials reduced to an equivalent isotropic 2G and 3K.
// The shear term is twice the largest constant on offer and the bulk term comes
// from the normal block (stiffness forms) or from the largest Young's modulus
// and Poisson ratio (engineering constants), which keeps the estimate on the
// safe side for any orientation of the material axes.
#include "common/numerics.hpp"
#include "material/moduli.hpp"

namespace sti::material {

namespace {

// max(0, p[0], ..., p[count - 1]), folded in index order.
float clamped_largest(const float* p, int count) {
  float d = 0.0f;
  for (int i = 0; i < count; ++i) d = max_of(d, p[i]);
  return d;
}

// One third of the sum over the full symmetric normal block, whose upper
// triangle by columns is p0, p1, p2, p3, p4, p5.
float normal_block_three_k(const float* p) {
  return kOneThird * (((p[0] + p[2]) + p[5]) + 2.0f * ((p[1] + p[3]) + p[4]));
}

// 3K from a Young's modulus and a Poisson ratio; an incompressible ratio takes
// 3K = 2G, which avoids the division by zero.
float engineering_three_k(float e_modulus, float nu, float two_g) {
  return nu != 0.5f ? e_modulus / (1.0f - nu - nu) : two_g;
}

}  // namespace

IsotropicEquivalent orthotropic_stiffness(const float* props) {
  return {2.0f * clamped_largest(props, 9), normal_block_three_k(props)};
}

IsotropicEquivalent anisotropic_stiffness(const float* props) {
  return {2.0f * clamped_largest(props, 21), normal_block_three_k(props)};
}

// E1, E2, nu12, G12, G13, G23. No clamp at zero: a negative constant reaches
// the wave modulus and is caught there.
IsotropicEquivalent lamina(const float* props) {
  const float e_modulus = max_of(props[0], props[1]);
  const float shear = max_of(props[3], props[4], props[5]);
  const float two_g = 2.0f * shear;
  return {two_g, engineering_three_k(e_modulus, props[2], two_g)};
}

// E1, E2, E3, nu12, nu13, nu23, G12, G13, G23: the largest of each kind.
IsotropicEquivalent orthotropic_engineering(const float* props) {
  const float e_modulus = max_of(props[0], props[1], props[2]);
  const float nu = max_of(props[3], props[4], props[5]);
  const float shear = max_of(props[6], props[7], props[8]);
  const float two_g = 2.0f * shear;
  return {two_g, engineering_three_k(e_modulus, nu, two_g)};
}

}  // namespace sti::material
