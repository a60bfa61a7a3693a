// Small numeric helpers shared by every stage: the written-order max/min, the
// guarded reciprocal and normalisation, the numeric constants named by their bit
// patterns, and element-fastest indexing of batch arrays.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace sti {

// Every array argument of a stage is a block of its own: no two that a call
// is given overlap where one of them is written. Marking each pointer so lets
// the element loops load and store without rechecking for overlap.
#define STI_RESTRICT __restrict

// Largest number of elements in one batch; every private batch array is sized for it.
inline constexpr int kBatchCapacity = 128;

// Numeric constants, held by their single-precision bit patterns.
inline constexpr float kLargestFloat = std::bit_cast<float>(0x7F7FFFFFu);    // 3.4028235e38
inline constexpr float kUnsetPointDt = std::bit_cast<float>(0x7DCCCCCCu);    // 3.4028235e37
inline constexpr float kSmallestNormal = std::bit_cast<float>(0x00800000u);  // 1.1754944e-38
inline constexpr float kOneSixth = std::bit_cast<float>(0x3E2AAAABu);        // 0.16666667
inline constexpr float kOneThird = std::bit_cast<float>(0x3EAAAAABu);        // 0.33333334
inline constexpr float kTwoThirds = std::bit_cast<float>(0x3F2AAAABu);       // 0.6666667
inline constexpr float kBulkB1 = std::bit_cast<float>(0x3D75C28Fu);          // 0.06
inline constexpr float kInvSqrt3 = std::bit_cast<float>(0x3F13CD3Au);        // 0.57735026
inline constexpr float kInvSqrt6 = std::bit_cast<float>(0x3ED105EBu);        // 0.40824828

// max(a, b) and min(a, b) read in the written order: a > b ? a : b. A NaN in
// either operand yields the second operand, which is what every clamp of the
// numerics relies on. std::max, std::min and fmaxf differ on NaN; do not use them.
//
// Sums are formed one term at a time from the first, in single precision.
// Where a sum runs over nested indices (points, components, faces, nodes) and
// nothing else fixes its order, its terms are added in the order of those
// indices, the outermost index slowest.
inline float max_of(float a, float b) { return a > b ? a : b; }
inline float min_of(float a, float b) { return a < b ? a : b; }
inline float max_of(float a, float b, float c) { return max_of(max_of(a, b), c); }

// cond ? a : b, formed on the bits. A plain select lets the compiler split an
// operation over it (q / (c ? a : b) into c ? q / a : q / b) and evaluate both
// sides in a vectorised loop; this form keeps a safe divisor safe.
inline float select_bits(bool cond, float a, float b) {
  const std::uint32_t mask = cond ? 0xFFFFFFFFu : 0u;
  return std::bit_cast<float>((std::bit_cast<std::uint32_t>(a) & mask) |
                              (std::bit_cast<std::uint32_t>(b) & ~mask));
}

// Guarded reciprocal: 1/v, or exactly 0 when v is below the smallest normal
// float, with no branch and no division by zero. The strict form (v < tiny)
// serves membranes and most stages; the non-strict form (v <= tiny) serves the
// cohesive frame and the acoustic path.
// Guarded quotient: num * (1 - g) / (den + g) for a pad g that is 1 where the
// divisor is unusable and 0 elsewhere: num / den, or exactly 0 (for a finite
// num) where padded, and no lane ever divides by zero.
inline float guarded_quotient(float num, float den, float g) {
  return num * (1.0f - g) / (den + g);
}
inline float guarded_reciprocal(float v) {
  return guarded_quotient(1.0f, v, v < kSmallestNormal ? 1.0f : 0.0f);
}
inline float guarded_reciprocal_nonstrict(float v) {
  return guarded_quotient(1.0f, v, v <= kSmallestNormal ? 1.0f : 0.0f);
}

// Damping reduction of an undamped increment for the damping ratio xi of the
// highest mode: sqrt(1 + xi^2) - xi, or from xi = 200 on its limit form
// 0.5 / xi, free of the cancellation. The limit form divides by 1 where it is
// not taken, so that no lane of a vectorised loop divides by zero.
inline constexpr float kLargeDamping = 200.0f;
inline float damping_reduction(float xi) {
  const bool large = xi >= kLargeDamping;
  const float limit = 0.5f / select_bits(large, xi, 1.0f);
  const float root = std::sqrt(1.0f + xi * xi) - xi;
  return large ? limit : root;
}

// Squared distance between two points of a plane.
inline float squared_distance(float xa, float ya, float xb, float yb) {
  const float dx = xb - xa, dy = yb - ya;
  return dx * dx + dy * dy;
}

// Guarded normalisation: a vector shorter than the smallest normal float
// becomes exactly zero, with no branch and no division by zero. kStrict tests
// tiny > l (membrane frames), kNonStrict tests tiny >= l (cohesive frames).
enum class Guard { kStrict, kNonStrict };

struct Vec3 {
  float x, y, z;
};

inline Vec3 cross(Vec3 a, Vec3 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline float length(Vec3 w) { return std::sqrt(w.x * w.x + w.y * w.y + w.z * w.z); }

template <Guard G>
inline float guarded_inverse_length(float l) {
  return G == Guard::kStrict ? guarded_reciprocal(l) : guarded_reciprocal_nonstrict(l);
}

template <Guard G>
inline Vec3 normalised(Vec3 w) {
  const float f = guarded_inverse_length<G>(length(w));
  return {w.x * f, w.y * f, w.z * f};
}

// The two in-plane axes of a surface frame from its unit normal n. The first
// axis s is the projection of global X on the plane, or of global Z when the
// normal lies within the tie-break cone around X (|n_x| at or above 0.999).
// Built in the order t = |n x e|, s = |t x n|, so that s x t = n.
inline constexpr float kTieBreakNx = std::bit_cast<float>(0x3F7FBE77u);  // 0.999

template <Guard G>
inline void in_plane_axes(Vec3 n, Vec3& s, Vec3& t) {
  const bool away_from_x = kTieBreakNx > std::fabs(n.x);
  const Vec3 w = away_from_x ? Vec3{0.0f, n.z, -n.y} : Vec3{n.y, -n.x, 0.0f};
  t = normalised<G>(w);
  s = normalised<G>(cross(t, n));
}

// Element-fastest indexing: component c of node k of element e, all from 0, in a
// batch array of n elements and K nodes: e + n * (k + K * c).
inline int at(int n, int K, int e, int k, int c) { return e + n * (k + K * c); }

// The in-plane coordinates of the four corners of element e in an
// element-fastest array of four nodes with (at least) two components.
struct Corners4 {
  float x[4], y[4];
};
inline Corners4 four_corners(const float* a, int n, int e) {
  Corners4 q;
  for (int k = 0; k < 4; ++k) {
    q.x[k] = a[at(n, 4, e, k, 0)];
    q.y[k] = a[at(n, 4, e, k, 1)];
  }
  return q;
}

inline std::uint32_t bits_of(float v) { return std::bit_cast<std::uint32_t>(v); }

}  // namespace sti
