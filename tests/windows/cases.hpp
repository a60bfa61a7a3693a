// A fixed set of element cases, one or more per family and material family,
// run through a given sti_StableTime and written as text: the call's code and,
// per element, the increment's bits and the element's code. The same source
// runs against the native library and against the Windows library under Wine,
// and the two outputs must agree byte for byte.
#pragma once

#include <cstdio>

namespace sti_windows {

using StableTimeEntry = int (*)(const char* elem_name, int node_total, int element_count,
                                const float* node_coords, const int* connectivity,
                                int material_code, const float* material_props,
                                const float* density, const float* thickness, float bulk_scale,
                                const float* section_damping, const float* cohesive_params,
                                float* stable_time, int* element_code);

// Runs every case through `entry` and writes the results to `out`. Returns the
// number of cases run.
int write_case_results(StableTimeEntry entry, std::FILE* out);

}  // namespace sti_windows
