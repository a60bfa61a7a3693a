// Measure of straight two-node elements (trusses and two-node beams): the
// length as the length term, and density times section area times length as
// the mass. A zero length or a section area not greater than zero is status 1;
// the mass is still written.
#pragma once

#include <cmath>

#include "common/numerics.hpp"

namespace sti {

// The measure of each element from its chord, chord(e, c) being component c
// of element e's node 2 minus node 1.
template <int Dim, class Chord>
inline void line_measure(int n, int* elem_status, Chord chord, float section_area,
                         const float* density, float* element_mass, float* lsq) {
  for (int e = 0; e < n; ++e) {
    float sum = 0.0f;
    for (int c = 0; c < Dim; ++c) {
      const float d = chord(e, c);
      sum = c == 0 ? d * d : sum + d * d;
    }
    const float length = std::sqrt(sum);
    lsq[e] = length;
    const float v = max_of(0.0f, section_area * length);
    elem_status[e] = v == 0.0f ? 1 : elem_status[e];
    element_mass[e] = v * density[e];
  }
}

// The measure from the gathered coordinates of both nodes.
template <int Dim>
inline void two_node_line_measure(int n, int* elem_status, const float* coords,
                                  float section_area, const float* density, float* element_mass,
                                  float* lsq) {
  const auto chord = [coords, n](int e, int c) {
    return coords[at(n, 2, e, 1, c)] - coords[at(n, 2, e, 0, c)];
  };
  line_measure<Dim>(n, elem_status, chord, section_area, density, element_mass, lsq);
}

}  // namespace sti
