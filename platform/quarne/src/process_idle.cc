#include "base/threading/process_idle.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include "base/logging.h"
#include "base/threading/thread_task_runner_handle.h"

namespace base {
namespace {

// Plain atomics, constant-initialised, so that work held during static destruction still counts.
std::atomic<int64_t> g_pending{0};
std::atomic<int> g_waiters{0};

// Never destroyed: threads may hold work until the very end of the process.
struct Waiting {
  std::mutex mutex;
  std::condition_variable idle_cv;
  // Bumped each time the count reaches zero while someone waits.
  uint64_t idle_epoch = 0;
};
Waiting& GetWaiting() {
  static Waiting* waiting = new Waiting();
  return *waiting;
}

// Separate from Waiting: a holder describes its work under its own lock, and the same lock may
// be held when a piece of work finishes.
struct Holders {
  std::mutex mutex;
  std::vector<WorkHolder*> list;
};
Holders& GetHolders() {
  static Holders* holders = new Holders();
  return *holders;
}

std::string DescribeBusy() {
  std::string text = std::to_string(g_pending.load()) + " piece(s) of work outstanding";
  Holders& holders = GetHolders();
  std::lock_guard<std::mutex> lock(holders.mutex);
  for (WorkHolder* holder : holders.list) {
    const std::string work = holder->DescribeWork();
    if (!work.empty()) text += "\n  " + work;
  }
  return text;
}

}  // namespace

PendingWork PendingWork::Begin() {
  // Relaxed: the poster's own later Finish() is ordered after it on the same atomic.
  g_pending.fetch_add(1, std::memory_order_relaxed);
  PendingWork work;
  work.held_ = true;
  return work;
}

PendingWork& PendingWork::operator=(PendingWork&& other) noexcept {
  if (this != &other) {
    Finish();
    held_ = other.held_;
    other.held_ = false;
  }
  return *this;
}

void PendingWork::Finish() {
  if (!held_) return;
  held_ = false;
  // Sequentially consistent with the waiter's registration and check, so that either the waiter
  // sees the zero or this sees the waiter.
  if (g_pending.fetch_sub(1) != 1 || g_waiters.load() == 0) return;
  Waiting& waiting = GetWaiting();
  {
    std::lock_guard<std::mutex> lock(waiting.mutex);
    ++waiting.idle_epoch;
  }
  waiting.idle_cv.notify_all();
}

void RegisterWorkHolder(WorkHolder* holder) {
  Holders& holders = GetHolders();
  std::lock_guard<std::mutex> lock(holders.mutex);
  holders.list.push_back(holder);
}

void UnregisterWorkHolder(WorkHolder* holder) {
  Holders& holders = GetHolders();
  std::lock_guard<std::mutex> lock(holders.mutex);
  holders.list.erase(std::remove(holders.list.begin(), holders.list.end(), holder),
                     holders.list.end());
}

bool WaitForProcessIdle(std::chrono::milliseconds limit, std::string* busy) {
  DCHECK(!ThreadTaskRunnerHandle::IsSet()) << "waiting for idle from a task keeps the process busy";
  const auto deadline = std::chrono::steady_clock::now() + limit;
  Waiting& waiting = GetWaiting();
  bool idle = false;
  {
    // The epoch is read before registering, under the lock that every bump takes, so that no
    // moment of idleness after the registration goes unseen.
    std::unique_lock<std::mutex> lock(waiting.mutex);
    const uint64_t epoch = waiting.idle_epoch;
    g_waiters.fetch_add(1);
    idle = waiting.idle_cv.wait_until(lock, deadline, [&] {
      return g_pending.load() == 0 || waiting.idle_epoch != epoch;
    });
    g_waiters.fetch_sub(1);
  }
  if (!idle && busy) *busy = DescribeBusy();
  return idle;
}

}  // namespace base
