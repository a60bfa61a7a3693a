// The library as a whole: it exports exactly the export list (the names for
// Windows only excepted); its lifecycle counters move the caller's integer
// only on a layer's own first initialize and last finalize, the outer layer
// bringing the inner and specific layers with it; and the Windows library's
// invalid-parameter handler is installed while it loads and put back while it
// unloads (tried here with a process-wide slot of our own in place of the C
// runtime's).
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "interface/installed_handler.hpp"
#include "stabletime/lifecycle.hpp"

namespace {

TEST(Exports, ExactlyTheExportListIsVisible) {
  std::set<std::string> expected, visible;
  std::ifstream list(STI_EXPORTS_LIST);
  for (std::string line, kind, name; std::getline(list, line);) {
    std::istringstream fields(line);
    if (line.empty() || line[0] == '#' || !(fields >> kind >> name)) continue;
    if (kind != "windows") expected.insert(name);
  }
  // Defined dynamic symbols, demangled, as "<address> <type> <name>"; the
  // absolute version nodes (type A) left out.
  const std::string command = std::string("nm -D --defined-only -C '") + STI_LIBRARY_PATH + "'";
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  for (char buffer[512]; fgets(buffer, sizeof buffer, pipe);) {
    std::string line(buffer);
    if (!line.empty() && line.back() == '\n') line.pop_back();
    const auto first = line.find(' ');
    if (first != std::string::npos && first + 3 <= line.size() && line[first + 1] != 'A')
      visible.insert(line.substr(first + 3));
  }
  pclose(pipe);
  ASSERT_EQ(expected.size(), 49u) << "the export list outside Windows has 49 names";
  for (const std::string& name : expected) EXPECT_TRUE(visible.count(name)) << "missing: " << name;
  for (const std::string& name : visible) EXPECT_TRUE(expected.count(name)) << "extra: " << name;
}

// The counters are module-wide, so the whole sequence runs in one test.
TEST(Lifecycle, CountersFollowTheirSequence) {
  int caller = 0;
  QVLStiWBX_StableTime_initialize(caller);  // outer + inner + specific come up
  EXPECT_EQ(caller, 3);
  QVLStiWBX_StableTime_initialize(caller);  // only the outer count rises
  EXPECT_EQ(caller, 3);

  int other = 0;
  QVLStiSti_initialize(other);  // inner layer already up: caller untouched
  EXPECT_EQ(other, 0);
  QVLStiWBX_StableTime_specific_initialize(other);
  EXPECT_EQ(other, 0);
  QVLStiWBX_StableTime_specific_finalize(other);
  QVLStiSti_finalize(other);
  EXPECT_EQ(other, 0);

  QVLStiWBX_StableTime_finalize(caller);  // outer count 2 -> 1: nothing
  EXPECT_EQ(caller, 3);
  QVLStiWBX_StableTime_finalize(caller);  // last: outer, specific, inner go down
  EXPECT_EQ(caller, 0);

  // Inner and specific layers alone move the caller's integer by one each.
  QVLStiSti_initialize(caller);
  EXPECT_EQ(caller, 1);
  QVLStiWBX_StableTime_specific_initialize(caller);
  EXPECT_EQ(caller, 2);
  QVLStiWBX_StableTime_specific_finalize(caller);
  QVLStiSti_finalize(caller);
  EXPECT_EQ(caller, 0);

  // A finalize without an initialize makes the count negative; it does not
  // reach zero again by further finalizes, so the caller is never touched.
  QVLStiSti_finalize(caller);
  QVLStiSti_finalize(caller);
  EXPECT_EQ(caller, 0);
  QVLStiSti_initialize(caller);
  QVLStiSti_initialize(caller);  // -2 -> -1 -> 0: no one-time work on either
  EXPECT_EQ(caller, 0);
  QVLStiSti_initialize(caller);  // 0 -> 1: one-time work
  EXPECT_EQ(caller, 1);
}

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
