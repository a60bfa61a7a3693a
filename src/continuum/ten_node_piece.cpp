// The hexahedral piece of one point of the modified ten-node tetrahedron, read
// in place from the fifteen gathered points: its volume, mass and length term
// by the operations of the eight-node hexahedron (L^2 = V^2 / (2 S), S the sum
// of the squared components of the volume's gradient by the corners), and in
// the same pass the largest-face estimate from the same corner differences.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "continuum/continuum.hpp"
#include "continuum/piece_faces.hpp"
#include "continuum/volume_gradient.hpp"

namespace sti::continuum {

namespace {

using namespace volume_gradient;

constexpr int kPoints = 15;  // ten nodes, the centroid and four face points

// Each face's diagonals join corners 0 to 2 and 1 to 3 in its order; both run
// from the lower corner number, so that the differences of the volume
// gradient serve as the diagonals, each negated.
constexpr bool diagonals_run_upwards() {
  for (const auto& f : kPieceFaces)
    if (f[0] >= f[2] || f[1] >= f[3]) return false;
  return true;
}
static_assert(diagonals_run_upwards());

inline float face_of(const Differences& dx, const Differences& dy, const Differences& dz, int f) {
  const int* c = kPieceFaces[f];
  return diagonal_measure({dx.d[c[0]][c[2]], dy.d[c[0]][c[2]], dz.d[c[0]][c[2]]},
                          {dx.d[c[1]][c[3]], dy.d[c[1]][c[3]], dz.d[c[1]][c[3]]});
}

// Point P's piece (1 to 4), its corners known at compile time; with Faces its
// estimate too.
template <int P, bool Faces>
void piece(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords,
           float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
           float* STI_RESTRICT lsq, float* STI_RESTRICT freq) {
  constexpr const int* nodes = kTetrahedronPieces[P - 1];
  for (int e = 0; e < n; ++e) {
    float x[8], y[8], z[8];
#pragma GCC unroll 8
    for (int k = 0; k < 8; ++k) {
      x[k] = coords[at(n, kPoints, e, nodes[k], 0)];
      y[k] = coords[at(n, kPoints, e, nodes[k], 1)];
      z[k] = coords[at(n, kPoints, e, nodes[k], 2)];
    }
    const Differences dx = differences(x), dy = differences(y), dz = differences(z);
    float bx[8];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) bx[i] = gradient_component(dy, dz, kComponents[i]);

    // Volume from the x components, measured from corner 1.
    float sum = (x[0] - x[1]) * bx[1];
#pragma GCC unroll 8
    for (int i = 2; i < 8; ++i) sum = sum + (x[0] - x[i]) * bx[i];
    const float v = max_of(-sum, 0.0f);  // inside out, or a NaN, gives 0
    const float p = v == 0.0f ? 1.0f : 0.0f;
    elem_status[e] = v == 0.0f ? 1 : elem_status[e];
    const float padded = v + p;
    element_mass[e] = padded * density[e];

    // The 24 squares first, then the pad, which would otherwise absorb the
    // small squares of a collapsed piece.
    float s = bx[0] * bx[0];
#pragma GCC unroll 8
    for (int i = 1; i < 8; ++i) s = s + bx[i] * bx[i];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
      const float by = gradient_component(dz, dx, kComponents[i]);
      s = s + by * by;
    }
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
      const float bz = gradient_component(dx, dy, kComponents[i]);
      s = s + bz * bz;
    }
    s = s + p;
    lsq[e] = padded * 0.5f / s;

    if constexpr (Faces) {
      const auto face = [&](int f) { return face_of(dx, dy, dz, f); };
      piece_face_estimate<P>(n, e, face, padded, freq);
    }
  }
}

template <bool Faces>
void piece_of_point(int n, int point_index, int* elem_status, const float* coords,
                    float* element_mass, const float* density, float* lsq, float* freq) {
  switch (point_index) {
    case 1: piece<1, Faces>(n, elem_status, coords, element_mass, density, lsq, freq); break;
    case 2: piece<2, Faces>(n, elem_status, coords, element_mass, density, lsq, freq); break;
    case 3: piece<3, Faces>(n, elem_status, coords, element_mass, density, lsq, freq); break;
    case 4: piece<4, Faces>(n, elem_status, coords, element_mass, density, lsq, freq); break;
    default: break;
  }
}

}  // namespace

void ten_node_piece(int n, int point_index, int* STI_RESTRICT elem_status,
                    const float* STI_RESTRICT coords, float* STI_RESTRICT element_mass,
                    const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                    float* STI_RESTRICT freq) {
  if (freq != nullptr)
    piece_of_point<true>(n, point_index, elem_status, coords, element_mass, density, lsq, freq);
  else
    piece_of_point<false>(n, point_index, elem_status, coords, element_mass, density, lsq, freq);
}

}  // namespace sti::continuum
