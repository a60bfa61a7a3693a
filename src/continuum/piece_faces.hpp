// Largest-face estimate of the length term for the hexahedral pieces of the
// modified ten-node tetrahedron: freq_a = (16 * 128/75) V / m, m sixteen times
// the squared area of the piece's largest face. Each piece has three outer
// faces, measured at its own point, and three inner faces shared with the
// other pieces. The inner faces are measured once and kept in columns 1 to 4
// of freq for the later points, so the points must run in order 1, 2, 3, 4.
// Point 3 leaves its own inner face B out of its estimate; it only serves point 4.
#pragma once

#include "continuum/face_measure.hpp"

namespace sti::continuum {

inline constexpr float kPieceFaceMultiplier = std::bit_cast<float>(0x41DA740Eu);  // 27.306667

// Faces A to F of a hexahedral piece, zero-based corners in order.
enum PieceFace { kFaceA, kFaceB, kFaceC, kFaceD, kFaceE, kFaceF };
inline constexpr int kPieceFaces[6][4] = {{0, 1, 2, 3}, {4, 5, 6, 7}, {0, 1, 5, 4},
                                          {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};

// The estimate of element e at point P (1 to 4; 0 for none: the outer faces'
// measure only), from face(f), the measure of face f of its piece, and the
// piece's padded volume. The columns have stride n.
template <int P, class Face>
inline void piece_face_estimate(int n, int e, const Face& face, float volume,
                                float* STI_RESTRICT freq) {
  float* col0 = freq;
  float* col1 = freq + n;
  float* col2 = freq + 2 * n;
  float* col3 = freq + 3 * n;
  float* col4 = freq + 4 * n;
  const float outer = max_of(max_of(face(kFaceA), face(kFaceC)), face(kFaceF));
  float m = outer;
  if constexpr (P == 1) {
    const float b = face(kFaceB);
    const float d = face(kFaceD);
    const float f = face(kFaceE);
    col1[e] = b;
    col2[e] = d;
    col3[e] = f;
    m = max_of(max_of(max_of(outer, b), d), f);
  } else if constexpr (P == 2) {
    const float d_of_point_1 = col2[e];
    const float d = face(kFaceD);
    const float b = face(kFaceB);
    col4[e] = d;
    col2[e] = b;
    m = max_of(max_of(max_of(outer, d_of_point_1), d), b);
  } else if constexpr (P == 3) {
    m = max_of(max_of(outer, col3[e]), col4[e]);
    col3[e] = face(kFaceB);
  } else if constexpr (P == 4) {
    m = max_of(max_of(max_of(outer, col1[e]), col2[e]), col3[e]);
  }
  if constexpr (P == 0) {
    col0[e] = outer;  // no piece: the outer faces' measure only
  } else {
    const float g = collapsed_face_pad(m);
    col0[e] = guarded_quotient(volume * kPieceFaceMultiplier, m, g);
  }
}

}  // namespace sti::continuum
