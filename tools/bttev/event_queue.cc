#include "event_queue.h"

#include <algorithm>

namespace tev {
namespace bttev {

void EventQueue::Push(CallbackEvent event) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (events_.size() == kCapacity) events_.pop_front();
  events_.push_back(Entry{++pushed_, std::move(event)});
  pushed_cv_.notify_all();
}

std::optional<CallbackEvent> EventQueue::Take(const EventPattern& pattern, std::chrono::milliseconds limit,
                                              Variables* captures) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    for (auto it = events_.begin(); it != events_.end(); ++it) {
      if (Matches(it->event, pattern, captures)) {
        taken_ = std::max(taken_, it->sequence);
        CallbackEvent event = std::move(it->event);
        events_.erase(it);
        return event;
      }
    }
    if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
    pushed_cv_.wait_until(lock, deadline);
  }
}

std::optional<CallbackEvent> EventQueue::TakeNext(const EventPattern& pattern, std::chrono::milliseconds limit,
                                                  Variables* captures, bool* matched) {
  std::unique_lock<std::mutex> lock(mutex_);
  auto next = [this] {
    return std::find_if(events_.begin(), events_.end(), [this](const Entry& entry) { return entry.sequence > taken_; });
  };
  if (!pushed_cv_.wait_for(lock, limit, [&] { return next() != events_.end(); })) return std::nullopt;
  auto it = next();
  taken_ = it->sequence;
  CallbackEvent event = std::move(it->event);
  events_.erase(it);
  *matched = Matches(event, pattern, captures);
  return event;
}

std::optional<CallbackEvent> EventQueue::Find(const EventPattern& pattern) const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const Entry& entry : events_) {
    if (Matches(entry.event, pattern, nullptr)) return entry.event;
  }
  return std::nullopt;
}

std::vector<CallbackEvent> EventQueue::Pending() const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<CallbackEvent> pending;
  for (const Entry& entry : events_) pending.push_back(entry.event);
  return pending;
}

void EventQueue::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  events_.clear();
  taken_ = pushed_;
}

}  // namespace bttev
}  // namespace tev
