// The hexahedron operator on a collapsed element, whose pad of 1 must join the
// sum of squares after its 24 terms.
#include <gtest/gtest.h>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

TEST(Hexahedron, PadJoinsTheSumOfSquaresLast) {
  // A flat square of side 1/32, corners 5 to 8 on corners 1 to 4: volume 0,
  // status 1, pad 1. Only the z gradient survives, (1/32)^2 / 4 = 2^-12 in
  // size at every corner, so the 24 squares sum to 8 * 2^-24 = 2^-21 exactly
  // and S = 1 + 2^-21. Added to the pad one at a time, each 2^-24 is lost.
  const float s = 1.0f / 32.0f;
  const float sq[4][3] = {{0, 0, 0}, {s, 0, 0}, {s, s, 0}, {0, s, 0}};
  float coords[24];  // node k component c at k + 8 c
  for (int k = 0; k < 8; ++k)
    for (int c = 0; c < 3; ++c) coords[k + 8 * c] = sq[k % 4][c];
  const int n = 1;
  int status = 0;
  float work_a = -1.0f, work_b = -1.0f, mass = -1.0f, lsq = -1.0f;
  const float density = 1.0f;
  sti_ope_c3dh8geom(&n, &status, coords, &work_a, &work_b, &mass, &density, &lsq);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(sti_test::bits(work_a), sti_test::bits(1.0f));
  EXPECT_EQ(sti_test::bits(lsq), sti_test::bits(0.5f / (1.0f + 0x1p-21f)));
}

}  // namespace
