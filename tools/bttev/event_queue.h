#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "callback_event.h"
#include "event_pattern.h"

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
  // Without waiting and without removing.
  std::optional<CallbackEvent> Find(const EventPattern& pattern) const;

  std::vector<CallbackEvent> Pending() const;
  void Clear();

 private:
  mutable std::mutex mutex_;
  std::condition_variable pushed_cv_;
  std::deque<CallbackEvent> events_;
};

}  // namespace bttev
}  // namespace tev
