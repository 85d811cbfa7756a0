#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "base/memory/scoped_refptr.h"
#include "base/single_thread_task_runner.h"

namespace base {

// A named OS thread running a task queue.
class Thread {
 public:
  struct Options {
    Options() = default;
    // Passed to the OS; 0 keeps the default.
    size_t stack_size = 0;
  };

  explicit Thread(const std::string& name);
  // Stops the thread if it is still running.
  virtual ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  bool Start();
  bool StartWithOptions(const Options& options);

  // Runs every task posted before the queue went idle, then joins. Tasks posted after that are
  // destroyed unrun, as are delayed tasks not yet due.
  void Stop();

  bool IsRunning() const;
  scoped_refptr<SingleThreadTaskRunner> task_runner() const;
  const std::string& thread_name() const { return name_; }

  class TaskQueue;

 private:
  void ThreadMain(scoped_refptr<TaskQueue> queue);

  const std::string name_;
  mutable std::mutex mutex_;
  std::thread thread_;
  scoped_refptr<TaskQueue> queue_;
};

}  // namespace base
