// Stages of the batch pipeline: classification, rule tables, gathers, the
// geometry dispatch and the batch driver.
#pragma once

#include "common/numerics.hpp"

namespace sti::pipeline {

// Work arrays of the geometry stages of one point, element-fastest. A batch
// has one shape, so the arrays of different shapes share their storage.
struct CohesiveFrameTerms {
  float work_a[kBatchCapacity];          // derivative terms of the normal's length
  float work_b[kBatchCapacity * 3 * 2];  // the two tangents
};
struct SurfaceWork {
  float frame[kBatchCapacity * 3 * 3];    // s, t, n of each element
  float local_g[kBatchCapacity * 4 * 3];  // the four points in that frame
  union {
    float local_d[kBatchCapacity * 4 * 3];  // continuum shells: half differences in the frame
    CohesiveFrameTerms cohesive;            // solid cohesive elements
  };
};
struct GeometryWork {
  float work_a[kBatchCapacity];  // padded area or volume
  float work_b[kBatchCapacity];  // its guarded reciprocal
  union {
    float quad_coords[kBatchCapacity * 4 * 2];  // six-node triangles: the point's quadrilateral
    float hex_coords[kBatchCapacity * 8 * 3];   // ten-node tetrahedra: the point's hexahedron
    float local_line[kBatchCapacity * 2 * 2];   // axisymmetric shells
    SurfaceWork surface;                        // membranes, shells, cohesive solids
  };
};

void classify(int n, int node_count, int& geom_node_count, int& ndim, int& run_point_count,
              int elem_type_id, int& unsupported, int& plane_stress_flag, int& uniaxial_flag,
              int& shape_code, int& elem_class, const int* connectivity, int* expanded,
              int* elem_status, int& freq_flag, float& dt_scale, float& bulk_b1, float* tri_flag);

void full_integration_rule(int rule_kind, int rule_family, int rule_nodes, int point_count,
                           float* rule_n, float* rule_dn1, float* rule_dn2, float* rule_w);

void section_rule(int& count, float center, float width, float* points, float* weights, int* order,
                  int& kind);

void gather(int value_count, int ndim, int coord_stride, const int* node_list, float* values_out,
            const float* node_coords);

void gather_planar_pairs(int n, int ndim, int coord_stride, int direction, const int* connectivity,
                         float* coords_g, float* coords_d, const float* node_coords);

void gather_solid_pairs(int n, int ndim, int coord_stride, int direction, const int* connectivity,
                        float* coords_g, float* coords_d, const float* node_coords);

void gather_tet10(int n, int coord_stride, const int* connectivity, float* coords_g,
                  const float* node_coords);

void element_geometry(int n, int point_index, int run_point_count, int section_index,
                      int elem_type_id, int* elem_status, int shape_code, int section_skip,
                      int coh_flag, int freq_flag, const float* tri_flag, const float* coords_g,
                      const float* coords_d, float* element_mass, const float* thickness,
                      const float* coh_value, const float* section_area, const float* density,
                      float* lsq, float* freq, const float* rule_n, const float* rule_dn1,
                      const float* rule_dn2, const float* rule_w, GeometryWork& work);

void run_batch(int coord_stride, int n, int& call_status, int* elem_status, int point_count,
               int section_count, int node_count, const int* section_skip, const int* material_code,
               int elem_type_id, const int* connectivity, const float* node_coords,
               const float* thickness, float unit_scale, float section_area, float alpha_damping,
               float beta_damping, float bulk_scale, const float* density,
               const float* cohesive_params, float* stable_time, const float* material_props);

}  // namespace sti::pipeline
