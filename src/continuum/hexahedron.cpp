// Volume, mass and length term of eight-node hexahedra, which also carry the
// tetrahedra and wedges stored with repeated corners. The length term rests on
// the gradient of the volume by the 24 corner coordinates: L^2 = V^2 / (2 S),
// S the sum of the squared gradient components, which gives h^2/3 for a cube
// of side h.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "continuum/continuum.hpp"
#include "continuum/volume_gradient.hpp"

namespace sti::continuum {

using namespace volume_gradient;

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
    work_a[e] = padded;
    work_b[e] = (1.0f - p) / padded;
    element_mass[e] = padded * density[e];

    // The sum of the 24 squares first, then the pad: a pad added first would
    // absorb the small squares of a collapsed element. The y and z components
    // are formed as they are summed, which keeps fewer of them live.
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
  }
}

void hexahedron(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords,
                float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
                float* STI_RESTRICT lsq) {
  hexahedron_of<8>(n, elem_status, coords, kHexahedronCorners, work_a, work_b, element_mass,
                   density, lsq);
}

void hexahedron_of_corners(int n, int node_count, int* STI_RESTRICT elem_status,
                           const float* STI_RESTRICT coords, float* STI_RESTRICT work_a,
                           float* STI_RESTRICT work_b, float* STI_RESTRICT element_mass,
                           const float* STI_RESTRICT density, float* STI_RESTRICT lsq) {
  if (node_count == 4)
    hexahedron_of<4>(n, elem_status, coords, kTetrahedronCorners, work_a, work_b, element_mass,
                     density, lsq);
  else if (node_count == 6)
    hexahedron_of<6>(n, elem_status, coords, kWedgeCorners, work_a, work_b, element_mass, density,
                     lsq);
  else
    hexahedron(n, elem_status, coords, work_a, work_b, element_mass, density, lsq);
}

}  // namespace sti::continuum
