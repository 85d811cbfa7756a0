#pragma once

#include <cstddef>
#include <sstream>
#include <string>

namespace logging {

using LogSeverity = int;
constexpr LogSeverity LOG_VERBOSE = -1;
constexpr LogSeverity LOG_INFO = 0;
constexpr LogSeverity LOG_WARNING = 1;
constexpr LogSeverity LOG_ERROR = 2;
constexpr LogSeverity LOG_FATAL = 3;
constexpr LogSeverity LOG_NUM_SEVERITIES = 4;

// Messages below the minimum level are not built at all.
void SetMinLogLevel(LogSeverity level);
LogSeverity GetMinLogLevel();
bool ShouldCreateLogMessage(LogSeverity severity);

// Sees every message first; returning true stops the default output to stderr.
// `message_start` is the offset of the text after the "[SEVERITY:file(line)] " header.
using LogMessageHandlerFunction = bool (*)(LogSeverity severity, const char* file, int line,
                                           size_t message_start, const std::string& str);
void SetLogMessageHandler(LogMessageHandlerFunction handler);
LogMessageHandlerFunction GetLogMessageHandler();

const char* LogSeverityName(LogSeverity severity);

// Collects one message and emits it when destroyed; FATAL then aborts.
class LogMessage {
 public:
  LogMessage(const char* file, int line, LogSeverity severity);
  ~LogMessage();
  LogMessage(const LogMessage&) = delete;
  LogMessage& operator=(const LogMessage&) = delete;

  std::ostream& stream() { return stream_; }
  LogSeverity severity() const { return severity_; }

 private:
  const char* file_;
  int line_;
  LogSeverity severity_;
  std::ostringstream stream_;
  size_t message_start_ = 0;
};

// Lets the stream expression of a disabled log statement compile away.
class LogMessageVoidify {
 public:
  void operator&(std::ostream&) {}
};

}  // namespace logging

#define LOG_IS_ON(severity) (::logging::ShouldCreateLogMessage(::logging::LOG_##severity))
#define LAZY_STREAM(stream, condition) !(condition) ? (void)0 : ::logging::LogMessageVoidify() & (stream)
#define LOG_STREAM(severity) ::logging::LogMessage(__FILE__, __LINE__, ::logging::LOG_##severity).stream()
#define LOG(severity) LAZY_STREAM(LOG_STREAM(severity), LOG_IS_ON(severity))
#define LOG_IF(severity, condition) LAZY_STREAM(LOG_STREAM(severity), LOG_IS_ON(severity) && (condition))

#define CHECK(condition) \
  LAZY_STREAM(::logging::LogMessage(__FILE__, __LINE__, ::logging::LOG_FATAL).stream(), !(condition)) \
      << "Check failed: " #condition ". "

#if defined(NDEBUG)
#define DCHECK_IS_ON() 0
// The condition is never evaluated but still compiled, so what only a DCHECK reads counts as used.
#define DCHECK(condition) LAZY_STREAM(LOG_STREAM(FATAL), false && (condition)) << ""
#else
#define DCHECK_IS_ON() 1
#define DCHECK(condition) CHECK(condition)
#endif

#define NOTREACHED() DCHECK(false)
