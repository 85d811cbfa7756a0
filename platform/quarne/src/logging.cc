#include "base/logging.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace logging {
namespace {
std::atomic<LogSeverity> min_log_level{LOG_INFO};
std::atomic<LogMessageHandlerFunction> message_handler{nullptr};
}  // namespace

void SetMinLogLevel(LogSeverity level) { min_log_level.store(level < LOG_FATAL ? level : LOG_FATAL); }

LogSeverity GetMinLogLevel() { return min_log_level.load(); }

bool ShouldCreateLogMessage(LogSeverity severity) { return severity >= min_log_level.load(); }

void SetLogMessageHandler(LogMessageHandlerFunction handler) { message_handler.store(handler); }

LogMessageHandlerFunction GetLogMessageHandler() { return message_handler.load(); }

const char* LogSeverityName(LogSeverity severity) {
  static const char* const kNames[LOG_NUM_SEVERITIES] = {"INFO", "WARNING", "ERROR", "FATAL"};
  if (severity >= 0 && severity < LOG_NUM_SEVERITIES) return kNames[severity];
  return "VERBOSE";
}

LogMessage::LogMessage(const char* file, int line, LogSeverity severity)
    : file_(file), line_(line), severity_(severity) {
  stream_ << '[' << LogSeverityName(severity) << ':' << file << '(' << line << ")] ";
  message_start_ = stream_.str().size();
}

LogMessage::~LogMessage() {
  const std::string text = stream_.str();
  LogMessageHandlerFunction handler = message_handler.load();
  if (!handler || !handler(severity_, file_, line_, message_start_, text)) {
    std::fprintf(stderr, "%s\n", text.c_str());
  }
  if (severity_ == LOG_FATAL) {
    std::fflush(stderr);
    std::abort();
  }
}

}  // namespace logging
