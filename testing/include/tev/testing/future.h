#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "base/bind.h"
#include "base/callback.h"
#include "tev/testing/event.h"

namespace tev {
namespace testing {

// Receives the arguments of a callback that runs on some other thread. Future<int> holds an int;
// Future<int, std::string> holds a std::tuple<int, std::string>. Reference parameters
// (Future<const std::string&>) are stored by value. One value at a time: a second one arriving
// before Take() fails the test, which is how a callback run twice shows up.
template <typename... Ts>
class Future {
  static_assert(sizeof...(Ts) > 0, "a callback without arguments wants tev::testing::Event");

 public:
  using ValueType = std::conditional_t<sizeof...(Ts) == 1,
                                       std::decay_t<std::tuple_element_t<0, std::tuple<Ts...>>>,
                                       std::tuple<std::decay_t<Ts>...>>;

  explicit Future(std::chrono::milliseconds timeout = kDeadlockGuardTimeout)
      : timeout_(timeout), state_(std::make_shared<State>()) {}

  // Stores its arguments when run. Shares the Future's state, so it may outlive the Future.
  base::RepeatingCallback<void(Ts...)> GetCallback() {
    return base::BindRepeating(&State::Set, state_);
  }

  void SetValue(Ts... values) { state_->Set(std::forward<Ts>(values)...); }

  bool IsReady() const {
    std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->value.has_value();
  }

  // Blocks until a value is there. On time-out adds a test failure pointing at the caller and
  // returns false.
  bool Wait(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (AwaitValue()) return true;
    internal::ReportTimeout(kWhat, timeout_, file, line);
    return false;
  }

  // Waits, then returns the value, which stays until Take(). Throws WaitFailed on time-out.
  const ValueType& Get(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    WaitOrThrow(file, line);
    std::lock_guard<std::mutex> lock(state_->mutex);
    return *state_->value;
  }

  // Waits, then moves the value out, leaving the Future ready for the next one. Throws
  // WaitFailed on time-out.
  ValueType Take(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    WaitOrThrow(file, line);
    std::lock_guard<std::mutex> lock(state_->mutex);
    ValueType value = std::move(*state_->value);
    state_->value.reset();
    return value;
  }

 private:
  struct State {
    void Set(Ts... values) {
      std::lock_guard<std::mutex> lock(mutex);
      if (value.has_value()) {
        ADD_FAILURE() << "tev::testing::Future received a second value before the first was "
                         "taken (callback run more than once?)";
        return;
      }
      value.emplace(std::forward<Ts>(values)...);
      ready_cv.notify_all();
    }

    std::mutex mutex;
    std::condition_variable ready_cv;
    std::optional<ValueType> value;
  };

  static constexpr const char* kWhat = "tev::testing::Future to receive a value";

  bool AwaitValue() {
    std::unique_lock<std::mutex> lock(state_->mutex);
    return state_->ready_cv.wait_for(lock, timeout_, [this] { return state_->value.has_value(); });
  }

  void WaitOrThrow(const char* file, int line) {
    if (!AwaitValue()) throw WaitFailed(internal::ReportTimeout(kWhat, timeout_, file, line));
  }

  std::chrono::milliseconds timeout_;
  std::shared_ptr<State> state_;
};

}  // namespace testing
}  // namespace tev
