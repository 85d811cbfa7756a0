#include "tev/testing/run_on.h"

#include <gtest/gtest.h>

#include "base/location.h"

namespace tev {
namespace testing {
namespace internal {

void PostOrThrow(base::TaskRunner& task_runner, base::OnceClosure task, const char* file,
                 int line) {
  if (task_runner.PostTask(FROM_HERE, std::move(task))) return;
  ADD_FAILURE_AT(file, line) << "RunOn: the task runner refused the task";
  throw WaitFailed("RunOn: the task runner refused the task");
}

}  // namespace internal
}  // namespace testing
}  // namespace tev
