// The library's own single-precision exponential, arccosine and cosine,
// correctly rounded (to nearest, ties to even) for every float input. A
// platform's libm may be off by one unit in the last place on some inputs, and
// not on the same inputs as another platform's; with these three functions a
// model gives the same bits on every platform.
//
// Each function evaluates in double with a relative error of a few units of
// the double's last place, using only + - * / and sqrt in a fixed order (no
// fused multiply-add, no library calls, no long double), then rounds to float.
// Where the double result lies so close to a rounding boundary of float that
// its error could decide the rounding, a short table of the inputs on which
// that rounding is wrong gives the result instead. The tables and the claim
// come from an exhaustive check over every float input against a reference of
// higher precision (tests/exhaustive/check_correct_rounding.cpp).
//
// NaN inputs give the same NaN with the quiet bit set; inputs outside the
// domain (acos of |x| > 1, cos of an infinity) give the quiet NaN 0x7FC00000.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace sti::cr {

namespace detail {

// Nearest integer of |v| < 2^51, ties to even.
inline double round_to_integer(double v) { return (v + 0x1.8p52) - 0x1.8p52; }

// 2^k for -1022 <= k <= 1023, from its bits.
inline double power_of_two(int k) {
  return std::bit_cast<double>(static_cast<std::uint64_t>(k + 1023) << 52);
}

inline float quiet(float x) {
  return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) | 0x00400000u);
}
inline float undefined_result() { return std::bit_cast<float>(0x7FC00000u); }

// s + e = a + b exactly.
inline void two_sum(double a, double b, double& s, double& e) {
  s = a + b;
  const double bb = s - a;
  e = (a - (s - bb)) + (b - bb);
}

// p + e = a * b exactly (Dekker's product, with Veltkamp's split).
inline void split(double a, double& hi, double& lo) {
  const double c = 134217729.0 * a;  // 2^27 + 1
  hi = c - (c - a);
  lo = a - hi;
}
inline void two_product(double a, double b, double& p, double& e) {
  p = a * b;
  double ah, al, bh, bl;
  split(a, ah, al);
  split(b, bh, bl);
  e = (((ah * bh - p) + ah * bl) + al * bh) + al * bl;
}

// An input on which the double evaluation, rounded to float, is not the
// correctly rounded result, and that result.
struct Exception {
  std::uint32_t input, result;
};

// Whether a double y in the normal range of float lies within 32 of its units
// in the last place (2^-48 of its magnitude, well above the evaluation error)
// of a midpoint between two neighbouring floats: the 29 bits that the rounding
// to float drops, against half.
inline bool near_midpoint_normal(double y) {
  const std::uint64_t dropped = std::bit_cast<std::uint64_t>(y) & 0x1FFFFFFFu;
  return dropped - (0x10000000u - 32u) <= 64u;
}

// The same test anywhere: below the least normal float the grid is 2^-149.
inline bool near_midpoint(double y) {
  const double a = y < 0.0 ? -y : y;
  if (a >= 0x1p-126) return near_midpoint_normal(a);
  const double z = a * 0x1p149;
  const double fraction = z - round_to_integer(z);
  const double from_half = 0.5 - (fraction < 0.0 ? -fraction : fraction);
  return from_half <= z * 0x1p-48;
}

// y rounded to float, unless it lies near a midpoint and the input is in the table.
template <std::size_t N>
inline float round_checked(double y, std::uint32_t input, const std::array<Exception, N>& table) {
  if (near_midpoint(y)) {
    for (const Exception& e : table) {
      if (e.input == input) return std::bit_cast<float>(e.result);
    }
  }
  return static_cast<float>(y);
}

// --- exp ---------------------------------------------------------------------

// 2^(j/64), j = 0..63.
inline constexpr double kExp2Table[64] = {
    0x1.0000000000000p+0, 0x1.02c9a3e778061p+0, 0x1.059b0d3158574p+0, 0x1.0874518759bc8p+0,
    0x1.0b5586cf9890fp+0, 0x1.0e3ec32d3d1a2p+0, 0x1.11301d0125b51p+0, 0x1.1429aaea92de0p+0,
    0x1.172b83c7d517bp+0, 0x1.1a35beb6fcb75p+0, 0x1.1d4873168b9aap+0, 0x1.2063b88628cd6p+0,
    0x1.2387a6e756238p+0, 0x1.26b4565e27cddp+0, 0x1.29e9df51fdee1p+0, 0x1.2d285a6e4030bp+0,
    0x1.306fe0a31b715p+0, 0x1.33c08b26416ffp+0, 0x1.371a7373aa9cbp+0, 0x1.3a7db34e59ff7p+0,
    0x1.3dea64c123422p+0, 0x1.4160a21f72e2ap+0, 0x1.44e086061892dp+0, 0x1.486a2b5c13cd0p+0,
    0x1.4bfdad5362a27p+0, 0x1.4f9b2769d2ca7p+0, 0x1.5342b569d4f82p+0, 0x1.56f4736b527dap+0,
    0x1.5ab07dd485429p+0, 0x1.5e76f15ad2148p+0, 0x1.6247eb03a5585p+0, 0x1.6623882552225p+0,
    0x1.6a09e667f3bcdp+0, 0x1.6dfb23c651a2fp+0, 0x1.71f75e8ec5f74p+0, 0x1.75feb564267c9p+0,
    0x1.7a11473eb0187p+0, 0x1.7e2f336cf4e62p+0, 0x1.82589994cce13p+0, 0x1.868d99b4492edp+0,
    0x1.8ace5422aa0dbp+0, 0x1.8f1ae99157736p+0, 0x1.93737b0cdc5e5p+0, 0x1.97d829fde4e50p+0,
    0x1.9c49182a3f090p+0, 0x1.a0c667b5de565p+0, 0x1.a5503b23e255dp+0, 0x1.a9e6b5579fdbfp+0,
    0x1.ae89f995ad3adp+0, 0x1.b33a2b84f15fbp+0, 0x1.b7f76f2fb5e47p+0, 0x1.bcc1e904bc1d2p+0,
    0x1.c199bdd85529cp+0, 0x1.c67f12e57d14bp+0, 0x1.cb720dcef9069p+0, 0x1.d072d4a07897cp+0,
    0x1.d5818dcfba487p+0, 0x1.da9e603db3285p+0, 0x1.dfc97337b9b5fp+0, 0x1.e502ee78b3ff6p+0,
    0x1.ea4afa2a490dap+0, 0x1.efa1bee615a27p+0, 0x1.f50765b6e4540p+0, 0x1.fa7c1819e90d8p+0,
};
// 64/ln(2) = hi + lo, hi with 29 significant bits so that x hi is exact for a float x.
inline constexpr double kSixtyFourOverLn2Hi = 0x1.7154765000000p+6;
inline constexpr double kSixtyFourOverLn2Lo = 0x1.5c17f0bbbe880p-25;
// (ln(2)/64)^k / k!, k = 1..5.
inline constexpr double kExpSeries[5] = {0x1.62e42fefa39efp-7, 0x1.ebfbdff82c58fp-15,
                                         0x1.c6b08d704a0c0p-23, 0x1.3b2ab6fba4e77p-31,
                                         0x1.5d87fe78a6731p-40};

// e^x for |x| < 104 in double, with a relative error below 2^-52.
inline double exp_double(float x) {
  // x 64/ln(2) = k + u with k an integer and |u| <= 1/2 (a little more from
  // the rounding): x times the leading bits of 64/ln(2) is exact, and k is
  // read from the low bits of the shifted sum that rounds it.
  const double xd = x;
  const double scaled = xd * kSixtyFourOverLn2Hi;
  const double shifted = scaled + 0x1.8p52;
  const int k = static_cast<int>(static_cast<std::int32_t>(std::bit_cast<std::uint64_t>(shifted)));
  const double u = (scaled - (shifted - 0x1.8p52)) + xd * kSixtyFourOverLn2Lo;
  // e^x = 2^(k/64) e^(u ln(2)/64) = 2^(k div 64) 2^((k mod 64)/64) (1 + q), with
  // q the Taylor series to degree 5 (remainder below 2^-54), in Estrin's order.
  const double u2 = u * u;
  const double q = u * ((kExpSeries[0] + u * kExpSeries[1]) +
                        u2 * ((kExpSeries[2] + u * kExpSeries[3]) + u2 * kExpSeries[4]));
  // The power of two enters the exponent field: no result here is subnormal in double.
  const std::uint64_t scale = static_cast<std::uint64_t>(static_cast<std::int64_t>(k >> 6)) << 52;
  const double t = std::bit_cast<double>(std::bit_cast<std::uint64_t>(kExp2Table[k & 63]) + scale);
  return t + t * q;
}

inline constexpr std::array<Exception, 0> kExpExceptions{};

// --- acos --------------------------------------------------------------------

// asin(s) = s + s * t * sum c[n] t^n with t = s^2; c[n] = (2n+2)! / (4^(n+1)
// ((n+1)!)^2 (2n+3)). 27 terms leave a remainder below 2^-60 for |s| <= 1/2.
inline constexpr double kAsinSeries[27] = {
    0x1.5555555555555p-3, 0x1.3333333333333p-4, 0x1.6db6db6db6db7p-5, 0x1.f1c71c71c71c7p-6,
    0x1.6e8ba2e8ba2e9p-6, 0x1.1c4ec4ec4ec4fp-6, 0x1.c99999999999ap-7, 0x1.7a87878787878p-7,
    0x1.3fde50d79435ep-7, 0x1.12ef3cf3cf3cfp-7, 0x1.df3bd37a6f4dfp-8, 0x1.a6863d70a3d71p-8,
    0x1.782dda12f684cp-8, 0x1.51ba308d3dcb1p-8, 0x1.31683bdef7bdfp-8, 0x1.15ee9d45d1746p-8,
    0x1.fcaf8fb6db6dbp-9, 0x1.d3d2a8e0dd67dp-9, 0x1.b026f57b13b14p-9, 0x1.90cb77f60c7cep-9,
    0x1.750de64d7d05fp-9, 0x1.5c5f56efaaaabp-9, 0x1.464c0950f7d47p-9, 0x1.3275586c5f2f0p-9,
    0x1.208d3570ae5a6p-9, 0x1.1052bc5fa960ap-9, 0x1.018f963c229bfp-9,
};
inline constexpr double kPiOver2Hi = 0x1.921fb54442d18p+0;
inline constexpr double kPiOver2Lo = 0x1.1a62633145c07p-54;
inline constexpr double kPiHi = 0x1.921fb54442d18p+1;
inline constexpr double kPiLo = 0x1.1a62633145c07p-53;

inline double asin_series(double s) {  // |s| <= 1/2
  const double t = s * s;
  double p = kAsinSeries[26];
  for (int n = 25; n >= 0; --n) p = kAsinSeries[n] + t * p;
  return s + s * (t * p);
}

inline constexpr std::array<Exception, 2> kAcosExceptions{{
    {0x328885A3u, 0x3FC90FDBu},  // 0x1.110b46p-26
    {0x39826222u, 0x3FC907B5u},  // 0x1.04c444p-12
}};

// --- cos ---------------------------------------------------------------------

// 2/pi in 24-bit words: 2/pi = sum w[i] 2^(-24 (i + 1)).
inline constexpr std::uint64_t kTwoOverPi[12] = {
    0xA2F983, 0x6E4E44, 0x1529FC, 0x2757D1, 0xF534DD, 0xC0DB62,
    0x95993C, 0x439041, 0xFE5163, 0xABDEBB, 0xC561B7, 0x246E3A,
};
// (-1)^k / (2k)! and (-1)^k / (2k+1)!, k = 1..10: remainders below 2^-60 for |y| <= pi/4.
inline constexpr double kCosSeries[10] = {
    -0x1.0000000000000p-1, 0x1.5555555555555p-5,  -0x1.6c16c16c16c17p-10, 0x1.a01a01a01a01ap-16,
    -0x1.27e4fb7789f5cp-22, 0x1.1eed8eff8d898p-29, -0x1.93974a8c07c9dp-37, 0x1.ae7f3e733b81fp-45,
    -0x1.6827863b97d97p-53, 0x1.e542ba4020225p-62,
};
inline constexpr double kSinSeries[10] = {
    -0x1.5555555555555p-3, 0x1.1111111111111p-7,  -0x1.a01a01a01a01ap-13, 0x1.71de3a556c734p-19,
    -0x1.ae64567f544e4p-26, 0x1.6124613a86d09p-33, -0x1.ae7f3e733b81fp-41, 0x1.952c77030ad4ap-49,
    -0x1.2f49b46814157p-57, 0x1.71b8ef6dcf572p-66,
};

// By the magnitude of the input: cos is even.
inline constexpr std::array<Exception, 3> kCosExceptions{{
    {0x5922AA80u, 0x3F08AEBFu},  // 0x1.4555p+51
    {0x5F18B878u, 0x3F7F14BBu},  // 0x1.3170fp+63
    {0x6115CB11u, 0x3F78142Fu},  // 0x1.2b9622p+67
}};

}  // namespace detail

// e^x.
inline float exp(float x) {
  using namespace detail;
  const std::uint32_t bits = std::bit_cast<std::uint32_t>(x);
  if ((bits & 0x7FFFFFFFu) < 0x42AE0000u) {  // |x| < 87: a normal float result
    const double y = exp_double(x);
    if (!near_midpoint_normal(y)) return static_cast<float>(y);
    return round_checked(y, bits, kExpExceptions);
  }
  if (x != x) return quiet(x);
  if (x >= 89.0f) return std::bit_cast<float>(0x7F800000u);  // beyond the largest float
  if (x <= -104.0f) return 0.0f;                             // below half the least subnormal
  return round_checked(exp_double(x), bits, kExpExceptions);
}

// arccos(x) in [0, pi].
inline float acos(float x) {
  using namespace detail;
  const std::uint32_t bits = std::bit_cast<std::uint32_t>(x);
  const std::uint32_t magnitude = bits & 0x7FFFFFFFu;
  if (magnitude > 0x7F800000u) return quiet(x);
  if (magnitude > 0x3F800000u) return undefined_result();
  const double xd = x;
  double y;
  if (magnitude <= 0x3F000000u) {
    // |x| <= 1/2: pi/2 - asin(x).
    y = (kPiOver2Hi - asin_series(xd)) + kPiOver2Lo;
  } else {
    // |x| > 1/2: acos(|x|) = 2 asin(sqrt((1 - |x|) / 2)), whose operand is exact.
    const double a = xd < 0.0 ? -xd : xd;
    const double half_angle = asin_series(std::sqrt((1.0 - a) * 0.5));
    y = xd > 0.0 ? 2.0 * half_angle : (kPiHi - 2.0 * half_angle) + kPiLo;
  }
  return round_checked(y, bits, kAcosExceptions);
}

// cos(x) for every finite x: the argument is reduced by pi/2 with the bits of
// 2/pi that matter to x, in exact integer arithmetic, whatever its magnitude.
inline float cos(float x) {
  using namespace detail;
  const std::uint32_t bits = std::bit_cast<std::uint32_t>(x);
  const std::uint32_t magnitude = bits & 0x7FFFFFFFu;
  if (magnitude > 0x7F800000u) return quiet(x);
  if (magnitude == 0x7F800000u) return undefined_result();
  if (magnitude == 0) return 1.0f;

  // |x| = m 2^e with m an integer below 2^24.
  const int biased = static_cast<int>(magnitude >> 23);
  const std::uint64_t m = (magnitude & 0x7FFFFFu) | (biased != 0 ? 0x800000u : 0u);
  const int e = (biased != 0 ? biased : 1) - 150;

  // The words of 2/pi before i0 contribute multiples of 4 to |x| 2/pi, which
  // leave the cosine unchanged; six words from i0 on leave an error below 2^-118.
  int i0 = 0;
  while (e - 24 * (i0 + 1) >= 2) ++i0;
  std::uint64_t limb[7];  // m * w[i0..i0+5] in 24-bit limbs, least significant first
  std::uint64_t carry = 0;
  for (int j = 0; j < 6; ++j) {
    const std::uint64_t sum = m * kTwoOverPi[i0 + 5 - j] + carry;
    limb[j] = sum & 0xFFFFFFu;
    carry = sum >> 24;
  }
  limb[6] = carry;
  // |x| 2/pi = limbs 2^-point (mod 4).
  const int point = 24 * (i0 + 6) - e;
  const auto bit_at = [&limb](int b) -> int {
    return b >= 0 && b < 168 ? static_cast<int>((limb[b / 24] >> (b % 24)) & 1u) : 0;
  };
  int quadrant = bit_at(point) + 2 * bit_at(point + 1);
  const bool round_up = bit_at(point - 1) != 0;
  if (point < 168) {
    limb[point / 24] &= (std::uint64_t{1} << (point % 24)) - 1;
    for (int j = point / 24 + 1; j < 7; ++j) limb[j] = 0;
  }
  // The fraction f in [0, 1) as fh + fl, from the top limb down.
  double fh = 0.0, fl = 0.0;
  for (int j = 6; j >= 0; --j) {
    if (limb[j] == 0) continue;
    double error;
    two_sum(fh, static_cast<double>(limb[j]) * power_of_two(24 * j - point), fh, error);
    fl += error;
  }
  // Nearest quadrant: f in [-1/2, 1/2].
  if (round_up) {
    fh -= 1.0;
    quadrant += 1;
  }
  two_sum(fh, fl, fh, fl);
  // y = f pi/2 as yh + yl, |y| <= pi/4.
  double yh, yl;
  two_product(fh, kPiOver2Hi, yh, yl);
  yl += fh * kPiOver2Lo + fl * kPiOver2Hi;
  two_sum(yh, yl, yh, yl);

  const double z = yh * yh;
  double c = kCosSeries[9], s = kSinSeries[9];
  for (int k = 8; k >= 0; --k) {
    c = kCosSeries[k] + z * c;
    s = kSinSeries[k] + z * s;
  }
  const double cos_yh = 1.0 + z * c;
  const double sin_yh = yh + yh * (z * s);
  double y;
  switch (quadrant & 3) {
    case 0: y = cos_yh - sin_yh * yl; break;
    case 1: y = -(sin_yh + cos_yh * yl); break;
    case 2: y = -(cos_yh - sin_yh * yl); break;
    default: y = sin_yh + cos_yh * yl; break;
  }
  return round_checked(y, magnitude, kCosExceptions);
}

}  // namespace sti::cr
