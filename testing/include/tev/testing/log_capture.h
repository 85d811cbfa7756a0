#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "base/logging.h"
#include "tev/testing/event.h"

namespace tev {
namespace testing {

struct LogLine {
  logging::LogSeverity severity;
  std::string file;
  int line;
  // The text after the "[SEVERITY:file(line)] " header.
  std::string message;
};

// Records every log message emitted, from any thread, while it is alive. Captures nest: the
// innermost one records, and each restores the handler it replaced when destroyed, so destroy
// them in reverse order of creation. Text matching is by substring of LogLine::message.
class LogCapture {
 public:
  enum class Stderr {
    kSuppress,     // Recorded lines do not reach stderr.
    kPassThrough,  // They are printed as usual too.
  };

  explicit LogCapture(Stderr stderr_output = Stderr::kSuppress,
                      std::chrono::milliseconds timeout = kDeadlockGuardTimeout);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> Lines() const;
  // Just the messages, for readable gtest matchers and failure output.
  std::vector<std::string> Messages() const;
  bool Contains(std::string_view text) const;
  bool Contains(logging::LogSeverity severity, std::string_view text) const;
  size_t Count(std::string_view text) const;
  void Clear();

  // Blocks until a line containing `text` has been recorded (at any time since construction or
  // Clear()). On time-out adds a test failure pointing at the caller and returns false.
  bool WaitFor(std::string_view text, const char* file = __builtin_FILE(),
               int line = __builtin_LINE());

 private:
  static bool HandleMessage(logging::LogSeverity severity, const char* file, int line,
                            size_t message_start, const std::string& str);

  const bool suppress_stderr_;
  const std::chrono::milliseconds timeout_;
  logging::LogMessageHandlerFunction previous_handler_ = nullptr;
  LogCapture* previous_capture_ = nullptr;

  mutable std::mutex mutex_;
  std::condition_variable recorded_cv_;
  std::vector<LogLine> lines_;
};

}  // namespace testing
}  // namespace tev
