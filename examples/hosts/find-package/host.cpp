// A C++ host of the installed library: the C entry and the C++ lifecycle
// entries, linked through the imported target StableTime::StableTime.
#include <cstdio>

#include "../truss_check.h"
#include "stabletime/lifecycle.hpp"

int main() {
  // The first initialize brings up the outer, the inner and the specific
  // layer, each of which moves the host's count up by one (0 to 3); the
  // matching finalize takes all three down again.
  int refcount = 0;
  QVLStiWBX_StableTime_initialize(refcount);
  const int after_initialize = refcount;
  QVLStiWBX_StableTime_finalize(refcount);
  std::printf("find_package host: lifecycle count %d after initialize, %d after finalize\n",
              after_initialize, refcount);
  const bool lifecycle_ok = after_initialize == 3 && refcount == 0;
  return truss_check("find_package host") == 0 && lifecycle_ok ? 0 : 1;
}
