#include "tev/sim/clock.h"

#include <algorithm>

#include "base/bind.h"
#include "base/location.h"
#include "base/logging.h"
#include "host_sync.h"

namespace tev {
namespace sim {

VirtualClock::VirtualClock(scoped_refptr<base::SequencedTaskRunner> host)
    : host_(std::move(host)) {}

VirtualClock::~VirtualClock() = default;

base::TimeDelta VirtualClock::Now() const {
  return base::TimeDelta::FromMicroseconds(now_us_.load());
}

TimerId VirtualClock::Schedule(base::TimeDelta delay, base::OnceClosure task) {
  DCHECK(host_->RunsTasksInCurrentSequence());
  const int64_t due = now_us_.load() + std::max<int64_t>(delay.InMicroseconds(), 0);
  const TimerId id = next_id_++;
  timers_.emplace(std::make_pair(due, id), std::move(task));
  due_by_id_[id] = due;
  // A timer due already runs without waiting for an Advance, as a task of its own: a process that
  // has come to rest then has no timer left that is due.
  if (due <= now_us_.load() && !run_due_posted_) {
    run_due_posted_ = true;
    host_->PostTask(FROM_HERE, base::BindOnce(&VirtualClock::RunDue, base::Unretained(this)));
  }
  return id;
}

void VirtualClock::Cancel(TimerId id) {
  DCHECK(host_->RunsTasksInCurrentSequence());
  auto it = due_by_id_.find(id);
  if (it == due_by_id_.end()) return;
  timers_.erase(std::make_pair(it->second, id));
  due_by_id_.erase(it);
}

void VirtualClock::CancelAll() {
  DCHECK(host_->RunsTasksInCurrentSequence());
  timers_.clear();
  due_by_id_.clear();
}

bool VirtualClock::Advance(base::TimeDelta duration) {
  DCHECK(!host_->RunsTasksInCurrentSequence()) << "Advance would wait for itself";
  // The target is fixed here, so timers that the run schedules past it stay pending.
  const int64_t target = now_us_.load() + std::max<int64_t>(duration.InMicroseconds(), 0);
  return RunAndWait(host_, base::BindOnce(&VirtualClock::RunUntil, base::Unretained(this), target));
}

void VirtualClock::RunDue() {
  run_due_posted_ = false;
  RunUntil(now_us_.load());
}

void VirtualClock::RunUntil(int64_t target_us) {
  while (!timers_.empty() && timers_.begin()->first.first <= target_us) {
    auto first = timers_.begin();
    const int64_t due = first->first.first;
    base::OnceClosure task = std::move(first->second);
    due_by_id_.erase(first->first.second);
    timers_.erase(first);
    now_us_.store(std::max(now_us_.load(), due));
    std::move(task).Run();
  }
  now_us_.store(std::max(now_us_.load(), target_us));
}

RealClock::RealClock(scoped_refptr<base::SequencedTaskRunner> host)
    : host_(std::move(host)),
      start_(std::chrono::steady_clock::now()),
      live_(std::make_shared<Live>()) {}

RealClock::~RealClock() = default;

base::TimeDelta RealClock::Now() const {
  return base::TimeDelta::FromMicroseconds(std::chrono::duration_cast<std::chrono::microseconds>(
                                               std::chrono::steady_clock::now() - start_)
                                               .count());
}

TimerId RealClock::Schedule(base::TimeDelta delay, base::OnceClosure task) {
  DCHECK(host_->RunsTasksInCurrentSequence());
  const TimerId id = next_id_++;
  live_->ids.insert(id);
  if (delay < base::TimeDelta()) delay = base::TimeDelta();
  host_->PostDelayedTask(FROM_HERE, base::BindOnce(&RealClock::Fire, live_, id, std::move(task)),
                         delay);
  return id;
}

void RealClock::Cancel(TimerId id) {
  DCHECK(host_->RunsTasksInCurrentSequence());
  live_->ids.erase(id);
}

void RealClock::CancelAll() {
  DCHECK(host_->RunsTasksInCurrentSequence());
  live_->ids.clear();
}

void RealClock::Fire(const std::shared_ptr<Live>& live, TimerId id, base::OnceClosure task) {
  if (live->ids.erase(id)) std::move(task).Run();
}

}  // namespace sim
}  // namespace tev
