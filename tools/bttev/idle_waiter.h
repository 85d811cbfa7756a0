#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "base/callback.h"

namespace tev {
namespace bttev {

// Runs jobs one at a time on a thread of its own that is no base::Thread, for jobs that wait
// until the whole process is idle: a task of a base::Thread would keep the process busy itself.
class IdleWaiter {
 public:
  IdleWaiter();
  // Stop()s.
  ~IdleWaiter();
  IdleWaiter(const IdleWaiter&) = delete;
  IdleWaiter& operator=(const IdleWaiter&) = delete;

  // Any thread. After Stop() the job is destroyed unrun.
  void Post(base::OnceClosure job);
  // Waits for the job under way; the others are destroyed unrun.
  void Stop();

 private:
  void loop();

  std::mutex mutex_;
  std::condition_variable posted_cv_;
  std::deque<base::OnceClosure> jobs_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace bttev
}  // namespace tev
