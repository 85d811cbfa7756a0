#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "base/callback_forward.h"

namespace base {
namespace internal {

// Type-erased callable shared by both callback kinds. A RepeatingCallback shares one instance
// between its copies; a OnceCallback holds the only reference and gives it up when run.
template <typename R, typename... Args>
class CallableBase {
 public:
  virtual ~CallableBase() = default;
  virtual R Run(Args&&... args) = 0;
};

template <typename R, typename... Args>
using CallablePtr = std::shared_ptr<CallableBase<R, Args...>>;

}  // namespace internal

template <typename R, typename... Args>
class OnceCallback<R(Args...)> {
 public:
  using RunType = R(Args...);

  OnceCallback() = default;
  OnceCallback(std::nullptr_t) {}
  explicit OnceCallback(internal::CallablePtr<R, Args...> callable) : callable_(std::move(callable)) {}
  OnceCallback(RepeatingCallback<R(Args...)> other) : callable_(std::move(other).TakeCallable()) {}

  OnceCallback(const OnceCallback&) = delete;
  OnceCallback& operator=(const OnceCallback&) = delete;
  OnceCallback(OnceCallback&&) noexcept = default;
  OnceCallback& operator=(OnceCallback&&) noexcept = default;

  bool is_null() const { return !callable_; }
  explicit operator bool() const { return !is_null(); }
  void Reset() { callable_.reset(); }

  R Run(Args... args) && {
    internal::CallablePtr<R, Args...> callable = std::move(callable_);
    return callable->Run(std::forward<Args>(args)...);
  }

 private:
  internal::CallablePtr<R, Args...> callable_;
};

template <typename R, typename... Args>
class RepeatingCallback<R(Args...)> {
 public:
  using RunType = R(Args...);

  RepeatingCallback() = default;
  RepeatingCallback(std::nullptr_t) {}
  explicit RepeatingCallback(internal::CallablePtr<R, Args...> callable)
      : callable_(std::move(callable)) {}

  bool is_null() const { return !callable_; }
  explicit operator bool() const { return !is_null(); }
  void Reset() { callable_.reset(); }

  bool Equals(const RepeatingCallback& other) const { return callable_ == other.callable_; }

  R Run(Args... args) const& {
    // Keep the callable alive even if running it resets this callback.
    internal::CallablePtr<R, Args...> callable = callable_;
    return callable->Run(std::forward<Args>(args)...);
  }

  R Run(Args... args) && {
    internal::CallablePtr<R, Args...> callable = std::move(callable_);
    return callable->Run(std::forward<Args>(args)...);
  }

  internal::CallablePtr<R, Args...> TakeCallable() && { return std::move(callable_); }

 private:
  internal::CallablePtr<R, Args...> callable_;
};

}  // namespace base
