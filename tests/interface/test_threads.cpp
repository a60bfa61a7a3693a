// Hosts call the library from worker threads. The public entry keeps no state,
// so eight threads calling it at once on different meshes and element types
// must each get, bit for bit, what the same call returns when made alone. And
// threads may have small stacks (musl gives a thread 128 KiB): every name must
// run on a thread whose whole stack is 64 KiB, and its deepest use must stay
// below what such a thread offers.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support/call.hpp"
#include "well_shaped.hpp"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define STI_SANITIZED_BUILD 1
#endif
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define STI_SANITIZED_BUILD 1
#endif
#endif

namespace {

using sti_test::Call;
using sti_test::Result;

constexpr std::size_t kSmallStack = 64 * 1024;
constexpr std::size_t kPaintedStack = 1024 * 1024;
constexpr unsigned char kPaint = 0xA5;

struct Job {
  const Call* call;
  Result result;
};

// Runs the call on a new thread whose stack is either `size` bytes or, with
// `painted`, the given memory; false if the thread could not be made.
bool run_on_thread(const Call& call, Result& result, std::size_t size, unsigned char* painted) {
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) return false;
  const int set = painted ? pthread_attr_setstack(&attr, painted, size)
                          : pthread_attr_setstacksize(&attr, size);
  Job job{&call, {}};
  pthread_t thread;
  const bool ok = set == 0 &&
                  pthread_create(&thread, &attr, [](void* arg) -> void* {
                    Job* j = static_cast<Job*>(arg);
                    j->result = sti_test::run(*j->call);
                    return nullptr;
                  }, &job) == 0 &&
                  pthread_join(thread, nullptr) == 0;
  pthread_attr_destroy(&attr);
  result = job.result;
  return ok;
}

// Each name on a 64 KiB thread gives the main thread's bits. The depth of the
// deepest call is measured on a painted stack: the bytes below the top that no
// longer hold the paint. The thread's own start and the test support's frames
// are included, so the figure is an upper bound.
TEST(SmallStack, EveryNameRunsWellInside64KiB) {
#ifdef STI_SANITIZED_BUILD
  GTEST_SKIP() << "sanitizers need far more stack than the library";
#endif
  std::vector<unsigned char> stack(kPaintedStack + 4096);
  unsigned char* base = stack.data();
  base += (4096 - reinterpret_cast<std::uintptr_t>(base) % 4096) % 4096;
  std::size_t deepest = 0;
  std::string deepest_name;
  for (const std::string& name : sti_test::catalogue_names()) {
    const Call call = sti_test::well_shaped_call(name, 300);  // three batches, the last partial
    const Result alone = sti_test::run(call);
    Result small, painted;
    ASSERT_TRUE(run_on_thread(call, small, kSmallStack, nullptr)) << name;
    EXPECT_EQ(alone.code, 0) << name;
    EXPECT_TRUE(sti_test::same_bits(small, alone)) << name;
    std::memset(base, kPaint, kPaintedStack);
    ASSERT_TRUE(run_on_thread(call, painted, kPaintedStack, base)) << name;
    std::size_t untouched = 0;
    while (untouched < kPaintedStack && base[untouched] == kPaint) ++untouched;
    if (kPaintedStack - untouched > deepest) {
      deepest = kPaintedStack - untouched;
      deepest_name = name;
    }
  }
  std::printf("deepest stack use: %zu bytes (%s)\n", deepest, deepest_name.c_str());
  RecordProperty("deepest_stack_bytes", static_cast<int>(deepest));
  // The figure includes the C library's thread descriptor and static TLS at
  // the top of the stack; a 64 KiB thread also loses a 4 KiB guard page at
  // the bottom. Keep 2 KiB to spare beyond that.
  EXPECT_LT(deepest, kSmallStack - 6 * 1024);
}

TEST(Concurrency, EightThreadsMatchTheLoneCallBitForBit) {
  // Every catalogue name, at a size that spans several batches for some.
  const std::vector<std::string>& names = sti_test::catalogue_names();
  std::vector<Call> calls;
  for (std::size_t i = 0; i < names.size(); ++i)
    calls.push_back(sti_test::well_shaped_call(names[i], 1 + static_cast<int>(i * 37 % 300),
                                               1.0f + 0.25f * static_cast<float>(i % 5)));
  std::vector<Result> alone;
  for (const Call& c : calls) alone.push_back(sti_test::run(c));

  std::atomic<int> mismatches{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      while (!go.load()) std::this_thread::yield();
      for (int round = 0; round < 6; ++round) {
        // Each thread walks the calls from its own offset, so that at any
        // moment the threads are on different types and meshes.
        for (std::size_t k = 0; k < calls.size(); ++k) {
          const std::size_t i = (k + static_cast<std::size_t>(t) * 7) % calls.size();
          if (!sti_test::same_bits(sti_test::run(calls[i]), alone[i])) mismatches.fetch_add(1);
        }
      }
    });
  }
  go.store(true);
  for (std::thread& th : threads) th.join();
  EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
