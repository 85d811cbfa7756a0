#include "idle_waiter.h"

#include <pthread.h>

namespace tev {
namespace bttev {

IdleWaiter::IdleWaiter() : thread_(&IdleWaiter::loop, this) {}

IdleWaiter::~IdleWaiter() { Stop(); }

void IdleWaiter::Post(base::OnceClosure job) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (stopping_) return;
  jobs_.push_back(std::move(job));
  posted_cv_.notify_one();
}

void IdleWaiter::Stop() {
  std::deque<base::OnceClosure> dropped;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    dropped.swap(jobs_);
    posted_cv_.notify_one();
  }
  if (thread_.joinable()) thread_.join();
}

void IdleWaiter::loop() {
  pthread_setname_np(pthread_self(), "bttev_idle");
  for (;;) {
    base::OnceClosure job;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      posted_cv_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
      if (stopping_) return;
      job = std::move(jobs_.front());
      jobs_.pop_front();
    }
    std::move(job).Run();
  }
}

}  // namespace bttev
}  // namespace tev
