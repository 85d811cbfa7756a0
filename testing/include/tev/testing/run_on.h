#pragma once

#include <type_traits>
#include <utility>

#include "base/bind.h"
#include "base/callback.h"
#include "base/memory/scoped_refptr.h"
#include "base/task_runner.h"
#include "tev/testing/event.h"
#include "tev/testing/future.h"

namespace tev {
namespace testing {
namespace internal {

// Adds a test failure and throws WaitFailed if `task_runner` refuses `task`.
void PostOrThrow(base::TaskRunner& task_runner, base::OnceClosure task, const char* file, int line);

}  // namespace internal

// Runs `task` on `task_runner`, waits for it and returns what it returned: the way to ask "what
// does this look like from that thread". Throws WaitFailed, after adding a test failure, if the
// runner refuses the task or it does not finish within kDeadlockGuardTimeout.
template <typename F>
auto RunOn(const scoped_refptr<base::TaskRunner>& task_runner, F task,
           const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  using Result = std::invoke_result_t<F&>;
  if constexpr (std::is_void_v<Result>) {
    Event done;
    internal::PostOrThrow(*task_runner,
                          base::BindOnce(
                              [](F task, base::RepeatingClosure done) {
                                task();
                                done.Run();
                              },
                              std::move(task), done.GetCallback()),
                          file, line);
    if (!done.Wait(file, line)) throw WaitFailed("RunOn: the task did not finish");
  } else {
    Future<Result> result;
    internal::PostOrThrow(
        *task_runner,
        base::BindOnce([](F task, base::RepeatingCallback<void(Result)> done) { done.Run(task()); },
                       std::move(task), result.GetCallback()),
        file, line);
    return result.Take(file, line);
  }
}

}  // namespace testing
}  // namespace tev
