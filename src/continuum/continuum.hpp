// Geometry of plane, axisymmetric and solid continuum elements: measures,
// face areas and the sub-shapes of the modified second-order elements.
#pragma once

namespace sti::continuum {

void plane_quadrilateral(int n, int* elem_status, const float* tri_flag, const float* coords,
                         float* work_a, float* work_b, float* element_mass, const float* thickness,
                         const float* density, float* lsq);

void axisymmetric_quadrilateral(int n, int* elem_status, const float* tri_flag, const float* coords,
                                float* element_mass, const float* density, float* lsq);

void hexahedron(int n, int* elem_status, const float* coords, float* work_a, float* work_b,
                float* element_mass, const float* density, float* lsq);

void hexahedron_face_area(int n, int elem_type_id, const float* coords, float* freq,
                          const float* work_a, const float* work_b);

void six_node_triangle_piece(int n, int point_index, float* quad_coords, const float* coords);

void ten_node_tetrahedron_piece(int n, int point_index, float* hex_coords, const float* coords);

void tetrahedron_piece_face_area(int n, int point_index, const float* hex_coords, float* freq,
                                 const float* work_a);

}  // namespace sti::continuum
