// The face estimate of a hexahedral piece of the modified ten-node
// tetrahedron copied out to eight corners, the stage form of the estimate
// that the piece measure forms in place.
#include "continuum/piece_faces.hpp"
#include "stabletime/pipeline.h"
#include "continuum/continuum.hpp"

namespace sti::continuum {

namespace {

template <int P>
void piece_point(int n, const float* STI_RESTRICT hex_coords, float* STI_RESTRICT freq,
                 const float* STI_RESTRICT work_a) {
  for (int e = 0; e < n; ++e) {
    const auto face = [&](int f) {
      const int* c = kPieceFaces[f];
      return face_measure<8>(n, hex_coords, e, c[0], c[1], c[2], c[3]);
    };
    piece_face_estimate<P>(n, e, face, P == 0 ? 0.0f : work_a[e], freq);  // 0: not read
  }
}

}  // namespace

void tetrahedron_piece_face_area(int n, int point_index, const float* STI_RESTRICT hex_coords,
                                 float* STI_RESTRICT freq, const float* STI_RESTRICT work_a) {
  if (n < 1) return;
  switch (point_index) {
    case 1: piece_point<1>(n, hex_coords, freq, work_a); break;
    case 2: piece_point<2>(n, hex_coords, freq, work_a); break;
    case 3: piece_point<3>(n, hex_coords, freq, work_a); break;
    case 4: piece_point<4>(n, hex_coords, freq, work_a); break;
    default: piece_point<0>(n, hex_coords, freq, work_a); break;
  }
}

}  // namespace sti::continuum
