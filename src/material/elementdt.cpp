// The damped stable time increment of one integration point. The undamped
// increment x = sqrt(lsq * mass / modulus) is L/c; the damping fraction of the
// highest mode, xi, then shortens it by sqrt(1 + xi^2) - xi. Plane-stress
// families replace the wave modulus by a plane-stress modulus and may raise
// the length term by the element's frequency bound.
#include <cmath>
#include <cstdint>

#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "material/material.hpp"

namespace sti::material {
namespace {

// Damping reduction of the undamped increment x. Without Limit it takes the
// root form for every damping and raises `large` where the limit form was due,
// so that a batch pays the limit's division only when one of its elements
// needs it (the caller then runs the batch again with Limit).
template <bool Limit>
inline float damped(float x, float bulk_b1, float a, float beta, int& large) {
  const float xi = bulk_b1 + a * x + beta / x;
  if constexpr (Limit) return x * damping_reduction(xi);
  large |= xi >= kLargeDamping ? 1 : 0;
  return x * (std::sqrt(1.0f + xi * xi) - xi);
}

// Plane-stress modulus p and, for the bound, the factor 1 - nu^2 of its
// square root. Without the frequency data the Poisson ratio is held to 0.4
// and P keeps 2G as a term; with it the ratio may reach 0.49 and P keeps 3K
// as a factor.
template <bool WithFreq, bool Bound>
inline void plane_stress_moduli(float g2, float k3, float& p, float& shrink) {
  const float nu1 = max_of(0.0f, 0.5f * (k3 - g2) / (k3 + 0.5f * g2));
  if constexpr (!WithFreq) {
    const float nu = min_of(0.4f, nu1);
    p = kOneThird * (2.0f * g2 + k3 * (4.0f - 3.0f / (1.0f - nu * nu)));
  } else {
    const float nu = min_of(0.49f, nu1);
    p = k3 * (1.0f - nu - nu) / (1.0f - nu * nu);
  }
  if constexpr (Bound) {
    // Second estimate of the same ratio, by the other algebraic form.
    const float nu2 = min_of(0.49f, max_of(0.0f, (k3 - g2) / (2.0f * k3 + g2)));
    shrink = 1.0f - nu2 * nu2;
  }
}

// Undamped increment with the plane-stress modulus; with Bound (freq_flag 1)
// the frequency bound may raise the length term.
template <bool Bound>
inline float plane_stress_increment(float p, float shrink, float m, float l, float freq_a,
                                    float freq_b) {
  if constexpr (Bound) {
    const float d = (1.0f + std::sqrt(max_of(0.0f, 1.0f - 4.0f * freq_b * shrink))) * freq_a;
    const bool usable = d > kSmallestNormal;
    const float c = usable ? 1.0f / select_bits(usable, d, 1.0f) : 0.0f;
    l = max_of(c, l);
  }
  return std::sqrt(l * m / p);
}

// Returns whether an element needed the large-damping limit (Limit false).
// With Uniform every element has the moduli of the first, computed once.
template <bool WithFreq, bool Bound, bool Limit, bool Uniform>
int plane_stress_loop(int n, const int* STI_RESTRICT elem_status, float bulk_b1, float a,
                      float beta, const float* STI_RESTRICT lsq, const float* STI_RESTRICT freq_a,
                      const float* STI_RESTRICT freq_b, const float* STI_RESTRICT two_g,
                      const float* STI_RESTRICT three_k, const float* STI_RESTRICT element_mass,
                      float* STI_RESTRICT dt_out) {
  float p_first = 1.0f, shrink_first = 1.0f;
  if constexpr (Uniform)
    plane_stress_moduli<WithFreq, Bound>(two_g[0], three_k[0], p_first, shrink_first);
  int large = 0;
  for (int e = 0; e < n; ++e) {
    float p = p_first, shrink = shrink_first;
    if constexpr (!Uniform) plane_stress_moduli<WithFreq, Bound>(two_g[e], three_k[e], p, shrink);
    const float x =
        plane_stress_increment<Bound>(p, shrink, element_mass[e], lsq[e], freq_a[e], freq_b[e]);
    const float dt = damped<Limit>(x, bulk_b1, a, beta, large);
    dt_out[e] = elem_status[e] == 0 ? dt : dt_out[e];  // a failed element keeps its entry
  }
  return large;
}

// Whether the n values hold one bit pattern (a batch of one material).
inline bool uniform(int n, const float* STI_RESTRICT v) {
  const std::uint32_t first = bits_of(v[0]);
  std::uint32_t differ = 0;
  for (int e = 0; e < n; ++e) differ |= bits_of(v[e]) ^ first;
  return differ == 0;
}

template <bool WithFreq, bool Bound, bool Uniform>
void plane_stress_batch(int n, const int* elem_status, float bulk_b1, float a, float beta,
                        const float* lsq, const float* freq_a, const float* freq_b,
                        const float* two_g, const float* three_k, const float* element_mass,
                        float* dt_out) {
  if (plane_stress_loop<WithFreq, Bound, false, Uniform>(n, elem_status, bulk_b1, a, beta, lsq,
                                                         freq_a, freq_b, two_g, three_k,
                                                         element_mass, dt_out))
    plane_stress_loop<WithFreq, Bound, true, Uniform>(n, elem_status, bulk_b1, a, beta, lsq,
                                                      freq_a, freq_b, two_g, three_k,
                                                      element_mass, dt_out);
}

template <bool WithFreq, bool Bound>
void plane_stress(int n, const int* elem_status, float bulk_b1, float a, float beta,
                  const float* lsq, const float* freq_a, const float* freq_b, const float* two_g,
                  const float* three_k, const float* element_mass, float* dt_out) {
  if (n > 0 && uniform(n, two_g) && uniform(n, three_k))
    plane_stress_batch<WithFreq, Bound, true>(n, elem_status, bulk_b1, a, beta, lsq, freq_a,
                                              freq_b, two_g, three_k, element_mass, dt_out);
  else
    plane_stress_batch<WithFreq, Bound, false>(n, elem_status, bulk_b1, a, beta, lsq, freq_a,
                                               freq_b, two_g, three_k, element_mass, dt_out);
}

// The wave-modulus increment, the length term raised by the frequency bound
// where `bound`; the return as for plane_stress_loop.
template <bool Limit>
int wave_loop(int n, const int* STI_RESTRICT elem_status, bool bound, float bulk_b1, float a,
              float beta, const float* STI_RESTRICT lsq, const float* STI_RESTRICT freq_a,
              const float* STI_RESTRICT wave_modulus, const float* STI_RESTRICT element_mass,
              float* STI_RESTRICT dt_out) {
  int large = 0;
  for (int e = 0; e < n; ++e) {
    const float l = bound ? max_of(lsq[e], freq_a[e]) : lsq[e];
    const float x = std::sqrt(std::fabs(l * element_mass[e] / wave_modulus[e]));
    const float dt = damped<Limit>(x, bulk_b1, a, beta, large);
    dt_out[e] = elem_status[e] == 0 ? dt : dt_out[e];
  }
  return large;
}

}  // namespace

void element_dt(int n, int plane_stress_flag, const int* STI_RESTRICT elem_status, int freq_flag,
                float alpha_damping, float beta_damping, float bulk_b1,
                const float* STI_RESTRICT lsq, const float* STI_RESTRICT freq,
                const float* STI_RESTRICT two_g, const float* STI_RESTRICT three_k,
                const float* STI_RESTRICT wave_modulus, const float* STI_RESTRICT element_mass,
                float* STI_RESTRICT dt_out) {
  const float a = 0.25f * alpha_damping;
  const float* freq_a = freq;
  const float* freq_b = freq + n;
  if (plane_stress_flag != 0) {
    if (freq_flag == 0)
      plane_stress<false, false>(n, elem_status, bulk_b1, a, beta_damping, lsq, freq_a,
                                      freq_b, two_g, three_k, element_mass, dt_out);
    else if (freq_flag == 1)
      plane_stress<true, true>(n, elem_status, bulk_b1, a, beta_damping, lsq, freq_a,
                                    freq_b, two_g, three_k, element_mass, dt_out);
    else
      plane_stress<true, false>(n, elem_status, bulk_b1, a, beta_damping, lsq, freq_a,
                                     freq_b, two_g, three_k, element_mass, dt_out);
    return;
  }
  const bool bound = freq_flag == 1;
  if (wave_loop<false>(n, elem_status, bound, bulk_b1, a, beta_damping, lsq, freq_a, wave_modulus,
                       element_mass, dt_out))
    wave_loop<true>(n, elem_status, bound, bulk_b1, a, beta_damping, lsq, freq_a, wave_modulus,
                    element_mass, dt_out);
}

}  // namespace sti::material
