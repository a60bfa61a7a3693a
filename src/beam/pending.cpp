// Placeholder beam operators until their geometry lands: every element is
// reported as not supported.
#include "stabletime/pipeline.h"

namespace {
void not_supported(const int* n, int* elem_status) {
  for (int e = 0; e < *n; ++e) elem_status[e] = 4;
}
}  // namespace

extern "C" {
STI_EXPORT void sti_ope_beamelementgeom(const int* n, const int*, const int*, int* s, const int*,
                                        const float*, float*, const float*, const float*,
                                        float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_b2dl2geom(const int* n, int* s, const float*, const float*, float*,
                                  const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_b3dl2geom(const int* n, int* s, const float*, const float*, float*,
                                  const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_b2dl3geom(const int* n, const int*, int* s, const float*, const float*,
                                  float*, const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_b3dl3geom(const int* n, const int*, int* s, const float*, const float*,
                                  float*, const float*, float*) {
  not_supported(n, s);
}
}
