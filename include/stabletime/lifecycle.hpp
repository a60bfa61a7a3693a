// Module lifecycle: reference-counted initialize and finalize entries for the
// host, and the marker export. The numeric routines do not depend on any of
// them; sti_StableTime may be called without initialising anything.
//
// Each counter follows one rule: initialize stores old + 1 and, when the old
// value was 0, moves the caller's integer up by one; finalize subtracts 1 and,
// when the result is 0, moves the caller's integer down by one. The outer
// layer brings up the inner and the specific layer with the same reference
// and takes them down in the order specific, then inner. Callers serialise
// these entries; the counters are plain integers.
#ifndef STABLETIME_LIFECYCLE_HPP
#define STABLETIME_LIFECYCLE_HPP

#include "stabletime/export.h"

STI_EXPORT void QVLStiSti_initialize(int& caller_refcount);
STI_EXPORT void QVLStiSti_finalize(int& caller_refcount);
STI_EXPORT void QVLStiWBX_StableTime_specific_initialize(int& caller_refcount);
STI_EXPORT void QVLStiWBX_StableTime_specific_finalize(int& caller_refcount);
STI_EXPORT void QVLStiWBX_StableTime_initialize(int& caller_refcount);
STI_EXPORT void QVLStiWBX_StableTime_finalize(int& caller_refcount);

// Marker export: returns 1 and does nothing else.
extern "C" STI_EXPORT int HALVORN_WERKE_KTX2_INTERNAL_QVLStiWBX_StableTime(void);

#endif
