#include "tev/testing/event.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/bind.h"

namespace tev {
namespace testing {
namespace internal {

std::string ReportTimeout(const std::string& what, std::chrono::milliseconds timeout,
                          const char* file, int line) {
  std::ostringstream message;
  message << "Gave up waiting for " << what << " after " << timeout.count()
          << " ms; this guards against a deadlock or a callback that never runs.";
  ADD_FAILURE_AT(file, line) << message.str();
  return message.str();
}

}  // namespace internal

Event::Event(std::chrono::milliseconds timeout)
    : timeout_(timeout), state_(std::make_shared<State>()) {}

void Event::Signal() { SignalState(state_); }

bool Event::IsSignaled() const {
  std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->signaled;
}

bool Event::Wait(const char* file, int line) {
  {
    std::unique_lock<std::mutex> lock(state_->mutex);
    if (state_->signaled_cv.wait_for(lock, timeout_, [this] { return state_->signaled; })) {
      return true;
    }
  }
  internal::ReportTimeout("tev::testing::Event to be signalled", timeout_, file, line);
  return false;
}

base::RepeatingClosure Event::GetCallback() { return base::BindRepeating(&SignalState, state_); }

void Event::SignalState(const std::shared_ptr<State>& state) {
  std::lock_guard<std::mutex> lock(state->mutex);
  state->signaled = true;
  state->signaled_cv.notify_all();
}

}  // namespace testing
}  // namespace tev
