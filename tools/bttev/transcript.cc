#include "transcript.h"

#include "base/logging.h"
#include "base/strings/stringprintf.h"

namespace tev {
namespace bttev {
namespace {

using Direction = sim::JournalEntry::Direction;
using Stream = TranscriptSink::Stream;

// What the host did, from the host's side: it received a call, replied, sent an event, got the
// library's answer to an event, or noted something of its own.
const char* hostVerb(Direction direction) {
  switch (direction) {
    case Direction::kCallReceived:
      return "<- call ";
    case Direction::kReplySent:
      return "-> reply";
    case Direction::kEventSent:
      return "-> event";
    case Direction::kReplyReceived:
      return "<- ack  ";
    case Direction::kNote:
      return "   note ";
  }
  return "";
}

std::string seconds(base::TimeDelta time) {
  return base::StringPrintf("%8.3fs", static_cast<double>(time.InMicroseconds()) / 1e6);
}

}  // namespace

Transcript::Transcript(std::ostream& out, std::ostream& err, Verbosity verbosity)
    : out_(out), err_(err), verbosity_(verbosity) {}

void Transcript::SetHost(const sim::SimulatedHost* host) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (host_) pumpLocked();
  host_ = host;
  journalPrinted_ = 0;
}

void Transcript::Divert(TranscriptSink* sink) {
  std::lock_guard<std::mutex> lock(mutex_);
  sink_ = sink;
}

void Transcript::writeLocked(Stream stream, const std::string& text) {
  if (sink_) {
    sink_->Write(stream, text);
  } else if (stream == Stream::kErr) {
    out_.flush();
    err_ << text;
  } else {
    out_ << text;
  }
}

std::string Transcript::clockLocked() const { return host_ ? seconds(host_->Now()) : std::string(9, ' '); }

void Transcript::flushPendingCallLocked() {
  if (pendingCall_.empty() || pendingCallShown_) return;
  pendingCallShown_ = true;
  lineLocked("HAL  ", pendingCall_, pendingCallClock_);
}

void Transcript::lineLocked(const std::string& actor, const std::string& text, const std::string& clock) {
  if (verbosity_ == Verbosity::kQuiet) return;
  flushPendingCallLocked();
  writeLocked(Stream::kOut, (clock.empty() ? clockLocked() : clock) + "  " + actor + "  " + text + "\n");
}

void Transcript::pumpLocked() {
  if (!host_) return;
  const std::vector<sim::JournalEntry> entries = host_->journal().Entries();
  for (; journalPrinted_ < entries.size(); ++journalPrinted_) {
    const sim::JournalEntry& entry = entries[journalPrinted_];
    switch (entry.direction) {
      case Direction::kCallReceived:
        ++counts_.hostCalls;
        break;
      case Direction::kReplySent:
        ++counts_.hostReplies;
        break;
      case Direction::kEventSent:
        ++counts_.hostEvents;
        break;
      default:
        break;
    }
    if (verbosity_ == Verbosity::kQuiet) continue;
    flushPendingCallLocked();
    writeLocked(Stream::kOut, seconds(entry.time) + "  host   " + hostVerb(entry.direction) + " " + entry.method +
                                  (entry.summary.empty() ? "" : "  " + entry.summary) + "\n");
  }
}

void Transcript::Heading(const std::string& text) {
  std::lock_guard<std::mutex> lock(mutex_);
  pumpLocked();
  if (verbosity_ != Verbosity::kQuiet) writeLocked(Stream::kOut, "\n== " + text + "\n");
}

void Transcript::HalCallStarted(const std::string& call) {
  std::lock_guard<std::mutex> lock(mutex_);
  ++counts_.halCalls;
  pumpLocked();
  pendingCall_ = call;
  pendingCallClock_ = clockLocked();
  pendingCallShown_ = false;
}

void Transcript::HalCallFinished(const std::string& outcome) {
  std::lock_guard<std::mutex> lock(mutex_);
  pumpLocked();
  const std::string call = std::move(pendingCall_);
  pendingCall_.clear();
  if (!pendingCallShown_) {
    lineLocked("HAL  ", outcome.empty() ? call : call + "  -> " + outcome, pendingCallClock_);
  } else if (!outcome.empty()) {
    lineLocked("HAL  ", "   ... returned " + outcome);
  }
}

void Transcript::Callback(const CallbackEvent& event, const std::vector<ContractChecker::Breach>& breaches) {
  std::lock_guard<std::mutex> lock(mutex_);
  ++counts_.callbacks;
  ++counts_.callbacksByTable[event.table];
  pumpLocked();
  lineLocked(event.inlineResult ? "cb(i)" : "cb   ", event.ToString() + "   [" + event.thread.name + "]");
  for (const ContractChecker::Breach& breach : breaches) {
    ++counts_.breaches;
    writeLocked(Stream::kErr, clockLocked() + "  !!     contract breach: " + breach.ToString() + "\n");
  }
}

void Transcript::Log(int severity, const std::string& text) {
  const bool shown =
      verbosity_ == Verbosity::kVerbose || (verbosity_ == Verbosity::kNormal && severity >= logging::LOG_WARNING);
  if (!shown) return;
  std::lock_guard<std::mutex> lock(mutex_);
  pumpLocked();
  lineLocked("log  ", std::string(logging::LogSeverityName(severity)) + " " + text);
}

void Transcript::Note(const std::string& text) {
  std::lock_guard<std::mutex> lock(mutex_);
  pumpLocked();
  lineLocked("     ", text);
}

void Transcript::Print(const std::string& text) {
  std::lock_guard<std::mutex> lock(mutex_);
  pumpLocked();
  writeLocked(Stream::kOut, text);
}

void Transcript::Error(const std::string& text) {
  std::lock_guard<std::mutex> lock(mutex_);
  pumpLocked();
  writeLocked(Stream::kErr, text + "\n");
}

void Transcript::PumpJournal() {
  std::lock_guard<std::mutex> lock(mutex_);
  pumpLocked();
}

void Transcript::PrintJournal(size_t count) {
  std::lock_guard<std::mutex> lock(mutex_);
  pumpLocked();
  if (!host_) return;
  const std::vector<sim::JournalEntry> entries = host_->journal().Entries();
  const size_t first = count == 0 || count > entries.size() ? 0 : entries.size() - count;
  for (size_t i = first; i < entries.size(); ++i) writeLocked(Stream::kOut, entries[i].ToString() + "\n");
}

Transcript::Counts Transcript::counts() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return counts_;
}

}  // namespace bttev
}  // namespace tev
