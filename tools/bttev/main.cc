// bttev: the stack's side of the Bluetooth HAL. Loads the library as the stack does, drives it
// against the simulated Quarne OS host, and checks every callback against the HAL contract. Also
// runs that host as a daemon for guests in other processes.
#include <unistd.h>

#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "command_table.h"
#include "demo_script.h"
#include "executor.h"
#include "host_daemon.h"
#include "session.h"
#include "shell.h"
#include "stack_side.h"
#include "task_monitor.h"
#include "tev/sim/world_loader.h"

namespace {

using tev::bttev::Session;
using tev::bttev::SessionOptions;
using tev::sim::SimulatedHost;

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

const char kUsage[] =
    "usage: bttev [OPTIONS] COMMAND\n"
    "       bttev host --listen SOCKET [--world FILE] [--clock real|virtual]\n"
    "commands:\n"
    "  demo          a guided tour of every part of the HAL on the simulated host (real time)\n"
    "  run FILE      run a script of HAL commands and expectations; fails at the first unmet one\n"
    "  shell         an interactive console in the same language ('help' inside)\n"
    "  help [TOPIC]  the command language (TOPIC: bt, gatt, client, server, scanner, host, script,\n"
    "                callbacks, expect, or a command)\n"
    "  host          the simulated host as a daemon: guests in other processes (bttev --connect)\n"
    "                reach it at SOCKET, one at a time; it prints 'bttev host: listening at SOCKET'\n"
    "                when ready and stops on SIGINT or SIGTERM (clock: real unless --clock virtual)\n"
    "options:\n"
    "  --connect SOCKET       drive the host of the daemon listening at SOCKET instead of one in this\n"
    "                         process; its world and clock count ('advance' needs --clock virtual\n"
    "                         there), and 'host send', 'host version', 'host hold-init' and 'world'\n"
    "                         are not available\n"
    "  --listen SOCKET        where 'bttev host' listens (an owner-only Unix socket)\n"
    "  --lib PATH             the HAL library to load (default: the one built alongside)\n"
    "  --world FILE           the simulated host's world (default: the built-in one)\n"
    "  --trace FILE           write a timeline of every thread (trace-event JSON, for the Perfetto UI)\n"
    "  --clock virtual|real   the host's time for run and shell (run: virtual, shell: real)\n"
    "  --quiet, --verbose     less (failures and summary) or more (every library log line)\n";

int usage(const std::string& problem) {
  std::cerr << "bttev: " << problem << "\n" << kUsage;
  return kExitUsage;
}

bool readFile(const std::string& path, std::string* text) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  std::ostringstream content;
  content << file.rdbuf();
  *text = content.str();
  return static_cast<bool>(file) || file.eof();
}

// The lines to run, once the session has started: the demo's follow the host's world.
using ScriptSource =
    std::function<bool(Session& session, std::vector<tev::bttev::ScriptLine>* lines, std::string* error)>;

// Runs the lines `script` gives in a fresh session; the summary follows unless quiet.
int runLines(SessionOptions options, const ScriptSource& script, const std::string& title, bool summaryWhenQuiet) {
  const bool quiet = options.verbosity == tev::bttev::Verbosity::kQuiet;
  Session session(std::move(options), std::cout, std::cerr);
  std::string error;
  std::vector<tev::bttev::ScriptLine> lines;
  if (!session.Start(&error) || !script(session, &lines, &error)) {
    std::cerr << "bttev: " << error << "\n";
    return kExitFailed;
  }
  tev::bttev::Executor executor(session);
  const bool ran = executor.Run(lines, &error);
  std::string shutdownError;
  const bool stopped = session.Shutdown(&shutdownError);
  const size_t breaches = session.checker().BreachCount();
  if (!quiet || summaryWhenQuiet) session.PrintSummary(title, std::cout);
  std::cout.flush();
  if (!ran) std::cerr << "bttev: " << error << "\n";
  if (!stopped) std::cerr << "bttev: " << shutdownError << "\n";
  if (breaches) std::cerr << "bttev: " << breaches << " contract breach(es); see the lines marked !!\n";
  return ran && stopped && breaches == 0 ? 0 : kExitFailed;
}

}  // namespace

int main(int argc, char** argv) {
  // Before any thread starts, so that every task of every thread is seen.
  tev::bttev::TaskMonitor::Install();
  tev::bttev::SetCurrentThreadName("stack");

  SessionOptions options;
  options.libraryPath = BTTEV_DEFAULT_LIBRARY;
  std::string clock;
  std::string listen;
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    auto value = [&](std::string* out) {
      if (i + 1 >= argc) return false;
      *out = argv[++i];
      return true;
    };
    if (arg == "--lib") {
      if (!value(&options.libraryPath)) return usage("--lib needs a path");
    } else if (arg == "--world") {
      if (!value(&options.worldFile)) return usage("--world needs a file");
    } else if (arg == "--trace") {
      if (!value(&options.tracePath)) return usage("--trace needs a file");
    } else if (arg == "--connect") {
      if (!value(&options.hostSocket)) return usage("--connect needs a socket path");
    } else if (arg == "--listen") {
      if (!value(&listen)) return usage("--listen needs a socket path");
    } else if (arg == "--clock") {
      if (!value(&clock) || (clock != "virtual" && clock != "real")) return usage("--clock takes virtual or real");
    } else if (arg == "--quiet") {
      options.verbosity = tev::bttev::Verbosity::kQuiet;
    } else if (arg == "--verbose") {
      options.verbosity = tev::bttev::Verbosity::kVerbose;
    } else if (arg == "-h" || arg == "--help") {
      std::cout << kUsage;
      return 0;
    } else if (!arg.empty() && arg[0] == '-') {
      return usage("unknown option " + arg);
    } else {
      words.push_back(arg);
    }
  }
  if (words.empty()) return usage("no command");
  const std::string command = words[0];

  if (command == "host") {
    if (words.size() != 1) return usage("host takes no argument but its options");
    if (listen.empty()) return usage("host needs --listen SOCKET");
    if (!options.hostSocket.empty() || !options.tracePath.empty() || options.libraryPath != BTTEV_DEFAULT_LIBRARY ||
        options.verbosity != tev::bttev::Verbosity::kNormal) {
      return usage("host takes only --listen, --world and --clock");
    }
    return tev::bttev::RunHostDaemon({listen, options.worldFile, clock == "virtual"});
  }
  if (!listen.empty()) return usage("--listen is an option of 'bttev host'");
  if (!options.hostSocket.empty() && (!options.worldFile.empty() || !clock.empty())) {
    return usage("with --connect the world and the clock are the daemon's (bttev host --world, --clock)");
  }
  if (command == "help") {
    std::string topic;
    for (size_t i = 1; i < words.size(); ++i) topic += (i > 1 ? " " : "") + words[i];
    if (topic.empty()) std::cout << kUsage << "\n";
    std::cout << tev::bttev::HelpText(topic);
    return 0;
  }
  if (command == "demo") {
    if (words.size() != 1) return usage("demo takes no argument");
    if (clock == "virtual") return usage("the demo runs on the real clock");
    options.time = SimulatedHost::Time::kReal;
    // A world that does not load is a usage error, found before anything starts.
    tev::sim::World world;
    tev::sim::WorldError worldError;
    if (!options.worldFile.empty() && !tev::sim::LoadWorldFile(options.worldFile, &world, &worldError)) {
      std::cerr << "bttev: " << worldError.ToString() << "\n";
      return kExitUsage;
    }
    const ScriptSource demo = [](Session& session, std::vector<tev::bttev::ScriptLine>* lines, std::string* error) {
      if (session.virtualTime()) {
        *error = "the demo runs on the real clock: start the daemon without --clock virtual";
        return false;
      }
      return tev::bttev::ParseScript(tev::bttev::BuildDemoScript(session.world()), "demo", lines, error) &&
             tev::bttev::ValidateScript(*lines, error);
    };
    return runLines(options, demo, "Demo summary", true);
  }
  if (command == "run") {
    if (words.size() != 2) return usage("run takes one script file");
    options.time = clock == "real" ? SimulatedHost::Time::kReal : SimulatedHost::Time::kVirtual;
    std::string text;
    if (!readFile(words[1], &text)) {
      std::cerr << "bttev: cannot read the script " << words[1] << "\n";
      return kExitUsage;
    }
    std::vector<tev::bttev::ScriptLine> lines;
    std::string error;
    if (!tev::bttev::ParseScript(text, words[1], &lines, &error) || !tev::bttev::ValidateScript(lines, &error)) {
      std::cerr << "bttev: " << error << "\n";
      return kExitUsage;
    }
    return runLines(
        options,
        [&lines](Session&, std::vector<tev::bttev::ScriptLine>* out, std::string*) {
          *out = lines;
          return true;
        },
        "Summary of " + words[1], false);
  }
  if (command == "shell") {
    if (words.size() != 1) return usage("shell takes no argument");
    options.time = clock == "virtual" ? SimulatedHost::Time::kVirtual : SimulatedHost::Time::kReal;
    Session session(options, std::cout, std::cerr);
    std::string error;
    if (!session.Start(&error)) {
      std::cerr << "bttev: " << error << "\n";
      return kExitFailed;
    }
    const int failures = tev::bttev::RunShell(session, std::cin, isatty(STDIN_FILENO) != 0);
    if (!session.Shutdown(&error)) session.transcript().Error("bttev: " + error);
    session.PrintSummary("Shell summary", std::cout);
    return failures == 0 && session.checker().BreachCount() == 0 ? 0 : kExitFailed;
  }
  return usage("unknown command '" + command + "'");
}
