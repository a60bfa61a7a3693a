// Second estimate of the length term of hexahedra, wedges and tetrahedra from
// the largest face: L^2 = factor * V^2 / A^2, written as freq_a so that the
// increment stage takes the greater of this and the volume-gradient estimate.
// The factor of hexahedra and wedges rises with the aspect A^(3/2) / V from a
// lower to an upper plateau; the tetrahedron has a fixed factor.
#include <cmath>

#include "common/correctly_rounded.hpp"
#include "continuum/face_measure.hpp"
#include "continuum/hexahedron_measure.hpp"
#include "stabletime/pipeline.h"
#include "continuum/continuum.hpp"
#include "pipeline/element_table.hpp"

namespace sti::continuum {

namespace {

inline constexpr float kTetMultiplier = 56.5504f;                              // 16 * 1.88^2
inline constexpr float kWedgeMultiplier = std::bit_cast<float>(0x422AAAABu);  // 42.666668
inline constexpr float kHexMultiplier = 16.0f;
inline constexpr float kHexRise = std::bit_cast<float>(0x3E29FBE8u);    // 0.16600001
inline constexpr float kWedgeRise = std::bit_cast<float>(0x3D8C49B8u);  // 0.06849998

struct Blend {
  float lower, rise, rate, upper_bound, upper;
};
inline constexpr Blend kHexBlend{0.504f, kHexRise, -2.5f, 5.0f, 0.67f};
inline constexpr Blend kWedgeBlend{0.3045f, kWedgeRise, -0.85f, 7.0f, 0.373f};

enum class Family { kTetrahedron, kWedge, kHexahedron };

// The face family of the type's row; hexahedron for an id no row has.
Family family_of(int elem_type_id) {
  const pipeline::ElementType* row = pipeline::find_type(elem_type_id);
  const pipeline::Face face = row ? row->face : pipeline::Face::kHexahedron;
  return face == pipeline::Face::kTetrahedron ? Family::kTetrahedron
         : face == pipeline::Face::kWedge     ? Family::kWedge
                                              : Family::kHexahedron;
}

// The factor inside the blend range, 1 < r <= upper_bound: the one place
// where the face-area estimate needs an exponential.
inline float blended_factor(const Blend& b, float r) {
  return b.lower + b.rise * (1.0f - cr::exp(b.rate * (r - 1.0f)));
}

inline bool in_blend(const Blend& b, float r) { return r > 1.0f && r <= b.upper_bound; }

// The plateau of an aspect r outside the blend range: the lower one up to 1,
// the upper one beyond upper_bound (and for a NaN).
inline float plateau(const Blend& b, float r) { return r <= 1.0f ? b.lower : b.upper; }

inline float estimate(float padded_volume, float multiplier, float c, float m) {
  const float g = collapsed_face_pad(m);
  return padded_volume * multiplier * c * (1.0f - g) / (m + g);
}

// The largest of the family's face measures: faces A to D (every face of a
// tetrahedron stored as a hexahedron), then E for wedges and F for hexahedra.
// Corner k is node nodes[k] of a K-node coordinate array.
template <Family F, int K>
inline float largest_face(int n, const float* coords, const int* nodes, int e) {
  auto face = [&](int a, int b, int c, int d) {
    return face_measure<K>(n, coords, e, nodes[a], nodes[b], nodes[c], nodes[d]);
  };
  const float fa = face(0, 1, 2, 3);
  const float fb = face(4, 5, 6, 7);
  const float fc = face(0, 1, 5, 4);
  const float fd = face(1, 2, 6, 5);
  float m = max_of(max_of(max_of(fa, fb), fc), fd);
  if constexpr (F != Family::kTetrahedron) m = max_of(m, face(2, 3, 7, 6));
  if constexpr (F == Family::kHexahedron) m = max_of(m, face(3, 0, 4, 7));
  return m;
}

// The aspect A^(3/2) / V from the largest face measure m = 16 A^2 and the
// guarded reciprocal volume.
inline float aspect(float m, float reciprocal_volume) {
  const float q = 0.0625f * m;
  return reciprocal_volume * std::sqrt(q) * std::sqrt(std::sqrt(q));
}

// Wedges and hexahedra, in one pass that takes each aspect's plateau and
// counts the aspects inside the blend range (none in most batches of a
// regular mesh). Only when there are some are the factors taken again, the
// blended ones by the exponential, and the estimates formed from them.
template <Family F, int K>
void blended_face_area(int n, const Blend& b, float multiplier, const float* STI_RESTRICT coords,
                       const int* nodes, float* STI_RESTRICT freq_a,
                       const float* STI_RESTRICT work_a, const float* STI_RESTRICT work_b) {
  float measure[kBatchCapacity], factor[kBatchCapacity];  // the aspect, then its factor
  int inside = 0;
  for (int e = 0; e < n; ++e) {
    const float m = largest_face<F, K>(n, coords, nodes, e);
    const float r = aspect(m, work_b[e]);
    measure[e] = m;
    factor[e] = r;
    inside += in_blend(b, r) ? 1 : 0;
    freq_a[e] = estimate(work_a[e], multiplier, plateau(b, r), m);
  }
  if (inside == 0) return;
  for (int e = 0; e < n; ++e)
    factor[e] = in_blend(b, factor[e]) ? blended_factor(b, factor[e]) : plateau(b, factor[e]);
  for (int e = 0; e < n; ++e) freq_a[e] = estimate(work_a[e], multiplier, factor[e], measure[e]);
}

// The estimate of the type's face family on K-node coordinates.
template <int K>
void face_area_of(int n, int elem_type_id, const float* STI_RESTRICT coords, const int* nodes,
                  float* STI_RESTRICT freq_a, const float* STI_RESTRICT work_a,
                  const float* STI_RESTRICT work_b) {
  if (n < 1) return;
  switch (family_of(elem_type_id)) {
    case Family::kTetrahedron:
      for (int e = 0; e < n; ++e)
        freq_a[e] = estimate(work_a[e], kTetMultiplier, 1.0f,
                             largest_face<Family::kTetrahedron, K>(n, coords, nodes, e));
      break;
    case Family::kWedge:
      blended_face_area<Family::kWedge, K>(n, kWedgeBlend, kWedgeMultiplier, coords, nodes,
                                           freq_a, work_a, work_b);
      break;
    case Family::kHexahedron:
      blended_face_area<Family::kHexahedron, K>(n, kHexBlend, kHexMultiplier, coords, nodes,
                                                freq_a, work_a, work_b);
      break;
  }
}

// Faces A to F by their corners a, b, c, d in order, as largest_face reads
// them. On each, a < c and b < d, so that both diagonals Xc - Xa and Xd - Xb
// are differences the volume gradient has formed, negated.
constexpr int kFaces[6][4] = {{0, 1, 2, 3}, {4, 5, 6, 7}, {0, 1, 5, 4},
                              {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
constexpr bool diagonals_ascend() {
  for (const auto& f : kFaces)
    if (!(f[0] < f[2] && f[1] < f[3])) return false;
  return true;
}
static_assert(diagonals_ascend());

// The face measure of face f from the corner differences D[i][j] = w[i] - w[j],
// i < j: with both diagonals negated s and t change sign, which the squares
// and the product of the measure discard, and rounding is symmetric: the bits
// of face_measure.
inline float face_of_differences(const hexahedron_detail::Differences* w, int f) {
  const int a = kFaces[f][0], b = kFaces[f][1], c = kFaces[f][2], d = kFaces[f][3];
  float s[3], t[3];
  for (int k = 0; k < 3; ++k) {
    const float d1 = w[k].d[a][c], d2 = w[k].d[b][d];
    s[k] = d1 + d2;
    t[k] = d1 - d2;
  }
  const float ss = s[0] * s[0] + s[1] * s[1] + s[2] * s[2];
  const float tt = t[0] * t[0] + t[1] * t[1] + t[2] * t[2];
  const float st = s[0] * t[0] + s[1] * t[1] + s[2] * t[2];
  return ss * tt - st * st;
}

// largest_face on the corner differences.
template <Family F>
inline float largest_face_of_differences(const hexahedron_detail::Differences* w) {
  float m = max_of(max_of(max_of(face_of_differences(w, 0), face_of_differences(w, 1)),
                          face_of_differences(w, 2)),
                   face_of_differences(w, 3));
  if constexpr (F != Family::kTetrahedron) m = max_of(m, face_of_differences(w, 4));
  if constexpr (F == Family::kHexahedron) m = max_of(m, face_of_differences(w, 5));
  return m;
}

// The volume-gradient measure and the face-area estimate in one pass over the
// corners, which the two share with their differences: the results of
// hexahedron_of followed by face_area_of. As there, the blended factors are
// taken in a second pass only for a batch that has aspects in the blend range.
template <Family F, int K>
void measure_and_face_area(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords,
                           const int (&nodes)[8], float* STI_RESTRICT work_a,
                           float* STI_RESTRICT work_b, float* STI_RESTRICT element_mass,
                           const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                           float* STI_RESTRICT freq_a) {
  using namespace hexahedron_detail;
  constexpr bool blended = F != Family::kTetrahedron;
  const Blend& b = F == Family::kWedge ? kWedgeBlend : kHexBlend;
  const float multiplier = F == Family::kWedge ? kWedgeMultiplier : kHexMultiplier;
  float measure_of[kBatchCapacity], aspect_of[kBatchCapacity];
  int inside = 0;
  for (int e = 0; e < n; ++e) {
    const Corners c = corners_of<K>(n, coords, nodes, e);
    const Differences w[3] = {differences(c.x), differences(c.y), differences(c.z)};
    const Measure v = measure(c, w[0], w[1], w[2]);
    elem_status[e] = v.collapsed ? 1 : elem_status[e];
    work_a[e] = v.padded;
    work_b[e] = v.reciprocal;
    element_mass[e] = v.padded * density[e];
    lsq[e] = v.lsq;
    const float m = largest_face_of_differences<F>(w);
    if constexpr (blended) {
      const float r = aspect(m, v.reciprocal);
      measure_of[e] = m;
      aspect_of[e] = r;
      inside += in_blend(b, r) ? 1 : 0;
      freq_a[e] = estimate(v.padded, multiplier, plateau(b, r), m);
    } else {
      freq_a[e] = estimate(v.padded, kTetMultiplier, 1.0f, m);
    }
  }
  if (!blended || inside == 0) return;
  for (int e = 0; e < n; ++e)
    aspect_of[e] =
        in_blend(b, aspect_of[e]) ? blended_factor(b, aspect_of[e]) : plateau(b, aspect_of[e]);
  for (int e = 0; e < n; ++e)
    freq_a[e] = estimate(work_a[e], multiplier, aspect_of[e], measure_of[e]);
}

}  // namespace

bool hexahedron_with_face_area(int n, int node_count, int elem_type_id,
                               int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords,
                               float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                               float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
                               float* STI_RESTRICT lsq, float* STI_RESTRICT freq) {
  const Family family = family_of(elem_type_id);
  if (family == Family::kHexahedron && node_count == 0)
    measure_and_face_area<Family::kHexahedron, 8>(n, elem_status, coords, kHexahedronCorners,
                                                  work_a, work_b, element_mass, density, lsq,
                                                  freq);
  else if (family == Family::kTetrahedron && node_count == 4)
    measure_and_face_area<Family::kTetrahedron, 4>(n, elem_status, coords, kTetrahedronCorners,
                                                   work_a, work_b, element_mass, density, lsq,
                                                   freq);
  else if (family == Family::kWedge && node_count == 6)
    measure_and_face_area<Family::kWedge, 6>(n, elem_status, coords, kWedgeCorners, work_a,
                                             work_b, element_mass, density, lsq, freq);
  else
    return false;
  return true;
}

void hexahedron_face_area(int n, int elem_type_id, const float* STI_RESTRICT coords,
                          float* STI_RESTRICT freq, const float* STI_RESTRICT work_a,
                          const float* STI_RESTRICT work_b) {
  face_area_of<8>(n, elem_type_id, coords, kHexahedronCorners, freq, work_a, work_b);
}

void hexahedron_face_area_of_corners(int n, int node_count, int elem_type_id,
                                     const float* STI_RESTRICT coords, float* STI_RESTRICT freq,
                                     const float* STI_RESTRICT work_a,
                                     const float* STI_RESTRICT work_b) {
  if (node_count == 4)
    face_area_of<4>(n, elem_type_id, coords, kTetrahedronCorners, freq, work_a, work_b);
  else if (node_count == 6)
    face_area_of<6>(n, elem_type_id, coords, kWedgeCorners, freq, work_a, work_b);
  else
    face_area_of<8>(n, elem_type_id, coords, kHexahedronCorners, freq, work_a, work_b);
}

}  // namespace sti::continuum
