// Lifecycle counters: each layer moves the caller's integer only on its own
// first initialize and last finalize; the outer layer brings the inner and
// specific layers with it.
#include <gtest/gtest.h>

#include "stabletime/lifecycle.hpp"

namespace {

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

}  // namespace
