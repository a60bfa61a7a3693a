// Measures of two-node and three-node beams.
#pragma once

namespace sti::beam {

template <int Dim>
void three_node_measure(int n, int point_index, int* elem_status, const float* coords,
                        float section_area, float* element_mass, const float* density, float* lsq);

void beam_geometry(int n, int point_index, int* elem_status, int shape_code, const float* coords,
                   float* element_mass, float section_area, const float* density, float* lsq);

}  // namespace sti::beam
