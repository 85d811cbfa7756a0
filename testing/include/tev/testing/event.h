#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

#include "base/callback.h"

namespace tev {
namespace testing {

// How long any wait of this kit blocks before it fails the test. A guard against deadlocks
// hanging CI, not a timing expectation: nothing correct ever comes close to it.
inline constexpr std::chrono::milliseconds kDeadlockGuardTimeout = std::chrono::seconds(30);

// Thrown by waits that have no value to return (the guard fired, or the task that would produce
// it was refused); gtest reports it as a failure of the running test and still runs its tear-down.
class WaitFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

namespace internal {

// Adds a gtest failure at `file`:`line` explaining that `what` never happened; returns the text.
std::string ReportTimeout(const std::string& what, std::chrono::milliseconds timeout,
                          const char* file, int line);

}  // namespace internal

// A one-way latch that any thread may signal. Its callbacks share its state, so they stay safe to
// run after the Event is gone.
class Event {
 public:
  explicit Event(std::chrono::milliseconds timeout = kDeadlockGuardTimeout);

  void Signal();
  bool IsSignaled() const;

  // Blocks until signalled. On time-out adds a test failure pointing at the caller and returns
  // false.
  bool Wait(const char* file = __builtin_FILE(), int line = __builtin_LINE());

  // Signals when run; converts to a base::OnceClosure.
  base::RepeatingClosure GetCallback();

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable signaled_cv;
    bool signaled = false;
  };

  static void SignalState(const std::shared_ptr<State>& state);

  std::chrono::milliseconds timeout_;
  std::shared_ptr<State> state_;
};

}  // namespace testing
}  // namespace tev
