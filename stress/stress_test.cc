// The library under load from every side at once, in one process: stack threads making random
// HAL calls (null and empty arguments among them), the host firing events and severing pipes,
// and the stack cycling through cleanup and init of both tables. The sanitizers watch memory and
// threads; the checking tables watch the callback contract; a watchdog turns a deadlock into a
// report; and the heap must stay flat over thousands of cycles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "base/logging.h"
#include "checking_stack.h"
#include "library_session.h"
#include "stress_run.h"
#include "watchdog.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TEV_SANITIZER_ALLOCATOR 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TEV_SANITIZER_ALLOCATOR 1
#endif

#if defined(TEV_SANITIZER_ALLOCATOR)
#include <sanitizer/allocator_interface.h>
#else
#include <malloc.h>
#endif

namespace tev {
namespace stress {
namespace {

// A guard far beyond a healthy run, which takes seconds.
constexpr auto kDeadlockGuard = std::chrono::seconds(120);
// The measured part: stretches of adapter cycles, each holding GATT cycles.
constexpr int kStretches = 4;
constexpr int kAdapterCyclesPerStretch = 8;
constexpr int kGattCyclesPerAdapterCycle = 10;
// The task queues keep the capacity of the largest backlog they ever held, which grows in rare
// steps; a leak grows the heap in every stretch. So at least one stretch must stay within this
// (each adapter cycle legitimately keeps a bridge support object, about 64 bytes, and its bridge
// pipe until it is severed, about 1.6 kB), and all of them together within the looser bound.
constexpr long long kFlatStretchBytes = 128 << 10;
constexpr long long kAllStretchesBytes = 4 << 20;

size_t allocatedBytes() {
#if defined(TEV_SANITIZER_ALLOCATOR)
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

// Thousands of cycles would log megabytes; fatal messages still print before the abort.
bool dropLog(logging::LogSeverity severity, const char*, int, size_t, const std::string&) {
  return severity < logging::LOG_FATAL;
}

TEST(HalStressTest, ConcurrentCallsEventsAndCyclesKeepTheContractAndTheHeap) {
  logging::SetLogMessageHandler(&dropLog);
  LibrarySession session;
  CheckingStack& stack = session.stack();
  Watchdog watchdog(kDeadlockGuard, [&stack] {
    return "callbacks so far: " + std::to_string(stack.CallbackCount()) +
           ", breaches: " + std::to_string(stack.BreachCount());
  });
  StressRun run(session, watchdog);

  // Brings every lazily built structure near its working size.
  RunPlan plan;
  plan.seed = 1;
  plan.adapterCycles = kAdapterCyclesPerStretch;
  plan.gattCyclesPerAdapterCycle = kGattCyclesPerAdapterCycle;
  run.Run(plan);

  std::vector<long long> growth;
  const size_t start = allocatedBytes();
  size_t previous = start;
  for (int stretch = 0; stretch < kStretches; ++stretch) {
    plan.seed = static_cast<uint64_t>(stretch) + 2;
    run.Run(plan);
    const size_t now = allocatedBytes();
    growth.push_back(static_cast<long long>(now) - static_cast<long long>(previous));
    previous = now;
  }

  std::printf("%llu HAL calls, %llu host events, %llu callbacks; heap growth per stretch: %s\n",
              static_cast<unsigned long long>(run.HalCalls()),
              static_cast<unsigned long long>(run.HostEvents()),
              static_cast<unsigned long long>(stack.CallbackCount()),
              ::testing::PrintToString(growth).c_str());
  EXPECT_EQ(stack.BreachCount(), 0u) << ::testing::PrintToString(stack.Breaches());
  EXPECT_LT(*std::min_element(growth.begin(), growth.end()), kFlatStretchBytes);
  EXPECT_LT(static_cast<long long>(previous) - static_cast<long long>(start), kAllStretchesBytes);
  // A run that reached nothing would prove nothing.
  EXPECT_GT(stack.CallbackCount(), 1000u);
  logging::SetLogMessageHandler(nullptr);
}

}  // namespace
}  // namespace stress
}  // namespace tev
