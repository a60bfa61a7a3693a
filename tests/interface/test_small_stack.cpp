// Hosts call the library from worker threads with small stacks (musl gives a
// thread 128 KiB). Every name must run a 300-element call (three batches, the
// last partial) on a thread whose whole stack is 64 KiB, with the results of
// the same call made on the main thread, bit for bit. A second run on a
// painted stack measures the deepest use over all names and keeps it below
// what such a thread offers.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
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

void* run_job(void* arg) {
  Job* job = static_cast<Job*>(arg);
  job->result = sti_test::run(*job->call);
  return nullptr;
}

// Runs the call on a new thread with the given attributes; false if the
// thread could not be made.
bool run_on_thread(pthread_attr_t& attr, Job& job) {
  pthread_t thread;
  if (pthread_create(&thread, &attr, run_job, &job) != 0) return false;
  return pthread_join(thread, nullptr) == 0;
}

bool same_bits(const Result& a, const Result& b) {
  if (a.code != b.code || a.element_code != b.element_code || a.dt.size() != b.dt.size())
    return false;
  for (std::size_t i = 0; i < a.dt.size(); ++i)
    if (sti_test::bits(a.dt[i]) != sti_test::bits(b.dt[i])) return false;
  return true;
}

Call three_batches(const std::string& name) { return sti_test::well_shaped_call(name, 300); }

TEST(SmallStack, EveryNameRunsOnA64KiBThread) {
#ifdef STI_SANITIZED_BUILD
  GTEST_SKIP() << "sanitizers need far more stack than the library";
#endif
  for (const std::string& name : sti_test::catalogue_names()) {
    SCOPED_TRACE(name);
    const Call call = three_batches(name);
    const Result alone = sti_test::run(call);
    pthread_attr_t attr;
    ASSERT_EQ(pthread_attr_init(&attr), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attr, kSmallStack), 0);
    Job job{&call, {}};
    ASSERT_TRUE(run_on_thread(attr, job));
    pthread_attr_destroy(&attr);
    EXPECT_EQ(alone.code, 0);
    EXPECT_TRUE(same_bits(job.result, alone));
  }
}

// Depth of the deepest call of any name, measured on a painted stack: the
// bytes below the top that no longer hold the paint. The thread's own start
// and the test support's frames are included, so the figure is an upper bound.
TEST(SmallStack, DeepestCallStaysWellInside64KiB) {
#ifdef STI_SANITIZED_BUILD
  GTEST_SKIP() << "sanitizers need far more stack than the library";
#endif
  std::vector<unsigned char> stack(kPaintedStack + 4096);
  unsigned char* base = stack.data();
  base += (4096 - reinterpret_cast<std::uintptr_t>(base) % 4096) % 4096;
  std::size_t deepest = 0;
  std::string deepest_name;
  for (const std::string& name : sti_test::catalogue_names()) {
    std::memset(base, kPaint, kPaintedStack);
    const Call call = three_batches(name);
    pthread_attr_t attr;
    ASSERT_EQ(pthread_attr_init(&attr), 0);
    ASSERT_EQ(pthread_attr_setstack(&attr, base, kPaintedStack), 0);
    Job job{&call, {}};
    ASSERT_TRUE(run_on_thread(attr, job));
    pthread_attr_destroy(&attr);
    std::size_t untouched = 0;
    while (untouched < kPaintedStack && base[untouched] == kPaint) ++untouched;
    const std::size_t used = kPaintedStack - untouched;
    if (used > deepest) {
      deepest = used;
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

}  // namespace
