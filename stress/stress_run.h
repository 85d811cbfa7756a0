#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "checking_stack.h"
#include "library_session.h"
#include "watchdog.h"

namespace tev {
namespace stress {

using tev::testing::TableGroup;

// What one run does: the adapter's init and cleanup cycles, each holding GATT init and cleanup
// cycles, driven from the calling thread (the one thread the stack uses for those), while stack
// threads make random HAL calls and another thread has the host fire random events, sever its
// pipes and restore them.
struct RunPlan {
  uint64_t seed = 1;
  int adapterCycles = 10;
  int gattCyclesPerAdapterCycle = 10;
  int stackThreads = 2;
  // Work the other threads do, at least, within each GATT cycle: however the threads are
  // scheduled, every cycle meets calls and events in flight.
  uint64_t halCallsPerGattCycle = 32;
  uint64_t hostEventsPerGattCycle = 8;
};

class StressRun {
 public:
  StressRun(LibrarySession& session, Watchdog& watchdog);

  // Returns once every thread has stopped, every queue is empty and both tables are cleaned up.
  void Run(const RunPlan& plan);

  uint64_t HalCalls() const { return hal_calls_.load(); }
  uint64_t HostEvents() const { return host_events_.load(); }

 private:
  void Lifecycle(const RunPlan& plan, Watchdog::Slot& slot);
  // Blocks until the producers have reached both counts.
  void WaitForWork(uint64_t halCalls, uint64_t hostEvents);
  void Worked(std::atomic<uint64_t>& counter);
  void CleanUp(TableGroup tables, Watchdog::Slot& slot);
  void CallHal(uint64_t seed, Watchdog::Slot& slot);
  void FireEvents(uint64_t seed, Watchdog::Slot& slot);

  LibrarySession& session_;
  CheckingStack& stack_;
  Watchdog& watchdog_;
  std::atomic<bool> stop_{false};
  std::mutex work_mutex_;
  std::condition_variable work_cv_;
  std::atomic<uint64_t> hal_calls_{0};
  std::atomic<uint64_t> host_events_{0};
};

}  // namespace stress
}  // namespace tev
