// Concurrent callers: the public entry keeps no state, so eight threads calling
// it at once on different meshes and element types must each get, bit for
// bit, what the same call returns when made alone.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

#include "support/call.hpp"
#include "well_shaped.hpp"

namespace {

using sti_test::Call;
using sti_test::Result;
using sti_test::same_bits;

TEST(Concurrency, EightThreadsMatchTheLoneCallBitForBit) {
  // Every catalogue name, at a size that spans several batches for some.
  const std::vector<std::string>& names = sti_test::catalogue_names();
  std::vector<Call> calls;
  for (std::size_t i = 0; i < names.size(); ++i)
    calls.push_back(sti_test::well_shaped_call(names[i], 1 + static_cast<int>(i * 37 % 300),
                                               1.0f + 0.25f * static_cast<float>(i % 5)));
  std::vector<Result> alone;
  for (const Call& c : calls) alone.push_back(sti_test::run(c));

  constexpr int kThreads = 8;
  constexpr int kRounds = 6;
  std::atomic<int> mismatches{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      while (!go.load()) std::this_thread::yield();
      for (int round = 0; round < kRounds; ++round) {
        // Each thread walks the calls from its own offset, so that at any
        // moment the threads are on different types and meshes.
        for (std::size_t k = 0; k < calls.size(); ++k) {
          const std::size_t i = (k + static_cast<std::size_t>(t) * 7) % calls.size();
          if (!same_bits(sti_test::run(calls[i]), alone[i])) mismatches.fetch_add(1);
        }
      }
    });
  }
  go.store(true);
  for (std::thread& th : threads) th.join();
  EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
