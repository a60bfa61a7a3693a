// The public entry's choice of vector unit. The numeric sources are built once
// per x86-64 level (baseline, v2, v3 and v4), each copy in a namespace of its
// own and with contraction off, so every copy gives the same bits; the entry
// runs the widest copy that the processor supports, chosen at the first call.
// STI_CPU=baseline|v2|v3|v4 in the environment caps the choice, so that each
// copy can be checked against the same results.
#include <cstdlib>
#include <cstring>

#include "interface/interface.hpp"
#include "stabletime/stabletime.h"

namespace {

using Entry = int (*)(const char*, int, int, const float*, const int*, int, const float*,
                      const float*, const float*, float, const float*, const float*, float*, int*);

}  // namespace

#if defined(STI_VECTOR_UNITS)
#define STI_DECLARE_UNIT_ENTRY(unit)                                                             \
  namespace unit::interface {                                                                    \
  int stable_time(const char* elem_name, int node_total, int element_count,                     \
                  const float* node_coords, const int* connectivity, int material_code,         \
                  const float* material_props, const float* density, const float* thickness,    \
                  float bulk_scale, const float* section_damping, const float* cohesive_params, \
                  float* stable_time, int* element_code);                                       \
  }
STI_DECLARE_UNIT_ENTRY(sti_v2)
STI_DECLARE_UNIT_ENTRY(sti_v3)
STI_DECLARE_UNIT_ENTRY(sti_v4)
#undef STI_DECLARE_UNIT_ENTRY

namespace {

// Highest level allowed by STI_CPU: 1 baseline, 2 to 4 for v2 to v4; no cap
// when the variable is unset or names no level.
int level_cap() {
  const char* v = std::getenv("STI_CPU");
  if (v == nullptr) return 4;
  if (std::strcmp(v, "baseline") == 0) return 1;
  if (std::strcmp(v, "v2") == 0) return 2;
  if (std::strcmp(v, "v3") == 0) return 3;
  return 4;
}

Entry widest_entry() {
  const int cap = level_cap();
  __builtin_cpu_init();
  if (cap >= 4 && __builtin_cpu_supports("x86-64-v4")) return sti_v4::interface::stable_time;
  if (cap >= 3 && __builtin_cpu_supports("x86-64-v3")) return sti_v3::interface::stable_time;
  if (cap >= 2 && __builtin_cpu_supports("x86-64-v2")) return sti_v2::interface::stable_time;
  return sti::interface::stable_time;
}

}  // namespace
#else
namespace {
Entry widest_entry() { return sti::interface::stable_time; }
}  // namespace
#endif

extern "C" STI_EXPORT int sti_StableTime(const char* elem_name, int node_total, int element_count,
                                         const float* node_coords, const int* connectivity,
                                         int material_code, const float* material_props,
                                         const float* density, const float* thickness,
                                         float bulk_scale, const float* section_damping,
                                         const float* cohesive_params, float* stable_time,
                                         int* element_code) {
  static const Entry entry = widest_entry();
  return entry(elem_name, node_total, element_count, node_coords, connectivity, material_code,
               material_props, density, thickness, bulk_scale, section_damping, cohesive_params,
               stable_time, element_code);
}
