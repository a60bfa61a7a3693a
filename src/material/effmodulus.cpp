// Effective moduli of the batch's material: 2G, 3K and the modulus of the
// fastest plane wave, each already multiplied by the section scale and the
// element thickness. The material code decides for the whole batch.
#include "common/numerics.hpp"
#include "material/moduli.hpp"
#include "stabletime/pipeline.h"
#include "material/material.hpp"

namespace sti::material {

void common_tail(int n, IsotropicEquivalent m, float modulus_scale, const float* thickness,
                 float* two_g, float* three_k, float* wave_modulus, int* elem_status) {
  const float g2s = m.two_g * modulus_scale;
  const float k3s = m.three_k * modulus_scale;
  for (int e = 0; e < n; ++e) {
    two_g[e] = g2s * thickness[e];
    three_k[e] = k3s * thickness[e];
    wave_modulus[e] = kOneThird * (three_k[e] + 2.0f * two_g[e]);
    elem_status[e] = 0.0f >= wave_modulus[e] ? 7 : elem_status[e];
  }
}

namespace {

// Code 100: E and nu. A line element propagates a bar wave and takes E itself.
void isotropic_elastic(int n, int* elem_status, int uniaxial_flag, float modulus_scale,
                       const float* thickness, float* two_g, float* three_k,
                       float* wave_modulus, const float* props) {
  const float e_modulus = props[0];
  const float nu = props[1];
  IsotropicEquivalent m;
  m.two_g = e_modulus / (1.0f + nu);
  m.three_k = nu != 0.5f ? e_modulus / (1.0f - nu - nu) : m.two_g;
  if (uniaxial_flag != 1) {
    common_tail(n, m, modulus_scale, thickness, two_g, three_k, wave_modulus, elem_status);
    return;
  }
  const float g2s = m.two_g * modulus_scale;
  const float k3s = m.three_k * modulus_scale;
  const float es = e_modulus * modulus_scale;
  for (int e = 0; e < n; ++e) {
    two_g[e] = g2s * thickness[e];
    three_k[e] = k3s * thickness[e];
    wave_modulus[e] = es * thickness[e];
    elem_status[e] = 0.0f >= wave_modulus[e] ? 7 : elem_status[e];
  }
}

// Marks the whole batch as having no usable material; no output is written.
void reject_batch(int n, int* elem_status) {
  for (int e = 0; e < n; ++e) elem_status[e] = 8;
}

}  // namespace

void effective_moduli(int n, int ndim, int* STI_RESTRICT elem_status, int material_code,
                      int& plane_stress_flag, int uniaxial_flag, float modulus_scale,
                      const float* STI_RESTRICT thickness, float* STI_RESTRICT two_g,
                      float* STI_RESTRICT three_k, float* STI_RESTRICT wave_modulus,
                      const float* STI_RESTRICT props) {
  if (n < 1) return;
  const auto tail = [&](IsotropicEquivalent m) {
    common_tail(n, m, modulus_scale, thickness, two_g, three_k, wave_modulus, elem_status);
  };
  switch (material_code) {
    case 100:
      isotropic_elastic(n, elem_status, uniaxial_flag, modulus_scale, thickness, two_g, three_k,
                        wave_modulus, props);
      break;
    case 101: tail(orthotropic_stiffness(props)); break;
    case 102: tail(lamina(props)); break;
    case 103: tail(anisotropic_stiffness(props)); break;
    case 9001: tail(orthotropic_engineering(props)); break;
    case 105:
    case 107:
      // A negative term count would place D1 before the first entry.
      if (term_count(props) < 0) {
        reject_batch(n, elem_status);
        break;
      }
      tail(material_code == 105 ? polynomial_form(props) : ogden_form(props));
      break;
    case 109: tail(foam(props)); break;
    case 118: tail(arruda_boyce_form(props)); break;
    case 119: tail(five_constant_form(props)); break;
    case 125:
    case 126:
      // A tensor's modulus feeds the wave branch of the increment directly,
      // for this and every later point of the batch.
      plane_stress_flag = 0;
      tensor_tail(n,
                  material_code == 125 ? diagonal_tensor_modulus(ndim, props)
                                       : symmetric_tensor_modulus(ndim, props),
                  thickness, wave_modulus, elem_status);
      break;
    default:  // a code this library does not know fails the whole batch
      reject_batch(n, elem_status);
      break;
  }
}

}  // namespace sti::material
