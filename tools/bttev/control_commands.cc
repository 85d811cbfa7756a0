// The script's own commands (time, variables, narration) and the host's controls (faults,
// severed pipes, restarts, its journal), in this process or a daemon's.
#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "script_values.h"
#include "session.h"

namespace tev {
namespace bttev {
namespace {

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
  return session.host().SetFault(args.token(0).text, fault, error);
}

bool clearFaults(Session& session, CommandArgs& args, std::string* error) {
  return session.host().ClearFaults(args.has(0) ? args.token(0).text : "", error);
}

bool sever(Session& session, CommandArgs& args, std::string* error) {
  sim::Pipe pipe;
  if (!parsePipe(args.token(0).text, &pipe)) return (*error = "the pipe is " + pipeNames(), false);
  const std::chrono::microseconds delay = args.has(1) ? args.Duration(1) : std::chrono::microseconds(0);
  if (!args.ok()) return (*error = args.error(), false);
  return session.host().Sever(pipe, base::TimeDelta::FromMicroseconds(delay.count()), error);
}

bool restart(Session& session, CommandArgs&, std::string* error) { return session.host().Restart(error); }

bool callInit(Session& session, CommandArgs&, std::string* error) { return session.host().CallInit(error); }

bool journal(Session& session, CommandArgs& args, std::string* error) {
  const int64_t count = args.has(0) ? args.Int(0, "entry count") : 0;
  if (!args.ok() || count < 0) return (*error = args.ok() ? "the count is not negative" : args.error(), false);
  return session.PrintHostJournal(static_cast<size_t>(count), error);
}

}  // namespace

std::vector<CommandEntry> ControlCommands() {
  constexpr size_t kMany = 256;
  return {
      {"script", "", "advance", "DURATION", "let the host's time pass (virtual clock: run its timers now)", 1, 1, false,
       advance, "advance 100ms"},
      {"script", "", "settle", "", "wait until no thread has work left", 0, 0, false, settle, "settle"},
      {"script", "", "set", "VAR VALUE", "set $VAR", 2, 2, false, set, "set heart 02:51:b0:00:00:01"},
      {"script", "", "say", "TEXT...", "print a heading in the transcript", 1, kMany, false, say,
       "say Reading the sensor location"},
      {"script", "", "clear", "", "forget the callbacks no expectation took", 0, 0, false, clear, "clear"},
      {"script", "", "help", "[TOPIC]", "this text, or the commands of one section", 0, 2, false, help, "help client"},
      {"host", "host", "fault", "METHOD [result=N] [delay=D] [never] [sever=PIPE] [times=N]",
       "make the host's handling of a BluetoothHost method go wrong", 1, 6, false, fault,
       "host fault ReadGattCharacteristic result=1 times=1"},
      {"host", "host", "clear_faults", "[METHOD]", "remove one method's fault, or all", 0, 1, false, clearFaults,
       "host clear_faults ReadGattCharacteristic"},
      {"host", "host", "sever", "PIPE [DELAY]",
       "close a pipe from the host's side, as a crash would (now, or DELAY later on the host's clock)", 1, 2, false,
       sever, "host sever BluetoothHost"},
      {"host", "host", "restart", "", "restart the host's Bluetooth service (Init follows)", 0, 0, false, restart,
       "host restart"},
      {"host", "host", "init", "",
       "the host calls Init (again) with a fresh pipe; this releases an Init held by 'host hold-init'", 0, 0, false,
       callInit, "host init"},
      {"host", "host", "journal", "[N]", "print the host's journal (its last N entries)", 0, 1, false, journal,
       "host journal 10"},
  };
}

}  // namespace bttev
}  // namespace tev
