#pragma once

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/memory/scoped_refptr.h"
#include "base/sequenced_task_runner.h"

namespace tev {
namespace bench {

// steady_clock, the one clock every thread of the benchmarks stamps with.
inline int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// Nothing correct comes close: a guard against a lost event or a deadlock hanging the run.
constexpr std::chrono::seconds kDeadlockGuard{30};
// Ends the run, saying what was awaited, when a guarded wait outlasts kDeadlockGuard.
[[noreturn]] void GuardExpired(const char* awaited);

// Counts deliveries on the receiving thread and wakes the driver only when the last one of a
// batch arrives, so that the wake-up is not part of each event's cost.
class Countdown {
 public:
  void Arm(uint64_t count);
  // Receiving thread.
  void Tick();
  // Ends the run after kDeadlockGuard.
  void Wait();

 private:
  std::atomic<uint64_t> remaining_{0};
  std::mutex mutex_;
  std::condition_variable done_cv_;
  bool done_ = false;
};

// Latencies of one repetition, kept without allocating while events flow.
class LatencySamples {
 public:
  explicit LatencySamples(size_t capacity) { samples_.reserve(capacity); }
  void Add(int64_t ns) {
    if (samples_.size() < samples_.capacity()) samples_.push_back(ns);
  }
  // Sets "p50_us" and "p99_us" on the state (and "max_us").
  void Report(benchmark::State& state);

 private:
  std::vector<int64_t> samples_;
};

// Hands `task` to `post` (which runs it on some thread) and returns its result once it has run.
template <typename Post, typename F>
auto RunThrough(Post post, F task) {
  using Result = decltype(task());
  std::mutex mutex;
  std::condition_variable ran_cv;
  bool ran = false;
  Result result{};
  post(base::BindOnce([&]() {
    Result value = task();
    std::lock_guard<std::mutex> lock(mutex);
    result = std::move(value);
    ran = true;
    ran_cv.notify_one();
  }));
  std::unique_lock<std::mutex> lock(mutex);
  ran_cv.wait(lock, [&] { return ran; });
  return result;
}

template <typename F>
auto RunOn(const scoped_refptr<base::SequencedTaskRunner>& runner, F task) {
  return RunThrough(
      [&runner](base::OnceClosure run) { runner->PostTask(FROM_HERE, std::move(run)); },
      std::move(task));
}

}  // namespace bench
}  // namespace tev
