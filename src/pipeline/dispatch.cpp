// Geometry dispatch of one integration point: runs the geometry stages of the
// batch's computational shape, in their designed order, on private work arrays
// that live for this one call.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"

namespace sti::pipeline {
namespace {

// Private work arrays of the geometry stages of one point.
struct PointWork {
  float work_a[kBatchCapacity];  // padded area or volume
  float work_b[kBatchCapacity];  // its guarded reciprocal
  float quad_coords[kBatchCapacity * 4 * 2];
  float hex_coords[kBatchCapacity * 8 * 3];
  float frame[kBatchCapacity * 3 * 3];
  float local_g[kBatchCapacity * 4 * 3];
  float local_d[kBatchCapacity * 4 * 3];
  float local_line[kBatchCapacity * 2 * 2];
  float cohesive_work_a[kBatchCapacity];
  float cohesive_work_b[kBatchCapacity * 3 * 2];
};

void fail_all(int n, int* elem_status, int status) {
  for (int e = 0; e < n; ++e) elem_status[e] = status;
}

// Membranes, shells and continuum shells: frame, rotation into it, then the
// plane measure of the element's own plane and its frequency bound.
void surface_geometry(int n, int point_index, int run_point_count, int elem_type_id,
                      int* elem_status, int freq_flag, const float* tri_flag,
                      const float* coords_g, const float* coords_d, float* element_mass,
                      const float* thickness, const float* density, float* lsq, float* freq,
                      const float* rule_dn1, const float* rule_dn2, PointWork& w) {
  sti_ope_m3dq4normal(&n, &point_index, &run_point_count, rule_dn1, rule_dn2, coords_g, w.frame);
  sti_ope_m3dq4rot(&n, coords_g, w.local_g, w.frame);

  if (elem_type_id == 2076 || elem_type_id == 2031) {
    sti_ope_m3dq4rot(&n, coords_d, w.local_d, w.frame);
    sti_ope_sc3dgeom(&n, elem_status, tri_flag, w.local_g, coords_d, w.local_d, element_mass,
                     thickness, density, lsq);
    return;
  }

  if (run_point_count == 1) {
    sti_ope_c2dq4geom(&n, elem_status, tri_flag, w.local_g, w.work_a, w.work_b, element_mass,
                      thickness, density, lsq);
  } else {
    sti_ope_m3d4geom(&n, elem_status, &point_index, &run_point_count, tri_flag, rule_dn1,
                     rule_dn2, w.local_g, w.work_a, w.work_b, element_mass, thickness, density,
                     lsq);
  }

  if (elem_type_id == 2073 || elem_type_id == 2071) {
    sti_ope_s4rsfreqgeom(&n, w.local_g, w.work_a, w.work_b, lsq, tri_flag, freq);
    return;
  }

  if (freq_flag != 1) return;
  if (tri_flag[0] == 1.0f) {
    sti_ope_3nodeelempsfreqgeom(&n, w.local_g, w.work_b, freq);
  } else {
    const int full_integration = elem_type_id == 152 ? 1 : 0;
    sti_ope_4nodeelempsfreqgeom(&full_integration, &n, w.local_g, w.work_a, w.work_b, freq);
  }
}

void element_geometry(int n, int point_index, int run_point_count, int section_index,
                      int elem_type_id, int* elem_status, int shape_code, int section_skip,
                      int coh_flag, int freq_flag, const float* tri_flag, const float* coords_g,
                      const float* coords_d, float* element_mass, const float* thickness,
                      const float* coh_value, const float* section_area, const float* density,
                      float* lsq, float* freq, const float* rule_n, const float* rule_dn1,
                      const float* rule_dn2, const float* rule_w) {
  if (section_skip != 0) {
    if (section_index == 1) fail_all(n, elem_status, 5);
    return;
  }

  PointWork w;
  const int two = 2;
  const int three = 3;
  const int not_full = 0;
  switch (shape_code) {
    case 0x2404:  // plane quadrilaterals and triangles
      sti_ope_c2dq4geom(&n, elem_status, tri_flag, coords_g, w.work_a, w.work_b, element_mass,
                        thickness, density, lsq);
      if (freq_flag == 1) {
        if (tri_flag[0] == 1.0f)
          sti_ope_3nodeelempsfreqgeom(&n, coords_g, w.work_b, freq);
        else
          sti_ope_4nodeelempsfreqgeom(&not_full, &n, coords_g, w.work_a, w.work_b, freq);
      }
      break;
    case 0x6404:  // axisymmetric quadrilaterals and triangles
      sti_ope_caxq4geom(&n, elem_status, tri_flag, coords_g, element_mass, density, lsq);
      break;
    case 0x3C08:  // hexahedra, and wedges and tetrahedra stored as hexahedra
      sti_ope_c3dh8geom(&n, elem_status, coords_g, w.work_a, w.work_b, element_mass, density,
                        lsq);
      if (freq_flag == 1)
        sti_ope_c3d8facearea(&n, &elem_type_id, coords_g, freq, w.work_a, w.work_b);
      break;
    case 0x360B:  // modified ten-node tetrahedron, one sub-hexahedron per point
      sti_ope_c3d10mgeom(&n, &point_index, &three, w.hex_coords, coords_g);
      sti_ope_c3dh8geom(&n, elem_status, w.hex_coords, w.work_a, w.work_b, element_mass,
                        density, lsq);
      if (freq_flag == 1) sti_ope_c3d10mfacearea(&n, &point_index, w.hex_coords, freq, w.work_a);
      break;
    case 0x6307:  // modified six-node axisymmetric triangle, one quadrilateral per point
      sti_ope_solidt6mgeom(&n, &point_index, &two, w.quad_coords, coords_g);
      sti_ope_caxq4geom(&n, elem_status, tri_flag, w.quad_coords, element_mass, density, lsq);
      break;
    case 0x2307:  // modified six-node plane triangle, one quadrilateral per point
      sti_ope_solidt6mgeom(&n, &point_index, &two, w.quad_coords, coords_g);
      sti_ope_c2dq4geom(&n, elem_status, tri_flag, w.quad_coords, w.work_a, w.work_b,
                        element_mass, thickness, density, lsq);
      break;
    case 0x3202:  // three-dimensional truss
      sti_ope_c3dl2geom(&n, elem_status, coords_g, element_mass, density, lsq, section_area);
      break;
    case 0x2202:  // planar truss
      sti_ope_c2dl2geom(&n, elem_status, coords_g, element_mass, density, lsq, section_area);
      break;
    case 0x6202:  // axisymmetric shell
      sti_ope_maxl2geom(&n, elem_status, coords_g, w.local_line, element_mass, thickness,
                        density, lsq);
      break;
    case 0x3404:
      surface_geometry(n, point_index, run_point_count, elem_type_id, elem_status, freq_flag,
                       tri_flag, coords_g, coords_d, element_mass, thickness, density, lsq, freq,
                       rule_dn1, rule_dn2, w);
      break;
    case 0x1203C08:  // solid cohesive elements
      sti_ope_coh3d8normal(&n, &point_index, &run_point_count, rule_dn1, rule_dn2, coords_g,
                           w.frame, w.cohesive_work_a, w.cohesive_work_b);
      sti_ope_m3dq4rot(&n, coords_g, w.local_g, w.frame);
      if (elem_type_id == 3903)
        sti_ope_coh3d8geom(&coh_flag, &n, &point_index, &run_point_count, elem_status, rule_n,
                           rule_dn1, rule_dn2, w.frame, w.cohesive_work_a, w.cohesive_work_b,
                           coords_g, w.local_g, coords_d, element_mass, thickness, density, lsq);
      else
        sti_ope_coh3d6geom(&coh_flag, &n, &point_index, &run_point_count, elem_status, rule_n,
                           rule_dn1, rule_dn2, rule_w, w.frame, w.cohesive_work_a,
                           w.cohesive_work_b, coords_g, w.local_g, coords_d, element_mass,
                           thickness, density, lsq);
      break;
    case 0x1202404:  // planar and axisymmetric cohesive elements
      if (elem_type_id == 3901)
        sti_ope_coh2dgeom(&coh_flag, &n, &point_index, &run_point_count, elem_status, rule_n,
                          rule_dn1, coh_value, coords_g, coords_d, element_mass, thickness,
                          density, lsq);
      else
        sti_ope_cohaxgeom(&coh_flag, &n, &point_index, &run_point_count, elem_status, rule_n,
                          rule_dn1, coh_value, coords_g, coords_d, element_mass, thickness,
                          density, lsq);
      break;
    default:
      fail_all(n, elem_status, 4);
      break;
  }
}

}  // namespace
}  // namespace sti::pipeline

extern "C" STI_EXPORT void sti_ele_elementgeom(
    const int* batch_count, const int* point_index, const int* run_point_count,
    const int* section_index, const int* geom_node_count, const int* elem_type_id,
    int* elem_status, const int* shape_code, const int* section_skip, const int* coh_flag,
    const int* freq_flag, const float* tri_flag, const float* coords_g, const float* coords_d,
    float* element_mass, const float* thickness, const float* coh_value,
    const float* section_area, const float* density, float* lsq, float* freq,
    const float* rule_n, const float* rule_dn1, const float* rule_dn2, const float* rule_w) {
  (void)geom_node_count;  // an array extent only
  sti::pipeline::element_geometry(*batch_count, *point_index, *run_point_count, *section_index,
                                  *elem_type_id, elem_status, *shape_code, *section_skip,
                                  *coh_flag, *freq_flag, tri_flag, coords_g, coords_d,
                                  element_mass, thickness, coh_value, section_area, density, lsq,
                                  freq, rule_n, rule_dn1, rule_dn2, rule_w);
}
