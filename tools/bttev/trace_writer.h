#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "task_monitor.h"

namespace tev {
namespace bttev {

// Records a timeline in the trace-event JSON format: one track per thread, each task a slice
// named by its method (messages) or its code location, and an arrow from every post to the
// task it posted, so a HAL call can be followed to its host call and on to its callback.
class TraceWriter : public TaskObserver {
 public:
  TraceWriter();

  void OnPosted(uint64_t id, const base::Location& from_here) override;
  void OnStarted(uint64_t id, const base::Location& from_here) override;
  void OnFinished(uint64_t id, const base::Location& from_here) override;

  // A slice of the calling thread's own (HAL calls, callbacks); ends in the reverse order.
  void BeginSlice(const std::string& name, const std::string& category, const std::string& detail = "");
  void EndSlice();

  // Writes everything recorded so far; recording goes on.
  bool Write(const std::string& path, std::string* error) const;
  // The JSON text Write() would write.
  std::string ToJson() const;

 private:
  struct Event {
    char phase;
    int64_t micros;
    uint64_t thread;
    std::string name;
    std::string category;
    uint64_t flow = 0;
    std::string detail;
  };

  // Caller holds mutex_.
  void addLocked(char phase, uint64_t thread, std::string name, std::string category, uint64_t flow = 0,
                 std::string detail = "");
  int64_t nowMicros() const;

  const std::chrono::steady_clock::time_point start_;
  mutable std::mutex mutex_;
  std::vector<Event> events_;
  std::map<uint64_t, std::string> threadNames_;
  // Open slices per thread, so that posts outside any slice start no arrow.
  std::map<uint64_t, int> depth_;
  std::set<uint64_t> flowsStarted_;
};

}  // namespace bttev
}  // namespace tev
