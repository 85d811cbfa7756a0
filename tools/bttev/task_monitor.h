#pragma once

#include <atomic>
#include <cstdint>

#include "base/location.h"
#include "base/trace/task_tracer.h"

namespace tev {
namespace bttev {

// Sees the tasks of every base::Thread in the process (the IPC thread, the callback thread, the
// host's), including those of the loaded library, which shares libquarne with the driver.
class TaskObserver {
 public:
  virtual ~TaskObserver() = default;
  // On the posting thread.
  virtual void OnPosted(uint64_t id, const base::Location& from_here) = 0;
  // On the running thread.
  virtual void OnStarted(uint64_t id, const base::Location& from_here) = 0;
  virtual void OnFinished(uint64_t id, const base::Location& from_here) = 0;
};

class TaskMonitor : public base::TaskTracer {
 public:
  // Installs the process-wide monitor on first call. It must be there before any thread starts,
  // and it lives until the process exits, since the IPC thread runs until then.
  static TaskMonitor* Install();

  // Null detaches. The observer must stay alive until detached.
  void SetObserver(TaskObserver* observer);

  uint64_t OnTaskPosted(const base::Location& from_here) override;
  void OnTaskStarted(uint64_t task_id, const base::Location& from_here) override;
  void OnTaskFinished(uint64_t task_id, const base::Location& from_here) override;

 private:
  TaskMonitor() = default;

  std::atomic<uint64_t> next_id_{1};
  std::atomic<TaskObserver*> observer_{nullptr};
};

}  // namespace bttev
}  // namespace tev
