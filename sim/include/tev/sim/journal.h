#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "base/time/time.h"

namespace tev {
namespace sim {

// One thing that crossed the host's side of the pipes, as the host saw it.
struct JournalEntry {
  enum class Direction {
    kCallReceived,   // a BluetoothHost (or TevBridgeHost) method arrived
    kReplySent,      // the host answered such a call
    kEventSent,      // the host called a BluetoothInstance method
    kReplyReceived,  // the library answered such a call (Init, RequestGatt*)
    kNote,           // the host's own doing: faults, pipes closed, restarts, skipped steps
  };

  // Clock time: virtual or real, since the host was made.
  base::TimeDelta time;
  Direction direction = Direction::kNote;
  std::string method;
  // Short, human-readable: "addr=02:51:b0:00:00:01 handle=3 status=0".
  std::string summary;

  // "   1.250s  event  OnLEDeviceFound  addr=..."
  std::string ToString() const;
};

const char* DirectionName(JournalEntry::Direction direction);

// Every entry in order. Thread-safe.
class Journal {
 public:
  using Direction = JournalEntry::Direction;

  void Add(base::TimeDelta time, Direction direction, std::string method, std::string summary);

  std::vector<JournalEntry> Entries() const;
  // Entries whose method is `method` and direction `direction`.
  std::vector<JournalEntry> Find(const std::string& method, Direction direction) const;
  size_t Count(const std::string& method, Direction direction) const;
  void Clear();

  // Blocks until the `occurrence`-th such entry exists; false after `timeout`.
  bool WaitFor(const std::string& method, Direction direction, size_t occurrence = 1,
               std::chrono::milliseconds timeout = std::chrono::seconds(30)) const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable added_cv_;
  std::vector<JournalEntry> entries_;
};

}  // namespace sim
}  // namespace tev
