// Volume, mass and length term of eight-node hexahedra, which also carry the
// tetrahedra and wedges stored with repeated corners. The length term rests on
// the gradient of the volume by the 24 corner coordinates: L^2 = V^2 / (2 S),
// S the sum of the squared gradient components, which gives h^2/3 for a cube
// of side h.
#include "common/numerics.hpp"
#include "continuum/hexahedron_measure.hpp"
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
  using namespace hexahedron_detail;
  for (int e = 0; e < n; ++e) {
    const Corners c = corners_of<K>(n, coords, nodes, e);
    const Measure m = measure(c, differences(c.x), differences(c.y), differences(c.z));
    elem_status[e] = m.collapsed ? 1 : elem_status[e];
    work_a[e] = m.padded;
    work_b[e] = m.reciprocal;
    element_mass[e] = m.padded * density[e];
    lsq[e] = m.lsq;
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
