// Geometry dispatch of one integration point: runs the geometry stages of the
// batch's computational shape, in their fixed order, on the work arrays that
// the caller provides for the point.
#include "cohesive/cohesive.hpp"
#include "common/line_measure.hpp"
#include "common/numerics.hpp"
#include "continuum/continuum.hpp"
#include "pipeline/element_table.hpp"
#include "pipeline/pipeline.hpp"
#include "shell/shell.hpp"

namespace sti::pipeline {
namespace {

void fail_all(int n, int* elem_status, int status) {
  for (int e = 0; e < n; ++e) elem_status[e] = status;
}

// Membranes, shells and continuum shells: the in-plane coordinates in the
// element's frame, then the measure of that plane and its frequency bound.
void surface_geometry(int n, int point_index, int run_point_count, Variant variant,
                      int* elem_status, int freq_flag, const float* tri_flag, const float* coords_g,
                      const float* coords_d, float* element_mass, const float* thickness,
                      const float* density, float* lsq, float* freq, const float* rule_dn1,
                      const float* rule_dn2, const GeometryWork& w) {
  SurfaceWork& surface = w.shape->surface;
  // The fully integrated membrane with its frequency bound, its points in
  // turn: point 1 forms the axes of them all, then each point the rest in one
  // pass.
  const bool quad_bound = freq_flag == 1 && tri_flag[0] != 1.0f;
  if (quad_bound && variant == Variant::kFullMembrane && w.points_in_turn &&
      run_point_count == kMembraneAxesPoints) {
    float* axes = w.shape->membrane_axes;
    if (point_index == 1)
      shell::membrane_axes(n, rule_dn1, rule_dn2, coords_g, axes);
    axes += 6 * n * (point_index - 1);
    shell::full_membrane_point(n, point_index, rule_dn1, rule_dn2, coords_g, axes, elem_status,
                               tri_flag, element_mass, thickness, density, lsq, freq, freq + n);
    return;
  }
  // The one-point quadrilaterals with the bound: the frame, then the rest in
  // one pass.
  if (quad_bound && variant == Variant::kPlain && run_point_count == 1) {
    shell::one_point_surface(n, coords_g, surface.frame, elem_status, tri_flag, element_mass,
                             thickness, density, lsq, freq, freq + n);
    return;
  }

  const bool pairs = variant == Variant::kContinuumShell;
  shell::surface_plane(n, point_index, run_point_count, rule_dn1, rule_dn2, coords_g,
                       surface.frame, surface.local_g, pairs ? coords_d : nullptr,
                       surface.local_d);

  if (pairs) {
    shell::continuum_shell(n, elem_status, tri_flag, surface.local_g, coords_d, surface.local_d,
                           element_mass, thickness, density, lsq);
    return;
  }

  if (run_point_count == 1) {
    continuum::plane_quadrilateral(n, elem_status, tri_flag, surface.local_g, w.work_a, w.work_b,
                                   element_mass, thickness, density, lsq);
  } else {
    shell::full_membrane(n, elem_status, point_index, tri_flag, rule_dn1, rule_dn2,
                         surface.local_g, w.work_a, w.work_b, element_mass, thickness, density,
                         lsq);
  }

  if (variant == Variant::kSmallStrainShell) {
    shell::small_strain_shell_frequency(n, surface.local_g, w.work_a, w.work_b, lsq,
                                        tri_flag, freq);
    return;
  }

  if (freq_flag != 1) return;
  if (tri_flag[0] == 1.0f) {
    shell::triangle_frequency(n, surface.local_g, w.work_b, freq);
  } else {
    const int full_integration = variant == Variant::kFullMembrane ? 1 : 0;
    shell::quadrilateral_frequency(full_integration, n, surface.local_g, w.work_a,
                                   w.work_b, freq);
  }
}

}  // namespace

void element_geometry(int n, int point_index, int run_point_count, int section_index,
                      int elem_type_id, int* STI_RESTRICT elem_status, int shape_code,
                      int section_skip, int coh_flag, int freq_flag,
                      const float* STI_RESTRICT tri_flag, const float* STI_RESTRICT coords_g,
                      const float* STI_RESTRICT coords_d, float* STI_RESTRICT element_mass,
                      const float* STI_RESTRICT thickness, const float* STI_RESTRICT coh_value,
                      const float* STI_RESTRICT section_area, const float* STI_RESTRICT density,
                      float* STI_RESTRICT lsq, float* STI_RESTRICT freq,
                      const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                      const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT rule_w,
                      const GeometryWork& w) {
  if (section_skip != 0) {
    if (section_index == 1) fail_all(n, elem_status, 5);
    return;
  }

  // The choice within the shape's branch; the plain one for an id no row has.
  const ElementType* type = find_type(elem_type_id);
  const Variant variant = type ? type->variant : Variant::kPlain;

  switch (shape_code) {
    case 0x2404:  // plane quadrilaterals and triangles
      if (freq_flag == 1 && tri_flag[0] != 1.0f) {  // the bound in the measure pass
        continuum::plane_quadrilateral_frequency(n, elem_status, tri_flag, coords_g,
                                                 element_mass, thickness, density, lsq, freq);
        break;
      }
      continuum::plane_quadrilateral(n, elem_status, tri_flag, coords_g, w.work_a, w.work_b,
                                     element_mass, thickness, density, lsq);
      if (freq_flag == 1) shell::triangle_frequency(n, coords_g, w.work_b, freq);
      break;
    case 0x6404:  // axisymmetric quadrilaterals and triangles
      continuum::axisymmetric_quadrilateral(n, elem_status, tri_flag, coords_g, element_mass,
                                            density, lsq);
      break;
    case 0x3C08:  // hexahedra, and wedges and tetrahedra stored as hexahedra
      if (freq_flag == 1 &&
          continuum::hexahedron_with_face_area(n, w.corner_nodes, elem_type_id, elem_status,
                                               coords_g, w.work_a, w.work_b, element_mass,
                                               density, lsq, freq))
        break;
      if (w.corner_nodes != 0) {  // gathered without the repeated corners
        continuum::hexahedron_of_corners(n, w.corner_nodes, elem_status, coords_g, w.work_a,
                                         w.work_b, element_mass, density, lsq);
        if (freq_flag == 1)
          continuum::hexahedron_face_area_of_corners(n, w.corner_nodes, elem_type_id, coords_g,
                                                     freq, w.work_a, w.work_b);
        break;
      }
      continuum::hexahedron(n, elem_status, coords_g, w.work_a, w.work_b, element_mass, density,
                            lsq);
      if (freq_flag == 1)
        continuum::hexahedron_face_area(n, elem_type_id, coords_g, freq, w.work_a, w.work_b);
      break;
    case 0x360B:  // modified ten-node tetrahedron, one sub-hexahedron per point
      // The point's sub-hexahedron, read in place from the fifteen points.
      continuum::ten_node_piece(n, point_index, elem_status, coords_g, element_mass, density, lsq,
                                freq_flag == 1 ? freq : nullptr);
      break;
    case 0x6307:  // modified six-node axisymmetric triangle, one quadrilateral per point
      continuum::six_node_triangle_piece(n, point_index, w.shape->quad_coords, coords_g);
      continuum::axisymmetric_quadrilateral(n, elem_status, tri_flag, w.shape->quad_coords,
                                            element_mass, density, lsq);
      break;
    case 0x2307:  // modified six-node plane triangle, one quadrilateral per point
      continuum::six_node_triangle_piece(n, point_index, w.shape->quad_coords, coords_g);
      continuum::plane_quadrilateral(n, elem_status, tri_flag, w.shape->quad_coords, w.work_a,
                                     w.work_b, element_mass, thickness, density, lsq);
      break;
    case 0x3202:  // three-dimensional truss
      two_node_line_measure<3>(n, elem_status, coords_g, *section_area, density, element_mass, lsq);
      break;
    case 0x2202:  // planar truss
      two_node_line_measure<2>(n, elem_status, coords_g, *section_area, density, element_mass, lsq);
      break;
    case 0x6202:  // axisymmetric shell
      shell::axisymmetric_shell(n, elem_status, coords_g, w.shape->local_line, element_mass,
                                thickness, density, lsq);
      break;
    case 0x3404:
      surface_geometry(n, point_index, run_point_count, variant, elem_status, freq_flag, tri_flag,
                       coords_g, coords_d, element_mass, thickness, density, lsq, freq, rule_dn1,
                       rule_dn2, w);
      break;
    case 0x1203C08:  // solid cohesive elements: frame, rotation and measure in one pass
      cohesive::solid_cohesive_corner(
          variant == Variant::kEightNodeCohesive, coh_flag, n, point_index, run_point_count,
          elem_status, rule_n, rule_dn1, rule_dn2, rule_w, coords_g, coords_d, element_mass,
          thickness, density, lsq, w.points_in_turn ? &w.shape->cohesive_corners : nullptr);
      break;
    case 0x1202404:  // planar and axisymmetric cohesive elements
      if (variant == Variant::kPlaneCohesive)
        cohesive::plane_cohesive(coh_flag, n, point_index, elem_status, rule_n, rule_dn1,
                                 *coh_value, coords_g, coords_d, element_mass, thickness, density,
                                 lsq);
      else
        cohesive::axisymmetric_cohesive(coh_flag, n, point_index, elem_status, rule_n, rule_dn1,
                                        *coh_value, coords_g, coords_d, element_mass, thickness,
                                        density, lsq);
      break;
    default:
      fail_all(n, elem_status, 4);
      break;
  }
}

}  // namespace sti::pipeline
