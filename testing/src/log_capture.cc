#include "tev/testing/log_capture.h"

#include <algorithm>

#include "base/logging.h"

namespace tev {
namespace testing {
namespace {

// The handler is a plain function, so the capture it feeds is global. The mutex also keeps a
// capture from being destroyed while another thread is recording into it.
std::mutex& ActiveCaptureMutex() {
  static std::mutex mutex;
  return mutex;
}
LogCapture* active_capture = nullptr;

bool ContainsText(const LogLine& line, std::string_view text) {
  return line.message.find(text) != std::string::npos;
}

}  // namespace

LogCapture::LogCapture(Stderr stderr_output, std::chrono::milliseconds timeout)
    : suppress_stderr_(stderr_output == Stderr::kSuppress), timeout_(timeout) {
  std::lock_guard<std::mutex> lock(ActiveCaptureMutex());
  previous_handler_ = logging::GetLogMessageHandler();
  previous_capture_ = active_capture;
  active_capture = this;
  logging::SetLogMessageHandler(&LogCapture::HandleMessage);
}

LogCapture::~LogCapture() {
  std::lock_guard<std::mutex> lock(ActiveCaptureMutex());
  active_capture = previous_capture_;
  logging::SetLogMessageHandler(previous_handler_);
}

bool LogCapture::HandleMessage(logging::LogSeverity severity, const char* file, int line,
                               size_t message_start, const std::string& str) {
  std::lock_guard<std::mutex> active_lock(ActiveCaptureMutex());
  LogCapture* capture = active_capture;
  // A message already on its way when the last capture went away: print it as usual.
  if (!capture) return false;
  {
    std::lock_guard<std::mutex> lock(capture->mutex_);
    capture->lines_.push_back(LogLine{severity, file, line, str.substr(message_start)});
  }
  capture->recorded_cv_.notify_all();
  return capture->suppress_stderr_;
}

std::vector<LogLine> LogCapture::Lines() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return lines_;
}

std::vector<std::string> LogCapture::Messages() const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> messages;
  messages.reserve(lines_.size());
  for (const LogLine& line : lines_) messages.push_back(line.message);
  return messages;
}

bool LogCapture::Contains(std::string_view text) const { return Count(text) > 0; }

bool LogCapture::Contains(logging::LogSeverity severity, std::string_view text) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::any_of(lines_.begin(), lines_.end(), [&](const LogLine& line) {
    return line.severity == severity && ContainsText(line, text);
  });
}

size_t LogCapture::Count(std::string_view text) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return static_cast<size_t>(std::count_if(
      lines_.begin(), lines_.end(), [&](const LogLine& line) { return ContainsText(line, text); }));
}

void LogCapture::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  lines_.clear();
}

bool LogCapture::WaitFor(std::string_view text, const char* file, int line) {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    const bool found = recorded_cv_.wait_for(lock, timeout_, [&] {
      return std::any_of(lines_.begin(), lines_.end(),
                         [&](const LogLine& recorded) { return ContainsText(recorded, text); });
    });
    if (found) return true;
  }
  internal::ReportTimeout("a log line containing \"" + std::string(text) + "\"", timeout_, file,
                          line);
  return false;
}

}  // namespace testing
}  // namespace tev
