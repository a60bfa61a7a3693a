// The increment routine on hand-set stage arrays: both branches, the clamps of
// the plane-stress Poisson ratio, the frequency bound and the damping forms.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;

struct Point {
  float lsq = 1.0f, mass = 1.0f, two_g = 1.0f, three_k = 1.0f, wave = 1.0f;
  float freq_a = 0.0f, freq_b = 0.0f;
  int status = 0;
};

float increment(const Point& p, int plane_stress, int freq_flag, float alpha = 0.0f,
                float beta = 0.0f, float bulk_b1 = 0.0f) {
  const int n = 1;
  float freq[2] = {p.freq_a, p.freq_b};
  float out = -1.0f;
  sti_ele_elementdt(&n, &plane_stress, &p.status, &freq_flag, &alpha, &beta, &bulk_b1, &p.lsq,
                    freq, &p.two_g, &p.three_k, &p.wave, &p.mass, &out);
  return out;
}

TEST(ElementDt, WaveBranchTakesTheMagnitudeAndTheLargerLength) {
  Point p;
  p.lsq = 2.0f, p.mass = 3.0f, p.wave = -6.0f;
  EXPECT_EQ(bits(increment(p, 0, 0)), bits(1.0f));
  p.wave = 6.0f, p.freq_a = 8.0f;
  EXPECT_EQ(bits(increment(p, 0, 0)), bits(1.0f)) << "freq_a ignored without freq_flag";
  EXPECT_EQ(bits(increment(p, 0, 1)), bits(2.0f)) << "freq_a 8 beats lsq 2";
}

TEST(ElementDt, PlaneStressModulusAndClamps) {
  // nu = 0.5 (3K = 2G): both ratio estimates are 0 and P = E / (1 - 0) with E = 3K.
  Point p;
  p.two_g = 2.0f, p.three_k = 2.0f, p.lsq = 1.0f, p.mass = 2.0f;
  const float p0 = std::bit_cast<float>(0x3EAAAAABu) * (2.0f * 2.0f + 2.0f * (4.0f - 3.0f / 1.0f));
  EXPECT_EQ(bits(increment(p, 1, 0)), bits(std::sqrt(1.0f * 2.0f / p0)));
  EXPECT_EQ(bits(increment(p, 1, 1)), bits(std::sqrt(1.0f * 2.0f / 2.0f)));

  // nu from 3K = 10, 2G = 1 is 0.5 * 9 / 10.5, above the clamp 0.4.
  Point q;
  q.two_g = 1.0f, q.three_k = 10.0f;
  const float pa = std::bit_cast<float>(0x3EAAAAABu) *
                   (2.0f * 1.0f + 10.0f * (4.0f - 3.0f / (1.0f - 0.4f * 0.4f)));
  EXPECT_EQ(bits(increment(q, 1, 0)), bits(std::sqrt(1.0f / pa)));
  // nu from 3K = 100, 2G = 1 is 0.5 * 99 / 100.5, above the clamp 0.49.
  q.three_k = 100.0f;
  const float pb = 100.0f * (1.0f - 0.49f - 0.49f) / (1.0f - 0.49f * 0.49f);
  EXPECT_EQ(bits(increment(q, 1, 1)), bits(std::sqrt(1.0f / pb)));
}

TEST(ElementDt, FrequencyBoundRaisesTheLengthOnlyWhenLarger) {
  Point p;
  p.two_g = 2.0f, p.three_k = 2.0f, p.lsq = 0.25f;  // nu2 = 0
  p.freq_a = 0.5f, p.freq_b = 0.0f;                  // d = 2 * 0.5 = 1, c = 1
  EXPECT_EQ(bits(increment(p, 1, 1)), bits(std::sqrt(1.0f * 1.0f / 2.0f)));
  p.freq_a = 0.0f;  // d = 0: c = 0 and lsq stands
  EXPECT_EQ(bits(increment(p, 1, 1)), bits(std::sqrt(0.25f * 1.0f / 2.0f)));
  p.freq_a = 8.0f;  // c = 1/16 < lsq
  EXPECT_EQ(bits(increment(p, 1, 1)), bits(std::sqrt(0.25f * 1.0f / 2.0f)));
}

TEST(ElementDt, DampingFormSwitchesAt200) {
  Point p;  // x = 1
  EXPECT_EQ(bits(increment(p, 0, 0, 0.0f, 200.0f)), bits(0.5f / 200.0f));
  const float below = std::nextafter(200.0f, 0.0f);
  EXPECT_EQ(bits(increment(p, 0, 0, 0.0f, below)),
            bits(std::sqrt(1.0f + below * below) - below));
}

TEST(ElementDt, FailedElementsKeepTheirEntry) {
  const int n = 3, zero = 0;
  const float z = 0.0f;
  int status[3] = {0, 6, 0};
  float one[3] = {1, 1, 1}, freq[6] = {};
  float out[3] = {-1, -2, -3};
  sti_ele_elementdt(&n, &zero, status, &zero, &z, &z, &z, one, freq, one, one, one, one, out);
  EXPECT_EQ(out[0], 1.0f);
  EXPECT_EQ(out[1], -2.0f);
  EXPECT_EQ(out[2], 1.0f);
}

TEST(ElementDt, ZeroPlaneStressModulusGivesNan) {
  Point p;
  p.two_g = 1.0f, p.three_k = 0.0f;  // P = 0 in the frequency form: x infinite
  EXPECT_TRUE(std::isnan(increment(p, 1, 1)));
}

}  // namespace
