#pragma once

#include "base/memory/scoped_refptr.h"
#include "base/single_thread_task_runner.h"

namespace base {

// The task runner of the thread that is running now, if that thread runs one.
class ThreadTaskRunnerHandle {
 public:
  static scoped_refptr<SingleThreadTaskRunner> Get();
  static bool IsSet();

  // Makes `task_runner` current on this thread for the handle's lifetime.
  explicit ThreadTaskRunnerHandle(scoped_refptr<SingleThreadTaskRunner> task_runner);
  ~ThreadTaskRunnerHandle();
  ThreadTaskRunnerHandle(const ThreadTaskRunnerHandle&) = delete;
  ThreadTaskRunnerHandle& operator=(const ThreadTaskRunnerHandle&) = delete;

 private:
  scoped_refptr<SingleThreadTaskRunner> task_runner_;
  SingleThreadTaskRunner* previous_;
};

}  // namespace base
