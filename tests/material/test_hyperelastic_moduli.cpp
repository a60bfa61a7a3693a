// Hyperelastic families called directly: the initial moduli, where D1 is read
// for a given term count, truncation of the count, the compressibility rule
// with its guard, the foam's per-term bulk part and the Langevin series.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "material/moduli_call.hpp"
#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::effmodulus;
using sti_test::kOneThird;
using sti_test::kSmallestNormal;

constexpr float kX = 99.0f;  // an entry that must not be read

struct Row {
  const char* what;
  int code;
  std::vector<float> props;
  float two_g, three_k;  // expected before section and thickness, bit for bit
};

TEST(HyperelasticModuli, ReducedConstants) {
  const float third2 = 2.0f * 1.0f * (kOneThird + 0.0f);      // one foam term mu 1, nu 0
  const float quarter = 2.0f * 2.0f * (kOneThird + 0.5f);     // mu 2, nu 0.25: beta 0.5
  const std::vector<Row> rows = {
      {"105 D1 = 0: K0 = 20 G0", 105, {1, 1.5f, 0.25f, 0}, 7.0f, 210.0f},
      {"105 N = 1 reads D1 at 3", 105, {1, 1, 0.5f, 0.5f, kX, kX}, 6.0f, 12.0f},
      {"105 N = 2 reads D1 at 5", 105, {2, 1, 0.5f, kX, kX, 0.5f}, 6.0f, 12.0f},
      {"105 N = 2.9 truncates to 2", 105, {2.9f, 1, 0.5f, kX, kX, 0.5f}, 6.0f, 12.0f},
      {"105 N = 0 reads D1 at 1, which is C10", 105, {0, 0.5f, 0.25f}, 3.0f, 12.0f},
      {"105 N = -0.5 truncates to 0", 105, {-0.5f, 0.5f, 0.25f}, 3.0f, 12.0f},
      {"105 negative D1 counts as incompressible", 105, {1, 1, 0, -2}, 4.0f, 120.0f},
      {"105 D1 at the smallest normal is incompressible", 105, {1, 1, 0, kSmallestNormal}, 4.0f,
       120.0f},
      {"107 N = 2 sums two terms, D1 at 5", 107, {2, 1, kX, 2, kX, 0.5f}, 6.0f, 12.0f},
      {"107 N = 2.9 truncates to 2", 107, {2.9f, 1, kX, 2, kX, 0.5f, kX}, 6.0f, 12.0f},
      {"107 N = 0: G0 = 0, D1 = 0 at 1", 107, {0, 0}, 0.0f, 0.0f},
      {"107 N = 0 with D1 = 0.5 at 1", 107, {0, 0.5f}, 0.0f, 12.0f},
      {"107 D1 = 0: K0 = 20 G0", 107, {1, 3, kX, 0}, 6.0f, 180.0f},
      {"109 one term mu 1, nu 0", 109, {1, 1, kX, 0}, 2.0f, 3.0f * third2},
      {"109 nu = 0.5 gives beta 0, not infinity", 109, {1, 1, kX, 0.5f}, 2.0f, 3.0f * third2},
      {"109 nu above 0.5 gives beta 0", 109, {1, 1, kX, 0.75f}, 2.0f, 3.0f * third2},
      {"109 N = 2.9: two terms, nu at 5 and 6", 109, {2.9f, 1, kX, 2, kX, 0, 0.25f}, 6.0f,
       3.0f * (third2 + quarter)},
      {"109 N = 0: empty sums", 109, {0, kX, kX}, 0.0f, 0.0f},
      {"109 N = -3: empty sums", 109, {-3, kX, kX}, 0.0f, 0.0f},
      {"118 no locking stretch: G0 = mu", 118, {kX, 2, 0, 0.5f}, 4.0f, 12.0f},
      {"118 negative locking stretch: G0 = mu", 118, {kX, 2, -3, 0}, 4.0f, 120.0f},
      {"119 reads mu at 1 and D at 5", 119, {kX, 3, kX, kX, kX, 0.5f}, 6.0f, 12.0f},
      {"119 D = 0: K0 = 20 G0", 119, {kX, 3, kX, kX, kX, 0}, 6.0f, 180.0f},
  };
  for (const Row& r : rows) {
    const auto out = effmodulus(r.code, r.props);
    const float wave = kOneThird * (r.three_k + 2.0f * r.two_g);
    EXPECT_EQ(bits(out.two_g[0]), bits(r.two_g)) << r.what;
    EXPECT_EQ(bits(out.three_k[0]), bits(r.three_k)) << r.what;
    EXPECT_EQ(bits(out.wave[0]), bits(wave)) << r.what;
    EXPECT_EQ(out.status[0], 0.0f >= wave ? 7 : 0) << r.what;
    EXPECT_EQ(out.plane_stress, 1) << r.what;
  }
}

// The series 1 + 3/5 q + 99/175 q^2 + 513/875 q^3 + 42039/67375 q^4 with
// q = 1 / lambda_m^2, evaluated in double from its exact coefficients: the
// single precision result may differ by the rounding of its four coefficients
// and of about ten operations, a few ulp.
TEST(HyperelasticModuli, LockingStretchFollowsTheInverseLangevinSeries) {
  for (float lambda_m : {1.0f, 1.5f, 2.0f, 3.0f, 7.0f, 40.0f}) {
    const double q = 1.0 / (double{lambda_m} * lambda_m);
    const double series =
        1.0 + q * (3.0 / 5 + q * (99.0 / 175 + q * (513.0 / 875 + q * (42039.0 / 67375))));
    const float mu = 1.25f;
    const auto out = effmodulus(118, {kX, mu, lambda_m, 1.0f});
    EXPECT_LE(sti_test::ulp_distance(out.two_g[0], static_cast<float>(2.0 * mu * series)), 4)
        << "lambda_m " << lambda_m;
    EXPECT_EQ(bits(out.three_k[0]), bits(6.0f)) << "K0 = 2 / D";
  }
}

TEST(HyperelasticModuli, CompressibilityGuardIsNonStrict) {
  // Just above the smallest normal float D is used: K0 = 2 / D.
  const float d = std::nextafter(kSmallestNormal, 1.0f);
  const auto out = effmodulus(119, {kX, 1e-30f, kX, kX, kX, d});
  EXPECT_EQ(bits(out.three_k[0]), bits(3.0f * (2.0f / d)));
}

TEST(HyperelasticModuli, NegativeTermCountRejectsPolynomialAndOgdenForms) {
  // D1 would stand before the first entry; the batch is refused like an
  // unknown code, and nothing is written.
  sti_test::ModuliBatch batch;
  batch.thickness = {1.0f, 1.0f};
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (int code : {105, 107}) {
    for (float count : {-1.0f, -1.5f, -1000.0f, nan, 3e9f, -3e9f}) {
      const auto out = effmodulus(code, {count, 1, 1, 1, 1, 1}, batch);
      EXPECT_EQ(out.status, (std::vector<int>{8, 8})) << code << " count " << count;
      EXPECT_EQ(bits(out.wave[0]), bits(sti_test::kUnwritten)) << code << " count " << count;
      EXPECT_EQ(bits(out.two_g[1]), bits(sti_test::kUnwritten)) << code << " count " << count;
    }
  }
}

TEST(HyperelasticModuli, ThicknessZeroFailsOnlyThatElement) {
  sti_test::ModuliBatch batch;
  batch.scale = 2.0f;
  batch.thickness = {1.0f, 0.0f, 4.0f};
  for (int code : {105, 107, 109, 118, 119}) {
    const auto out = effmodulus(code, {1, 1, 0.5f, 0.5f, 0.5f, 0.5f}, batch);
    EXPECT_EQ(out.status, (std::vector<int>{0, 7, 0})) << code;
    EXPECT_EQ(bits(out.two_g[2]), bits(out.two_g[0] * 4.0f)) << code;
    EXPECT_EQ(bits(out.wave[1]), bits(0.0f)) << code;
  }
}

}  // namespace
