#pragma once

#include <memory>
#include <mutex>

#include "base/memory/scoped_refptr.h"
#include "base/single_thread_task_runner.h"

namespace base {
class Thread;
}  // namespace base

namespace tev {

// The IPC thread: every pipe of the process is read and written there.
class MojoThread {
 public:
  MojoThread();
  ~MojoThread();
  MojoThread(const MojoThread&) = delete;
  MojoThread& operator=(const MojoThread&) = delete;

  scoped_refptr<base::SingleThreadTaskRunner> getTaskRunner() const;

 private:
  std::unique_ptr<base::Thread> mThread;
};

// Process-wide IPC support. Its thread starts on first use and is stopped at process exit.
class MojoProcessSupport {
 public:
  static MojoProcessSupport* GetInstance();

  // Null while IPC is unavailable.
  MojoThread* getThread();

  // Lets tests run the process as if IPC could not be brought up.
  static void SetIpcAvailableForTesting(bool available);

 private:
  MojoProcessSupport();
  ~MojoProcessSupport();

  std::mutex mMutex;
  std::unique_ptr<MojoThread> mThread;
};

}  // namespace tev
