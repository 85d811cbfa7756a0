// Expectations: on the callbacks the stack received, on the log, and on what the host received.
#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "host_pattern.h"
#include "library_log.h"
#include "session.h"

namespace tev {
namespace bttev {
namespace {

constexpr size_t kShownPending = 8;

std::string pendingList(Session& session) {
  const std::vector<CallbackEvent> pending = session.events().Pending();
  if (pending.empty()) return "no callback is waiting to be taken";
  std::string text = base::StringPrintf("%zu callback(s) came and are not taken", pending.size());
  const size_t first = pending.size() > kShownPending ? pending.size() - kShownPending : 0;
  text += first ? base::StringPrintf("; the last %zu:", kShownPending) : ":";
  for (size_t i = first; i < pending.size(); ++i) text += "\n    " + pending[i].ToString();
  return text;
}

bool received(const sim::JournalEntry& entry) {
  return entry.direction == sim::JournalEntry::Direction::kCallReceived ||
         entry.direction == sim::JournalEntry::Direction::kReplyReceived;
}

// Once every thread is idle: the oldest entry the host received that matches and no earlier
// expectation took.
bool expectHost(Session& session, const Expectation& expectation, std::string* error) {
  std::vector<sim::JournalEntry> entries;
  if (!session.Settle(error) || !session.host().ReadJournal(0, &entries, error)) return false;
  Variables captures;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (session.takenHostEntries().count(i) || !received(entries[i])) continue;
    if (!MatchesHostEntry(entries[i].method, entries[i].summary, expectation.host, &captures)) continue;
    if (expectation.negated) {
      *error = "expected no " + expectation.host.ToString() + ", but the host received: " + entries[i].ToString();
      return false;
    }
    session.takenHostEntries().insert(i);
    for (const auto& [name, value] : captures) session.variables()[name] = value;
    return true;
  }
  if (expectation.negated) return true;
  std::string seen;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].method == expectation.host.method && received(entries[i])) seen += "\n    " + entries[i].ToString();
  }
  *error = "expected " + expectation.host.ToString() + ", but the host received " +
           (seen.empty() ? "no " + expectation.host.method : "only:" + seen);
  return false;
}

bool expectLog(Session& session, const Expectation& expectation, const std::string& waited, const std::string& hint,
               std::string* error) {
  if (expectation.negated) {
    if (!session.Settle(error)) return false;
    const std::string line = LibraryLog::Get().Find(expectation.log);
    if (line.empty()) return true;
    *error = "expected no " + expectation.log.ToString() + ", but the log has: " + line;
    return false;
  }
  const std::chrono::milliseconds limit = expectation.hasWithin ? expectation.within : Session::kDeadlockGuard;
  if (LibraryLog::Get().WaitFor(expectation.log, limit)) return true;
  *error = "no " + expectation.log.ToString() + " within " + waited + hint;
  return false;
}

bool expectCallback(Session& session, const Expectation& expectation, const std::string& waited,
                    const std::string& hint, std::string* error) {
  if (expectation.negated) {
    if (!session.Settle(error)) return false;
    if (std::optional<CallbackEvent> event = session.events().Find(expectation.pattern)) {
      *error = "expected no " + expectation.pattern.ToString() + ", but got " + event->ToString();
      return false;
    }
    return true;
  }
  const std::chrono::milliseconds limit = expectation.hasWithin ? expectation.within : Session::kDeadlockGuard;
  Variables captures;
  if (expectation.next) {
    bool matched = false;
    const std::optional<CallbackEvent> event =
        session.events().TakeNext(expectation.pattern, limit, &captures, &matched);
    if (!event || !matched) {
      *error = "expected the next callback to be " + expectation.pattern.ToString() + ", but " +
               (event ? "it was " + event->ToString() : "none came within " + waited + hint);
      return false;
    }
  } else if (!session.events().Take(expectation.pattern, limit, &captures)) {
    *error = "expected " + expectation.pattern.ToString() + " within " + waited + ", but it did not come; " +
             pendingList(session) + hint;
    return false;
  }
  for (const auto& [name, value] : captures) session.variables()[name] = value;
  return true;
}

bool expect(Session& session, CommandArgs& args, std::string* error) {
  Expectation expectation;
  if (!ParseExpectation(args.tokens(), &expectation, error)) return false;
  const std::chrono::milliseconds limit = expectation.hasWithin ? expectation.within : Session::kDeadlockGuard;
  const std::string waited = base::StringPrintf("%.3gs", static_cast<double>(limit.count()) / 1000);
  const std::string hint =
      session.virtualTime() ? "\n  (the host's clock is virtual: what it schedules happens only after 'advance')" : "";
  bool met = false;
  switch (expectation.kind) {
    case Expectation::Kind::kHost:
      met = expectHost(session, expectation, error);
      break;
    case Expectation::Kind::kLog:
      met = expectLog(session, expectation, waited, hint, error);
      break;
    case Expectation::Kind::kCallback:
      met = expectCallback(session, expectation, waited, hint, error);
      break;
  }
  if (met) session.CountExpectationMet();
  return met;
}

}  // namespace

std::vector<CommandEntry> ExpectCommands() {
  constexpr size_t kMany = 256;
  return {
      {"script", "", "expect", "[no|next] CALLBACK [FIELD=VALUE|FIELD=?VAR]... [within DURATION]",
       "wait for a callback; also 'expect [no] log ...' and 'expect [no] host METHOD ...' ('help expect')", 1, kMany,
       false, expect, "expect open_cb addr=02:51:b0:00:00:01 conn_id=?conn within 1s"},
  };
}

}  // namespace bttev
}  // namespace tev
