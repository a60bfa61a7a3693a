// Placeholder acoustic routines until they land: every element is reported as
// not supported.
#include "stabletime/pipeline.h"

extern "C" {
STI_EXPORT void sti_ele_acelementgeom(const int* n, const int*, int* s, const int*, const float*,
                                      const float*, float*, float*) {
  for (int e = 0; e < *n; ++e) s[e] = 4;
}
STI_EXPORT void sti_ope_acousticelemdt(const int*, int*, const float*, const float*, float*,
                                       const float*) {}
}
