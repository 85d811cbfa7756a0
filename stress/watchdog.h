#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace tev {
namespace stress {

// Turns a deadlock into a failure that says where everyone was: unless disarmed (destroyed)
// before the deadline, it prints each watched thread's last operation and how many it had done,
// then the extra report, and aborts. The deadline is a guard far beyond any healthy run, not a
// timing expectation.
class Watchdog {
 public:
  // What one watched thread is doing; updated often, so it costs two atomic stores.
  class Slot {
   public:
    // `operation` is static text.
    void Doing(const char* operation) {
      operation_.store(operation, std::memory_order_relaxed);
      count_.fetch_add(1, std::memory_order_relaxed);
    }

    // Made by Watchdog::Watch.
    explicit Slot(std::string thread) : thread_(std::move(thread)) {}

   private:
    friend class Watchdog;
    const std::string thread_;
    std::atomic<const char*> operation_{"(started)"};
    std::atomic<uint64_t> count_{0};
  };

  Watchdog(std::chrono::seconds deadline, std::function<std::string()> report);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // Slots live as long as the watchdog.
  Slot& Watch(const std::string& thread);

 private:
  void Run(std::chrono::steady_clock::time_point deadline);
  [[noreturn]] void Bite();

  std::function<std::string()> report_;
  std::mutex mutex_;
  std::condition_variable disarmed_cv_;
  bool disarmed_ = false;
  std::deque<Slot> slots_;
  std::thread thread_;
};

}  // namespace stress
}  // namespace tev
