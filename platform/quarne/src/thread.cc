#include "base/threading/thread.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <vector>

#include "base/logging.h"
#include "base/threading/process_idle.h"
#include "base/threading/thread_task_runner_handle.h"
#include "base/trace/task_tracer.h"

namespace base {

namespace {

struct PendingTask {
  // First, so that it is given back only once the task and what it bound are gone: whatever
  // their destruction posts is counted before this stops counting.
  PendingWork work;
  OnceClosure task;
  Location from_here;
  uint64_t trace_id = 0;
};

}  // namespace

class Thread::TaskQueue final : public SingleThreadTaskRunner, public WorkHolder {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::microseconds kPollBeforeSleep{50};

  explicit TaskQueue(std::string name) : name_(std::move(name)) { RegisterWorkHolder(this); }

  bool PostDelayedTask(const Location& from_here, OnceClosure task, TimeDelta delay) override {
    // A delayed task is not work yet: it counts from when it is due.
    PendingTask pending{delay.is_zero() ? PendingWork::Begin() : PendingWork(), std::move(task),
                        from_here, 0};
    if (TaskTracer* tracer = GetTaskTracer()) pending.trace_id = tracer->OnTaskPosted(from_here);
    bool wake = false;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (!accepting_) return false;  // `pending` is destroyed after the lock is released.
      if (delay.is_zero()) {
        incoming_.push_back(std::move(pending));
      } else {
        delayed_.emplace(Clock::now() + delay.ToChrono(), std::move(pending));
      }
      news_.store(true, std::memory_order_release);
      // Only the first post after the thread fell asleep pays for waking it.
      wake = waiting_;
      waiting_ = false;
    }
    // Outside the lock, so that the woken thread does not at once block on it.
    if (wake) wakeup_.notify_one();
    return true;
  }

  bool RunsTasksInCurrentSequence() const override {
    return std::this_thread::get_id() == thread_id_.load(std::memory_order_acquire);
  }

  void Run() {
    thread_id_.store(std::this_thread::get_id(), std::memory_order_release);
    ThreadTaskRunnerHandle handle(this);
    // Reused batch after batch: once the queue has grown to its working size, tasks are taken
    // and run without allocating, and the lock is taken once per batch rather than per task.
    std::vector<PendingTask> batch;
    while (TakeBatch(&batch)) {
      for (PendingTask& pending : batch) {
        // Run() destroys the bound state before it returns; only then is the work done.
        const PendingWork work = std::move(pending.work);
        TaskTracer* tracer = GetTaskTracer();
        if (tracer) tracer->OnTaskStarted(pending.trace_id, pending.from_here);
        std::move(pending.task).Run();
        if (tracer) tracer->OnTaskFinished(pending.trace_id, pending.from_here);
      }
      batch.clear();
    }
    DestroyLeftovers();
    // The OS reuses thread ids: a later thread must not pass for this finished sequence.
    thread_id_.store(std::thread::id(), std::memory_order_release);
  }

  std::string DescribeWork() override {
    std::lock_guard<std::mutex> lock(mutex_);
    if (running_ == 0 && incoming_.empty()) return "";
    return name_ + ": " + std::to_string(running_) + " task(s) taken to run, " +
           std::to_string(incoming_.size()) + " queued";
  }

  void QuitWhenIdle() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      quit_when_idle_ = true;
      news_.store(true, std::memory_order_release);
    }
    wakeup_.notify_one();
  }

 private:
  friend class RefCountedThreadSafe<TaskQueue>;
  ~TaskQueue() override { UnregisterWorkHolder(this); }

  // Swaps every runnable task, in order, into the empty `batch`, waiting for one if there is
  // none; false once quitting and idle. Tasks posted while a batch runs go to the next one, so
  // order and Stop()'s draining are as if they were taken one by one.
  bool TakeBatch(std::vector<PendingTask>* batch) {
    std::unique_lock<std::mutex> lock(mutex_);
    running_ = 0;
    bool polled = false;
    for (;;) {
      if (!delayed_.empty()) {
        const Clock::time_point now = Clock::now();
        while (!delayed_.empty() && delayed_.begin()->first <= now) {
          incoming_.push_back(std::move(delayed_.begin()->second));
          incoming_.back().work = PendingWork::Begin();
          delayed_.erase(delayed_.begin());
        }
      }
      if (!incoming_.empty()) {
        batch->swap(incoming_);
        running_ = batch->size();
        return true;
      }
      if (quit_when_idle_) {
        accepting_ = false;
        return false;
      }
      if (!polled) {
        polled = true;
        PollBeforeSleeping(lock);
        continue;
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

  // Keeps the thread awake a moment before it sleeps, yielding the CPU to whatever else is
  // runnable. A post within that moment costs the poster no wake-up (a system call, and on a
  // virtual machine an exit to wake the idle CPU) and its task no wake-up latency; an idle
  // thread pays at most this much CPU per burst of work. Called and returns with the lock held.
  void PollBeforeSleeping(std::unique_lock<std::mutex>& lock) {
    Clock::time_point until = Clock::now() + kPollBeforeSleep;
    if (!delayed_.empty()) until = std::min(until, delayed_.begin()->first);
    news_.store(false, std::memory_order_relaxed);
    lock.unlock();
    while (!news_.load(std::memory_order_acquire) && Clock::now() < until) {
      std::this_thread::yield();
    }
    lock.lock();
  }

  void DestroyLeftovers() {
    std::vector<PendingTask> incoming;
    std::multimap<Clock::time_point, PendingTask> delayed;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      incoming.swap(incoming_);
      delayed.swap(delayed_);
    }
  }

  const std::string name_;
  std::mutex mutex_;
  std::condition_variable wakeup_;
  std::vector<PendingTask> incoming_;
  std::multimap<Clock::time_point, PendingTask> delayed_;
  // The size of the batch being run, for DescribeWork().
  size_t running_ = 0;
  bool accepting_ = true;
  bool quit_when_idle_ = false;
  bool waiting_ = false;
  // Set under the lock by every post and by QuitWhenIdle(); read without it while polling.
  std::atomic<bool> news_{false};
  std::atomic<std::thread::id> thread_id_{};
};

Thread::Thread(const std::string& name) : name_(name) {}

Thread::~Thread() { Stop(); }

bool Thread::Start() { return StartWithOptions(Options()); }

bool Thread::StartWithOptions(const Options& options) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (queue_) return false;
  scoped_refptr<TaskQueue> queue = MakeRefCounted<TaskQueue>(name_);
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
