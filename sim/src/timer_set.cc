#include "timer_set.h"

#include "base/bind.h"

namespace tev {
namespace sim {

TimerId TimerSet::Schedule(base::TimeDelta delay, base::OnceClosure task) {
  // The id is only known once scheduled; the timer cannot run before this returns.
  auto id = std::make_shared<TimerId>(0);
  *id = clock_->Schedule(delay, base::BindOnce(&TimerSet::Run, base::Unretained(this), id,
                                               std::move(task)));
  ids_.insert(*id);
  return *id;
}

void TimerSet::Cancel(TimerId id) {
  if (ids_.erase(id)) clock_->Cancel(id);
}

void TimerSet::CancelAll() {
  for (TimerId id : ids_) clock_->Cancel(id);
  ids_.clear();
}

void TimerSet::Run(const std::shared_ptr<TimerId>& id, base::OnceClosure task) {
  ids_.erase(*id);
  std::move(task).Run();
}

}  // namespace sim
}  // namespace tev
