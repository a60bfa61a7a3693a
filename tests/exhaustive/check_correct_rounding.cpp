// Exhaustive check of the library's correctly rounded exp, acos and cos: every
// one of the 2^32 float inputs of each function against the correctly rounded
// result of a reference of higher precision.
//
// The reference is the 64-bit-significand long double function of the host C
// library, whose error is a few of its own units in the last place, 2^-63
// relative. Its rounding to float is taken as correct unless it lies within
// 2^10 of those units (2^-53 relative) of a midpoint between two floats, or the
// result is subnormal; those inputs are decided by MPFR at 200 bits. The check
// also lists, per function, the inputs whose exact result lies nearest a
// midpoint: the hard cases that the unit tests pin.
//
// Usage: check_correct_rounding [threads] [exp] [acos] [cos]   (all three by default)
#include <mpfr.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "common/correctly_rounded.hpp"

namespace {

enum class Function { kExp, kAcos, kCos };

const char* name_of(Function f) {
  return f == Function::kExp ? "exp" : f == Function::kAcos ? "acos" : "cos";
}

float library(Function f, float x) {
  switch (f) {
    case Function::kExp: return sti::cr::exp(x);
    case Function::kAcos: return sti::cr::acos(x);
    default: return sti::cr::cos(x);
  }
}

std::uint32_t bits_of(float x) { return std::bit_cast<std::uint32_t>(x); }

// A reference result: the float bits, and how near the exact result lies to a
// midpoint of floats, in units of 2^-64 of the result's binade (smaller is
// nearer; 0 when MPFR decided and the distance is below the long double's
// resolution).
struct Reference {
  std::uint32_t bits;
  std::uint64_t distance;
  bool by_mpfr;
};

class Referee {
 public:
  Referee() { mpfr_init2(value_, 200); }
  ~Referee() { mpfr_clear(value_); }
  Referee(const Referee&) = delete;
  Referee& operator=(const Referee&) = delete;

  Reference decide(Function f, float x) {
    const std::uint32_t xb = bits_of(x);
    if ((xb & 0x7FFFFFFFu) > 0x7F800000u) return {xb | 0x00400000u, ~std::uint64_t{0}, false};
    if (f == Function::kAcos && (xb & 0x7FFFFFFFu) > 0x3F800000u) return {0x7FC00000u, ~0ull, false};
    if (f == Function::kCos && (xb & 0x7FFFFFFFu) == 0x7F800000u) return {0x7FC00000u, ~0ull, false};

    const long double xl = x;
    const long double r = f == Function::kExp ? expl(xl) : f == Function::kAcos ? acosl(xl) : cosl(xl);
    const long double magnitude = fabsl(r);
    if (magnitude == 0.0L || std::isinf(magnitude)) return {bits_of(static_cast<float>(r)), ~0ull, false};
    if (magnitude >= 0x1p-126L) {
      std::uint64_t significand;  // x87 extended: 64-bit significand first
      std::memcpy(&significand, &magnitude, sizeof significand);
      const std::uint64_t dropped = significand & ((std::uint64_t{1} << 40) - 1);
      const std::uint64_t half = std::uint64_t{1} << 39;
      const std::uint64_t distance = dropped > half ? dropped - half : half - dropped;
      if (distance > 1024) return {bits_of(static_cast<float>(r)), distance << 1, false};
    }
    return {exact(f, x), exact_distance_, true};
  }

 private:
  // The correctly rounded float from MPFR, and the distance of the 200-bit
  // value from the nearest midpoint, in units of 2^-64 of its binade.
  std::uint32_t exact(Function f, float x) {
    mpfr_set_flt(value_, x, MPFR_RNDN);
    if (f == Function::kExp) mpfr_exp(value_, value_, MPFR_RNDN);
    if (f == Function::kAcos) mpfr_acos(value_, value_, MPFR_RNDN);
    if (f == Function::kCos) mpfr_cos(value_, value_, MPFR_RNDN);
    const bool negative = mpfr_sgn(value_) < 0;
    mpfr_t scaled, rest;
    mpfr_inits2(200, scaled, rest, static_cast<mpfr_ptr>(nullptr));
    mpfr_abs(scaled, value_, MPFR_RNDN);
    // Scale so that float steps are integers: 2^-149 below 2^-126, else 2^(e-24).
    const long e = mpfr_get_exp(scaled);  // |v| in [2^(e-1), 2^e)
    const long shift = e - 1 < -126 ? 149 : 24 - e;
    mpfr_mul_2si(scaled, scaled, shift, MPFR_RNDN);
    mpfr_frac(rest, scaled, MPFR_RNDN);                // fraction of a step
    mpfr_sub_d(rest, rest, 0.5, MPFR_RNDN);            // against the midpoint
    mpfr_abs(rest, rest, MPFR_RNDN);
    mpfr_mul_2si(rest, rest, 41, MPFR_RNDN);  // in 2^-64 of the binade
    exact_distance_ = mpfr_get_ui(rest, MPFR_RNDD);
    std::uint32_t bits;
    if (shift == 149) {
      mpfr_rint(scaled, scaled, MPFR_RNDN);
      bits = static_cast<std::uint32_t>(mpfr_get_ui(scaled, MPFR_RNDN));
    } else {
      bits = bits_of(std::fabs(mpfr_get_flt(value_, MPFR_RNDN)));
    }
    mpfr_clears(scaled, rest, static_cast<mpfr_ptr>(nullptr));
    return bits | (negative ? 0x80000000u : 0u);
  }

  mpfr_t value_;
  std::uint64_t exact_distance_ = 0;
};

struct HardCase {
  std::uint32_t input, expected;
  std::uint64_t distance;
};

struct Tally {
  std::uint64_t checked = 0, by_mpfr = 0;
  std::vector<HardCase> mismatches;
  std::vector<HardCase> hardest;  // nearest midpoints, at most kKept

  static constexpr std::size_t kKept = 12;
  void keep(const HardCase& c) {
    if (hardest.size() == kKept && c.distance >= hardest.back().distance) return;
    hardest.insert(std::upper_bound(hardest.begin(), hardest.end(), c,
                                    [](const HardCase& a, const HardCase& b) {
                                      return a.distance < b.distance;
                                    }),
                   c);
    if (hardest.size() > kKept) hardest.pop_back();
  }
  void merge(const Tally& other) {
    checked += other.checked;
    by_mpfr += other.by_mpfr;
    mismatches.insert(mismatches.end(), other.mismatches.begin(), other.mismatches.end());
    for (const HardCase& c : other.hardest) keep(c);
  }
};

void check_one(Function f, float x, Referee& referee, Tally& tally) {
  const Reference ref = referee.decide(f, x);
  const std::uint32_t got = bits_of(library(f, x));
  ++tally.checked;
  if (ref.by_mpfr) ++tally.by_mpfr;
  if (got != ref.bits) tally.mismatches.push_back({bits_of(x), ref.bits, ref.distance});
  if (ref.distance != ~0ull) tally.keep({bits_of(x), ref.bits, ref.distance});
  // The cosine is even: -x is checked against the reference of x.
  if (f == Function::kCos) {
    const float negated = -x;
    ++tally.checked;
    const std::uint32_t expected = std::isnan(x) ? bits_of(negated) | 0x00400000u : ref.bits;
    if (bits_of(library(f, negated)) != expected) {
      tally.mismatches.push_back({bits_of(negated), expected, ref.distance});
    }
  }
}

Tally run(Function f, unsigned threads) {
  // cos visits the non-negative half and checks both signs; the others all 2^32.
  const std::uint64_t end = f == Function::kCos ? (std::uint64_t{1} << 31) : (std::uint64_t{1} << 32);
  constexpr std::uint64_t kBlock = std::uint64_t{1} << 20;
  std::atomic<std::uint64_t> next{0};
  std::vector<Tally> tallies(threads);
  std::vector<std::thread> workers;
  for (unsigned t = 0; t < threads; ++t) {
    workers.emplace_back([&, t] {
      Referee referee;
      for (std::uint64_t begin; (begin = next.fetch_add(kBlock)) < end;) {
        for (std::uint64_t b = begin; b < begin + kBlock; ++b) {
          check_one(f, std::bit_cast<float>(static_cast<std::uint32_t>(b)), referee, tallies[t]);
        }
      }
    });
  }
  for (std::thread& w : workers) w.join();
  Tally total;
  for (const Tally& t : tallies) total.merge(t);
  return total;
}

}  // namespace

int main(int argc, char** argv) {
  unsigned threads = 2;
  std::vector<Function> functions;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "exp") functions.push_back(Function::kExp);
    else if (arg == "acos") functions.push_back(Function::kAcos);
    else if (arg == "cos") functions.push_back(Function::kCos);
    else threads = static_cast<unsigned>(std::max(1, std::atoi(arg.c_str())));
  }
  if (functions.empty()) functions = {Function::kExp, Function::kAcos, Function::kCos};

  int failures = 0;
  for (Function f : functions) {
    const auto start = std::chrono::steady_clock::now();
    Tally tally = run(f, threads);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::sort(tally.mismatches.begin(), tally.mismatches.end(),
              [](const HardCase& a, const HardCase& b) { return a.input < b.input; });
    std::printf("%s: %llu inputs checked, %zu mismatches, %llu decided by MPFR, %.0f s on %u threads\n",
                name_of(f), static_cast<unsigned long long>(tally.checked), tally.mismatches.size(),
                static_cast<unsigned long long>(tally.by_mpfr), seconds, threads);
    for (std::size_t i = 0; i < tally.mismatches.size() && i < 100; ++i) {
      const HardCase& c = tally.mismatches[i];
      std::printf("  mismatch {0x%08Xu, 0x%08Xu},  // %a\n", c.input, c.expected,
                  static_cast<double>(std::bit_cast<float>(c.input)));
    }
    std::printf("  nearest midpoints (input, correctly rounded result, distance in 2^-64 of the binade):\n");
    for (const HardCase& c : tally.hardest) {
      std::printf("  hard {0x%08Xu, 0x%08Xu},  // %a -> %a, %llu\n", c.input, c.expected,
                  static_cast<double>(std::bit_cast<float>(c.input)),
                  static_cast<double>(std::bit_cast<float>(c.expected)),
                  static_cast<unsigned long long>(c.distance));
    }
    std::fflush(stdout);
    failures += tally.mismatches.empty() ? 0 : 1;
  }
  return failures == 0 ? 0 : 1;
}
