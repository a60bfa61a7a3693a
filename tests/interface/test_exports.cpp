// The library exports exactly the export list: every exported name (those
// for Windows only excepted) is visible, and nothing else is.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

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

}  // namespace
