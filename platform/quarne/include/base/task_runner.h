#pragma once

#include "base/callback.h"
#include "base/location.h"
#include "base/memory/ref_counted.h"
#include "base/time/time.h"

namespace base {

// Runs posted tasks somewhere else. PostTask() is safe from any thread; a task that cannot run
// (its runner has stopped) is destroyed and false is returned.
class TaskRunner : public RefCountedThreadSafe<TaskRunner> {
 public:
  bool PostTask(const Location& from_here, OnceClosure task) {
    return PostDelayedTask(from_here, std::move(task), TimeDelta());
  }
  virtual bool PostDelayedTask(const Location& from_here, OnceClosure task, TimeDelta delay) = 0;

 protected:
  friend class RefCountedThreadSafe<TaskRunner>;
  TaskRunner() = default;
  virtual ~TaskRunner() = default;
};

// Runs its tasks one at a time, in posting order (delayed ones when due).
class SequencedTaskRunner : public TaskRunner {
 public:
  virtual bool RunsTasksInCurrentSequence() const = 0;
};

// A sequence bound to one OS thread.
class SingleThreadTaskRunner : public SequencedTaskRunner {
 public:
  bool BelongsToCurrentThread() const { return RunsTasksInCurrentSequence(); }
};

}  // namespace base
