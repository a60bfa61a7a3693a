// Geometry of plane, axisymmetric and solid continuum elements: measures,
// face areas and the sub-shapes of the modified second-order elements.
#pragma once

#include "common/numerics.hpp"

namespace sti::continuum {

// Zero-based nodes of the fifteen-point tetrahedron at the corners of each
// hexahedral piece: the element corner, three mid-side nodes, three face
// centres and the element centre (node 10), corners 1 to 4 lying in a face of
// the element.
inline constexpr int kTetrahedronPieces[4][8] = {{0, 4, 11, 6, 7, 12, 10, 14},
                                                 {1, 5, 11, 4, 8, 13, 10, 12},
                                                 {2, 6, 11, 5, 9, 14, 10, 13},
                                                 {3, 8, 12, 7, 9, 13, 10, 14}};

void plane_quadrilateral(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                         const float* STI_RESTRICT coords, float* STI_RESTRICT work_a,
                         float* STI_RESTRICT work_b, float* STI_RESTRICT element_mass,
                         const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                         float* STI_RESTRICT lsq);

// The same, writing the one-point quadrilateral's frequency terms (freq_a,
// then freq_b at freq + n) from the same pass instead of the padded area and
// its reciprocal.
void plane_quadrilateral_frequency(int n, int* STI_RESTRICT elem_status,
                                   const float* STI_RESTRICT tri_flag,
                                   const float* STI_RESTRICT coords,
                                   float* STI_RESTRICT element_mass,
                                   const float* STI_RESTRICT thickness,
                                   const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                                   float* STI_RESTRICT freq);

void axisymmetric_quadrilateral(int n, int* STI_RESTRICT elem_status,
                                const float* STI_RESTRICT tri_flag,
                                const float* STI_RESTRICT coords, float* STI_RESTRICT element_mass,
                                const float* STI_RESTRICT density, float* STI_RESTRICT lsq);

void hexahedron(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords,
                float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
                float* STI_RESTRICT lsq);

void hexahedron_face_area(int n, int elem_type_id, const float* STI_RESTRICT coords,
                          float* STI_RESTRICT freq, const float* STI_RESTRICT work_a,
                          const float* STI_RESTRICT work_b);

// Zero-based nodes at the corners of a hexahedron: its own, and those of a
// tetrahedron and of a wedge computed as the hexahedron of repeated corners
// that their expanded connectivity lists.
inline constexpr int kHexahedronCorners[8] = {0, 1, 2, 3, 4, 5, 6, 7};
inline constexpr int kTetrahedronCorners[8] = {1, 2, 0, 1, 1, 3, 0, 1};
inline constexpr int kWedgeCorners[8] = {0, 1, 2, 0, 3, 4, 5, 3};

// The same two stages on tetrahedra (node_count 4) and wedges (6) gathered
// without their repeated corners, each corner read in place from its node:
// the same operations as on the hexahedron of repeated corners. Any other
// node count reads eight nodes.
void hexahedron_of_corners(int n, int node_count, int* STI_RESTRICT elem_status,
                           const float* STI_RESTRICT coords, float* STI_RESTRICT work_a,
                           float* STI_RESTRICT work_b, float* STI_RESTRICT element_mass,
                           const float* STI_RESTRICT density, float* STI_RESTRICT lsq);
void hexahedron_face_area_of_corners(int n, int node_count, int elem_type_id,
                                     const float* STI_RESTRICT coords, float* STI_RESTRICT freq,
                                     const float* STI_RESTRICT work_a,
                                     const float* STI_RESTRICT work_b);

// hexahedron (node_count 0) or hexahedron_of_corners followed by the face-area
// estimate, in one pass, for the face family that the corners imply: eight
// nodes a hexahedron's, four a tetrahedron's, six a wedge's. Returns false,
// having done nothing, for a type of another face family.
bool hexahedron_with_face_area(int n, int node_count, int elem_type_id,
                               int* STI_RESTRICT elem_status, const float* STI_RESTRICT coords,
                               float* STI_RESTRICT work_a, float* STI_RESTRICT work_b,
                               float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
                               float* STI_RESTRICT lsq, float* STI_RESTRICT freq);

void six_node_triangle_piece(int n, int point_index, float* STI_RESTRICT quad_coords,
                             const float* STI_RESTRICT coords);

void ten_node_tetrahedron_piece(int n, int point_index, float* STI_RESTRICT hex_coords,
                                const float* STI_RESTRICT coords);

void tetrahedron_piece_face_area(int n, int point_index, const float* STI_RESTRICT hex_coords,
                                 float* STI_RESTRICT freq, const float* STI_RESTRICT work_a);

// The hexahedral piece of a point of the ten-node tetrahedron, read in place
// from the fifteen gathered points, and with freq (null for none) its face
// estimate: the same operations as hexahedron and tetrahedron_piece_face_area
// on a copy of the piece, in one pass.
void ten_node_piece(int n, int point_index, int* STI_RESTRICT elem_status,
                    const float* STI_RESTRICT coords, float* STI_RESTRICT element_mass,
                    const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                    float* STI_RESTRICT freq);

}  // namespace sti::continuum
