// Straight two-node elements (trusses and two-node beams) at their one point.
// The gather reads each element's two nodes through the connectivity and
// stores only their chord, and the measure reads the chord; the moduli and
// the increment are the general path's stages.
#include "common/line_measure.hpp"
#include "common/numerics.hpp"
#include "material/material.hpp"
#include "pipeline/pipeline.hpp"

namespace sti::pipeline {
namespace {

// The two-node measure from the chords (Dim floats per element).
template <int Dim>
void chord_measure(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT chord,
                   float section_area, const float* STI_RESTRICT density,
                   float* STI_RESTRICT element_mass, float* STI_RESTRICT lsq) {
  for (int e = 0; e < n; ++e) {
    float d[Dim];
    for (int c = 0; c < Dim; ++c) d[c] = chord[e + n * c];
    const float length = chord_length<Dim>(d);
    lsq[e] = length;
    element_mass[e] = line_volume(section_area, length, elem_status[e]) * density[e];
  }
}

}  // namespace

void two_node_line_batch(int n, int ndim, int coord_stride, int material_code,
                         const int* STI_RESTRICT connectivity, const int* STI_RESTRICT rows,
                         const float* STI_RESTRICT node_coords,
                         const float* STI_RESTRICT thickness, float section_area,
                         float modulus_scale, float alpha_damping, float beta_damping,
                         float bulk_b1, const float* STI_RESTRICT density,
                         const float* STI_RESTRICT material_props, const LineWork& w,
                         int* STI_RESTRICT elem_status, float* STI_RESTRICT dt_out) {
  gather_chords(n, ndim, coord_stride, connectivity, rows, w.chord, node_coords);
  if (ndim == 3)
    chord_measure<3>(n, elem_status, w.chord, section_area, density, w.element_mass, w.lsq);
  else
    chord_measure<2>(n, elem_status, w.chord, section_area, density, w.element_mass, w.lsq);
  int plane_stress_flag = 0;
  const int uniaxial_flag = 1;
  material::effective_moduli(n, ndim, elem_status, material_code, plane_stress_flag,
                             uniaxial_flag, modulus_scale, thickness, w.two_g, w.three_k,
                             w.wave_modulus, material_props);
  const int freq_flag = 0;
  material::element_dt(n, plane_stress_flag, elem_status, freq_flag, alpha_damping, beta_damping,
                       bulk_b1, w.lsq, w.freq, w.two_g, w.three_k, w.wave_modulus,
                       w.element_mass, dt_out);
}

}  // namespace sti::pipeline
