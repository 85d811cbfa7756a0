#include "event_queue.h"

namespace tev {
namespace bttev {

void EventQueue::Push(CallbackEvent event) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (events_.size() == kCapacity) events_.pop_front();
  events_.push_back(std::move(event));
  pushed_cv_.notify_all();
}

std::optional<CallbackEvent> EventQueue::Take(const EventPattern& pattern, std::chrono::milliseconds limit,
                                              Variables* captures) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    for (auto it = events_.begin(); it != events_.end(); ++it) {
      if (Matches(*it, pattern, captures)) {
        CallbackEvent event = std::move(*it);
        events_.erase(it);
        return event;
      }
    }
    if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
    pushed_cv_.wait_until(lock, deadline);
  }
}

std::optional<CallbackEvent> EventQueue::Find(const EventPattern& pattern) const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const CallbackEvent& event : events_) {
    if (Matches(event, pattern, nullptr)) return event;
  }
  return std::nullopt;
}

std::vector<CallbackEvent> EventQueue::Pending() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::vector<CallbackEvent>(events_.begin(), events_.end());
}

void EventQueue::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  events_.clear();
}

}  // namespace bttev
}  // namespace tev
