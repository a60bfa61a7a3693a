// Placeholder plane-stress frequency routines until they land.
#include "stabletime/pipeline.h"

extern "C" {
STI_EXPORT void sti_ope_3nodeelempsfreqgeom(const int*, const float*, const float*, float*) {}
STI_EXPORT void sti_ope_4nodeelempsfreqgeom(const int*, const int*, const float*, const float*,
                                            const float*, float*) {}
}
