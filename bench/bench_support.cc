#include "bench_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace tev {
namespace bench {

void Countdown::Arm(uint64_t count) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    done_ = false;
  }
  remaining_.store(count, std::memory_order_release);
}

void Countdown::Tick() {
  if (remaining_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  std::lock_guard<std::mutex> lock(mutex_);
  done_ = true;
  done_cv_.notify_one();
}

void Countdown::Wait() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!done_cv_.wait_for(lock, kDeadlockGuard, [this] { return done_; })) {
    GuardExpired("the last delivery of a batch");
  }
}

void GuardExpired(const char* awaited) {
  std::fprintf(stderr, "waited %llds for %s; giving up\n",
               static_cast<long long>(kDeadlockGuard.count()), awaited);
  std::abort();
}

void LatencySamples::Report(benchmark::State& state) {
  if (samples_.empty()) return;
  std::sort(samples_.begin(), samples_.end());
  auto at = [this](double quantile) {
    const auto index = static_cast<size_t>(quantile * static_cast<double>(samples_.size() - 1));
    return static_cast<double>(samples_[index]) / 1000.0;
  };
  state.counters["p50_us"] = at(0.50);
  state.counters["p99_us"] = at(0.99);
  state.counters["max_us"] = at(1.0);
  samples_.clear();
}

}  // namespace bench
}  // namespace tev
