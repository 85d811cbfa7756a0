// The script's own commands (expectations, time, variables, narration) and the simulated host's
// controls (faults, severed pipes, restarts, its journal).
#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "script_values.h"
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

bool expect(Session& session, CommandArgs& args, std::string* error) {
  Expectation expectation;
  if (!ParseExpectation(args.tokens(), &expectation, error)) return false;
  const std::chrono::milliseconds limit = expectation.hasWithin ? expectation.within : Session::kDeadlockGuard;
  const std::string waited = base::StringPrintf("%.3gs", static_cast<double>(limit.count()) / 1000);
  const std::string hint =
      session.virtualTime() ? "\n  (the host's clock is virtual: what it schedules happens only after 'advance')" : "";
  if (expectation.log) {
    if (!LibraryLog::Get().WaitFor(expectation.logText, limit)) {
      *error = "no log line containing \"" + expectation.logText + "\" within " + waited + hint;
      return false;
    }
    session.CountExpectationMet();
    return true;
  }
  if (expectation.negated) {
    if (!session.Settle(error)) return false;
    if (std::optional<CallbackEvent> event = session.events().Find(expectation.pattern)) {
      *error = "expected no " + expectation.pattern.ToString() + ", but got " + event->ToString();
      return false;
    }
    session.CountExpectationMet();
    return true;
  }
  Variables captures;
  if (!session.events().Take(expectation.pattern, limit, &captures)) {
    *error = "expected " + expectation.pattern.ToString() + " within " + waited + ", but it did not come; " +
             pendingList(session) + hint;
    return false;
  }
  for (const auto& [name, value] : captures) session.variables()[name] = value;
  session.CountExpectationMet();
  return true;
}

bool advance(Session& session, CommandArgs& args, std::string* error) {
  const std::chrono::microseconds duration = args.Duration(0);
  if (!args.ok()) return (*error = args.error(), false);
  return session.AdvanceTime(duration, error);
}

bool settle(Session& session, CommandArgs&, std::string* error) { return session.Settle(error); }

bool set(Session& session, CommandArgs& args, std::string*) {
  session.variables()[args.token(0).text] = args.token(1).text;
  return true;
}

bool say(Session& session, CommandArgs& args, std::string*) {
  std::string text;
  for (const Token& token : args.tokens()) text += (text.empty() ? "" : " ") + token.text;
  session.transcript().Heading(text);
  return true;
}

bool clear(Session& session, CommandArgs&, std::string*) {
  session.events().Clear();
  return true;
}

bool help(Session& session, CommandArgs& args, std::string*) {
  std::string topic;
  for (const Token& token : args.tokens()) topic += (topic.empty() ? "" : " ") + token.text;
  session.transcript().Print(HelpText(topic));
  return true;
}

bool parsePipe(const std::string& text, sim::Pipe* pipe) {
  for (sim::Pipe each : {sim::Pipe::kBridge, sim::Pipe::kBluetoothHost, sim::Pipe::kBluetoothInstance}) {
    if (text == sim::PipeName(each)) {
      *pipe = each;
      return true;
    }
  }
  return false;
}

std::string pipeNames() {
  return std::string(sim::PipeName(sim::Pipe::kBridge)) + ", " + sim::PipeName(sim::Pipe::kBluetoothHost) + " or " +
         sim::PipeName(sim::Pipe::kBluetoothInstance);
}

bool fault(Session& session, CommandArgs& args, std::string* error) {
  sim::Fault fault;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& word = args.token(i).text;
    const size_t eq = word.find('=');
    const std::string key = word.substr(0, eq);
    const std::string value = eq == std::string::npos ? "" : word.substr(eq + 1);
    int64_t number = 0;
    std::chrono::microseconds delay{0};
    sim::Pipe pipe;
    if (key == "never" && eq == std::string::npos) {
      fault.never = true;
    } else if (key == "result" && ParseInteger(value, &number)) {
      fault.result = static_cast<int32_t>(number);
    } else if (key == "times" && ParseInteger(value, &number)) {
      fault.times = static_cast<int>(number);
    } else if (key == "delay" && ParseDurationMicros(value, &delay)) {
      fault.delay = base::TimeDelta::FromMicroseconds(delay.count());
    } else if (key == "sever" && parsePipe(value, &pipe)) {
      fault.sever = pipe;
    } else {
      *error = "bad fault '" + word + "' (result=N, delay=D, never, sever=" + pipeNames() + ", times=N)";
      return false;
    }
  }
  session.host().faults().Set(args.token(0).text, fault);
  return true;
}

bool clearFaults(Session& session, CommandArgs& args, std::string*) {
  if (args.has(0)) {
    session.host().faults().Clear(args.token(0).text);
  } else {
    session.host().faults().ClearAll();
  }
  return true;
}

bool sever(Session& session, CommandArgs& args, std::string* error) {
  sim::Pipe pipe;
  if (!parsePipe(args.token(0).text, &pipe)) return (*error = "the pipe is " + pipeNames(), false);
  session.host().Sever(pipe);
  return true;
}

bool restart(Session& session, CommandArgs&, std::string*) {
  session.host().Restart();
  return true;
}

bool callInit(Session& session, CommandArgs&, std::string*) {
  session.host().CallInit();
  return true;
}

bool journal(Session& session, CommandArgs& args, std::string* error) {
  const int64_t count = args.has(0) ? args.Int(0, "entry count") : 0;
  if (!args.ok() || count < 0) return (*error = args.ok() ? "the count is not negative" : args.error(), false);
  session.transcript().PrintJournal(static_cast<size_t>(count));
  return true;
}

}  // namespace

std::vector<CommandEntry> ControlCommands() {
  constexpr size_t kMany = 256;
  return {
      {"script", "", "expect", "CALLBACK [FIELD=VALUE|FIELD=?VAR]... [within DURATION]",
       "wait for a callback ('help expect')", 1, kMany, false, expect},
      {"script", "", "advance", "DURATION", "let the host's time pass (virtual clock: run its timers now)", 1, 1, false,
       advance},
      {"script", "", "settle", "", "wait until no thread has work left", 0, 0, false, settle},
      {"script", "", "set", "VAR VALUE", "set $VAR", 2, 2, false, set},
      {"script", "", "say", "TEXT...", "print a heading in the transcript", 1, kMany, false, say},
      {"script", "", "clear", "", "forget the callbacks no expectation took", 0, 0, false, clear},
      {"script", "", "help", "[TOPIC]", "this text, or the commands of one section", 0, 2, false, help},
      {"host", "host", "fault", "METHOD [result=N] [delay=D] [never] [sever=PIPE] [times=N]",
       "make the host's handling of a BluetoothHost method go wrong", 1, 6, false, fault},
      {"host", "host", "clear_faults", "[METHOD]", "remove one method's fault, or all", 0, 1, false, clearFaults},
      {"host", "host", "sever", "PIPE", "close a pipe from the host's side, as a crash would", 1, 1, false, sever},
      {"host", "host", "restart", "", "restart the host's Bluetooth service (Init follows)", 0, 0, false, restart},
      {"host", "host", "init", "", "the host calls Init again with a fresh pipe", 0, 0, false, callInit},
      {"host", "host", "journal", "[N]", "print the host's journal (its last N entries)", 0, 1, false, journal},
  };
}

}  // namespace bttev
}  // namespace tev
