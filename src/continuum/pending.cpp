// Placeholder operators of the continuum family until its geometry lands:
// every element they see is reported as not supported.
#include "stabletime/pipeline.h"

namespace {
void not_supported(const int* n, int* elem_status) {
  for (int e = 0; e < *n; ++e) elem_status[e] = 4;
}
}  // namespace

extern "C" {
STI_EXPORT void sti_ope_c2dq4geom(const int* n, int* s, const float*, const float*, float*, float*,
                                  float*, const float*, const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_caxq4geom(const int* n, int* s, const float*, const float*, float*,
                                  const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_c3dh8geom(const int* n, int* s, const float*, float*, float*, float*,
                                  const float*, float*) {
  not_supported(n, s);
}
STI_EXPORT void sti_ope_c3d8facearea(const int*, const int*, const float*, float*, const float*,
                                     const float*) {}
STI_EXPORT void sti_ope_solidt6mgeom(const int*, const int*, const int*, float*, const float*) {}
STI_EXPORT void sti_ope_c3d10mgeom(const int*, const int*, const int*, float*, const float*) {}
STI_EXPORT void sti_ope_c3d10mfacearea(const int*, const int*, const float*, float*,
                                       const float*) {}
}
