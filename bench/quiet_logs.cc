#include "quiet_logs.h"

#include <string>

#include "base/logging.h"

namespace tev {
namespace bench {

void DiscardLogOutput() {
  logging::SetLogMessageHandler(
      [](logging::LogSeverity, const char*, int, size_t, const std::string&) { return true; });
}

}  // namespace bench
}  // namespace tev
