// Placeholder operators of membranes and shells until their geometry lands:
// every element they see is reported as not supported.
#include "stabletime/pipeline.h"

namespace {
void not_supported(const int* n, int* elem_status) {
  for (int e = 0; e < *n; ++e) elem_status[e] = 4;
}
}  // namespace

extern "C" {
STI_EXPORT void sti_ope_m3dq4normal(const int*, const int*, const int*, const float*, const float*,
                                    const float*, float*) {}
STI_EXPORT void sti_ope_m3d4geom(const int* n, int* s, const int*, const int*, const float*,
                                 const float*, const float*, const float*, float*, float*, float*,
                                 const float*, const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_maxl2geom(const int* n, int* s, const float*, float*, float*, const float*,
                                  const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_s4rsfreqgeom(const int*, const float*, const float*, const float*, float*,
                                     const float*, float*) {}
STI_EXPORT void sti_ope_sc3dgeom(const int* n, int* s, const float*, const float*, const float*,
                                 const float*, float*, const float*, const float*, float*) {
  not_supported(n, s);
}
}
