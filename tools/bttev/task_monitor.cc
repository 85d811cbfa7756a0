#include "task_monitor.h"

namespace tev {
namespace bttev {

TaskMonitor* TaskMonitor::Install() {
  // Never destroyed: threads of the loaded library may post until the very end of the process.
  static TaskMonitor* monitor = [] {
    auto* created = new TaskMonitor();
    base::SetTaskTracer(created);
    return created;
  }();
  return monitor;
}

void TaskMonitor::SetObserver(TaskObserver* observer) { observer_.store(observer, std::memory_order_release); }

uint64_t TaskMonitor::OnTaskPosted(const base::Location& from_here) {
  const uint64_t id = next_id_.fetch_add(1, std::memory_order_relaxed);
  if (TaskObserver* observer = observer_.load(std::memory_order_acquire)) observer->OnPosted(id, from_here);
  return id;
}

void TaskMonitor::OnTaskStarted(uint64_t task_id, const base::Location& from_here) {
  if (TaskObserver* observer = observer_.load(std::memory_order_acquire)) observer->OnStarted(task_id, from_here);
}

void TaskMonitor::OnTaskFinished(uint64_t task_id, const base::Location& from_here) {
  if (TaskObserver* observer = observer_.load(std::memory_order_acquire)) observer->OnFinished(task_id, from_here);
}

}  // namespace bttev
}  // namespace tev
