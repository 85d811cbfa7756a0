#pragma once

#include <chrono>
#include <string>

namespace base {

// One piece of work the process has not finished: a posted task until it has run or been
// destroyed unrun, a message until a reader has taken it. The process is idle when none is held.
// Work that starts more work holds its own piece until after the new one is counted, so the count
// reaches zero only when everything has come to rest. Move-only; costs one atomic operation to
// take and one to give back.
class PendingWork {
 public:
  // Holds nothing.
  PendingWork() = default;
  // Any thread.
  static PendingWork Begin();
  ~PendingWork() { Finish(); }
  PendingWork(PendingWork&& other) noexcept : held_(other.held_) { other.held_ = false; }
  PendingWork& operator=(PendingWork&& other) noexcept;
  PendingWork(const PendingWork&) = delete;
  PendingWork& operator=(const PendingWork&) = delete;

 private:
  void Finish();

  bool held_ = false;
};

// Something that holds PendingWork and can say what it is, for the report of a wait for idle
// that gave up. Register it once it can answer, unregister it before it stops being able to.
class WorkHolder {
 public:
  // Any thread, rarely: the work held right now, or empty.
  virtual std::string DescribeWork() = 0;

 protected:
  ~WorkHolder() = default;
};
void RegisterWorkHolder(WorkHolder* holder);
void UnregisterWorkHolder(WorkHolder* holder);

// Blocks until the process is idle, or has been at some moment since the call: no task queued or
// running on any base::Thread, no message waiting in any pipe. Delayed tasks count once due.
// Returns false after `limit`, with `busy` saying which holders still had work. Threads other
// than base::Thread ones must not post meanwhile, or idle may never come. Not from a task of a
// base::Thread: that task would keep the process busy.
bool WaitForProcessIdle(std::chrono::milliseconds limit, std::string* busy);

}  // namespace base
