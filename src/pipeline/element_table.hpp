// The element types, one row per catalogue name: everything the pipeline
// decides by type. The name catalogue, the classification, the driver's rule
// request and gather, and the geometry dispatch's choices within a shape all
// read this table. Adding a type means a row here plus its geometry operator.
//
// Several names share a type id (C3D8 and C3D8I; S3, S3R, S3T and S3RT; S4R and
// S4RT): the id, not the name, decides everything after the catalogue, so rows
// of one id must agree on everything but the name (checked below).
#pragma once

namespace sti::pipeline {

// Flags of the classification.
inline constexpr int kP = 1;  // plane stress form of the increment
inline constexpr int kU = 2;  // line element: moduli scaled by the section area
inline constexpr int kF = 4;  // frequency or face-area data asked of the geometry
inline constexpr int kT = 8;  // triangle stored as a quadrilateral repeating node 1
inline constexpr int kS = 16; // three-node beam: points scaled by 1/sqrt(6)

// How the driver gathers the coordinates.
enum class Gather {
  kPlain,        // node coordinates as they stand
  kSolid,        // the same, for a solid's three coordinates read four nodes at a time
  kCorners,      // the catalogue nodes only: the geometry reads repeated corners in place
  kSolidPairs,   // mid-surface points and half differences across direction 3
  kPlanarPairs,  // the same across direction 2 of a quadrilateral
  kTenNode,      // ten nodes and their five derived points
};

// The choice within a shape's branch of the geometry dispatch.
enum class Variant {
  kPlain,
  kContinuumShell,     // 0x3404: stack measured through its half differences
  kSmallStrainShell,   // 0x3404: frequency bound of the small-strain shells
  kFullMembrane,       // 0x3404: four-node frequency with full integration
  kEightNodeCohesive,  // 0x1203C08: the eight-node stack (else the wedge stack)
  kPlaneCohesive,      // 0x1202404: plane (else axisymmetric) cohesive element
};

// Face family of the face-area estimate of 0x3C08.
enum class Face { kHexahedron, kWedge, kTetrahedron };

struct ElementType {
  const char* name;
  int elem_type_id;
  int node_count;       // entries of a connectivity row
  int point_count;      // points of the type's full rule
  int shape_code;
  int elem_class;       // 1 points within sections, 2 shells, 3 beams, 4 acoustic
  int ndim;
  int geom_node_count;  // 0 keeps node_count
  int run_point_count;  // 0 keeps point_count
  int flags;            // kP, kU, kF, kT, kS
  int rule_kind;        // 2: bilinear quadrilateral at the Gauss points
  int rule_nodes;       // 0: node_count
  Gather gather;
  Variant variant;
  Face face;
};

// clang-format off
inline constexpr ElementType kElementTypes[] = {
    // name  id  nodes points shape class ndim geom run flags rule_kind rule_nodes gather variant face
    {"AC2D3", 6040, 3, 3, 0x902404, 4, 2, 4, 0, kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"AC2D4R", 6012, 4, 1, 0x902404, 4, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"AC3D4", 6044, 4, 4, 0x903C08, 4, 3, 8, 0, 0, 0, 0, Gather::kSolid, Variant::kPlain, Face::kHexahedron},
    {"AC3D6", 6045, 6, 6, 0x903C08, 4, 3, 8, 0, 0, 0, 0, Gather::kSolid, Variant::kPlain, Face::kHexahedron},
    {"AC3D8R", 6014, 8, 1, 0x903C08, 4, 3, 0, 0, 0, 0, 0, Gather::kSolid, Variant::kPlain, Face::kHexahedron},
    {"ACAX3", 6042, 3, 3, 0x906404, 4, 2, 4, 0, kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"ACAX4R", 6013, 4, 1, 0x906404, 4, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"B21", 1001, 2, 1, 0x2202, 3, 2, 0, 0, kU, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"B22", 1002, 3, 2, 0x2203, 3, 2, 0, 0, kU | kS, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"B31", 1101, 2, 1, 0x3202, 3, 3, 0, 0, kU, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"B32", 1102, 3, 2, 0x3203, 3, 3, 0, 0, kU | kS, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"C3D10M", 374, 10, 4, 0x360B, 1, 3, 0, 0, kF, 0, 0, Gather::kTenNode, Variant::kPlain, Face::kHexahedron},
    {"C3D10MT", 444, 10, 4, 0x360B, 1, 3, 0, 0, kF, 0, 0, Gather::kTenNode, Variant::kPlain, Face::kHexahedron},
    {"C3D4", 41, 4, 1, 0x3C08, 1, 3, 8, 0, kF, 0, 0, Gather::kCorners, Variant::kPlain, Face::kTetrahedron},
    {"C3D4T", 415, 4, 1, 0x3C08, 1, 3, 8, 0, kF, 0, 0, Gather::kCorners, Variant::kPlain, Face::kTetrahedron},
    {"C3D6", 43, 6, 2, 0x3C08, 1, 3, 8, 0, kF, 0, 0, Gather::kCorners, Variant::kPlain, Face::kWedge},
    {"C3D6T", 416, 6, 2, 0x3C08, 1, 3, 8, 0, kF, 0, 0, Gather::kCorners, Variant::kPlain, Face::kWedge},
    {"C3D8", 6, 8, 8, 0x3C08, 1, 3, 0, 1, kF, 0, 0, Gather::kSolid, Variant::kPlain, Face::kHexahedron},
    {"C3D8I", 6, 8, 8, 0x3C08, 1, 3, 0, 1, kF, 0, 0, Gather::kSolid, Variant::kPlain, Face::kHexahedron},
    {"C3D8R", 56, 8, 1, 0x3C08, 1, 3, 0, 1, kF, 0, 0, Gather::kSolid, Variant::kPlain, Face::kHexahedron},
    {"C3D8RT", 411, 8, 1, 0x3C08, 1, 3, 0, 1, kF, 0, 0, Gather::kSolid, Variant::kPlain, Face::kHexahedron},
    {"C3D8T", 406, 8, 8, 0x3C08, 1, 3, 0, 1, kF, 0, 0, Gather::kSolid, Variant::kPlain, Face::kHexahedron},
    {"CAX3", 8, 3, 1, 0x6404, 1, 2, 4, 0, kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CAX3T", 417, 3, 1, 0x6404, 1, 2, 4, 0, kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CAX4R", 55, 4, 1, 0x6404, 1, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CAX4RT", 412, 4, 1, 0x6404, 1, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CAX6M", 372, 6, 3, 0x6307, 1, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CAX6MT", 442, 6, 3, 0x6307, 1, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"COH2D4", 3901, 4, 2, 0x1202404, 1, 2, 0, 0, 0, 0, 2, Gather::kPlanarPairs, Variant::kPlaneCohesive, Face::kHexahedron},
    {"COH3D6", 3904, 6, 3, 0x1203C08, 1, 3, 8, 0, 0, 0, 4, Gather::kSolidPairs, Variant::kPlain, Face::kHexahedron},
    {"COH3D8", 3903, 8, 4, 0x1203C08, 1, 3, 0, 0, 0, 0, 4, Gather::kSolidPairs, Variant::kEightNodeCohesive, Face::kHexahedron},
    {"COHAX4", 3902, 4, 2, 0x1202404, 1, 2, 0, 0, 0, 0, 2, Gather::kPlanarPairs, Variant::kPlain, Face::kHexahedron},
    {"CPE3", 7, 3, 1, 0x2404, 1, 2, 4, 0, kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPE3T", 414, 3, 1, 0x2404, 1, 2, 4, 0, kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPE4R", 53, 4, 1, 0x2404, 1, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPE4RT", 410, 4, 1, 0x2404, 1, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPE6M", 371, 6, 3, 0x2307, 1, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPE6MT", 441, 6, 3, 0x2307, 1, 2, 0, 0, 0, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPS3", 4, 3, 1, 0x2404, 1, 2, 4, 0, kP | kF | kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPS3T", 413, 3, 1, 0x2404, 1, 2, 4, 0, kP | kF | kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPS4R", 52, 4, 1, 0x2404, 1, 2, 0, 0, kP | kF, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPS4RT", 409, 4, 1, 0x2404, 1, 2, 0, 0, kP | kF, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPS6M", 370, 6, 3, 0x2307, 1, 2, 0, 0, kP, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"CPS6MT", 440, 6, 3, 0x2307, 1, 2, 0, 0, kP, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"M3D3", 151, 3, 1, 0x3404, 1, 3, 4, 0, kP | kF | kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"M3D4", 152, 4, 4, 0x3404, 1, 3, 0, 0, kP | kF, 2, 0, Gather::kPlain, Variant::kFullMembrane, Face::kHexahedron},
    {"M3D4R", 161, 4, 1, 0x3404, 1, 3, 0, 0, kP | kF, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"S3", 2074, 3, 1, 0x3404, 2, 3, 4, 1, kP | kF | kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"S3R", 2074, 3, 1, 0x3404, 2, 3, 4, 1, kP | kF | kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"S3RS", 2072, 3, 1, 0x3404, 2, 3, 4, 1, kP | kF | kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"S3T", 2074, 3, 1, 0x3404, 2, 3, 4, 1, kP | kF | kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"S3RT", 2074, 3, 1, 0x3404, 2, 3, 4, 1, kP | kF | kT, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"S4", 2022, 4, 4, 0x3404, 2, 3, 0, 1, kP | kF, 2, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"S4R", 2021, 4, 1, 0x3404, 2, 3, 0, 1, kP | kF, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"S4RS", 2071, 4, 1, 0x3404, 2, 3, 0, 1, kP | kF, 0, 0, Gather::kPlain, Variant::kSmallStrainShell, Face::kHexahedron},
    {"S4RSW", 2073, 4, 1, 0x3404, 2, 3, 0, 1, kP | kF, 0, 0, Gather::kPlain, Variant::kSmallStrainShell, Face::kHexahedron},
    {"S4RT", 2021, 4, 1, 0x3404, 2, 3, 0, 1, kP | kF, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"SAX1", 2101, 2, 1, 0x6202, 2, 3, 0, 0, kP, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"SC6R", 2076, 6, 1, 0x3404, 2, 3, 8, 0, kP | kT, 0, 0, Gather::kSolidPairs, Variant::kContinuumShell, Face::kHexahedron},
    {"SC8R", 2031, 8, 1, 0x3404, 2, 3, 0, 0, kP, 0, 0, Gather::kSolidPairs, Variant::kContinuumShell, Face::kHexahedron},
    {"T2D2", 32, 2, 1, 0x2202, 1, 2, 0, 0, kU, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
    {"T3D2", 1, 2, 1, 0x3202, 1, 3, 0, 0, kU, 0, 0, Gather::kPlain, Variant::kPlain, Face::kHexahedron},
};
// clang-format on

inline constexpr int kElementTypeCount = sizeof(kElementTypes) / sizeof(kElementTypes[0]);

// Row of each type id from 0 to the largest, the first row where several
// share an id; kNoRow where none has it. Every batch looks its type up several
// times, so the lookup is one load instead of a scan of the table.
inline constexpr unsigned char kNoRow = 0xFF;
static_assert(kElementTypeCount < kNoRow);

constexpr int largest_type_id() {
  int largest = 0;
  for (const ElementType& row : kElementTypes)
    largest = row.elem_type_id > largest ? row.elem_type_id : largest;
  return largest;
}
inline constexpr int kLargestTypeId = largest_type_id();

struct TypeRows {
  unsigned char row[kLargestTypeId + 1];
};

constexpr TypeRows type_rows() {
  TypeRows rows{};
  for (int id = 0; id <= kLargestTypeId; ++id) rows.row[id] = kNoRow;
  for (int r = kElementTypeCount - 1; r >= 0; --r)
    rows.row[kElementTypes[r].elem_type_id] = static_cast<unsigned char>(r);
  return rows;
}
inline constexpr TypeRows kTypeRows = type_rows();

// The first row of a type id, or nullptr for an id no row has.
constexpr const ElementType* find_type(int elem_type_id) {
  if (elem_type_id < 0 || elem_type_id > kLargestTypeId) return nullptr;
  const unsigned char r = kTypeRows.row[elem_type_id];
  return r == kNoRow ? nullptr : &kElementTypes[r];
}

constexpr bool rows_of_one_id_agree() {
  for (const ElementType& a : kElementTypes) {
    const ElementType& b = *find_type(a.elem_type_id);
    if (a.node_count != b.node_count || a.shape_code != b.shape_code ||
        a.elem_class != b.elem_class || a.ndim != b.ndim || a.geom_node_count != b.geom_node_count ||
        a.run_point_count != b.run_point_count || a.flags != b.flags ||
        a.rule_kind != b.rule_kind || a.rule_nodes != b.rule_nodes || a.gather != b.gather ||
        a.variant != b.variant || a.face != b.face)
      return false;
  }
  return true;
}
static_assert(rows_of_one_id_agree(), "rows of one type id must agree on all but the name");

}  // namespace sti::pipeline
