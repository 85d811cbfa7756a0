#pragma once

#include "base/memory/scoped_refptr.h"
#include "base/sequenced_task_runner.h"

namespace base {

// The sequence running now; every sequence here is a thread's.
class SequencedTaskRunnerHandle {
 public:
  static scoped_refptr<SequencedTaskRunner> Get();
  static bool IsSet();
};

}  // namespace base
