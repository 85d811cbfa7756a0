#include "library_log.h"

#include <atomic>

#include "base/logging.h"

namespace tev {
namespace bttev {
namespace {

std::atomic<LibraryLog*> gLog{nullptr};

bool handleMessage(logging::LogSeverity severity, const char*, int, size_t message_start, const std::string& str) {
  LibraryLog* log = gLog.load(std::memory_order_acquire);
  if (!log) return false;
  std::string text = message_start <= str.size() ? str.substr(message_start) : str;
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  log->Add(severity, text);
  return true;
}

}  // namespace

LibraryLog& LibraryLog::Get() {
  static LibraryLog* log = [] {
    auto* created = new LibraryLog();
    gLog.store(created, std::memory_order_release);
    logging::SetMinLogLevel(logging::LOG_INFO);
    logging::SetLogMessageHandler(&handleMessage);
    return created;
  }();
  return *log;
}

void LibraryLog::SetPrinter(Printer printer) {
  std::lock_guard<std::mutex> lock(mutex_);
  printer_ = std::move(printer);
}

void LibraryLog::Add(int severity, const std::string& text) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (lines_.size() == kKeptLines) lines_.pop_front();
  lines_.push_back(Line{severity, text});
  added_cv_.notify_all();
  // Printed under the lock, so that SetPrinter(nullptr) cannot return while a print runs.
  if (printer_) printer_(severity, text);
}

bool LibraryLog::WaitFor(const LogPattern& pattern, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    for (auto it = lines_.begin(); it != lines_.end(); ++it) {
      if (pattern.Matches(it->severity, it->text)) {
        lines_.erase(it);
        return true;
      }
    }
    if (std::chrono::steady_clock::now() >= deadline) return false;
    added_cv_.wait_until(lock, deadline);
  }
}

std::string LibraryLog::Find(const LogPattern& pattern) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const Line& line : lines_) {
    if (pattern.Matches(line.severity, line.text)) return line.text;
  }
  return "";
}

}  // namespace bttev
}  // namespace tev
