// Geometry of beams: the axial length and the mass it carries. Bending does
// not enter; a beam is measured like a truss, and a three-node beam at each of
// its two Gauss points by twice the length of its tangent there. The driver's
// time scale of quadratic beams does the rest.
#include "common/line_measure.hpp"
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "beam/beam.hpp"

namespace sti::beam {
namespace {

constexpr float kGaussAbscissa[2] = {-kInvSqrt3, kInvSqrt3};

}  // namespace

// Three-node beam, middle node second: the tangent of the quadratic
// interpolation at the point's abscissa g, component by component,
//   J_u = g * (u1 - u2 - u2 + u3) + 0.5 * (u3 - u1),
// with the first product in single precision and the half difference and the
// sum in double, rounded to single before squaring. L = 2 |J|, as s + s.
template <int Dim>
void three_node_measure(int n, int point_index, int* STI_RESTRICT elem_status,
                        const float* STI_RESTRICT coords, float section_area,
                        float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
                        float* STI_RESTRICT lsq) {
  constexpr int K = 3;
  const float g = kGaussAbscissa[point_index == 2 ? 1 : 0];
  for (int e = 0; e < n; ++e) {
    float sum = 0.0f;
    for (int c = 0; c < Dim; ++c) {
      const float u1 = coords[at(n, K, e, 0, c)];
      const float u2 = coords[at(n, K, e, 1, c)];
      const float u3 = coords[at(n, K, e, 2, c)];
      const float curvature = g * (u1 - u2 - u2 + u3);
      const double half_chord = 0.5 * static_cast<double>(u3 - u1);
      const float j = static_cast<float>(static_cast<double>(curvature) + half_chord);
      sum = c == 0 ? j * j : sum + j * j;
    }
    const float s = std::sqrt(sum);
    lsq[e] = s + s;
  }
  for (int e = 0; e < n; ++e) {
    const float v = max_of(0.0f, section_area * lsq[e]);
    elem_status[e] = v == 0.0f ? 1 : elem_status[e];
    element_mass[e] = v * density[e];
  }
}

void beam_geometry(int n, int point_index, int* STI_RESTRICT elem_status, int shape_code,
                   const float* STI_RESTRICT coords, float* STI_RESTRICT element_mass,
                   float section_area, const float* STI_RESTRICT density, float* STI_RESTRICT lsq) {
  switch (shape_code) {
    case 0x3202:
      two_node_line_measure<3>(n, elem_status, coords, section_area, density, element_mass, lsq);
      break;
    case 0x3203:
      three_node_measure<3>(n, point_index, elem_status, coords, section_area, element_mass,
                            density, lsq);
      break;
    case 0x2202:
      two_node_line_measure<2>(n, elem_status, coords, section_area, density, element_mass, lsq);
      break;
    case 0x2203:
      three_node_measure<2>(n, point_index, elem_status, coords, section_area, element_mass,
                            density, lsq);
      break;
    default:  // not a beam shape: nothing is written
      break;
  }
}

}  // namespace sti::beam

namespace sti::beam {

template void three_node_measure<2>(int, int, int*, const float*, float, float*, const float*,
                                    float*);
template void three_node_measure<3>(int, int, int*, const float*, float, float*, const float*,
                                    float*);

}  // namespace sti::beam
