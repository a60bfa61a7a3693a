// Stages of the batch pipeline: classification, rule tables, gathers, the
// geometry dispatch and the batch driver.
#pragma once

#include "cohesive/cohesive.hpp"
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
inline constexpr int kMembraneAxesPoints = 4;  // points of a full membrane's rule
union ShapeWork {
  float quad_coords[kBatchCapacity * 4 * 2];  // six-node triangles: the point's quadrilateral
  float local_line[kBatchCapacity * 2 * 2];   // axisymmetric shells
  SurfaceWork surface;                        // membranes, shells, cohesive solids
  float membrane_axes[kBatchCapacity * 6 * kMembraneAxesPoints];  // full membranes: s, t by point
  cohesive::LaterCorners cohesive_corners;    // cohesive solids in a point loop
};
// Where the caller keeps them.
struct GeometryWork {
  float* work_a;     // padded area or volume
  float* work_b;     // its guarded reciprocal
  ShapeWork* shape;  // the shape's own arrays
  int corner_nodes = 0;  // nodes per element of a type gathered without its repeated corners
  // The caller runs the points of each section in turn from point 1 and keeps
  // `shape` between them, so a stage may form later points with the first.
  bool points_in_turn = false;
};

void classify(int n, int node_count, int& geom_node_count, int& ndim, int& run_point_count,
              int elem_type_id, int& unsupported, int& plane_stress_flag, int& uniaxial_flag,
              int& shape_code, int& elem_class, const int* STI_RESTRICT connectivity,
              int* STI_RESTRICT expanded, int* STI_RESTRICT elem_status, int& freq_flag,
              float& dt_scale, float& bulk_b1, float* STI_RESTRICT tri_flag);

void full_integration_rule(int rule_kind, int rule_family, int rule_nodes, int point_count,
                           float* STI_RESTRICT rule_n, float* STI_RESTRICT rule_dn1,
                           float* STI_RESTRICT rule_dn2, float* STI_RESTRICT rule_w);

void section_rule(int& count, float center, float width, float* STI_RESTRICT points,
                  float* STI_RESTRICT weights, int* STI_RESTRICT order, int& kind);

void gather(int value_count, int ndim, int coord_stride, const int* STI_RESTRICT node_list,
            float* STI_RESTRICT values_out, const float* STI_RESTRICT node_coords);

void gather_solid(int value_count, int ndim, int coord_stride, const int* STI_RESTRICT node_list,
                  float* STI_RESTRICT values_out, const float* STI_RESTRICT node_coords);

// Node 2 minus node 1 of each two-node element, ndim 2 or 3 floats, from the
// connectivity or, where rows is not null, from the zero-based rows.
void gather_chords(int n, int ndim, int coord_stride, const int* STI_RESTRICT connectivity,
                   const int* STI_RESTRICT rows, float* STI_RESTRICT chord,
                   const float* STI_RESTRICT node_coords);

// The plain gather of n elements of node_count nodes from zero-based
// connectivity rows, node after node, read in place.
void gather_rows(int n, int node_count, int ndim, int coord_stride, const int* STI_RESTRICT rows,
                 float* STI_RESTRICT values_out, const float* STI_RESTRICT node_coords);

// gather_solid's layout from zero-based connectivity rows read in place.
void gather_solid_rows(int n, int node_count, int ndim, int coord_stride,
                       const int* STI_RESTRICT rows, float* STI_RESTRICT values_out,
                       const float* STI_RESTRICT node_coords);

void gather_planar_pairs(int n, int ndim, int coord_stride, int direction,
                         const int* STI_RESTRICT connectivity, float* STI_RESTRICT coords_g,
                         float* STI_RESTRICT coords_d, const float* STI_RESTRICT node_coords);

void gather_solid_pairs(int n, int ndim, int coord_stride, int direction,
                        const int* STI_RESTRICT connectivity, float* STI_RESTRICT coords_g,
                        float* STI_RESTRICT coords_d, const float* STI_RESTRICT node_coords);

void gather_tet10(int n, int coord_stride, const int* STI_RESTRICT connectivity,
                  float* STI_RESTRICT coords_g, const float* STI_RESTRICT node_coords,
                  const int* STI_RESTRICT rows = nullptr);

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
                      const GeometryWork& work);

// Work arrays of straight two-node elements, batch-sized.
struct LineWork {
  float* chord;  // ndim floats per element
  float* element_mass;
  float* lsq;
  float* freq;  // not read: no frequency data
  float* two_g;
  float* three_k;
  float* wave_modulus;  // zero on entry
};

// Straight two-node elements at their one point, from the driver's initial
// statuses to each element's increment in dt_out where it did not fail
// (line_batch.cpp).
void two_node_line_batch(int n, int ndim, int coord_stride, int material_code,
                         const int* STI_RESTRICT connectivity, const int* STI_RESTRICT rows,
                         const float* STI_RESTRICT node_coords,
                         const float* STI_RESTRICT thickness, float section_area,
                         float modulus_scale, float alpha_damping, float beta_damping,
                         float bulk_b1, const float* STI_RESTRICT density,
                         const float* STI_RESTRICT material_props, const LineWork& w,
                         int* STI_RESTRICT elem_status, float* STI_RESTRICT dt_out);

void run_batch(int coord_stride, int n, int& call_status, int* STI_RESTRICT elem_status,
               int point_count, int section_count, int node_count,
               const int* STI_RESTRICT section_skip, const int* STI_RESTRICT material_code,
               int elem_type_id, const int* STI_RESTRICT connectivity,
               const float* STI_RESTRICT node_coords, const float* STI_RESTRICT thickness,
               float unit_scale, float section_area, float alpha_damping, float beta_damping,
               float bulk_scale, const float* STI_RESTRICT density,
               const float* STI_RESTRICT cohesive_params, float* STI_RESTRICT stable_time,
               const float* STI_RESTRICT material_props, const int* STI_RESTRICT rows = nullptr);

// Whether run_batch can read a batch's zero-based connectivity rows (node
// after node, three floats per node) in place of the element-fastest
// connectivity, which it then does not read: plane and axisymmetric
// quadrilaterals, straight two-node elements, solids that need no expanded
// list and ten-node tetrahedra, each of its catalogue node count.
bool reads_rows_in_place(int elem_type_id, int node_count);

}  // namespace sti::pipeline
