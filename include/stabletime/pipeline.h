/*
 * Pipeline and element operator routines, for callers that drive batches
 * themselves. Every argument is passed by reference. Batch arrays are
 * element-fastest with stride batch_count (at most 128): component c of node k
 * of element e, all from 0, stands at e + batch_count * (k + K * c) for an
 * array of K nodes. Connectivity handed to the pipeline is one-based.
 *
 * No overlap: the arrays given to one call must be separate blocks wherever
 * the routine writes one of them. No output may share memory with an input
 * or with another output (nothing is computed in place: rotate into a fresh
 * array, for instance); inputs that are only read may be the same array. The
 * routines are compiled on that assumption (every array pointer restrict), so
 * an overlap gives undefined results.
 *
 * Internal element statuses (elem_status):
 *   0 fine, 1 zero length or non-positive measure of a line, beam,
 *   axisymmetric, hexahedral or cohesive element, 2 non-positive area of a
 *   plane, membrane or shell element, 3 thickness not greater than zero,
 *   4 type or shape not supported, 5 section skipped, 6 density not greater
 *   than zero, 7 modulus or material data not usable, 8 material code unknown.
 */
#ifndef STABLETIME_PIPELINE_H
#define STABLETIME_PIPELINE_H

#include "stabletime/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Name lookup: id, node count and full-rule point count of a catalogue name. */
STI_EXPORT void sti_ele_typefromname(int* elem_type_id, int* node_count, int* point_count,
                                     int* name_status, const char* name, const int* name_length);

/* One batch: classification, rules, gather, point loops, status scan. */
STI_EXPORT void sti_ele_stabletime(const int* coord_stride, const int* node_total,
                                   const int* batch_count, int* call_status, int* elem_status,
                                   const int* point_count, const int* section_count,
                                   const int* node_count, const int* section_skip,
                                   const int* material_code, const int* elem_type_id,
                                   const int* connectivity, const float* node_coords,
                                   const float* thickness, const float* unit_scale,
                                   const float* section_area, const float* alpha_damping,
                                   const float* beta_damping, const float* bulk_scale,
                                   const float* density, const float* cohesive_params,
                                   float* stable_time, const float* material_props);

/* Classification of an element type id. */
STI_EXPORT void sti_ele_type(const int* batch_count, const int* node_count, int* geom_node_count,
                             int* ndim, int* run_point_count, const int* elem_type_id,
                             int* unsupported, int* plane_stress_flag, int* uniaxial_flag,
                             int* shape_code, int* elem_class, const int* connectivity,
                             int* expanded_connectivity, int* elem_status, int* freq_flag,
                             float* dt_scale, float* bulk_b1, float* tri_flag);

/* Geometry dispatch of one integration point. */
STI_EXPORT void sti_ele_elementgeom(const int* batch_count, const int* point_index,
                                    const int* run_point_count, const int* section_index,
                                    const int* geom_node_count, const int* elem_type_id,
                                    int* elem_status, const int* shape_code,
                                    const int* section_skip, const int* coh_flag,
                                    const int* freq_flag, const float* tri_flag,
                                    const float* coords_g, const float* coords_d,
                                    float* element_mass, const float* thickness,
                                    const float* coh_value, const float* section_area,
                                    const float* density, float* lsq, float* freq,
                                    const float* rule_n, const float* rule_dn1,
                                    const float* rule_dn2, const float* rule_w);

/* Effective moduli 2G, 3K and wave modulus, scaled by section and thickness. */
STI_EXPORT void sti_ele_effmodulus(const int* batch_count, const int* ndim, int* elem_status,
                                   const int* material_code, int* plane_stress_flag,
                                   const int* uniaxial_flag, const float* modulus_scale,
                                   const float* thickness, float* two_g, float* three_k,
                                   float* wave_modulus, const float* material_props);

/* Damped time increment of one point. */
STI_EXPORT void sti_ele_elementdt(const int* batch_count, const int* plane_stress_flag,
                                  const int* elem_status, const int* freq_flag,
                                  const float* alpha_damping, const float* beta_damping,
                                  const float* bulk_b1, const float* lsq, const float* freq,
                                  const float* two_g, const float* three_k,
                                  const float* wave_modulus, const float* element_mass,
                                  float* dt_out);

/* Acoustic elements: length measure and increment. */
STI_EXPORT void sti_ele_acelementgeom(const int* batch_count, const int* geom_node_count,
                                      int* elem_status, const int* shape_code,
                                      const float* tri_flag, const float* coords_g,
                                      float* element_mass, float* lsq);
STI_EXPORT void sti_ope_acousticelemdt(const int* batch_count, int* elem_status,
                                       const float* density, const float* lsq,
                                       float* stable_time, const float* material_props);

/*
 * Integration tables and the one-dimensional section rule generator.
 * sti_ope_integrule tests neither width nor count, and the caller's arrays
 * must hold what it writes: kind 0 or 1 (Simpson, 0 becomes 1) with a count
 * below 1 writes points[0] = center - width/2 and nothing else; kind 2 (Gauss)
 * with a count other than 1 to 6 writes the seven-point rule into the first
 * seven points and weights; kind 3 (trapezoid) with a count below 1 writes
 * nothing, since its last point would lie before the first entry.
 */
STI_EXPORT void sti_ope_fullintegrule(const int* rule_kind, const int* rule_family,
                                      const int* rule_nodes, const int* point_count,
                                      float* rule_n, float* rule_dn1, float* rule_dn2,
                                      float* rule_w);
STI_EXPORT void sti_ope_integrule(int* count, const float* center, const float* width,
                                  float* points, float* weights, int* order, int* kind);

/* Gathers of node coordinates into element-fastest batch arrays. */
STI_EXPORT void sti_ope_gengatherr(const int* value_count, const int* ndim,
                                   const int* coord_stride, const int* node_total,
                                   const int* node_list, float* values_out,
                                   const float* node_coords);
STI_EXPORT void sti_ope_gengatherr2dndir(const int* batch_count, const int* ndim,
                                         const int* coord_stride, const int* node_total,
                                         const int* direction, const int* connectivity,
                                         float* coords_g, float* coords_d,
                                         const float* node_coords);
STI_EXPORT void sti_ope_gengatherr3dndir(const int* batch_count, const int* ndim,
                                         const int* coord_stride, const int* node_total,
                                         const int* direction, const int* connectivity,
                                         float* coords_g, float* coords_d,
                                         const float* node_coords);
STI_EXPORT void sti_ope_gengatherrc3d10m(const int* batch_count, const int* ndim,
                                         const int* coord_stride, const int* node_total,
                                         const int* connectivity, float* coords_g,
                                         const float* node_coords);

/* Trusses. */
STI_EXPORT void sti_ope_c2dl2geom(const int* batch_count, int* elem_status, const float* coords,
                                  float* element_mass, const float* density, float* lsq,
                                  const float* section_area);
STI_EXPORT void sti_ope_c3dl2geom(const int* batch_count, int* elem_status, const float* coords,
                                  float* element_mass, const float* density, float* lsq,
                                  const float* section_area);

/* Plane, axisymmetric and solid continua. */
STI_EXPORT void sti_ope_c2dq4geom(const int* batch_count, int* elem_status, const float* tri_flag,
                                  const float* coords, float* work_a, float* work_b,
                                  float* element_mass, const float* thickness,
                                  const float* density, float* lsq);
STI_EXPORT void sti_ope_caxq4geom(const int* batch_count, int* elem_status, const float* tri_flag,
                                  const float* coords, float* element_mass, const float* density,
                                  float* lsq);
STI_EXPORT void sti_ope_c3dh8geom(const int* batch_count, int* elem_status, const float* coords,
                                  float* work_a, float* work_b, float* element_mass,
                                  const float* density, float* lsq);
STI_EXPORT void sti_ope_c3d8facearea(const int* batch_count, const int* elem_type_id,
                                     const float* coords, float* freq, const float* work_a,
                                     const float* work_b);
STI_EXPORT void sti_ope_solidt6mgeom(const int* batch_count, const int* point_index,
                                     const int* ndim, float* quad_coords, const float* coords_g);
STI_EXPORT void sti_ope_c3d10mgeom(const int* batch_count, const int* point_index,
                                   const int* ndim, float* hex_coords, const float* coords_g);
STI_EXPORT void sti_ope_c3d10mfacearea(const int* batch_count, const int* point_index,
                                       const float* hex_coords, float* freq,
                                       const float* work_a);

/* Beams. */
STI_EXPORT void sti_ope_beamelementgeom(const int* batch_count, const int* point_index,
                                        const int* node_count, int* elem_status,
                                        const int* shape_code, const float* coords,
                                        float* element_mass, const float* section_area,
                                        const float* density, float* lsq);
STI_EXPORT void sti_ope_b2dl2geom(const int* batch_count, int* elem_status, const float* coords,
                                  const float* section_area, float* element_mass,
                                  const float* density, float* lsq);
STI_EXPORT void sti_ope_b3dl2geom(const int* batch_count, int* elem_status, const float* coords,
                                  const float* section_area, float* element_mass,
                                  const float* density, float* lsq);
STI_EXPORT void sti_ope_b2dl3geom(const int* batch_count, const int* point_index,
                                  int* elem_status, const float* coords,
                                  const float* section_area, float* element_mass,
                                  const float* density, float* lsq);
STI_EXPORT void sti_ope_b3dl3geom(const int* batch_count, const int* point_index,
                                  int* elem_status, const float* coords,
                                  const float* section_area, float* element_mass,
                                  const float* density, float* lsq);

/* Membranes, shells and continuum shells. */
STI_EXPORT void sti_ope_m3dq4normal(const int* batch_count, const int* point_index,
                                    const int* run_point_count, const float* rule_dn1,
                                    const float* rule_dn2, const float* coords_g, float* frame);
STI_EXPORT void sti_ope_m3dq4rot(const int* batch_count, const float* vectors,
                                 float* local_vectors, const float* frame);
STI_EXPORT void sti_ope_m3d4geom(const int* batch_count, int* elem_status, const int* point_index,
                                 const int* run_point_count, const float* tri_flag,
                                 const float* rule_dn1, const float* rule_dn2,
                                 const float* local_g, float* work_a, float* work_b,
                                 float* element_mass, const float* thickness,
                                 const float* density, float* lsq);
STI_EXPORT void sti_ope_maxl2geom(const int* batch_count, int* elem_status, const float* coords_g,
                                  float* local_line, float* element_mass, const float* thickness,
                                  const float* density, float* lsq);
STI_EXPORT void sti_ope_3nodeelempsfreqgeom(const int* batch_count, const float* coords,
                                            const float* work_b, float* freq);
STI_EXPORT void sti_ope_4nodeelempsfreqgeom(const int* full_integration, const int* batch_count,
                                            const float* coords, const float* work_a,
                                            const float* work_b, float* freq);
STI_EXPORT void sti_ope_s4rsfreqgeom(const int* batch_count, const float* coords,
                                     const float* work_a, const float* work_b, float* lsq,
                                     const float* tri_flag, float* freq);
STI_EXPORT void sti_ope_sc3dgeom(const int* batch_count, int* elem_status, const float* tri_flag,
                                 const float* local_g, const float* coords_d,
                                 const float* local_d, float* element_mass,
                                 const float* thickness, const float* density, float* lsq);

/* Cohesive elements. */
STI_EXPORT void sti_ope_coh3d8normal(const int* batch_count, const int* point_index,
                                     const int* run_point_count, const float* rule_dn1,
                                     const float* rule_dn2, const float* coords_g, float* frame,
                                     float* cohesive_work_a, float* cohesive_work_b);
STI_EXPORT void sti_ope_coh2dgeom(const int* coh_flag, const int* batch_count,
                                  const int* point_index, const int* run_point_count,
                                  int* elem_status, const float* rule_n, const float* rule_dn1,
                                  const float* coh_value, const float* coords_g,
                                  const float* coords_d, float* element_mass,
                                  const float* thickness, const float* density, float* lsq);
STI_EXPORT void sti_ope_cohaxgeom(const int* coh_flag, const int* batch_count,
                                  const int* point_index, const int* run_point_count,
                                  int* elem_status, const float* rule_n, const float* rule_dn1,
                                  const float* coh_value, const float* coords_g,
                                  const float* coords_d, float* element_mass,
                                  const float* thickness, const float* density, float* lsq);
STI_EXPORT void sti_ope_coh3d8geom(const int* coh_flag, const int* batch_count,
                                   const int* point_index, const int* run_point_count,
                                   int* elem_status, const float* rule_n, const float* rule_dn1,
                                   const float* rule_dn2, const float* frame,
                                   const float* cohesive_work_a, const float* cohesive_work_b,
                                   const float* coords_g, const float* local_g,
                                   const float* coords_d, float* element_mass,
                                   const float* thickness, const float* density, float* lsq);
STI_EXPORT void sti_ope_coh3d6geom(const int* coh_flag, const int* batch_count,
                                   const int* point_index, const int* run_point_count,
                                   int* elem_status, const float* rule_n, const float* rule_dn1,
                                   const float* rule_dn2, const float* rule_w, const float* frame,
                                   const float* cohesive_work_a, const float* cohesive_work_b,
                                   const float* coords_g, const float* local_g,
                                   const float* coords_d, float* element_mass,
                                   const float* thickness, const float* density, float* lsq);

#ifdef __cplusplus
}
#endif

#endif
