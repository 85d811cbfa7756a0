#pragma once

#include <memory>
#include <set>

#include "base/callback.h"
#include "tev/sim/clock.h"

namespace tev {
namespace sim {

// The timers one part of the host has pending, so that it can drop them all when it resets or
// goes away. Host sequence only.
class TimerSet {
 public:
  explicit TimerSet(Clock* clock) : clock_(clock) {}
  ~TimerSet() { CancelAll(); }
  TimerSet(const TimerSet&) = delete;
  TimerSet& operator=(const TimerSet&) = delete;

  TimerId Schedule(base::TimeDelta delay, base::OnceClosure task);
  void Cancel(TimerId id);
  void CancelAll();

 private:
  void Run(const std::shared_ptr<TimerId>& id, base::OnceClosure task);

  Clock* clock_;
  std::set<TimerId> ids_;
};

}  // namespace sim
}  // namespace tev
