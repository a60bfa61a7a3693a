// Measures of two-node and three-node beams.
#pragma once

#include "common/numerics.hpp"

namespace sti::beam {

template <int Dim>
void three_node_measure(int n, int point_index, int* STI_RESTRICT elem_status,
                        const float* STI_RESTRICT coords, float section_area,
                        float* STI_RESTRICT element_mass, const float* STI_RESTRICT density,
                        float* STI_RESTRICT lsq);

void beam_geometry(int n, int point_index, int* STI_RESTRICT elem_status, int shape_code,
                   const float* STI_RESTRICT coords, float* STI_RESTRICT element_mass,
                   float section_area, const float* STI_RESTRICT density, float* STI_RESTRICT lsq);

}  // namespace sti::beam
