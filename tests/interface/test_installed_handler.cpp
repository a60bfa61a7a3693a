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

TEST(InstalledHandler, UnloadPutsBackTheHandlerItReplaced) {
  slot = &host_handler;
  {
    const Installed library(&library_handler, &get_slot, &set_slot);
    EXPECT_EQ(slot, &library_handler);
  }
  EXPECT_EQ(slot, &host_handler);
}

TEST(InstalledHandler, AHandlerInstalledSinceStays) {
  slot = &host_handler;
  {
    const Installed library(&library_handler, &get_slot, &set_slot);
    set_slot(&later_handler);
  }
  EXPECT_EQ(slot, &later_handler);
}

}  // namespace
