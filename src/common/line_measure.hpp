// Measure of straight two-node elements (trusses and two-node beams): the
// length as the length term, and density times section area times length as
// the mass. A zero length or a section area not greater than zero is status 1;
// the mass is still written.
#pragma once

#include <cmath>

#include "common/numerics.hpp"

namespace sti {

// Length of a chord of Dim components, its squares summed in component order.
template <int Dim>
inline float chord_length(const float (&d)[Dim]) {
  float sum = d[0] * d[0];
  for (int c = 1; c < Dim; ++c) sum = sum + d[c] * d[c];
  return std::sqrt(sum);
}

// Section area times length, held at zero from below (a NaN gives zero); a
// zero fails the element with status 1.
inline float line_volume(float section_area, float length, int& status) {
  const float v = max_of(0.0f, section_area * length);
  status = v == 0.0f ? 1 : status;
  return v;
}

template <int Dim>
inline void two_node_line_measure(int n, int* elem_status, const float* coords,
                                  float section_area, const float* density, float* element_mass,
                                  float* lsq) {
  for (int e = 0; e < n; ++e) {
    float d[Dim];
    for (int c = 0; c < Dim; ++c) d[c] = coords[at(n, 2, e, 1, c)] - coords[at(n, 2, e, 0, c)];
    const float length = chord_length<Dim>(d);
    lsq[e] = length;
    element_mass[e] = line_volume(section_area, length, elem_status[e]) * density[e];
  }
}

}  // namespace sti
