// Volume, mass and length term of eight-node hexahedra, which also carry the
// tetrahedra and wedges stored with repeated corners and the sub-hexahedra of
// the modified ten-node tetrahedron. The length term rests on the gradient of
// the volume by the 24 corner coordinates: L^2 = V^2 / (2 S), S the sum of
// the squared gradient components, which gives h^2/3 for a cube of side h.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "continuum/continuum.hpp"

namespace sti::continuum {

namespace {

inline constexpr float kTwelfth = std::bit_cast<float>(0x3DAAAAABu);  // 0.083333336

// Corner renumbering that carries the gradient of corner 1 to corner I.
constexpr int kRenumber[8][8] = {
    {0, 1, 2, 3, 4, 5, 6, 7}, {1, 2, 3, 0, 5, 6, 7, 4}, {2, 3, 0, 1, 6, 7, 4, 5},
    {3, 0, 1, 2, 7, 4, 5, 6}, {4, 7, 6, 5, 0, 3, 2, 1}, {5, 4, 7, 6, 1, 0, 3, 2},
    {6, 5, 4, 7, 2, 1, 0, 3}, {7, 6, 5, 4, 3, 2, 1, 0}};

// Derivative of the trilinear volume by the first coordinate of corner p[0],
// held as five products of coordinate differences of the other two (u, v).
inline float gradient_component(const float* u, const float* v, const int* p) {
  const float sum = -(u[p[1]] - u[p[7]]) * (v[p[3]] - v[p[4]]) -
                    (u[p[2]] - u[p[4]]) * (v[p[3]] - v[p[1]]) +
                    (v[p[1]] - v[p[4]]) * (u[p[3]] - u[p[5]]) +
                    (u[p[3]] - u[p[1]]) * (v[p[2]] - v[p[5]]) -
                    (u[p[3]] - u[p[4]]) * (v[p[7]] - v[p[5]]);
  return kTwelfth * sum;
}

}  // namespace

constexpr int kIdentity[8] = {0, 1, 2, 3, 4, 5, 6, 7};

// The hexahedron whose corner k is node nodes[k] of a K-node coordinate array.
template <int K>
void hexahedron_of(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords,
                   const int (&nodes)[8], float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                   float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
                   float* STI_RESTRICT lsq) {
  for (int e = 0; e < n; ++e) {
    float x[8], y[8], z[8];
#pragma GCC unroll 8
    for (int k = 0; k < 8; ++k) {
      x[k] = coords[at(n, K, e, nodes[k], 0)];
      y[k] = coords[at(n, K, e, nodes[k], 1)];
      z[k] = coords[at(n, K, e, nodes[k], 2)];
    }
    float bx[8], by[8], bz[8];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) {
      bx[i] = gradient_component(y, z, kRenumber[i]);
      by[i] = gradient_component(z, x, kRenumber[i]);
      bz[i] = gradient_component(x, y, kRenumber[i]);
    }

    // Volume from the x components, measured from corner 1.
    float sum = (x[0] - x[1]) * bx[1];
#pragma GCC unroll 8
    for (int i = 2; i < 8; ++i) sum = sum + (x[0] - x[i]) * bx[i];
    const float v = max_of(-sum, 0.0f);  // inside out, or a NaN, gives 0
    const float p = v == 0.0f ? 1.0f : 0.0f;
    elem_status[e] = v == 0.0f ? 1 : elem_status[e];
    const float padded = v + p;
    work_a[e] = padded;
    work_b[e] = (1.0f - p) / padded;
    element_mass[e] = padded * density[e];

    // The sum of the 24 squares first, then the pad: a pad added first would
    // absorb the small squares of a collapsed element.
    float s = bx[0] * bx[0];
#pragma GCC unroll 8
    for (int i = 1; i < 8; ++i) s = s + bx[i] * bx[i];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) s = s + by[i] * by[i];
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i) s = s + bz[i] * bz[i];
    s = s + p;
    lsq[e] = padded * 0.5f / s;
  }
}

void hexahedron(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords,
                float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
                float* STI_RESTRICT lsq) {
  hexahedron_of<8>(n, elem_status, coords, kIdentity, work_a, work_b, element_mass, density, lsq);
}

void ten_node_piece(int n, int point_index, int* STI_RESTRICT elem_status,
                    const float* STI_RESTRICT coords, float* STI_RESTRICT work_a,
                    float* STI_RESTRICT work_b, float* STI_RESTRICT element_mass,
                    const float* STI_RESTRICT density, float* STI_RESTRICT lsq) {
  if (point_index < 1 || point_index > 4) return;
  hexahedron_of<15>(n, elem_status, coords, kTetrahedronPieces[point_index - 1], work_a, work_b,
                    element_mass, density, lsq);
}

}  // namespace sti::continuum
