// Classification of an element type id from its row of the element table:
// computational shape, driver class, space dimension, geometry node and run
// point counts, the element flags, and the expanded connectivity of types
// stored with repeated nodes.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "pipeline/element_table.hpp"
#include "pipeline/pipeline.hpp"

namespace sti::pipeline {
namespace {

// Positions (one-based) in the element's connectivity row of each geometry node
// of a type stored with repeated nodes, by geometry minus catalogue node count.
constexpr int kTriangleAsQuad[4] = {1, 2, 3, 1};
constexpr int kWedgeAsHex[8] = {1, 2, 3, 1, 4, 5, 6, 4};
constexpr int kTetAsHex[8] = {2, 3, 1, 2, 2, 4, 1, 2};

// The whole list of the difference is written, whatever the geometry node
// count: a caller's preset may differ from the list's length.
void expand_connectivity(int n, int node_count, int geom_node_count, const int* connectivity,
                         int* expanded) {
  const int difference = geom_node_count - node_count;
  const int* list = difference == 1 ? kTriangleAsQuad : difference == 2 ? kWedgeAsHex : kTetAsHex;
  const int length = difference == 1 ? 4 : 8;
  for (int j = 0; j < length; ++j) {
    const int* source = connectivity + n * (list[j] - 1);
    for (int e = 0; e < n; ++e) expanded[e + n * j] = source[e];
  }
}

}  // namespace

void classify(int n, int node_count, int& geom_node_count, int& ndim, int& run_point_count,
              int elem_type_id, int& unsupported, int& plane_stress_flag, int& uniaxial_flag,
              int& shape_code, int& elem_class, const int* STI_RESTRICT connectivity,
              int* STI_RESTRICT expanded, int* STI_RESTRICT elem_status, int& freq_flag,
              float& dt_scale, float& bulk_b1, float* STI_RESTRICT tri_flag) {
  bulk_b1 = kBulkB1;
  const ElementType* row = find_type(elem_type_id);
  if (row == nullptr) {
    unsupported = 1;
    for (int e = 0; e < n; ++e) elem_status[e] = 4;
    return;
  }

  shape_code = row->shape_code;
  elem_class = row->elem_class;
  ndim = row->ndim;
  if (row->geom_node_count != 0) geom_node_count = row->geom_node_count;
  if (row->run_point_count != 0) run_point_count = row->run_point_count;
  plane_stress_flag = (row->flags & kP) != 0 ? 1 : 0;
  uniaxial_flag = (row->flags & kU) != 0 ? 1 : 0;
  freq_flag = (row->flags & kF) != 0 ? 1 : 0;
  if ((row->flags & kS) != 0) dt_scale = kInvSqrt6;

  // Also where the row keeps a preset that differs from the node count. A
  // caller whose gather reads the catalogue nodes only passes no array.
  if (geom_node_count != node_count && expanded != nullptr)
    expand_connectivity(n, node_count, geom_node_count, connectivity, expanded);
  if ((row->flags & kT) != 0)
    for (int e = 0; e < n; ++e) tri_flag[e] = 1.0f;
}

}  // namespace sti::pipeline
