// Effective modulus of a material given as a symmetric tensor of moduli: its
// largest principal value, taken once per call. The element loop writes only
// the wave modulus, scaled by the thickness alone.
#include <bit>
#include <cmath>

#include "common/correctly_rounded.hpp"
#include "common/numerics.hpp"
#include "material/moduli.hpp"

namespace sti::material {

namespace {

inline constexpr float kTwoPiOverThree = std::bit_cast<float>(0x40060A92u);  // 2.0943952

// Largest magnitude of the two principal values of a plane tensor with mean
// (a11 + a22) / 2 and radius sqrt(((a11 - a22) / 2)^2 + a12^2).
float plane_modulus(float a11, float a22, float a12_squared) {
  return std::fabs((a11 + a22) * 0.5f) +
         std::sqrt((a11 - a22) * 0.25f * (a11 - a22) + a12_squared);
}

}  // namespace

// A11, A22, A33; in two dimensions A11, A22.
float diagonal_tensor_modulus(int ndim, const float* props) {
  if (ndim == 2) {
    const float a11 = props[0];
    const float a22 = props[1];
    return std::sqrt((a11 - a22) * 0.25f * (a11 - a22)) + std::fabs((a11 + a22) * 0.5f);
  }
  return max_of(props[0], props[1], props[2]);
}

// A11, A22, A33, A12, A13, A23; in two dimensions A11, A22, A12. The three
// principal values in closed form: mean m, deviator scale r = 2p, and the
// Lode angle from the cosine h of three times it.
float symmetric_tensor_modulus(int ndim, const float* props) {
  if (ndim == 2) return plane_modulus(props[0], props[1], props[2] * props[2]);

  const float a11 = props[0], a22 = props[1], a33 = props[2];
  const float m = kOneThird * (a33 + (a11 + a22));
  const float d1 = a11 - m, d2 = a22 - m, d3 = a33 - m;
  const float a = -props[3];  // the signs of a and b meet in the product a * c * b
  const float b = -props[4];
  const float c = props[5];
  if (0.0f >= max_of(std::fabs(a), std::fabs(c), std::fabs(b))) return max_of(a11, a22, a33);

  const float p = std::sqrt(
      kOneThird * (0.5f * (d2 * d2 + d1 * d1 + d3 * d3) + a * a + c * c + b * b));
  const float r = p + p;
  const float g = r > 0.0f ? 2.0f / r : 0.0f;
  const float h =
      (a * c * b + 0.5f * ((d1 * d3 - b * b) * d2 + (0.0f - d3 * (a * a) - d1 * (c * c)))) * g *
      g * g;
  if (h >= 1.0f) return r + m;
  if (h <= -1.0f) return m + r * 0.5f;
  const float phi = kOneThird * cr::acos(h);
  const float c1 = cr::cos(phi);
  const float c2 = cr::cos(phi + kTwoPiOverThree);
  return max_of(std::fabs(m + r * c1), std::fabs(m + r * c2), std::fabs(m - r * (c1 + c2)));
}

// A positive w scales by the thickness; otherwise its magnitude does, and every
// element is marked, since the fault lies in the call's tensor.
void tensor_tail(int n, float w, const float* thickness, float* wave_modulus, int* elem_status) {
  const bool usable = w > 0.0f;
  const float magnitude = usable ? w : std::fabs(w);
  for (int e = 0; e < n; ++e) {
    wave_modulus[e] = magnitude * thickness[e];
    elem_status[e] = usable ? elem_status[e] : 7;
  }
}

}  // namespace sti::material
