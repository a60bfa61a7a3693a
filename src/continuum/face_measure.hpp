// Sixteen times the squared (vector) area of a four-corner face a, b, c, d of
// a batch hexahedron, from its two diagonals: with d1 = Xc - Xa, d2 = Xd - Xb,
// s = d1 + d2 and t = d1 - d2 it is |s x t|^2 = (s.s)(t.t) - (s.t)^2. A face
// with a repeated corner measures its triangle. No root and no clamp: a
// cancellation may leave a small negative value, which the callers' guards
// turn into a zero estimate.
#pragma once

#include "common/numerics.hpp"

namespace sti::continuum {

// K is the node count of the coordinate array (8, or the fifteen points of a
// ten-node tetrahedron whose sub-hexahedra are read in place).
template <int K = 8>
inline float face_measure(int n, const float* coords, int e, int a, int b, int c, int d) {
  float s[3], t[3];
  for (int k = 0; k < 3; ++k) {
    const float d1 = coords[at(n, K, e, c, k)] - coords[at(n, K, e, a, k)];
    const float d2 = coords[at(n, K, e, d, k)] - coords[at(n, K, e, b, k)];
    s[k] = d1 + d2;
    t[k] = d1 - d2;
  }
  const float ss = s[0] * s[0] + s[1] * s[1] + s[2] * s[2];
  const float tt = t[0] * t[0] + t[1] * t[1] + t[2] * t[2];
  const float st = s[0] * t[0] + s[1] * t[1] + s[2] * t[2];
  return ss * tt - st * st;
}

// 1 where a largest face measure m is below the smallest normal float (or is
// not a number), else 0; held as a sign of +-0.5 so that the loop needs no branch.
inline float collapsed_face_pad(float m) {
  const float half = m - kSmallestNormal >= 0.0f ? 0.5f : -0.5f;
  return 0.5f - half;
}

}  // namespace sti::continuum
