#pragma once

#include <cstdint>

#include "base/location.h"

namespace base {

// Sees every task of every base::Thread being posted, started and finished, for timeline traces.
// Install it before the threads it should see start; while none is installed a post costs one
// atomic load more.
class TaskTracer {
 public:
  virtual ~TaskTracer() = default;
  // On the posting thread. Returns the id the task is known by from then on.
  virtual uint64_t OnTaskPosted(const Location& from_here) = 0;
  // On the running thread, just before and just after the task runs.
  virtual void OnTaskStarted(uint64_t task_id, const Location& from_here) = 0;
  virtual void OnTaskFinished(uint64_t task_id, const Location& from_here) = 0;
};

// Null uninstalls. The tracer must outlive every thread that may still post or run tasks.
void SetTaskTracer(TaskTracer* tracer);
TaskTracer* GetTaskTracer();

}  // namespace base
