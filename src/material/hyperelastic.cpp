// Hyperelastic strain energy forms reduced to their initial shear and bulk
// moduli G0 and K0 at the undeformed state, carried on as 2G = 2 * G0 and
// 3K = 3 * K0. Forms with a variable number of terms store the count in entry 0
// and the compressibility constant D1 right after the last term, at 2N + 1.
#include <bit>
#include <cstddef>
#include <limits>

#include "common/numerics.hpp"
#include "material/moduli.hpp"

namespace sti::material {

namespace {

// Coefficients of the inverse Langevin series at the undeformed state.
inline constexpr float kLangevin1 = std::bit_cast<float>(0x3F19999Au);  // 0.6
inline constexpr float kLangevin2 = std::bit_cast<float>(0x3F10D2A7u);  // 0.5657143
inline constexpr float kLangevin3 = std::bit_cast<float>(0x3F1616D2u);  // 0.5862857
inline constexpr float kLangevin4 = std::bit_cast<float>(0x3F1FBB8Cu);  // 0.6239555

// Compressibility rule: K0 = 2 / D, and for a form declared incompressible
// (D at or below the smallest normal float, negative D included) K0 = 20 * G0.
// The flag f keeps the division finite without a branch.
IsotropicEquivalent with_compressibility(float g0, float d) {
  const float f = d <= kSmallestNormal ? 1.0f : 0.0f;
  const float k0 = 2.0f * (1.0f - f) / (d + f) + 20.0f * g0 * f;
  return {2.0f * g0, 3.0f * k0};
}

// Entry 2N + 1, formed in a wide type so that no count overflows the index.
float after_terms(const float* props, int count, std::ptrdiff_t offset) {
  return props[2 * static_cast<std::ptrdiff_t>(count) + 1 + offset];
}

}  // namespace

// Truncation toward zero. NaN and values outside the int range give the lowest
// int, which is what the processor's truncating conversion returns for them.
int term_count(const float* props) {
  const float v = props[0];
  return v >= -2147483648.0f && v < 2147483648.0f ? static_cast<int>(v)
                                                  : std::numeric_limits<int>::min();
}

// N, C10, C01, ..., D1 at 2N + 1. Only the first two coefficients enter G0.
IsotropicEquivalent polynomial_form(const float* props) {
  const float g0 = 2.0f * (props[1] + props[2]);
  return with_compressibility(g0, after_terms(props, term_count(props), 0));
}

// N, then mu_k at 2k + 1 (exponents at 2k + 2, not needed), D1 at 2N + 1.
IsotropicEquivalent ogden_form(const float* props) {
  const int count = term_count(props);
  float g0 = 0.0f;
  for (std::ptrdiff_t k = 0; k < count; ++k) g0 = g0 + props[2 * k + 1];
  return with_compressibility(g0, after_terms(props, count, 0));
}

// N, mu_k at 2k + 1, nu_k at 2N + 1 + k. Each term carries its own bulk part:
// 2 * mu_k * (1/3 + nu_k / (1 - 2 nu_k)), where a ratio at or above 0.5 drops
// the second summand instead of dividing by zero or going negative.
IsotropicEquivalent foam(const float* props) {
  const int count = term_count(props);
  float shear_sum = 0.0f;
  float bulk_sum = 0.0f;
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    const float mu = props[2 * k + 1];
    const float nu = after_terms(props, count, k);
    const float b = 1.0f - 2.0f * nu;
    const float g = b <= kSmallestNormal ? 1.0f : 0.0f;
    const float beta = (1.0f - g) / (b + g) * nu;
    shear_sum = shear_sum + mu;
    bulk_sum = bulk_sum + 2.0f * mu * (kOneThird + beta);
  }
  return {2.0f * shear_sum, 3.0f * bulk_sum};
}

// [1] mu, [2] locking stretch, [3] D. The initial shear modulus is mu times the
// inverse Langevin series in 1 / lambda_m^2; no locking stretch gives mu.
IsotropicEquivalent arruda_boyce_form(const float* props) {
  const float mu = props[1];
  const float lambda_m = props[2];
  const float f1 = lambda_m <= kSmallestNormal ? 1.0f : 0.0f;
  const float r = (1.0f - f1) / (lambda_m + f1);
  const float q = r * r;
  const float g0 =
      (1.0f + (((kLangevin4 * q + kLangevin3) * q + kLangevin2) * q + kLangevin1) * q) * mu;
  return with_compressibility(g0, props[3]);
}

// [1] mu, [5] D; entries 2 to 4 shape the response away from the undeformed state.
IsotropicEquivalent five_constant_form(const float* props) {
  return with_compressibility(props[1], props[5]);
}

}  // namespace sti::material
