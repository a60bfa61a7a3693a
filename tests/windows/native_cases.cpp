// Runs the element cases of the Windows check through the native library and
// writes the results to the file named on the command line.
#include <cstdio>

#include "cases.hpp"
#include "stabletime/stabletime.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s RESULTS_FILE\n", argv[0]);
    return 2;
  }
  std::FILE* out = std::fopen(argv[1], "w");
  if (!out) {
    std::fprintf(stderr, "cannot write %s\n", argv[1]);
    return 2;
  }
  const int count = sti_windows::write_case_results(&sti_StableTime, out);
  if (std::fclose(out) != 0) return 2;
  std::printf("%d element cases written to %s\n", count, argv[1]);
  return 0;
}
