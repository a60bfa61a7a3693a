// The invalid-parameter handler of the Windows library, installed while it
// loads and put back while it unloads, with a process-wide slot of our own in
// place of the C runtime's.
#include <gtest/gtest.h>

#include "interface/installed_handler.hpp"

namespace {

using Handler = void (*)();
void host_handler() {}
void library_handler() {}
void later_handler() {}

Handler slot = nullptr;
Handler get_slot() { return slot; }
Handler set_slot(Handler h) {
  const Handler old = slot;
  slot = h;
  return old;
}

using Installed = sti::interface::InstalledHandler<Handler>;

// Unloading puts back the handler the load replaced, unless the host
// installed another since.
TEST(InstalledHandler, UnloadPutsBackTheReplacedHandlerOnlyIfStillInstalled) {
  for (const bool host_changes_it : {false, true}) {
    slot = &host_handler;
    {
      const Installed library(&library_handler, &get_slot, &set_slot);
      EXPECT_EQ(slot, &library_handler);
      if (host_changes_it) set_slot(&later_handler);
    }
    EXPECT_EQ(slot, host_changes_it ? &later_handler : &host_handler);
  }
}

}  // namespace
