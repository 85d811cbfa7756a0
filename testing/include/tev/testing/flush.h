#pragma once

#include "base/memory/scoped_refptr.h"
#include "base/sequenced_task_runner.h"

namespace base {
class Thread;
}  // namespace base

namespace tev {
namespace testing {

// Posts a task to `task_runner` and blocks until it has run, so every task posted there before
// it has run too. Returns false without waiting if the runner is null or refuses the task, or as
// soon as it destroys the task unrun. Calling it from the runner's own sequence would deadlock, so
// that fails the test instead. Past kDeadlockGuardTimeout it fails the test and returns false.
bool FlushTaskRunner(scoped_refptr<base::SequencedTaskRunner> task_runner,
                     const char* file = __builtin_FILE(), int line = __builtin_LINE());

// FlushTaskRunner() on the thread's runner; false if the thread is not running.
bool FlushThread(const base::Thread& thread, const char* file = __builtin_FILE(),
                 int line = __builtin_LINE());

}  // namespace testing
}  // namespace tev
