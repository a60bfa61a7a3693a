// The library's correctly rounded exp, acos and cos on a fixed sample: special
// values and domain edges, the inputs whose exact results lie nearest a
// rounding midpoint of float (found by the exhaustive check of
// tests/exhaustive), and an even sweep over each domain against the host's
// long double functions. Every expected bit pattern comes from a reference of
// higher precision (MPFR at 300 bits for the listed cases), never from the
// functions under test.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <span>

#include "common/correctly_rounded.hpp"

namespace {

struct Case {
  std::uint32_t input, expected;
};

std::uint32_t bits(float x) { return std::bit_cast<std::uint32_t>(x); }
float from(std::uint32_t b) { return std::bit_cast<float>(b); }

template <typename F>
void expect_cases(const char* name, F f, const Case* cases, std::size_t count) {
  for (const Case& c : std::span(cases, count))
    EXPECT_EQ(bits(f(from(c.input))), c.expected) << name << " of bits 0x" << std::hex << c.input;
}

// Whether the long double r rounds to float safely: its dropped 40 bits lie
// more than 2^10 of its units from half, far beyond the error of the host's
// long double functions. Normal float results only.
bool safely_rounded(long double r) {
  const long double magnitude = fabsl(r);
  if (!(magnitude >= 0x1p-126L) || std::isinf(magnitude)) return false;
  std::uint64_t significand;
  std::memcpy(&significand, &magnitude, sizeof significand);
  const std::uint64_t dropped = significand & ((std::uint64_t{1} << 40) - 1);
  const std::uint64_t half = std::uint64_t{1} << 39;
  return (dropped > half ? dropped - half : half - dropped) > 1024;
}

// Every 4099th bit pattern from first to last (a prime step, so every
// exponent and many significands are visited), compared with the long double
// function rounded to float where that rounding is safe.
template <typename F, typename R>
void sweep(F f, R reference, std::uint32_t first, std::uint32_t last, const char* name) {
  int compared = 0, skipped = 0;
  for (std::uint64_t b = first; b <= last; b += 4099) {
    const float x = from(static_cast<std::uint32_t>(b));
    const long double r = reference(static_cast<long double>(x));
    if (!safely_rounded(r)) {
      ++skipped;
      continue;
    }
    ++compared;
    ASSERT_EQ(bits(f(x)), bits(static_cast<float>(r)))
        << name << " of " << std::hexfloat << x << " (bits 0x" << std::hex << b << ")";
  }
  EXPECT_GT(compared, 100000);
  EXPECT_LT(skipped, compared / 1000 + 10);
}

// Special values and edges, then the hardest cases: the inputs whose exact
// results lie nearest a midpoint between two floats, from the exhaustive
// check; their comment gives the input and the distance of the exact result
// from the midpoint in units of 2^-64 of its binade (the float's own unit is
// 2^-23 of it). The first of them include the inputs on which the double
// evaluation alone rounds the wrong way.
TEST(CorrectlyRoundedExp, SpecialValuesEdgesAndHardestCases) {
  const Case cases[] = {
      {0x00000000u, 0x3F800000u},  // e^0 = 1
      {0x80000000u, 0x3F800000u},  // e^-0 = 1
      {0x3F800000u, 0x402DF854u},  // e
      {0xBF800000u, 0x3EBC5AB2u},  // 1/e
      {0xC1200000u, 0x383E6BCEu},  // e^-10
      {0x42B17217u, 0x7F7FFF84u},  // largest input with a finite result
      {0x42B17218u, 0x7F800000u},  // first overflow
      {0x7F800000u, 0x7F800000u},  // e^inf
      {0xFF800000u, 0x00000000u},  // e^-inf
      {0xC2AEAC50u, 0x007FFFE6u},  // subnormal result
      {0xC2CFF1B4u, 0x00000001u},  // least subnormal
      {0xC2CFF1B5u, 0x00000000u},  // first underflow to zero
      {0x7FC00001u, 0x7FC00001u},  // a quiet NaN passes through
      {0xFF800001u, 0xFFC00001u},  // a signalling NaN comes back quiet
      // The hardest cases.
      {0xC16912CDu, 0x34FD331Bu},  // -0x1.d2259ap+3: 5182
      {0xBBF0EDF1u, 0x3F7E1FE9u},  // -0x1.e1dbe2p-8: 9924
      {0xC2B2E798u, 0x000F6DCEu},  // -0x1.65cf3p+6: a subnormal result near a midpoint
      {0x377EFF81u, 0x3F800080u},  // 0x1.fdff02p-17: 11178
      {0xBAE0E25Cu, 0x3F7F8FA7u},  // -0x1.c1c4b8p-10: 14748
      {0xB3000000u, 0x3F800000u},  // -0x1p-25: 16384
      {0x39C6BE5Bu, 0x3F800C6Du},  // 0x1.8d7cb6p-12: 16794
      {0x38E69CC1u, 0x3F80039Au},  // 0x1.cd3982p-14: 17734
      {0x383A3EF1u, 0x3F800175u},  // 0x1.747de2p-15: 18672
      {0x3D1A274Eu, 0x3F84E8BAu},  // 0x1.344e9cp-5: 20952
      {0x40315B33u, 0x417FA47Du},  // 0x1.62b666p+1: 23428
      {0x4001B249u, 0x40F2CD14u},  // 0x1.036492p+1: 26064
  };
  expect_cases("exp", sti::cr::exp, cases, std::size(cases));
}

TEST(CorrectlyRoundedAcos, SpecialValuesEdgesAndHardestCases) {
  const Case cases[] = {
      {0x3F800000u, 0x00000000u},  // acos(1) = 0
      {0xBF800000u, 0x40490FDBu},  // acos(-1) = pi
      {0x00000000u, 0x3FC90FDBu},  // pi/2
      {0x3F000000u, 0x3F860A92u},  // pi/3
      {0xBF000000u, 0x40060A92u},  // 2 pi/3
      {0x3F7FFFFFu, 0x39B504F3u},  // just below 1
      {0x33800000u, 0x3FC90FDAu},  // 2^-24
      {0x3F800001u, 0x7FC00000u},  // just above 1: outside the domain
      {0xFF800000u, 0x7FC00000u},  // -inf: outside the domain
      {0x7FA00000u, 0x7FE00000u},  // a signalling NaN comes back quiet
      // The hardest cases.
      {0x39826222u, 0x3FC907B5u},  // 0x1.04c444p-12: 183
      {0x328885A3u, 0x3FC90FDBu},  // 0x1.110b46p-26: 1129
      {0xBC406CCDu, 0x3FCA90B6u},  // -0x1.80d99ap-7: 2204
      {0x3C8A2F9Bu, 0x3FC6E716u},  // 0x1.145f36p-6: 8264
      {0xBA9D5F75u, 0x3FC93733u},  // -0x1.3abeeap-10: 9804
      {0x3B7D281Bu, 0x3FC89147u},  // 0x1.fa5036p-9: 13064
      {0xBE668CD1u, 0x3FE62141u},  // -0x1.cd19a2p-3: 21036
      {0xBA66DEEDu, 0x3FC92CB6u},  // -0x1.cdbddap-11: 21270
      {0x3A6A490Fu, 0x3FC8F292u},  // 0x1.d4921ep-11: 22042
      {0xBE6DFF37u, 0x3FE7160Bu},  // -0x1.dbfe6ep-3: 22562
      {0x328885A4u, 0x3FC90FDAu},  // 0x1.110b48p-26: 31638
      {0xB3DDDE97u, 0x3FC90FDBu},  // -0x1.bbbd2ep-24: 31638
  };
  expect_cases("acos", sti::cr::acos, cases, std::size(cases));
}

TEST(CorrectlyRoundedCos, SpecialValuesEdgesAndHardestCases) {
  const Case cases[] = {
      {0x00000000u, 0x3F800000u},  // cos 0 = 1
      {0x3F800000u, 0x3F0A5140u},  // cos 1
      {0x3F860A92u, 0x3EFFFFFFu},  // cos of pi/3 in float, just below 1/2
      {0x40490FDBu, 0xBF800000u},  // cos of pi in float
      {0x4B800000u, 0x3F2056B4u},  // 2^24
      {0x5A8E5C49u, 0x3F6A92A9u},  // 2^54 and more
      {0x7E9E6E6Bu, 0x3EE4DBD8u},  // 2^126 and more
      {0x7F7FFFFFu, 0x3F5A5F96u},  // the largest float
      {0xFF7FFFFFu, 0x3F5A5F96u},  // cos is even
      {0x7F800000u, 0x7FC00000u},  // cos inf: undefined
      {0xFFC00123u, 0xFFC00123u},  // a quiet NaN passes through
      // The hardest cases.
      {0x6115CB11u, 0x3F78142Fu},  // 0x1.2b9622p+67: 533
      {0x59443C0Au, 0x3F425F62u},  // 0x1.887814p+51: 542
      {0x5F18B878u, 0x3F7F14BBu},  // 0x1.3170fp+63: 688
      {0x7A4B1A27u, 0x3F7C54DAu},  // 0x1.96344ep+117: 1326
      {0x5922AA80u, 0x3F08AEBFu},  // 0x1.4555p+51: 2832
      {0x7908CD73u, 0x3F798BB5u},  // 0x1.119ae6p+115: 3044
      {0x61703976u, 0x3EDACC56u},  // 0x1.e072ecp+67: 3234
      {0x3C107FE6u, 0x3F7FFD74u},  // 0x1.20ffccp-7: 3726
      {0x55E5235Du, 0xBE83C11Au},  // 0x1.ca46bap+44: 4556
      {0x39800000u, 0x3F800000u},  // 0x1p-12: 5462
      {0x424790CEu, 0x3F6E4C01u},  // 0x1.8f219cp+5: 7988
      {0x3A544395u, 0x3F7FFFFBu},  // 0x1.a8872ap-11: 8202
      {0xE115CB11u, 0x3F78142Fu},  // the first three negated: cos is even
      {0xD9443C0Au, 0x3F425F62u},
      {0xDF18B878u, 0x3F7F14BBu},
  };
  expect_cases("cos", sti::cr::cos, cases, std::size(cases));
}

TEST(CorrectlyRoundedSweep, EachMatchesLongDoubleOverItsDomain) {
  sweep(sti::cr::exp, [](long double x) { return expl(x); }, 0x00000000u, 0x42B17217u, "exp");
  sweep(sti::cr::exp, [](long double x) { return expl(x); }, 0x80000000u, 0xC2AEAC4Fu, "exp");
  sweep(sti::cr::acos, [](long double x) { return acosl(x); }, 0x00000000u, 0x3F800000u, "acos");
  sweep(sti::cr::acos, [](long double x) { return acosl(x); }, 0x80000000u, 0xBF800000u, "acos");
  sweep(sti::cr::cos, [](long double x) { return cosl(x); }, 0x00000000u, 0x7F7FFFFFu, "cos");
  sweep(sti::cr::cos, [](long double x) { return cosl(x); }, 0x80000000u, 0xFF7FFFFFu, "cos");
}

}  // namespace
