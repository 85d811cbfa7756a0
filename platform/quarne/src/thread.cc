#include "base/threading/thread.h"

#include <pthread.h>

#include <condition_variable>
#include <deque>
#include <map>
#include <vector>

#include "base/logging.h"
#include "base/threading/thread_task_runner_handle.h"
#include "base/trace/task_tracer.h"

namespace base {

namespace {

struct PendingTask {
  OnceClosure task;
  Location from_here;
  uint64_t trace_id = 0;
};

}  // namespace

class Thread::TaskQueue final : public SingleThreadTaskRunner {
 public:
  using Clock = std::chrono::steady_clock;

  bool PostDelayedTask(const Location& from_here, OnceClosure task, TimeDelta delay) override {
    PendingTask pending{std::move(task), from_here, 0};
    if (TaskTracer* tracer = GetTaskTracer()) pending.trace_id = tracer->OnTaskPosted(from_here);
    std::unique_lock<std::mutex> lock(mutex_);
    if (!accepting_) {
      lock.unlock();
      return false;  // The task is destroyed here, outside the lock.
    }
    if (delay.is_zero()) {
      immediate_.push_back(std::move(pending));
    } else {
      delayed_.emplace(Clock::now() + delay.ToChrono(), std::move(pending));
    }
    if (waiting_) wakeup_.notify_one();
    return true;
  }

  bool RunsTasksInCurrentSequence() const override {
    return std::this_thread::get_id() == thread_id_.load(std::memory_order_acquire);
  }

  void Run() {
    thread_id_.store(std::this_thread::get_id(), std::memory_order_release);
    ThreadTaskRunnerHandle handle(this);
    PendingTask pending;
    while (TakeNext(&pending)) {
      TaskTracer* tracer = GetTaskTracer();
      if (tracer) tracer->OnTaskStarted(pending.trace_id, pending.from_here);
      std::move(pending.task).Run();
      if (tracer) tracer->OnTaskFinished(pending.trace_id, pending.from_here);
    }
    DestroyLeftovers();
    // The OS reuses thread ids: a later thread must not pass for this finished sequence.
    thread_id_.store(std::thread::id(), std::memory_order_release);
  }

  void QuitWhenIdle() {
    std::lock_guard<std::mutex> lock(mutex_);
    quit_when_idle_ = true;
    wakeup_.notify_one();
  }

 private:
  friend class RefCountedThreadSafe<TaskQueue>;
  ~TaskQueue() override = default;

  // Waits for the next runnable task; false once quitting and idle.
  bool TakeNext(PendingTask* task) {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      const Clock::time_point now = Clock::now();
      while (!delayed_.empty() && delayed_.begin()->first <= now) {
        immediate_.push_back(std::move(delayed_.begin()->second));
        delayed_.erase(delayed_.begin());
      }
      if (!immediate_.empty()) {
        *task = std::move(immediate_.front());
        immediate_.pop_front();
        return true;
      }
      if (quit_when_idle_) {
        accepting_ = false;
        return false;
      }
      waiting_ = true;
      if (delayed_.empty()) {
        wakeup_.wait(lock);
      } else {
        wakeup_.wait_until(lock, delayed_.begin()->first);
      }
      waiting_ = false;
    }
  }

  void DestroyLeftovers() {
    std::deque<PendingTask> immediate;
    std::multimap<Clock::time_point, PendingTask> delayed;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      immediate.swap(immediate_);
      delayed.swap(delayed_);
    }
  }

  std::mutex mutex_;
  std::condition_variable wakeup_;
  std::deque<PendingTask> immediate_;
  std::multimap<Clock::time_point, PendingTask> delayed_;
  bool accepting_ = true;
  bool quit_when_idle_ = false;
  bool waiting_ = false;
  std::atomic<std::thread::id> thread_id_{};
};

Thread::Thread(const std::string& name) : name_(name) {}

Thread::~Thread() { Stop(); }

bool Thread::Start() { return StartWithOptions(Options()); }

bool Thread::StartWithOptions(const Options& options) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (queue_) return false;
  scoped_refptr<TaskQueue> queue = MakeRefCounted<TaskQueue>();
  // std::thread offers no stack size; the default serves every thread here.
  (void)options.stack_size;
  queue_ = queue;
  thread_ = std::thread(&Thread::ThreadMain, this, std::move(queue));
  return true;
}

void Thread::ThreadMain(scoped_refptr<TaskQueue> queue) {
  // The OS keeps at most 15 characters of a thread name.
  pthread_setname_np(pthread_self(), name_.substr(0, 15).c_str());
  queue->Run();
}

void Thread::Stop() {
  scoped_refptr<TaskQueue> queue;
  std::thread thread;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    queue.swap(queue_);
    thread.swap(thread_);
  }
  if (!queue) return;
  queue->QuitWhenIdle();
  if (thread.get_id() == std::this_thread::get_id()) {
    // A thread cannot join itself: let it finish on its own.
    LOG(ERROR) << "Thread::Stop called on thread " << name_ << " itself; detaching";
    thread.detach();
    return;
  }
  thread.join();
}

bool Thread::IsRunning() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return static_cast<bool>(queue_);
}

scoped_refptr<SingleThreadTaskRunner> Thread::task_runner() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return queue_;
}

}  // namespace base
