#include "tev/sim/journal.h"

#include "base/strings/stringprintf.h"

namespace tev {
namespace sim {

const char* DirectionName(JournalEntry::Direction direction) {
  switch (direction) {
    case JournalEntry::Direction::kCallReceived:
      return "call";
    case JournalEntry::Direction::kReplySent:
      return "reply";
    case JournalEntry::Direction::kEventSent:
      return "event";
    case JournalEntry::Direction::kReplyReceived:
      return "answer";
    case JournalEntry::Direction::kNote:
      return "note";
  }
  return "?";
}

std::string JournalEntry::ToString() const {
  const int64_t us = time.InMicroseconds();
  return base::StringPrintf("%4lld.%03llds  %-6s %s  %s", static_cast<long long>(us / 1000000),
                            static_cast<long long>((us / 1000) % 1000), DirectionName(direction),
                            method.c_str(), summary.c_str());
}

void Journal::Add(base::TimeDelta time, Direction direction, std::string method,
                  std::string summary) {
  std::lock_guard<std::mutex> lock(mutex_);
  entries_.push_back(JournalEntry{time, direction, std::move(method), std::move(summary)});
  added_cv_.notify_all();
}

std::vector<JournalEntry> Journal::Entries() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return entries_;
}

std::vector<JournalEntry> Journal::Find(const std::string& method, Direction direction) const {
  std::vector<JournalEntry> found;
  for (const JournalEntry& entry : Entries()) {
    if (entry.method == method && entry.direction == direction) found.push_back(entry);
  }
  return found;
}

size_t Journal::Count(const std::string& method, Direction direction) const {
  return Find(method, direction).size();
}

void Journal::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  entries_.clear();
}

bool Journal::WaitFor(const std::string& method, Direction direction, size_t occurrence,
                      std::chrono::milliseconds timeout) const {
  std::unique_lock<std::mutex> lock(mutex_);
  return added_cv_.wait_for(lock, timeout, [&] {
    size_t seen = 0;
    for (const JournalEntry& entry : entries_) {
      if (entry.method == method && entry.direction == direction && ++seen >= occurrence) {
        return true;
      }
    }
    return false;
  });
}

}  // namespace sim
}  // namespace tev
