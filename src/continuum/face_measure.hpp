// Sixteen times the squared (vector) area of a four-corner face a, b, c, d of
// a batch hexahedron, from its two diagonals: with d1 = Xc - Xa, d2 = Xd - Xb,
// s = d1 + d2 and t = d1 - d2 it is |s x t|^2 = (s.s)(t.t) - (s.t)^2. A face
// with a repeated corner measures its triangle. No root and no clamp: a
// cancellation may leave a small negative value, which the callers' guards
// turn into a zero estimate.
#pragma once

#include "common/numerics.hpp"

namespace sti::continuum {

// The measure from the diagonals d1 and d2 themselves. Negating both negates
// s and t and leaves every product of two of their components as it was (but
// for the sign of a zero, which the squares discard), so either sense of the
// diagonals gives the same bits.
inline float diagonal_measure(Vec3 d1, Vec3 d2) {
  const Vec3 s{d1.x + d2.x, d1.y + d2.y, d1.z + d2.z};
  const Vec3 t{d1.x - d2.x, d1.y - d2.y, d1.z - d2.z};
  const float ss = s.x * s.x + s.y * s.y + s.z * s.z;
  const float tt = t.x * t.x + t.y * t.y + t.z * t.z;
  const float st = s.x * t.x + s.y * t.y + s.z * t.z;
  return ss * tt - st * st;
}

// K is the node count of the coordinate array.
template <int K = 8>
inline float face_measure(int n, const float* coords, int e, int a, int b, int c, int d) {
  float d1[3], d2[3];
  for (int k = 0; k < 3; ++k) {
    d1[k] = coords[at(n, K, e, c, k)] - coords[at(n, K, e, a, k)];
    d2[k] = coords[at(n, K, e, d, k)] - coords[at(n, K, e, b, k)];
  }
  return diagonal_measure({d1[0], d1[1], d1[2]}, {d2[0], d2[1], d2[2]});
}

// 1 where a largest face measure m is below the smallest normal float (or is
// not a number), else 0; held as a sign of +-0.5 so that the loop needs no branch.
inline float collapsed_face_pad(float m) {
  const float half = m - kSmallestNormal >= 0.0f ? 0.5f : -0.5f;
  return 0.5f - half;
}

}  // namespace sti::continuum
