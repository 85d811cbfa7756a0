#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "bench_support.h"
#include "tev/testing/stack/callback_tables.h"

namespace tev {
namespace bench {

// The stack's side of the callback tables, wired as every stack double's are and reduced to what
// the benchmarks watch; the other slots do nothing. The hot callbacks (notify_cb, scan_result_cb,
// read_characteristic_cb, write_characteristic_cb, register_for_notification_cb) tick `delivered`
// and, while `latency` is set, add the time since the send stamp carried in their first eight
// value bytes (events) or since `requestSentNs` (replies). They allocate nothing. The set-up
// callbacks record what the driver waits for. One instance per process.
class CountingStack {
 public:
  static CountingStack& Get();

  bt_callbacks_t* callbacks() { return &tables_.adapter; }
  const btgatt_callbacks_t* gattCallbacks() { return &tables_.gatt; }

  // Blocks until `condition` holds; it is checked after every set-up callback. Ends the run
  // after kDeadlockGuard.
  void WaitUntil(const std::function<bool()>& condition);

  Countdown delivered;
  std::atomic<LatencySamples*> latency{nullptr};
  // When a HAL request was made, for the replies that carry no stamp of their own.
  std::atomic<int64_t> requestSentNs{0};

  std::atomic<int> adapterState{-1};
  std::atomic<int> clientIf{0};
  std::atomic<int> connId{0};
  std::atomic<int> searchesCompleted{0};

  // Receiving thread: one watched delivery, sent at `sent_ns` (0 when it carries no stamp).
  void Arrived(int64_t sent_ns);
  // Set-up callbacks.
  void Changed();

 private:
  CountingStack();
  // Receives the calls of the tables.
  struct Sink;

  tev::testing::CallbackTables<Sink> tables_;

  std::mutex mutex_;
  std::condition_variable changed_cv_;
};

// Eight bytes of send time, written into the first bytes of an event's value.
void StampInto(uint8_t* bytes, int64_t ns);
int64_t StampFrom(const uint8_t* bytes);

}  // namespace bench
}  // namespace tev
