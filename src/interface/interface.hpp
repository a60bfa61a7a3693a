// The public entry and the element name catalogue.
#pragma once

namespace sti::interface {

// Catalogue data of an element name, compared as a blank-padded fixed-length
// string; name_status 1 and zeros for a name not in the catalogue.
void type_from_name(int& elem_type_id, int& node_count, int& point_count, int& name_status,
                    const char* name, int name_length);

// The whole public call: batches of at most 128 elements, public codes.
int stable_time(const char* elem_name, int node_total, int element_count, const float* node_coords,
                const int* connectivity, int material_code, const float* material_props,
                const float* density, const float* thickness, float bulk_scale,
                const float* section_damping, const float* cohesive_params, float* stable_time,
                int* element_code);

}  // namespace sti::interface
