#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "command_parser.h"

namespace tev {
namespace bttev {

// Takes over the process's log output (the library's "BluetoothTev: ..." lines and the host's),
// keeps recent lines for expectations and hands each to a printer instead of stderr.
class LibraryLog {
 public:
  using Printer = std::function<void(int severity, const std::string& text)>;

  static constexpr size_t kKeptLines = 2000;

  // The process's one instance. It is never destroyed: the IPC thread logs until the very end.
  static LibraryLog& Get();

  // Routes the log output here from now on; every message is built, whatever its severity.
  // A null printer keeps the lines but prints nothing; it returns once no print is running.
  void SetPrinter(Printer printer);

  // Waits up to `limit` for a matching line that no earlier wait took, and takes it.
  bool WaitFor(const LogPattern& pattern, std::chrono::milliseconds limit);
  // A matching line no wait took, without waiting or taking it; empty when there is none.
  std::string Find(const LogPattern& pattern);

  // Logging thread (any).
  void Add(int severity, const std::string& text);

 private:
  LibraryLog() = default;

  std::mutex mutex_;
  std::condition_variable added_cv_;
  struct Line {
    int severity;
    std::string text;
  };
  std::deque<Line> lines_;
  Printer printer_;
};

}  // namespace bttev
}  // namespace tev
