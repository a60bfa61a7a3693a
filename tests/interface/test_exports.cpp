// The library exports exactly the export list: every exported name (those
// for Windows only excepted) is visible, and nothing else is.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace {

std::set<std::string> public_exports() {
  std::ifstream in(STI_EXPORTS_LIST);
  std::set<std::string> names;
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string kind, name;
    fields >> kind >> name;
    if (kind != "windows") names.insert(name);
  }
  return names;
}

// Defined dynamic symbols of the library, demangled, absolute version nodes left out.
std::set<std::string> exported_symbols() {
  const std::string command = std::string("nm -D --defined-only -C '") + STI_LIBRARY_PATH + "'";
  std::set<std::string> names;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return names;
  char buffer[512];
  while (fgets(buffer, sizeof buffer, pipe)) {
    std::string line(buffer);
    if (!line.empty() && line.back() == '\n') line.pop_back();
    // "<address> <type> <name>"
    const auto first = line.find(' ');
    if (first == std::string::npos || first + 3 > line.size()) continue;
    const char type = line[first + 1];
    if (type == 'A') continue;
    names.insert(line.substr(first + 3));
  }
  pclose(pipe);
  return names;
}

TEST(Exports, ExactlyTheExportListIsVisible) {
  const std::set<std::string> expected = public_exports();
  const std::set<std::string> visible = exported_symbols();
  ASSERT_EQ(expected.size(), 49u) << "the export list outside Windows has 49 names";
  for (const std::string& name : expected) EXPECT_TRUE(visible.count(name)) << "missing: " << name;
  for (const std::string& name : visible) EXPECT_TRUE(expected.count(name)) << "extra: " << name;
}

}  // namespace
