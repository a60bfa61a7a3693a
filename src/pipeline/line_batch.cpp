// Straight two-node elements (trusses and two-node beams) at their one point.
// The gather reads each element's two nodes through the connectivity and
// stores only their chord, and the measure reads the chord; the moduli and
// the increment are the general path's stages.
#include "common/line_measure.hpp"
#include "common/numerics.hpp"
#include "material/material.hpp"
#include "pipeline/pipeline.hpp"

namespace sti::pipeline {

void two_node_line_batch(int n, int ndim, int coord_stride, int material_code,
                         const int* STI_RESTRICT connectivity, const int* STI_RESTRICT rows,
                         const float* STI_RESTRICT node_coords,
                         const float* STI_RESTRICT thickness, float section_area,
                         float modulus_scale, float alpha_damping, float beta_damping,
                         float bulk_b1, const float* STI_RESTRICT density,
                         const float* STI_RESTRICT material_props, const LineWork& w,
                         int* STI_RESTRICT elem_status, float* STI_RESTRICT dt_out) {
  gather_chords(n, ndim, coord_stride, connectivity, rows, w.chord, node_coords);
  const float* STI_RESTRICT chord = w.chord;
  const auto component = [chord, n](int e, int c) { return chord[e + n * c]; };
  if (ndim == 3)
    line_measure<3>(n, elem_status, component, section_area, density, w.element_mass, w.lsq);
  else
    line_measure<2>(n, elem_status, component, section_area, density, w.element_mass, w.lsq);
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
