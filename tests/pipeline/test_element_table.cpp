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
#include <vector>

#include "interface/well_shaped.hpp"
#include "pipeline/element_table.hpp"

namespace {

// The captures of each match of `pattern` in the source file, from `begin` up
// to the next `end`, joined by blanks.
std::vector<std::string> matches(const std::string& relative, const std::string& begin,
                                 const std::string& end, const std::string& pattern) {
  std::ifstream in(std::string(STI_SOURCE_DIR) + "/" + relative);
  std::stringstream text;
  text << in.rdbuf();
  const std::string source = text.str();
  const std::size_t from = source.find(begin);
  EXPECT_NE(from, std::string::npos) << relative;
  const std::string part = source.substr(from, source.find(end, from) - from);
  std::vector<std::string> found;
  const std::regex re(pattern);
  for (auto it = std::sregex_iterator(part.begin(), part.end(), re); it != std::sregex_iterator(); ++it)
    found.push_back(it->size() > 2 ? (*it)[1].str() + " " + (*it)[2].str() : (*it)[1].str());
  return found;
}

TEST(ElementTable, OtherListsNameTheTableRows) {
  std::vector<std::string> names, with_counts;
  for (const auto& row : sti::pipeline::kElementTypes) {
    names.emplace_back(row.name);
    with_counts.push_back(std::string(row.name) + " " + std::to_string(row.node_count));
  }
  EXPECT_EQ(matches("fuzz/fuzz_stable_time.cpp", "kNames[] = {", "};", "\"([A-Z0-9]+)\""), names);
  EXPECT_EQ(matches("python/stabletime/catalogue.py", "NODE_COUNT = {", "}",
                    "\"([A-Z0-9]+)\": *([0-9]+)"),
            with_counts);
  // The test catalogue keeps its own order (by family): compare the sets.
  std::vector<std::string> tests = sti_test::catalogue_names();
  std::sort(tests.begin(), tests.end());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(tests, names);
}

}  // namespace
