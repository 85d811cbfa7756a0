#include "tev/testing/flush.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>

#include "base/bind.h"
#include "base/threading/thread.h"
#include "tev/testing/event.h"

namespace tev {
namespace testing {
namespace {

// Rides in the flush task: tells the waiter whether the task ran or was destroyed unrun, so a
// runner that drops it ends the wait at once.
class FlushOutcome {
 public:
  enum class State { kPending, kRan, kDropped };

  class Token {
   public:
    explicit Token(std::shared_ptr<FlushOutcome> outcome) : outcome_(std::move(outcome)) {}
    ~Token() { outcome_->Finish(State::kDropped); }
    Token(const Token&) = delete;
    Token& operator=(const Token&) = delete;

    void Ran() { outcome_->Finish(State::kRan); }

   private:
    std::shared_ptr<FlushOutcome> outcome_;
  };

  // kPending if the task neither ran nor was dropped in time.
  State Wait(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    finished_cv_.wait_for(lock, timeout, [this] { return state_ != State::kPending; });
    return state_;
  }

 private:
  // The first outcome sticks: a token that ran is destroyed afterwards.
  void Finish(State state) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != State::kPending) return;
    state_ = state;
    finished_cv_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable finished_cv_;
  State state_ = State::kPending;
};

}  // namespace

bool FlushTaskRunner(scoped_refptr<base::SequencedTaskRunner> task_runner, const char* file,
                     int line) {
  if (!task_runner) return false;
  if (task_runner->RunsTasksInCurrentSequence()) {
    ADD_FAILURE_AT(file, line) << "FlushTaskRunner called on the sequence it would wait for";
    return false;
  }
  auto outcome = std::make_shared<FlushOutcome>();
  const bool posted = task_runner->PostTask(
      FROM_HERE, base::BindOnce([](std::unique_ptr<FlushOutcome::Token> token) { token->Ran(); },
                                std::make_unique<FlushOutcome::Token>(outcome)));
  if (!posted) return false;
  switch (outcome->Wait(kDeadlockGuardTimeout)) {
    case FlushOutcome::State::kRan:
      return true;
    case FlushOutcome::State::kDropped:
      return false;
    case FlushOutcome::State::kPending:
      break;
  }
  internal::ReportTimeout("a flush task to run", kDeadlockGuardTimeout, file, line);
  return false;
}

bool FlushThread(const base::Thread& thread, const char* file, int line) {
  return FlushTaskRunner(thread.task_runner(), file, line);
}

}  // namespace testing
}  // namespace tev
