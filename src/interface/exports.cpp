// The exported pipeline routines: each keeps its published by-pointer
// signature, every argument by reference, and forwards to the typed routine that the pipeline
// itself calls. The numeric code never calls these entries.
#include "acoustic/acoustic.hpp"
#include "beam/beam.hpp"
#include "cohesive/cohesive.hpp"
#include "common/line_measure.hpp"
#include "continuum/continuum.hpp"
#include "interface/interface.hpp"
#include "material/material.hpp"
#include "pipeline/pipeline.hpp"
#include "shell/shell.hpp"
#include "stabletime/pipeline.h"

extern "C" STI_EXPORT void sti_ele_type(const int* batch_count, const int* node_count,
                                        int* geom_node_count, int* ndim, int* run_point_count,
                                        const int* elem_type_id, int* unsupported,
                                        int* plane_stress_flag, int* uniaxial_flag, int* shape_code,
                                        int* elem_class, const int* connectivity,
                                        int* expanded_connectivity, int* elem_status,
                                        int* freq_flag, float* dt_scale, float* bulk_b1,
                                        float* tri_flag) {
  sti::pipeline::classify(*batch_count, *node_count, *geom_node_count, *ndim, *run_point_count,
                          *elem_type_id, *unsupported, *plane_stress_flag, *uniaxial_flag,
                          *shape_code, *elem_class, connectivity, expanded_connectivity,
                          elem_status, *freq_flag, *dt_scale, *bulk_b1, tri_flag);
}

extern "C" STI_EXPORT void sti_ele_elementgeom(
    const int* batch_count, const int* point_index, const int* run_point_count,
    const int* section_index, const int* geom_node_count, const int* elem_type_id, int* elem_status,
    const int* shape_code, const int* section_skip, const int* coh_flag, const int* freq_flag,
    const float* tri_flag, const float* coords_g, const float* coords_d, float* element_mass,
    const float* thickness, const float* coh_value, const float* section_area, const float* density,
    float* lsq, float* freq, const float* rule_n, const float* rule_dn1, const float* rule_dn2,
    const float* rule_w) {
  (void)geom_node_count;  // an array extent only
  float work_a[sti::kBatchCapacity], work_b[sti::kBatchCapacity];
  sti::pipeline::ShapeWork shape;
  const sti::pipeline::GeometryWork work{work_a, work_b, &shape};
  sti::pipeline::element_geometry(*batch_count, *point_index, *run_point_count, *section_index,
                                  *elem_type_id, elem_status, *shape_code, *section_skip, *coh_flag,
                                  *freq_flag, tri_flag, coords_g, coords_d, element_mass, thickness,
                                  coh_value, section_area, density, lsq, freq, rule_n, rule_dn1,
                                  rule_dn2, rule_w, work);
}

extern "C" STI_EXPORT void sti_ele_stabletime(
    const int* coord_stride, const int* node_total, const int* batch_count, int* call_status,
    int* elem_status, const int* point_count, const int* section_count, const int* node_count,
    const int* section_skip, const int* material_code, const int* elem_type_id,
    const int* connectivity, const float* node_coords, const float* thickness,
    const float* unit_scale, const float* section_area, const float* alpha_damping,
    const float* beta_damping, const float* bulk_scale, const float* density,
    const float* cohesive_params, float* stable_time, const float* material_props) {
  (void)node_total;  // an array extent only
  sti::pipeline::run_batch(*coord_stride, *batch_count, *call_status, elem_status, *point_count,
                           *section_count, *node_count, section_skip, material_code, *elem_type_id,
                           connectivity, node_coords, thickness, *unit_scale, *section_area,
                           *alpha_damping, *beta_damping, *bulk_scale, density, cohesive_params,
                           stable_time, material_props);
}

extern "C" STI_EXPORT void sti_ope_gengatherr(const int* value_count, const int* ndim,
                                              const int* coord_stride, const int* node_total,
                                              const int* node_list, float* values_out,
                                              const float* node_coords) {
  (void)node_total;
  sti::pipeline::gather(*value_count, *ndim, *coord_stride, node_list, values_out, node_coords);
}

extern "C" STI_EXPORT void sti_ope_gengatherr2dndir(const int* batch_count, const int* ndim,
                                                    const int* coord_stride, const int* node_total,
                                                    const int* direction, const int* connectivity,
                                                    float* coords_g, float* coords_d,
                                                    const float* node_coords) {
  (void)node_total;
  sti::pipeline::gather_planar_pairs(*batch_count, *ndim, *coord_stride, *direction, connectivity,
                                     coords_g, coords_d, node_coords);
}

extern "C" STI_EXPORT void sti_ope_gengatherr3dndir(const int* batch_count, const int* ndim,
                                                    const int* coord_stride, const int* node_total,
                                                    const int* direction, const int* connectivity,
                                                    float* coords_g, float* coords_d,
                                                    const float* node_coords) {
  (void)node_total;
  sti::pipeline::gather_solid_pairs(*batch_count, *ndim, *coord_stride, *direction, connectivity,
                                    coords_g, coords_d, node_coords);
}

extern "C" STI_EXPORT void sti_ope_gengatherrc3d10m(const int* batch_count, const int* ndim,
                                                    const int* coord_stride, const int* node_total,
                                                    const int* connectivity, float* coords_g,
                                                    const float* node_coords) {
  (void)ndim;
  (void)node_total;
  sti::pipeline::gather_tet10(*batch_count, *coord_stride, connectivity, coords_g, node_coords);
}

extern "C" STI_EXPORT void sti_ope_fullintegrule(const int* rule_kind, const int* rule_family,
                                                 const int* rule_nodes, const int* point_count,
                                                 float* rule_n, float* rule_dn1, float* rule_dn2,
                                                 float* rule_w) {
  sti::pipeline::full_integration_rule(*rule_kind, *rule_family, *rule_nodes, *point_count, rule_n,
                                       rule_dn1, rule_dn2, rule_w);
}

extern "C" STI_EXPORT void sti_ope_integrule(int* count, const float* center, const float* width,
                                             float* points, float* weights, int* order, int* kind) {
  sti::pipeline::section_rule(*count, *center, *width, points, weights, order, *kind);
}

extern "C" STI_EXPORT void sti_ele_effmodulus(const int* batch_count, const int* ndim,
                                              int* elem_status, const int* material_code,
                                              int* plane_stress_flag, const int* uniaxial_flag,
                                              const float* modulus_scale, const float* thickness,
                                              float* two_g, float* three_k, float* wave_modulus,
                                              const float* material_props) {
  sti::material::effective_moduli(*batch_count, *ndim, elem_status, *material_code,
                                  *plane_stress_flag, *uniaxial_flag, *modulus_scale, thickness,
                                  two_g, three_k, wave_modulus, material_props);
}

extern "C" STI_EXPORT void sti_ele_elementdt(const int* batch_count, const int* plane_stress_flag,
                                             const int* elem_status, const int* freq_flag,
                                             const float* alpha_damping, const float* beta_damping,
                                             const float* bulk_b1, const float* lsq,
                                             const float* freq, const float* two_g,
                                             const float* three_k, const float* wave_modulus,
                                             const float* element_mass, float* dt_out) {
  sti::material::element_dt(*batch_count, *plane_stress_flag, elem_status, *freq_flag,
                            *alpha_damping, *beta_damping, *bulk_b1, lsq, freq, two_g, three_k,
                            wave_modulus, element_mass, dt_out);
}

extern "C" STI_EXPORT void sti_ope_c2dl2geom(const int* batch_count, int* elem_status,
                                             const float* coords, float* element_mass,
                                             const float* density, float* lsq,
                                             const float* section_area) {
  sti::two_node_line_measure<2>(*batch_count, elem_status, coords, *section_area, density,
                                element_mass, lsq);
}

extern "C" STI_EXPORT void sti_ope_c3dl2geom(const int* batch_count, int* elem_status,
                                             const float* coords, float* element_mass,
                                             const float* density, float* lsq,
                                             const float* section_area) {
  sti::two_node_line_measure<3>(*batch_count, elem_status, coords, *section_area, density,
                                element_mass, lsq);
}

extern "C" STI_EXPORT void sti_ope_c3dh8geom(const int* batch_count, int* elem_status,
                                             const float* coords, float* work_a, float* work_b,
                                             float* element_mass, const float* density,
                                             float* lsq) {
  sti::continuum::hexahedron(*batch_count, elem_status, coords, work_a, work_b, element_mass,
                             density, lsq);
}

extern "C" STI_EXPORT void sti_ope_c3d8facearea(const int* batch_count, const int* elem_type_id,
                                                const float* coords, float* freq,
                                                const float* work_a, const float* work_b) {
  sti::continuum::hexahedron_face_area(*batch_count, *elem_type_id, coords, freq, work_a, work_b);
}

extern "C" STI_EXPORT void sti_ope_solidt6mgeom(const int* batch_count, const int* point_index,
                                                const int* /*ndim*/, float* quad_coords,
                                                const float* coords_g) {
  sti::continuum::six_node_triangle_piece(*batch_count, *point_index, quad_coords, coords_g);
}

extern "C" STI_EXPORT void sti_ope_c3d10mgeom(const int* batch_count, const int* point_index,
                                              const int* /*ndim*/, float* hex_coords,
                                              const float* coords_g) {
  sti::continuum::ten_node_tetrahedron_piece(*batch_count, *point_index, hex_coords, coords_g);
}

extern "C" STI_EXPORT void sti_ope_c2dq4geom(const int* batch_count, int* elem_status,
                                             const float* tri_flag, const float* coords,
                                             float* work_a, float* work_b, float* element_mass,
                                             const float* thickness, const float* density,
                                             float* lsq) {
  sti::continuum::plane_quadrilateral(*batch_count, elem_status, tri_flag, coords, work_a, work_b,
                                      element_mass, thickness, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_caxq4geom(const int* batch_count, int* elem_status,
                                             const float* tri_flag, const float* coords,
                                             float* element_mass, const float* density,
                                             float* lsq) {
  sti::continuum::axisymmetric_quadrilateral(*batch_count, elem_status, tri_flag, coords,
                                             element_mass, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_c3d10mfacearea(const int* batch_count, const int* point_index,
                                                  const float* hex_coords, float* freq,
                                                  const float* work_a) {
  sti::continuum::tetrahedron_piece_face_area(*batch_count, *point_index, hex_coords, freq, work_a);
}

extern "C" STI_EXPORT void sti_ope_beamelementgeom(const int* batch_count, const int* point_index,
                                                   const int* node_count, int* elem_status,
                                                   const int* shape_code, const float* coords,
                                                   float* element_mass, const float* section_area,
                                                   const float* density, float* lsq) {
  (void)node_count;  // an array extent only
  sti::beam::beam_geometry(*batch_count, *point_index, elem_status, *shape_code, coords,
                           element_mass, *section_area, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_b2dl2geom(const int* batch_count, int* elem_status,
                                             const float* coords, const float* section_area,
                                             float* element_mass, const float* density,
                                             float* lsq) {
  sti::two_node_line_measure<2>(*batch_count, elem_status, coords, *section_area, density,
                                element_mass, lsq);
}

extern "C" STI_EXPORT void sti_ope_b3dl2geom(const int* batch_count, int* elem_status,
                                             const float* coords, const float* section_area,
                                             float* element_mass, const float* density,
                                             float* lsq) {
  sti::two_node_line_measure<3>(*batch_count, elem_status, coords, *section_area, density,
                                element_mass, lsq);
}

extern "C" STI_EXPORT void sti_ope_b2dl3geom(const int* batch_count, const int* point_index,
                                             int* elem_status, const float* coords,
                                             const float* section_area, float* element_mass,
                                             const float* density, float* lsq) {
  sti::beam::three_node_measure<2>(*batch_count, *point_index, elem_status, coords, *section_area,
                                   element_mass, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_b3dl3geom(const int* batch_count, const int* point_index,
                                             int* elem_status, const float* coords,
                                             const float* section_area, float* element_mass,
                                             const float* density, float* lsq) {
  sti::beam::three_node_measure<3>(*batch_count, *point_index, elem_status, coords, *section_area,
                                   element_mass, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_sc3dgeom(const int* batch_count, int* elem_status,
                                            const float* tri_flag, const float* local_g,
                                            const float* coords_d, const float* local_d,
                                            float* element_mass, const float* thickness,
                                            const float* density, float* lsq) {
  sti::shell::continuum_shell(*batch_count, elem_status, tri_flag, local_g, coords_d, local_d,
                              element_mass, thickness, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_m3d4geom(const int* batch_count, int* elem_status,
                                            const int* point_index, const int* run_point_count,
                                            const float* tri_flag, const float* rule_dn1,
                                            const float* rule_dn2, const float* local_g,
                                            float* work_a, float* work_b, float* element_mass,
                                            const float* thickness, const float* density,
                                            float* lsq) {
  (void)run_point_count;  // an array extent only
  sti::shell::full_membrane(*batch_count, elem_status, *point_index, tri_flag, rule_dn1, rule_dn2,
                            local_g, work_a, work_b, element_mass, thickness, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_maxl2geom(const int* batch_count, int* elem_status,
                                             const float* coords_g, float* local_line,
                                             float* element_mass, const float* thickness,
                                             const float* density, float* lsq) {
  sti::shell::axisymmetric_shell(*batch_count, elem_status, coords_g, local_line, element_mass,
                                 thickness, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_3nodeelempsfreqgeom(const int* batch_count, const float* coords,
                                                       const float* work_b, float* freq) {
  sti::shell::triangle_frequency(*batch_count, coords, work_b, freq);
}

extern "C" STI_EXPORT void sti_ope_4nodeelempsfreqgeom(const int* full_integration,
                                                       const int* batch_count, const float* coords,
                                                       const float* work_a, const float* work_b,
                                                       float* freq) {
  sti::shell::quadrilateral_frequency(*full_integration, *batch_count, coords, work_a, work_b,
                                      freq);
}

extern "C" STI_EXPORT void sti_ope_m3dq4rot(const int* batch_count, const float* vectors,
                                            float* local_vectors, const float* frame) {
  sti::shell::rotate_into_frame(*batch_count, vectors, local_vectors, frame);
}

extern "C" STI_EXPORT void sti_ope_s4rsfreqgeom(const int* batch_count, const float* coords,
                                                const float* work_a, const float* work_b,
                                                float* lsq, const float* tri_flag, float* freq) {
  sti::shell::small_strain_shell_frequency(*batch_count, coords, work_a, work_b, lsq, tri_flag,
                                           freq);
}

extern "C" STI_EXPORT void sti_ope_m3dq4normal(const int* batch_count, const int* point_index,
                                               const int* run_point_count, const float* rule_dn1,
                                               const float* rule_dn2, const float* coords_g,
                                               float* frame) {
  sti::shell::surface_frame(*batch_count, *point_index, *run_point_count, rule_dn1, rule_dn2,
                            coords_g, frame);
}

extern "C" STI_EXPORT void sti_ope_coh3d8normal(const int* batch_count, const int* point_index,
                                                const int* run_point_count, const float* rule_dn1,
                                                const float* rule_dn2, const float* coords_g,
                                                float* frame, float* cohesive_work_a,
                                                float* cohesive_work_b) {
  (void)run_point_count;  // an array extent only
  sti::cohesive::cohesive_frame(*batch_count, *point_index, rule_dn1, rule_dn2, coords_g, frame,
                                cohesive_work_a, cohesive_work_b);
}

extern "C" STI_EXPORT void sti_ope_coh2dgeom(const int* coh_flag, const int* batch_count,
                                             const int* point_index, const int* run_point_count,
                                             int* elem_status, const float* rule_n,
                                             const float* rule_dn1, const float* coh_value,
                                             const float* coords_g, const float* coords_d,
                                             float* element_mass, const float* thickness,
                                             const float* density, float* lsq) {
  (void)run_point_count;  // an array extent only
  sti::cohesive::plane_cohesive(*coh_flag, *batch_count, *point_index, elem_status, rule_n,
                                rule_dn1, *coh_value, coords_g, coords_d, element_mass, thickness,
                                density, lsq);
}

extern "C" STI_EXPORT void sti_ope_cohaxgeom(const int* coh_flag, const int* batch_count,
                                             const int* point_index, const int* run_point_count,
                                             int* elem_status, const float* rule_n,
                                             const float* rule_dn1, const float* coh_value,
                                             const float* coords_g, const float* coords_d,
                                             float* element_mass, const float* thickness,
                                             const float* density, float* lsq) {
  (void)run_point_count;  // an array extent only
  sti::cohesive::axisymmetric_cohesive(*coh_flag, *batch_count, *point_index, elem_status, rule_n,
                                       rule_dn1, *coh_value, coords_g, coords_d, element_mass,
                                       thickness, density, lsq);
}

extern "C" STI_EXPORT void sti_ope_coh3d8geom(
    const int* coh_flag, const int* batch_count, const int* point_index, const int* run_point_count,
    int* elem_status, const float* rule_n, const float* rule_dn1, const float* rule_dn2,
    const float* frame, const float* cohesive_work_a, const float* cohesive_work_b,
    const float* coords_g, const float* local_g, const float* coords_d, float* element_mass,
    const float* thickness, const float* density, float* lsq) {
  (void)run_point_count;  // an array extent only
  sti::cohesive::eight_node_cohesive(*coh_flag, *batch_count, *point_index, elem_status, rule_n,
                                     rule_dn1, rule_dn2, frame, cohesive_work_a, cohesive_work_b,
                                     coords_g, local_g, coords_d, element_mass, thickness, density,
                                     lsq);
}

extern "C" STI_EXPORT void sti_ope_coh3d6geom(
    const int* coh_flag, const int* batch_count, const int* point_index, const int* run_point_count,
    int* elem_status, const float* rule_n, const float* rule_dn1, const float* rule_dn2,
    const float* rule_w, const float* frame, const float* cohesive_work_a,
    const float* cohesive_work_b, const float* coords_g, const float* local_g,
    const float* coords_d, float* element_mass, const float* thickness, const float* density,
    float* lsq) {
  (void)run_point_count;  // an array extent only
  sti::cohesive::six_node_cohesive(*coh_flag, *batch_count, *point_index, elem_status, rule_n,
                                   rule_dn1, rule_dn2, rule_w, frame, cohesive_work_a,
                                   cohesive_work_b, coords_g, local_g, coords_d, element_mass,
                                   thickness, density, lsq);
}

extern "C" STI_EXPORT void sti_ele_acelementgeom(const int* batch_count,
                                                 const int* /*geom_node_count*/, int* elem_status,
                                                 const int* shape_code, const float* tri_flag,
                                                 const float* coords_g, float* element_mass,
                                                 float* lsq) {
  sti::acoustic::element_length(*batch_count, elem_status, *shape_code, tri_flag, coords_g,
                                element_mass, lsq);
}

extern "C" STI_EXPORT void sti_ope_acousticelemdt(const int* batch_count, int* elem_status,
                                                  const float* density, const float* lsq,
                                                  float* stable_time, const float* material_props) {
  sti::acoustic::increment(*batch_count, elem_status, density, lsq, stable_time, material_props);
}

extern "C" STI_EXPORT void sti_ele_typefromname(int* elem_type_id, int* node_count,
                                                int* point_count, int* name_status,
                                                const char* name, const int* name_length) {
  sti::interface::type_from_name(*elem_type_id, *node_count, *point_count, *name_status, name,
                                 *name_length);
}
