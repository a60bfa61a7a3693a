// Shape terms of the plane-stress frequency bound on worked shapes: the
// equilateral triangle, the unit square in its two integrations and a square
// whose last node sits on its first.
#include <gtest/gtest.h>

#include <cmath>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::ulp_distance;

// One element: x1..x4 then y1..y4, the layout of a four-node batch of one.
struct Quad {
  float c[8];
};

TEST(PlaneStressFrequency, EquilateralTriangle) {
  const float h = std::sqrt(3.0f) / 2.0f;
  const Quad q{{0, 1, 0.5f, 0, 0, 0, h, 0}};
  const float area = std::sqrt(3.0f) / 4.0f;
  const float work_b = 1.0f / area;
  float freq[2] = {-1, -1};
  const int n = 1;
  sti_ope_3nodeelempsfreqgeom(&n, q.c, &work_b, freq);
  EXPECT_LE(ulp_distance(freq[0], std::bit_cast<float>(0x3DC5F02Au) * 3.0f / area), 8);
  EXPECT_LE(ulp_distance(freq[1], 0.25f), 8);
}

TEST(PlaneStressFrequency, UnitSquareBothIntegrations) {
  const Quad q{{0, 1, 1, 0, 0, 0, 1, 1}};
  const float one = 1.0f;
  const int n = 1;
  struct Row {
    int full;
    float freq_a, freq_b;
  };
  const Row rows[] = {{0, std::bit_cast<float>(0x3E8B2164u) * 4.0f, 0.25f},
                      {1, std::bit_cast<float>(0x3F855555u), 0.0f}};
  for (const Row& r : rows) {
    float freq[2] = {-1, -1};
    sti_ope_4nodeelempsfreqgeom(&r.full, &n, q.c, &one, &one, freq);
    EXPECT_EQ(bits(freq[0]), bits(r.freq_a)) << r.full;
    EXPECT_EQ(bits(freq[1]), bits(r.freq_b)) << r.full;
  }
}

TEST(PlaneStressFrequency, CollapsedLastEdgeSilencesFullIntegration) {
  // Node 4 on node 1: the last edge counts as the largest float, the height
  // vanishes and freq_a is exactly 0, so the bound never beats lsq.
  const Quad q{{0, 1, 1, 0, 0, 0, 1, 0}};
  const float area = 0.5f, inv = 2.0f;
  const int n = 1, full = 1;
  float freq[2] = {-1, -1};
  sti_ope_4nodeelempsfreqgeom(&full, &n, q.c, &area, &inv, freq);
  EXPECT_EQ(bits(freq[0]), bits(0.0f));
  EXPECT_EQ(bits(freq[1]), bits(0.0f));
}

TEST(PlaneStressFrequency, CollapsedQuadrilateralStaysFinite) {
  const Quad q{{3, 3, 3, 3, 2, 2, 2, 2}};
  const float padded = 1.0f, inv = 0.0f;
  const int n = 1, reduced = 0;
  float freq[2] = {-1, -1};
  sti_ope_4nodeelempsfreqgeom(&reduced, &n, q.c, &padded, &inv, freq);
  EXPECT_EQ(bits(freq[0]), bits(0.0f));
  EXPECT_EQ(bits(freq[1]), bits(0.0f));
}

}  // namespace
