// The element table is the one owner of the element names. The lists kept
// elsewhere on purpose (the test catalogue, the fuzz target's own copy, which
// serves it as an independent oracle, and the Python package's node counts)
// must name the same types, in the same order where they keep one.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "interface/well_shaped.hpp"
#include "pipeline/element_table.hpp"

namespace {

std::string read_source(const std::string& relative) {
  std::ifstream in(std::string(STI_SOURCE_DIR) + "/" + relative);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> table_names() {
  std::vector<std::string> names;
  for (const auto& row : sti::pipeline::kElementTypes) names.emplace_back(row.name);
  return names;
}

TEST(ElementTable, TestCatalogueNamesTheTableRows) {
  // The test catalogue keeps its own order (by family); compare the sets.
  std::vector<std::string> tests = sti_test::catalogue_names(), table = table_names();
  std::sort(tests.begin(), tests.end());
  std::sort(table.begin(), table.end());
  EXPECT_EQ(tests, table);
}

TEST(ElementTable, FuzzTargetNamesTheTableRows) {
  const std::string source = read_source("fuzz/fuzz_stable_time.cpp");
  const std::size_t begin = source.find("kNames[] = {");
  ASSERT_NE(begin, std::string::npos);
  const std::size_t end = source.find("};", begin);
  const std::string list = source.substr(begin, end - begin);
  std::vector<std::string> names;
  const std::regex quoted("\"([A-Z0-9]+)\"");
  for (auto it = std::sregex_iterator(list.begin(), list.end(), quoted);
       it != std::sregex_iterator(); ++it)
    names.push_back((*it)[1]);
  EXPECT_EQ(names, table_names());
}

TEST(ElementTable, PythonPackageHasEveryNameWithItsNodeCount) {
  const std::string source = read_source("python/stabletime/catalogue.py");
  const std::size_t begin = source.find("NODE_COUNT = {");
  ASSERT_NE(begin, std::string::npos);
  const std::size_t end = source.find('}', begin);
  const std::string dict = source.substr(begin, end - begin);
  std::vector<std::pair<std::string, int>> entries;
  const std::regex entry("\"([A-Z0-9]+)\": *([0-9]+)");
  for (auto it = std::sregex_iterator(dict.begin(), dict.end(), entry);
       it != std::sregex_iterator(); ++it)
    entries.emplace_back((*it)[1], std::stoi((*it)[2]));
  std::vector<std::pair<std::string, int>> expected;
  for (const auto& row : sti::pipeline::kElementTypes)
    expected.emplace_back(row.name, row.node_count);
  EXPECT_EQ(entries, expected);
}

}  // namespace
