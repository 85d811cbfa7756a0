#include "watchdog.h"

#include <cstdio>
#include <cstdlib>

namespace tev {
namespace stress {

Watchdog::Watchdog(std::chrono::seconds deadline, std::function<std::string()> report)
    : report_(std::move(report)) {
  thread_ = std::thread(&Watchdog::Run, this, std::chrono::steady_clock::now() + deadline);
}

Watchdog::~Watchdog() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    disarmed_ = true;
  }
  disarmed_cv_.notify_all();
  thread_.join();
}

Watchdog::Slot& Watchdog::Watch(const std::string& thread) {
  std::lock_guard<std::mutex> lock(mutex_);
  slots_.emplace_back(thread);
  return slots_.back();
}

void Watchdog::Run(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (disarmed_cv_.wait_until(lock, deadline, [this] { return disarmed_; })) return;
  Bite();
}

void Watchdog::Bite() {
  std::fprintf(stderr, "\nWATCHDOG: the run did not finish in time; last operation per thread:\n");
  for (const Slot& slot : slots_) {
    std::fprintf(stderr, "  %-12s %-40s after %llu operations\n", slot.thread_.c_str(),
                 slot.operation_.load(), static_cast<unsigned long long>(slot.count_.load()));
  }
  if (report_) std::fprintf(stderr, "%s\n", report_().c_str());
  std::fflush(stderr);
  std::abort();
}

}  // namespace stress
}  // namespace tev
