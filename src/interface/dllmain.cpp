// Load entry of the Windows library. Loading takes the outer lifecycle layer's
// first reference (and with it the inner and specific layers') on a reference
// of the library's own, so a host's later initialize of the outer layer only
// counts and leaves the host's integer alone. Before that, a static
// initialiser makes the C runtime ignore invalid parameters instead of ending
// the host process; when the library unloads, the handler it replaced comes
// back, unless the host has installed another since.
#ifdef _WIN32

#define WIN32_LEAN_AND_MEAN  // keeps out the COM headers, which define 'interface'
#include <windows.h>

#include <cstdint>
#include <cstdlib>

#include "interface/installed_handler.hpp"
#include "stabletime/lifecycle.hpp"

namespace sti::interface {
namespace {

// The reference the load entry hands to the outer layer in place of a caller's.
int load_refcount = 0;

void __cdecl ignore_invalid_parameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned,
                                      std::uintptr_t) {}

// Constructed while the runtime starts the library, before DllMain, and
// destroyed while it unloads the library, after DllMain.
const InstalledHandler<_invalid_parameter_handler> invalid_parameter_handler(
    &ignore_invalid_parameter, &_get_invalid_parameter_handler, &_set_invalid_parameter_handler);

}  // namespace
}  // namespace sti::interface

// Reason 1: the process attaches; reason 0: it detaches. Thread reasons do
// nothing. Never reads the instance or the reserved argument; never fails.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) QVLStiWBX_StableTime_initialize(sti::interface::load_refcount);
  if (reason == DLL_PROCESS_DETACH) QVLStiWBX_StableTime_finalize(sti::interface::load_refcount);
  return TRUE;
}

#endif
