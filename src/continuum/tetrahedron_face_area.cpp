// Largest-face estimate of the length term for the hexahedral pieces of the
// modified ten-node tetrahedron: freq_a = (16 * 128/75) V / m, m sixteen times
// the squared area of the piece's largest face. Each piece has three outer
// faces, measured at its own point, and three inner faces shared with the
// other pieces. The inner faces are measured once and kept in columns 1 to 4
// of freq for the later points, so the points must run in order 1, 2, 3, 4.
// Point 3 leaves its own inner face B out of its estimate; it only serves point 4.
#include "continuum/face_measure.hpp"
#include "stabletime/pipeline.h"
#include "continuum/continuum.hpp"

namespace sti::continuum {

namespace {
inline constexpr float kMultiplier = std::bit_cast<float>(0x41DA740Eu);  // 27.306667

// A hexahedral piece read through its corner nodes: corner k is node
// nodes[k] of a K-node coordinate array.
template <int K>
struct Piece {
  const float* coords;
  const int* nodes;
  float face(int n, int e, int a, int b, int c, int d) const {
    return face_measure<K>(n, coords, e, nodes[a], nodes[b], nodes[c], nodes[d]);
  }
};

// Faces of a hexahedral piece, zero-based corners in order.
template <int K> float face_a(int n, Piece<K> h, int e) { return h.face(n, e, 0, 1, 2, 3); }
template <int K> float face_b(int n, Piece<K> h, int e) { return h.face(n, e, 4, 5, 6, 7); }
template <int K> float face_c(int n, Piece<K> h, int e) { return h.face(n, e, 0, 1, 5, 4); }
template <int K> float face_d(int n, Piece<K> h, int e) { return h.face(n, e, 1, 2, 6, 5); }
template <int K> float face_e(int n, Piece<K> h, int e) { return h.face(n, e, 2, 3, 7, 6); }
template <int K> float face_f(int n, Piece<K> h, int e) { return h.face(n, e, 3, 0, 4, 7); }
}  // namespace

namespace {

// The estimate of point P (1 to 4; 0 for none), in one pass: the outer faces,
// which lie in the faces of the element, and the inner faces met so far.
template <int P, int K>
void piece_point(int n, Piece<K> h, float* STI_RESTRICT freq, const float* STI_RESTRICT work_a) {
  float* col0 = freq;
  float* col1 = freq + n;
  float* col2 = freq + 2 * n;
  float* col3 = freq + 3 * n;
  float* col4 = freq + 4 * n;
  for (int e = 0; e < n; ++e) {
    const float outer = max_of(max_of(face_a(n, h, e), face_c(n, h, e)), face_f(n, h, e));
    float m = outer;
    if constexpr (P == 1) {
      const float b = face_b(n, h, e);
      const float d = face_d(n, h, e);
      const float f = face_e(n, h, e);
      col1[e] = b;
      col2[e] = d;
      col3[e] = f;
      m = max_of(max_of(max_of(outer, b), d), f);
    } else if constexpr (P == 2) {
      const float d_of_point_1 = col2[e];
      const float d = face_d(n, h, e);
      const float b = face_b(n, h, e);
      col4[e] = d;
      col2[e] = b;
      m = max_of(max_of(max_of(outer, d_of_point_1), d), b);
    } else if constexpr (P == 3) {
      m = max_of(max_of(outer, col3[e]), col4[e]);
      col3[e] = face_b(n, h, e);
    } else if constexpr (P == 4) {
      m = max_of(max_of(max_of(outer, col1[e]), col2[e]), col3[e]);
    }
    if constexpr (P == 0) {
      col0[e] = outer;  // no piece: the outer faces' measure only
    } else {
      const float g = collapsed_face_pad(m);
      col0[e] = work_a[e] * kMultiplier * (1.0f - g) / (m + g);
    }
  }
}

template <int K>
void piece_face_area(int n, int point_index, Piece<K> hex_coords, float* STI_RESTRICT freq,
                     const float* STI_RESTRICT work_a) {
  if (n < 1) return;
  switch (point_index) {
    case 1: piece_point<1>(n, hex_coords, freq, work_a); break;
    case 2: piece_point<2>(n, hex_coords, freq, work_a); break;
    case 3: piece_point<3>(n, hex_coords, freq, work_a); break;
    case 4: piece_point<4>(n, hex_coords, freq, work_a); break;
    default: piece_point<0>(n, hex_coords, freq, work_a); break;
  }
}

}  // namespace

void tetrahedron_piece_face_area(int n, int point_index, const float* STI_RESTRICT hex_coords,
                                 float* STI_RESTRICT freq, const float* STI_RESTRICT work_a) {
  piece_face_area<8>(n, point_index, Piece<8>{hex_coords, kHexahedronCorners}, freq, work_a);
}

void ten_node_piece_face_area(int n, int point_index, const float* STI_RESTRICT coords,
                              float* STI_RESTRICT freq, const float* STI_RESTRICT work_a) {
  if (point_index < 1 || point_index > 4) return;
  piece_face_area<15>(n, point_index, Piece<15>{coords, kTetrahedronPieces[point_index - 1]},
                      freq, work_a);
}

}  // namespace sti::continuum
