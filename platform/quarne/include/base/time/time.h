#pragma once

#include <chrono>
#include <cstdint>

namespace base {

class TimeDelta {
 public:
  constexpr TimeDelta() = default;

  static constexpr TimeDelta FromMicroseconds(int64_t us) { return TimeDelta(us); }
  static constexpr TimeDelta FromMilliseconds(int64_t ms) { return TimeDelta(ms * 1000); }
  static constexpr TimeDelta FromSeconds(int64_t s) { return TimeDelta(s * 1000000); }

  constexpr int64_t InMicroseconds() const { return us_; }
  constexpr int64_t InMilliseconds() const { return us_ / 1000; }
  constexpr bool is_zero() const { return us_ == 0; }
  std::chrono::microseconds ToChrono() const { return std::chrono::microseconds(us_); }

  constexpr TimeDelta operator+(TimeDelta other) const { return TimeDelta(us_ + other.us_); }
  constexpr TimeDelta operator-(TimeDelta other) const { return TimeDelta(us_ - other.us_); }
  constexpr bool operator<(TimeDelta other) const { return us_ < other.us_; }
  constexpr bool operator<=(TimeDelta other) const { return us_ <= other.us_; }
  constexpr bool operator==(TimeDelta other) const { return us_ == other.us_; }
  constexpr bool operator!=(TimeDelta other) const { return us_ != other.us_; }

 private:
  constexpr explicit TimeDelta(int64_t us) : us_(us) {}
  int64_t us_ = 0;
};

}  // namespace base
