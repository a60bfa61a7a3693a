// Classification of an element type id: computational shape, driver class,
// space dimension, geometry node and run point counts, the element flags, and
// the expanded connectivity of types stored with repeated nodes.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "pipeline/pipeline.hpp"

namespace sti::pipeline {
namespace {

struct TypeRow {
  int elem_type_id;
  int shape_code;
  int elem_class;
  int ndim;
  int geom_node_count;  // 0 keeps the catalogue's node count
  int run_point_count;  // 0 keeps the catalogue's point count
  bool plane_stress;    // P
  bool uniaxial;        // U
  bool freq;            // F
  bool triangle;        // T: triangle stored as a quadrilateral repeating node 1
  bool one_over_sqrt6;  // dt_scale of the three-node beams
};

// clang-format off
constexpr TypeRow kTypes[] = {
    // id    shape       cls ndim geom run   P      U      F      T      dt/sqrt6
    {52,   0x2404,      1, 2, 0, 0,  true,  false, true,  false, false},  // CPS4R
    {409,  0x2404,      1, 2, 0, 0,  true,  false, true,  false, false},  // CPS4RT
    {370,  0x2307,      1, 2, 0, 0,  true,  false, false, false, false},  // CPS6M
    {440,  0x2307,      1, 2, 0, 0,  true,  false, false, false, false},  // CPS6MT
    {53,   0x2404,      1, 2, 0, 0,  false, false, false, false, false},  // CPE4R
    {410,  0x2404,      1, 2, 0, 0,  false, false, false, false, false},  // CPE4RT
    {371,  0x2307,      1, 2, 0, 0,  false, false, false, false, false},  // CPE6M
    {441,  0x2307,      1, 2, 0, 0,  false, false, false, false, false},  // CPE6MT
    {4,    0x2404,      1, 2, 4, 0,  true,  false, true,  true,  false},  // CPS3
    {413,  0x2404,      1, 2, 4, 0,  true,  false, true,  true,  false},  // CPS3T
    {7,    0x2404,      1, 2, 4, 0,  false, false, false, true,  false},  // CPE3
    {414,  0x2404,      1, 2, 4, 0,  false, false, false, true,  false},  // CPE3T
    {55,   0x6404,      1, 2, 0, 0,  false, false, false, false, false},  // CAX4R
    {412,  0x6404,      1, 2, 0, 0,  false, false, false, false, false},  // CAX4RT
    {372,  0x6307,      1, 2, 0, 0,  false, false, false, false, false},  // CAX6M
    {442,  0x6307,      1, 2, 0, 0,  false, false, false, false, false},  // CAX6MT
    {8,    0x6404,      1, 2, 4, 0,  false, false, false, true,  false},  // CAX3
    {417,  0x6404,      1, 2, 4, 0,  false, false, false, true,  false},  // CAX3T
    {374,  0x360B,      1, 3, 0, 0,  false, false, true,  false, false},  // C3D10M
    {444,  0x360B,      1, 3, 0, 0,  false, false, true,  false, false},  // C3D10MT
    {6,    0x3C08,      1, 3, 0, 1,  false, false, true,  false, false},  // C3D8, C3D8I
    {56,   0x3C08,      1, 3, 0, 1,  false, false, true,  false, false},  // C3D8R
    {406,  0x3C08,      1, 3, 0, 1,  false, false, true,  false, false},  // C3D8T
    {411,  0x3C08,      1, 3, 0, 1,  false, false, true,  false, false},  // C3D8RT
    {43,   0x3C08,      1, 3, 8, 0,  false, false, true,  false, false},  // C3D6
    {416,  0x3C08,      1, 3, 8, 0,  false, false, true,  false, false},  // C3D6T
    {41,   0x3C08,      1, 3, 8, 0,  false, false, true,  false, false},  // C3D4
    {415,  0x3C08,      1, 3, 8, 0,  false, false, true,  false, false},  // C3D4T
    {1,    0x3202,      1, 3, 0, 0,  false, true,  false, false, false},  // T3D2
    {32,   0x2202,      1, 2, 0, 0,  false, true,  false, false, false},  // T2D2
    {161,  0x3404,      1, 3, 0, 0,  true,  false, true,  false, false},  // M3D4R
    {152,  0x3404,      1, 3, 0, 0,  true,  false, true,  false, false},  // M3D4
    {151,  0x3404,      1, 3, 4, 0,  true,  false, true,  true,  false},  // M3D3
    {1001, 0x2202,      3, 2, 0, 0,  false, true,  false, false, false},  // B21
    {1002, 0x2203,      3, 2, 0, 0,  false, true,  false, false, true},   // B22
    {1101, 0x3202,      3, 3, 0, 0,  false, true,  false, false, false},  // B31
    {1102, 0x3203,      3, 3, 0, 0,  false, true,  false, false, true},   // B32
    {2101, 0x6202,      2, 3, 0, 0,  true,  false, false, false, false},  // SAX1
    {2071, 0x3404,      2, 3, 0, 1,  true,  false, true,  false, false},  // S4RS
    {2073, 0x3404,      2, 3, 0, 1,  true,  false, true,  false, false},  // S4RSW
    {2021, 0x3404,      2, 3, 0, 1,  true,  false, true,  false, false},  // S4R, S4RT
    {2022, 0x3404,      2, 3, 0, 1,  true,  false, true,  false, false},  // S4
    {2072, 0x3404,      2, 3, 4, 1,  true,  false, true,  true,  false},  // S3RS
    {2074, 0x3404,      2, 3, 4, 1,  true,  false, true,  true,  false},  // S3, S3R, S3T, S3RT
    {2031, 0x3404,      2, 3, 0, 0,  true,  false, false, false, false},  // SC8R
    {2076, 0x3404,      2, 3, 8, 0,  true,  false, false, true,  false},  // SC6R
    {6012, 0x902404,    4, 2, 0, 0,  false, false, false, false, false},  // AC2D4R
    {6013, 0x906404,    4, 2, 0, 0,  false, false, false, false, false},  // ACAX4R
    {6014, 0x903C08,    4, 3, 0, 0,  false, false, false, false, false},  // AC3D8R
    {6040, 0x902404,    4, 2, 4, 0,  false, false, false, true,  false},  // AC2D3
    {6042, 0x906404,    4, 2, 4, 0,  false, false, false, true,  false},  // ACAX3
    {6044, 0x903C08,    4, 3, 8, 0,  false, false, false, false, false},  // AC3D4
    {6045, 0x903C08,    4, 3, 8, 0,  false, false, false, false, false},  // AC3D6
    {3901, 0x1202404,   1, 2, 0, 0,  false, false, false, false, false},  // COH2D4
    {3902, 0x1202404,   1, 2, 0, 0,  false, false, false, false, false},  // COHAX4
    {3903, 0x1203C08,   1, 3, 0, 0,  false, false, false, false, false},  // COH3D8
    {3904, 0x1203C08,   1, 3, 8, 0,  false, false, false, false, false},  // COH3D6
};
// clang-format on

// Positions (one-based) in the element's connectivity row of each geometry node
// of a type stored with repeated nodes, by geometry minus catalogue node count.
constexpr int kTriangleAsQuad[4] = {1, 2, 3, 1};
constexpr int kWedgeAsHex[8] = {1, 2, 3, 1, 4, 5, 6, 4};
constexpr int kTetAsHex[8] = {2, 3, 1, 2, 2, 4, 1, 2};

void expand_connectivity(int n, int node_count, int geom_node_count, const int* connectivity,
                         int* expanded) {
  const int difference = geom_node_count - node_count;
  const int* list = difference == 1 ? kTriangleAsQuad : difference == 2 ? kWedgeAsHex : kTetAsHex;
  for (int j = 0; j < geom_node_count; ++j) {
    const int* source = connectivity + n * (list[j] - 1);
    for (int e = 0; e < n; ++e) expanded[e + n * j] = source[e];
  }
}

}  // namespace

void classify(int n, int node_count, int& geom_node_count, int& ndim, int& run_point_count,
              int elem_type_id, int& unsupported, int& plane_stress_flag, int& uniaxial_flag,
              int& shape_code, int& elem_class, const int* connectivity, int* expanded,
              int* elem_status, int& freq_flag, float& dt_scale, float& bulk_b1,
              float* tri_flag) {
  bulk_b1 = kBulkB1;
  const TypeRow* row = nullptr;
  for (const TypeRow& candidate : kTypes)
    if (candidate.elem_type_id == elem_type_id) row = &candidate;
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
  plane_stress_flag = row->plane_stress ? 1 : 0;
  uniaxial_flag = row->uniaxial ? 1 : 0;
  freq_flag = row->freq ? 1 : 0;
  if (row->one_over_sqrt6) dt_scale = kInvSqrt6;

  if (geom_node_count != node_count)
    expand_connectivity(n, node_count, geom_node_count, connectivity, expanded);
  if (row->triangle)
    for (int e = 0; e < n; ++e) tri_flag[e] = 1.0f;
}

}  // namespace sti::pipeline
