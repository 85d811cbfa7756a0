#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "base/callback.h"
#include "base/memory/scoped_refptr.h"
#include "base/sequenced_task_runner.h"
#include "base/time/time.h"

namespace tev {
namespace sim {

using TimerId = uint64_t;

// Every delay of the simulated host goes through a Clock. Timers run on the host sequence;
// Schedule and Cancel are called there too.
class Clock {
 public:
  virtual ~Clock() = default;

  // Time since the clock was made. Any thread.
  virtual base::TimeDelta Now() const = 0;
  // Host sequence. A negative delay counts as zero.
  virtual TimerId Schedule(base::TimeDelta delay, base::OnceClosure task) = 0;
  // Host sequence. Unknown or already run timers are ignored.
  virtual void Cancel(TimerId id) = 0;
  virtual void CancelAll() = 0;
};

// Time stands still until Advance() moves it, so tests decide exactly what has happened. A timer
// scheduled with no delay runs at once, on the host sequence, without an Advance.
class VirtualClock : public Clock {
 public:
  // The host sequence must have stopped before the clock goes.
  explicit VirtualClock(scoped_refptr<base::SequencedTaskRunner> host);
  ~VirtualClock() override;

  base::TimeDelta Now() const override;
  TimerId Schedule(base::TimeDelta delay, base::OnceClosure task) override;
  void Cancel(TimerId id) override;
  void CancelAll() override;

  // Any thread but the host's: runs on the host sequence, in due-time order (ties in the order
  // scheduled), every timer due within `duration`, including those that the timers themselves
  // schedule, and returns once they have run. False if the host sequence is gone.
  bool Advance(base::TimeDelta duration);

 private:
  // Host sequence.
  void RunDue();
  void RunUntil(int64_t target_us);

  scoped_refptr<base::SequencedTaskRunner> host_;
  std::atomic<int64_t> now_us_{0};
  // Host sequence only.
  TimerId next_id_ = 1;
  bool run_due_posted_ = false;
  std::map<std::pair<int64_t, TimerId>, base::OnceClosure> timers_;
  std::map<TimerId, int64_t> due_by_id_;
};

// Wall-clock time: timers are delayed tasks of the host thread.
class RealClock : public Clock {
 public:
  explicit RealClock(scoped_refptr<base::SequencedTaskRunner> host);
  ~RealClock() override;

  base::TimeDelta Now() const override;
  TimerId Schedule(base::TimeDelta delay, base::OnceClosure task) override;
  void Cancel(TimerId id) override;
  void CancelAll() override;

 private:
  // Shared with the posted tasks, which may outlive the clock.
  struct Live {
    std::set<TimerId> ids;
  };
  static void Fire(const std::shared_ptr<Live>& live, TimerId id, base::OnceClosure task);

  scoped_refptr<base::SequencedTaskRunner> host_;
  const std::chrono::steady_clock::time_point start_;
  // Host sequence only.
  TimerId next_id_ = 1;
  std::shared_ptr<Live> live_;
};

}  // namespace sim
}  // namespace tev
