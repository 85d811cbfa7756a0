#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "stack_side.h"
#include "tev/sim/simulated_host.h"

namespace tev {
namespace bttev {

enum class Verbosity {
  kQuiet,    // failures and the summary only
  kNormal,   // HAL calls, host calls and events, callbacks, library warnings and errors
  kVerbose,  // and every library log line
};

// Takes the transcript's text in place of its streams, e.g. a line editor that must show it above
// the line being typed. Called from any thread, under the transcript's lock.
class TranscriptSink {
 public:
  enum class Stream { kOut, kErr };
  virtual ~TranscriptSink() = default;
  virtual void Write(Stream stream, std::string text) = 0;
};

// The readable account of a session: each HAL call, what the host received and sent because of
// it (from the host's journal), each callback with its thread, and any contract breach, in the
// order they happened. Any thread may print.
class Transcript {
 public:
  struct Counts {
    size_t halCalls = 0;
    size_t hostCalls = 0;
    size_t hostReplies = 0;
    size_t hostEvents = 0;
    size_t callbacks = 0;
    size_t breaches = 0;
    std::map<Table, size_t> callbacksByTable;
  };

  Transcript(std::ostream& out, std::ostream& err, Verbosity verbosity);

  // The host whose journal and clock the transcript shows; null detaches.
  void SetHost(const sim::SimulatedHost* host);
  // From now on the text goes to `sink` instead of the streams; null goes back to the streams.
  // The sink must stay alive until replaced.
  void Divert(TranscriptSink* sink);

  void Heading(const std::string& text);
  // A HAL call on the stack thread. Its line waits for the outcome unless something else is
  // printed meanwhile (a callback made inline, the host's reaction), which then follows it.
  void HalCallStarted(const std::string& call);
  void HalCallFinished(const std::string& outcome);
  void Callback(const CallbackEvent& event, const std::vector<ContractChecker::Breach>& breaches);
  void Log(int severity, const std::string& text);
  // Shown in normal and verbose transcripts.
  void Note(const std::string& text);
  // Printed as it is, whatever the verbosity (help, journal listings).
  void Print(const std::string& text);
  // Always shown, on the error stream.
  void Error(const std::string& text);
  // Prints what the host journaled since the last call.
  void PumpJournal();
  // The host's last `count` journal entries (all for 0), whatever the verbosity.
  void PrintJournal(size_t count);

  Counts counts() const;

 private:
  // Caller holds mutex_.
  void pumpLocked();
  void flushPendingCallLocked();
  // At `clock`, or now for an empty one.
  void lineLocked(const std::string& actor, const std::string& text, const std::string& clock = "");
  std::string clockLocked() const;
  void writeLocked(TranscriptSink::Stream stream, const std::string& text);

  std::ostream& out_;
  std::ostream& err_;
  const Verbosity verbosity_;
  mutable std::mutex mutex_;
  const sim::SimulatedHost* host_ = nullptr;
  TranscriptSink* sink_ = nullptr;
  size_t journalPrinted_ = 0;
  std::string pendingCall_;
  std::string pendingCallClock_;
  bool pendingCallShown_ = false;
  Counts counts_;
};

}  // namespace bttev
}  // namespace tev
