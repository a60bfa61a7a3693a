// Small numeric helpers shared by every stage: the written-order max/min, the
// guarded reciprocal and normalisation, the design constants named by their bit
// patterns, and element-fastest indexing of batch arrays.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace sti {

// Largest number of elements in one batch; every private batch array is sized for it.
inline constexpr int kBatchCapacity = 128;

// Design constants, held by their single-precision bit patterns.
inline constexpr float kLargestFloat = std::bit_cast<float>(0x7F7FFFFFu);    // 3.4028235e38
inline constexpr float kUnsetPointDt = std::bit_cast<float>(0x7DCCCCCCu);    // 3.4028235e37
inline constexpr float kSmallestNormal = std::bit_cast<float>(0x00800000u);  // 1.1754944e-38
inline constexpr float kOneThird = std::bit_cast<float>(0x3EAAAAABu);        // 0.33333334
inline constexpr float kTwoThirds = std::bit_cast<float>(0x3F2AAAABu);       // 0.6666667
inline constexpr float kBulkB1 = std::bit_cast<float>(0x3D75C28Fu);          // 0.06
inline constexpr float kInvSqrt3 = std::bit_cast<float>(0x3F13CD3Au);        // 0.57735026
inline constexpr float kInvSqrt6 = std::bit_cast<float>(0x3ED105EBu);        // 0.40824828

// max(a, b) and min(a, b) read in the written order: a > b ? a : b. A NaN in
// either operand yields the second operand, which is what every clamp of the
// design relies on. std::max, std::min and fmaxf differ on NaN; do not use them.
inline float max_of(float a, float b) { return a > b ? a : b; }
inline float min_of(float a, float b) { return a < b ? a : b; }
inline float max_of(float a, float b, float c) { return max_of(max_of(a, b), c); }

// Guarded reciprocal: 1/v, or exactly 0 when v is below the smallest normal
// float, with no branch and no division by zero. The strict form (v < tiny)
// serves membranes and most stages; the non-strict form (v <= tiny) serves the
// cohesive frame and the acoustic path.
inline float guarded_reciprocal(float v) {
  const float g = v < kSmallestNormal ? 1.0f : 0.0f;
  return (1.0f - g) / (v + g);
}
inline float guarded_reciprocal_nonstrict(float v) {
  const float g = v <= kSmallestNormal ? 1.0f : 0.0f;
  return (1.0f - g) / (v + g);
}

// Guarded normalisation of a three-vector in place: a vector shorter than the
// smallest normal float becomes exactly zero. `Strict` selects tiny > l (membrane
// frames) against tiny >= l (cohesive frames).
enum class Guard { kStrict, kNonStrict };

template <Guard G>
inline void normalise(float& x, float& y, float& z) {
  const float l = std::sqrt(x * x + y * y + z * z);
  const bool small = G == Guard::kStrict ? kSmallestNormal > l : kSmallestNormal >= l;
  const float g = small ? 1.0f : 0.0f;
  const float f = (1.0f - g) / (l + g);
  x = x * f;
  y = y * f;
  z = z * f;
}

// Element-fastest indexing: component c of node k of element e, all from 0, in a
// batch array of n elements and K nodes: e + n * (k + K * c).
inline int at(int n, int K, int e, int k, int c) { return e + n * (k + K * c); }

inline std::uint32_t bits_of(float v) { return std::bit_cast<std::uint32_t>(v); }

}  // namespace sti
