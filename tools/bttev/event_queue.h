#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "event_pattern.h"
#include "stack_side.h"

namespace tev {
namespace bttev {

// The callbacks that arrived and that no expectation has taken yet, oldest first. Pushed from
// any thread; taken on the stack thread.
class EventQueue {
 public:
  // A long scan in a shell session must not grow without bound; the oldest events go first.
  static constexpr size_t kCapacity = 20000;

  void Push(CallbackEvent event);

  // The oldest matching event, removed from the queue; waits up to `limit` for one to arrive.
  // Events queued before it that do not match stay queued.
  std::optional<CallbackEvent> Take(const EventPattern& pattern, std::chrono::milliseconds limit, Variables* captures);
  // Waits up to `limit` for the first event that arrived after every event taken so far (or
  // after the last Clear); it is removed and returned, and `matched` tells whether it is the one
  // the pattern names. Older events that were never taken do not count.
  std::optional<CallbackEvent> TakeNext(const EventPattern& pattern, std::chrono::milliseconds limit,
                                        Variables* captures, bool* matched);
  // Without waiting and without removing.
  std::optional<CallbackEvent> Find(const EventPattern& pattern) const;

  std::vector<CallbackEvent> Pending() const;
  void Clear();

 private:
  mutable std::mutex mutex_;
  std::condition_variable pushed_cv_;
  struct Entry {
    uint64_t sequence;
    CallbackEvent event;
  };
  std::deque<Entry> events_;
  uint64_t pushed_ = 0;
  // The latest event taken or cleared.
  uint64_t taken_ = 0;
};

}  // namespace bttev
}  // namespace tev
