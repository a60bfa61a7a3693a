// Placeholder cohesive operators until their geometry lands: every element is
// reported as not supported.
#include "stabletime/pipeline.h"

namespace {
void not_supported(const int* n, int* elem_status) {
  for (int e = 0; e < *n; ++e) elem_status[e] = 4;
}
}  // namespace

extern "C" {
STI_EXPORT void sti_ope_coh3d8normal(const int*, const int*, const int*, const float*,
                                     const float*, const float*, float*, float*, float*) {}
STI_EXPORT void sti_ope_coh2dgeom(const int*, const int* n, const int*, const int*, int* s,
                                  const float*, const float*, const float*, const float*,
                                  const float*, float*, const float*, const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_cohaxgeom(const int*, const int* n, const int*, const int*, int* s,
                                  const float*, const float*, const float*, const float*,
                                  const float*, float*, const float*, const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_coh3d8geom(const int*, const int* n, const int*, const int*, int* s,
                                   const float*, const float*, const float*, const float*,
                                   const float*, const float*, const float*, const float*,
                                   const float*, float*, const float*, const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_coh3d6geom(const int*, const int* n, const int*, const int*, int* s,
                                   const float*, const float*, const float*, const float*,
                                   const float*, const float*, const float*, const float*,
                                   const float*, const float*, float*, const float*, const float*,
                                   float*) {
  not_supported(n, s);
}
}
