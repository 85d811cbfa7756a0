#include "base/threading/thread_task_runner_handle.h"

#include "base/threading/sequenced_task_runner_handle.h"

namespace base {
namespace {
thread_local SingleThreadTaskRunner* current_task_runner = nullptr;
}  // namespace

scoped_refptr<SingleThreadTaskRunner> ThreadTaskRunnerHandle::Get() { return current_task_runner; }

bool ThreadTaskRunnerHandle::IsSet() { return current_task_runner != nullptr; }

ThreadTaskRunnerHandle::ThreadTaskRunnerHandle(scoped_refptr<SingleThreadTaskRunner> task_runner)
    : task_runner_(std::move(task_runner)), previous_(current_task_runner) {
  current_task_runner = task_runner_.get();
}

ThreadTaskRunnerHandle::~ThreadTaskRunnerHandle() { current_task_runner = previous_; }

scoped_refptr<SequencedTaskRunner> SequencedTaskRunnerHandle::Get() { return current_task_runner; }

bool SequencedTaskRunnerHandle::IsSet() { return current_task_runner != nullptr; }

}  // namespace base
