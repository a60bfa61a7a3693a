// Anisotropic elastic families called directly: which constants enter 2G and
// 3K, the clamp at zero of the stiffness forms and its absence in the
// engineering forms, the incompressible Poisson ratio, and the element loop.
#include <gtest/gtest.h>

#include <vector>

#include "material/moduli_call.hpp"
#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::effmodulus;
using sti_test::kOneThird;

struct Row {
  const char* what;
  int code;
  std::vector<float> props;
  float two_g, three_k;  // expected before section and thickness, bit for bit
};

TEST(AnisotropicModuli, ReducedConstants) {
  const std::vector<Row> rows = {
      {"101 all zero", 101, {0, 0, 0, 0, 0, 0, 0, 0, 0}, 0.0f, 0.0f},
      {"101 coupling term D1122 is the largest", 101, {10, 50, 20, 3, 4, 30, 5, 6, 7}, 100.0f,
       kOneThird * 174.0f},
      {"101 shear term D2323 is the largest", 101, {1, 0, 1, 0, 0, 1, 2, 3, 9}, 18.0f, 1.0f},
      {"101 all negative: shear clamped at 0", 101, {-1, -1, -1, -1, -1, -1, -5, -5, -5}, 0.0f,
       kOneThird * -9.0f},
      // (p0 + p2) + p5 and (p1 + p3) + p4: any other grouping loses the 1.
      {"103 partial sums in order", 103,
       {1e8f, 1e8f, -1e8f, -1e8f, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 2e8f,
       kOneThird * (1.0f + 2.0f * 1.0f)},
      {"103 last entry D2323 is the largest", 103,
       {1, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 40}, 80.0f, 1.0f},
      {"103 all negative: clamped at 0", 103,
       {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1},
       0.0f, kOneThird * -9.0f},
      {"102 ordinary", 102, {7, 9, 0.25f, 1, 2, 3}, 6.0f, 18.0f},
      {"102 nu = 0.5: 3K = 2G", 102, {7, 9, 0.5f, 1, 2, 3}, 6.0f, 6.0f},
      {"102 negative shear passes unclamped", 102, {1, 1, 0, -1, -2, -3}, -2.0f, 1.0f},
      {"9001 largest of each kind", 9001, {1, 2, 4, 0.1f, 0.25f, 0.2f, 1, 3, 2}, 6.0f, 8.0f},
      {"9001 largest nu = 0.5: 3K = 2G", 9001, {1, 2, 3, 0.1f, 0.5f, 0.2f, 4, 6, 5}, 12.0f,
       12.0f},
      {"9001 negative constants pass unclamped", 9001, {-1, -2, -3, 0, 0, 0, -1, -1, -1}, -2.0f,
       -1.0f},
  };
  for (const Row& r : rows) {
    const auto out = effmodulus(r.code, r.props);
    const float wave = kOneThird * (r.three_k + 2.0f * r.two_g);
    EXPECT_EQ(bits(out.two_g[0]), bits(r.two_g)) << r.what;
    EXPECT_EQ(bits(out.three_k[0]), bits(r.three_k)) << r.what;
    EXPECT_EQ(bits(out.wave[0]), bits(wave)) << r.what;
    EXPECT_EQ(out.status[0], 0.0f >= wave ? 7 : 0) << r.what;
    EXPECT_EQ(out.plane_stress, 1) << r.what << ": only the tensor forms clear the flag";
  }
}

TEST(AnisotropicModuli, FullStiffnessWithoutCouplingMatchesOrthotropic) {
  const std::vector<float> normal = {5, 1, 6, 2, 3, 7};
  std::vector<float> full = normal;
  full.resize(21, 0.0f);
  std::vector<float> ortho = normal;
  ortho.resize(9, 0.0f);
  const auto a = effmodulus(103, full);
  const auto b = effmodulus(101, ortho);
  EXPECT_EQ(bits(a.two_g[0]), bits(b.two_g[0]));
  EXPECT_EQ(bits(a.three_k[0]), bits(b.three_k[0]));
  EXPECT_EQ(bits(a.wave[0]), bits(b.wave[0]));
}

TEST(AnisotropicModuli, SectionScaleThicknessAndStatuses) {
  // Every family scales by (x * s) * t and marks exactly the elements whose
  // wave modulus is not positive, over any earlier status; others keep theirs.
  sti_test::ModuliBatch batch;
  batch.scale = 3.0f;
  batch.uniaxial = 1;  // read by the isotropic form alone
  batch.thickness = {1.0f, 0.0f, 0.5f, -1.0f};
  batch.status = {sti_test::kPriorStatus, sti_test::kPriorStatus, 0, 0};
  const std::vector<std::pair<int, std::vector<float>>> materials = {
      {101, {1, 0, 1, 0, 0, 1, 2, 3, 4}},
      {103, {1, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 3, 4}},
      {102, {7, 9, 0.25f, 1, 2, 4}},
      {9001, {1, 2, 9, 0.1f, 0.25f, 0.2f, 1, 3, 4}},
  };
  for (const auto& [code, props] : materials) {
    const auto one = effmodulus(code, props);
    const auto out = effmodulus(code, props, batch);
    for (std::size_t e = 0; e < batch.thickness.size(); ++e) {
      const float t = batch.thickness[e];
      const float g2 = one.two_g[0] * 3.0f * t;
      const float k3 = one.three_k[0] * 3.0f * t;
      EXPECT_EQ(bits(out.two_g[e]), bits(g2)) << code << " element " << e;
      EXPECT_EQ(bits(out.three_k[e]), bits(k3)) << code << " element " << e;
      EXPECT_EQ(bits(out.wave[e]), bits(kOneThird * (k3 + 2.0f * g2))) << code;
    }
    EXPECT_EQ(out.status, (std::vector<int>{sti_test::kPriorStatus, 7, 0, 7})) << code;
  }
}

TEST(AnisotropicModuli, UnknownCodesFailTheBatchAndWriteNothing) {
  sti_test::ModuliBatch batch;
  batch.thickness = {1.0f, 2.0f, 3.0f};
  for (int code : {0, 99, 104, 106, 108, 110, 117, 120, 124, 127, 9000, 9002, -101}) {
    const auto out = effmodulus(code, {1, 0, 1, 0, 0, 1, 1, 1, 1}, batch);
    EXPECT_EQ(out.status, (std::vector<int>{8, 8, 8})) << code;
    EXPECT_EQ(out.plane_stress, 1) << code;
    for (int e = 0; e < 3; ++e) {
      EXPECT_EQ(bits(out.two_g[e]), bits(sti_test::kUnwritten)) << code;
      EXPECT_EQ(bits(out.three_k[e]), bits(sti_test::kUnwritten)) << code;
      EXPECT_EQ(bits(out.wave[e]), bits(sti_test::kUnwritten)) << code;
    }
  }
}

TEST(AnisotropicModuli, EmptyBatchTouchesNothing) {
  int n = 0, ndim = 3, status = 5, code = 126, flag = 1, uniaxial = 0;
  float scale = 1.0f, thickness = 1.0f, g = -1.0f, k = -1.0f, w = -1.0f;
  const float props[6] = {1, 2, 3, 4, 5, 6};
  sti_ele_effmodulus(&n, &ndim, &status, &code, &flag, &uniaxial, &scale, &thickness, &g, &k, &w,
                     props);
  EXPECT_EQ(status, 5);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(w, -1.0f);
}

}  // namespace
