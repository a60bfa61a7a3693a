// Modulus tensor families called directly: the largest principal value and
// its end cases, the common ending by magnitude with status 7, the cleared
// plane-stress flag, and the outputs and scales these forms leave alone. A
// property test compares the closed form with Jacobi rotations in double.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "material/moduli_call.hpp"
#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::effmodulus;

struct Row {
  const char* what;
  int code, ndim;
  std::vector<float> props;
  float w;        // expected principal value, bit for bit
  bool rejected;  // status 7 for every element
};

TEST(TensorModuli, WorkedValues) {
  const std::vector<Row> rows = {
      {"125 largest diagonal value", 125, 3, {3, 5, 4}, 5.0f, false},
      {"125 negative diagonal: largest is -1", 125, 3, {-1, -2, -3}, -1.0f, true},
      {"125 2D, 3 and 1", 125, 2, {3, 1}, 3.0f, false},
      {"125 2D, both negative: a magnitude", 125, 2, {-3, -1}, 3.0f, false},
      {"125 2D, zero", 125, 2, {0, 0}, 0.0f, true},
      {"126 all zero: diagonal, w = 0", 126, 3, {0, 0, 0, 0, 0, 0}, 0.0f, true},
      {"126 diagonal 1, 2, -3: largest, not largest magnitude", 126, 3, {1, 2, -3, 0, 0, 0},
       2.0f, false},
      {"126 diagonal with negative zero couplings", 126, 3, {1, 2, -3, -0.0f, -0.0f, -0.0f},
       2.0f, false},
      // Eigenvalues 3, 0, 0: h = 1 exactly, w = r + m.
      {"126 all ones: h = 1", 126, 3, {1, 1, 1, 1, 1, 1}, 3.0f, false},
      // Eigenvalues 1, -2, -2: h = 1 takes r + m = 1, not the magnitude 2.
      {"126 h = 1 keeps the sign", 126, 3, {-1, -1, -1, 1, 1, 1}, 1.0f, false},
      // Eigenvalues -3, 0, 0: h = -1 takes m + r / 2 = 0, not the magnitude 3.
      {"126 h = -1 keeps the sign", 126, 3, {-1, -1, -1, -1, -1, -1}, 0.0f, true},
      {"126 2D, entry 2 is A12", 126, 2, {0, 0, 2}, 2.0f, false},
      {"126 2D, mean and radius", 126, 2, {2, 2, -1}, 3.0f, false},
      {"126 2D, negative definite: a magnitude", 126, 2, {-2, -2, 1}, 3.0f, false},
  };
  for (const Row& r : rows) {
    sti_test::ModuliBatch batch;
    batch.ndim = r.ndim;
    batch.thickness = {1.0f, 2.0f};
    batch.status = {0, sti_test::kPriorStatus};
    const auto out = effmodulus(r.code, r.props, batch);
    EXPECT_EQ(bits(out.wave[0]), bits(std::fabs(r.w))) << r.what;
    EXPECT_EQ(bits(out.wave[1]), bits(std::fabs(r.w) * 2.0f)) << r.what;
    const std::vector<int> status =
        r.rejected ? std::vector<int>{7, 7} : std::vector<int>{0, sti_test::kPriorStatus};
    EXPECT_EQ(out.status, status) << r.what;
  }
}

TEST(TensorModuli, PrincipalValuesTwoOneZero) {
  // A11 = A22 = A33 = 1 and A12 = 1: principal values 2, 1, 0 through the
  // trigonometric form (h = 0); single precision puts w within a few ulp of 2.
  const auto out = effmodulus(126, {1, 1, 1, 1, 0, 0});
  EXPECT_LE(sti_test::ulp_distance(out.wave[0], 2.0f), 4);
  EXPECT_EQ(out.status[0], 0);
}

TEST(TensorModuli, ClearFlagWriteOnlyWaveIgnoreScales) {
  for (int code : {125, 126}) {
    for (int ndim : {2, 3}) {
      sti_test::ModuliBatch batch;
      batch.ndim = ndim;
      batch.scale = 5.0f;   // the section scale does not enter
      batch.uniaxial = 1;   // nor does the line-element flag
      batch.thickness = {1.0f, 0.0f, 3.0f};
      const auto out = effmodulus(code, {4, 4, 0, 0, 0, 0}, batch);
      EXPECT_EQ(out.plane_stress, 0) << code << " ndim " << ndim;
      EXPECT_EQ(bits(out.wave[0]), bits(4.0f)) << code << " ndim " << ndim;
      EXPECT_EQ(bits(out.wave[2]), bits(12.0f)) << code << " ndim " << ndim;
      // A zero thickness zeroes the modulus but sets no status here.
      EXPECT_EQ(bits(out.wave[1]), bits(0.0f)) << code << " ndim " << ndim;
      EXPECT_EQ(out.status, (std::vector<int>{0, 0, 0})) << code << " ndim " << ndim;
      for (int e = 0; e < 3; ++e) {
        EXPECT_EQ(bits(out.two_g[e]), bits(sti_test::kUnwritten)) << code;
        EXPECT_EQ(bits(out.three_k[e]), bits(sti_test::kUnwritten)) << code;
      }
    }
  }
}

// Eigenvalues of a symmetric 3x3 matrix by cyclic Jacobi rotations in double.
std::array<double, 3> jacobi_eigenvalues(std::array<std::array<double, 3>, 3> a) {
  for (int sweep = 0; sweep < 50; ++sweep) {
    const double off = a[0][1] * a[0][1] + a[0][2] * a[0][2] + a[1][2] * a[1][2];
    if (off < 1e-40) break;
    for (int p = 0; p < 2; ++p) {
      for (int q = p + 1; q < 3; ++q) {
        if (a[p][q] == 0.0) continue;
        const double theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
        const double t = (theta >= 0 ? 1.0 : -1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
        const double c = 1.0 / std::sqrt(t * t + 1), s = t * c;
        for (int k = 0; k < 3; ++k) {  // columns p, q
          const double akp = a[k][p], akq = a[k][q];
          a[k][p] = c * akp - s * akq;
          a[k][q] = s * akp + c * akq;
        }
        for (int k = 0; k < 3; ++k) {  // rows p, q
          const double apk = a[p][k], aqk = a[q][k];
          a[p][k] = c * apk - s * aqk;
          a[q][k] = s * apk + c * aqk;
        }
      }
    }
  }
  return {a[0][0], a[1][1], a[2][2]};
}

// Random symmetric tensors with entries in [-1, 1] and a random scale. In the
// generic case, where no two principal values come close (gap at least a tenth
// of the spread), the arccosine is well conditioned and the closed form carries
// only the rounding of some twenty single precision operations on numbers of
// the size of the largest principal value, plus acos and cos (correctly rounded,
// half an ulp each): within 16 ulp of that value. Close principal values make the
// arccosine amplify rounding of h by 1 / sqrt(1 - h^2), and the end cases
// h >= 1, h <= -1 deliberately return the largest signed value, so those
// tensors are left out.
TEST(TensorModuli, LargestMagnitudeEigenvalueOfRandomTensors) {
  std::mt19937 rng(20261122u);
  std::uniform_real_distribution<float> entry(-1.0f, 1.0f);
  std::uniform_int_distribution<int> exponent(-20, 20);
  int generic = 0;
  std::int64_t worst = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    const float scale = std::ldexp(1.0f, exponent(rng));
    std::array<float, 6> t;
    for (float& v : t) v = entry(rng) * scale;
    const auto lambda = jacobi_eigenvalues({{{t[0], t[3], t[4]}, {t[3], t[1], t[5]},
                                             {t[4], t[5], t[2]}}});
    double lo = std::min({lambda[0], lambda[1], lambda[2]});
    double hi = std::max({lambda[0], lambda[1], lambda[2]});
    double gap = std::min({std::fabs(lambda[0] - lambda[1]), std::fabs(lambda[0] - lambda[2]),
                           std::fabs(lambda[1] - lambda[2])});
    if (gap < 0.1 * (hi - lo)) continue;
    ++generic;
    const double expected = std::max(std::fabs(lo), std::fabs(hi));
    const auto out = effmodulus(126, {t[0], t[1], t[2], t[3], t[4], t[5]});
    const std::int64_t d = sti_test::ulp_distance(out.wave[0], static_cast<float>(expected));
    worst = std::max(worst, d);
    EXPECT_LE(d, 16) << "trial " << trial;
    EXPECT_EQ(out.status[0], 0);
  }
  EXPECT_GT(generic, 10000);
  RecordProperty("worst_ulp", static_cast<int>(worst));
}

}  // namespace
