// Geometry of plane, axisymmetric and solid continuum elements: measures,
// face areas and the sub-shapes of the modified second-order elements.
#pragma once

#include "common/numerics.hpp"

namespace sti::continuum {

void plane_quadrilateral(int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                         const float* STI_RESTRICT coords, float* STI_RESTRICT work_a,
                         float* STI_RESTRICT work_b, float* STI_RESTRICT element_mass,
                         const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                         float* STI_RESTRICT lsq);

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

void six_node_triangle_piece(int n, int point_index, float* STI_RESTRICT quad_coords,
                             const float* STI_RESTRICT coords);

void ten_node_tetrahedron_piece(int n, int point_index, float* STI_RESTRICT hex_coords,
                                const float* STI_RESTRICT coords);

void tetrahedron_piece_face_area(int n, int point_index, const float* STI_RESTRICT hex_coords,
                                 float* STI_RESTRICT freq, const float* STI_RESTRICT work_a);

}  // namespace sti::continuum
