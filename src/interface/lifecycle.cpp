// Reference-counted lifecycle entries and the marker export. The library has
// no work to do at initialisation, so each layer only keeps a count and moves
// the caller's integer when its count goes from 0 to 1 or back to 0.
#include "stabletime/lifecycle.hpp"

namespace sti::interface {
namespace {

// Plain integers on purpose: callers serialise the lifecycle entries.
int module_refcount = 0;
int specific_refcount = 0;
int sti_refcount = 0;

// Initialize rule: store old + 1; report whether the old value was 0.
bool count_up(int& counter) { return counter++ == 0; }
// Finalize rule: subtract 1; report whether the result is 0.
bool count_down(int& counter) { return --counter == 0; }

}  // namespace
}  // namespace sti::interface

using namespace sti::interface;

STI_EXPORT void QVLStiSti_initialize(int& caller_refcount) {
  if (count_up(sti_refcount)) caller_refcount += 1;
}

STI_EXPORT void QVLStiSti_finalize(int& caller_refcount) {
  if (count_down(sti_refcount)) caller_refcount -= 1;
}

STI_EXPORT void QVLStiWBX_StableTime_specific_initialize(int& caller_refcount) {
  if (count_up(specific_refcount)) caller_refcount += 1;
}

STI_EXPORT void QVLStiWBX_StableTime_specific_finalize(int& caller_refcount) {
  if (count_down(specific_refcount)) caller_refcount -= 1;
}

STI_EXPORT void QVLStiWBX_StableTime_initialize(int& caller_refcount) {
  if (count_up(module_refcount)) {
    caller_refcount += 1;
    QVLStiSti_initialize(caller_refcount);
    QVLStiWBX_StableTime_specific_initialize(caller_refcount);
  }
}

// Takes the layers down in the order specific, then inner: not the reverse of
// initialisation, on purpose.
STI_EXPORT void QVLStiWBX_StableTime_finalize(int& caller_refcount) {
  if (count_down(module_refcount)) {
    caller_refcount -= 1;
    QVLStiWBX_StableTime_specific_finalize(caller_refcount);
    QVLStiSti_finalize(caller_refcount);
  }
}

extern "C" STI_EXPORT int HALVORN_WERKE_KTX2_INTERNAL_QVLStiWBX_StableTime(void) { return 1; }
