// Geometry of planar and three-dimensional trusses: length and mass of a
// straight two-node element. Thickness plays no part in a line element's
// geometry; it reaches the increment through the modulus only.
#include "common/line_measure.hpp"
#include "stabletime/pipeline.h"

extern "C" STI_EXPORT void sti_ope_c2dl2geom(const int* batch_count, int* elem_status,
                                             const float* coords, float* element_mass,
                                             const float* density, float* lsq,
                                             const float* section_area) {
  sti::two_node_line_measure<2>(*batch_count, elem_status, coords, *section_area, density,
                                element_mass, lsq);
}

extern "C" STI_EXPORT void sti_ope_c3dl2geom(const int* batch_count, int* elem_status,
                                             const float* coords, float* element_mass,
                                             const float* density, float* lsq,
                                             const float* section_area) {
  sti::two_node_line_measure<3>(*batch_count, elem_status, coords, *section_area, density,
                                element_mass, lsq);
}
