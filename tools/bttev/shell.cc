#include "shell.h"

#include <unistd.h>

#include <functional>
#include <iostream>
#include <memory>
#include <string>

#include "command_parser.h"
#include "executor.h"
#include "session.h"
#include "terminal_console.h"

namespace tev {
namespace bttev {
namespace {

// Runs each line `next` gives until it gives none or a line says "quit" or "exit"; returns the
// number of lines that failed.
int runLines(Session& session, const std::function<bool(std::string*)>& next) {
  Executor executor(session);
  int failures = 0;
  int number = 0;
  std::string text;
  while (next(&text)) {
    ++number;
    std::vector<ScriptLine> lines;
    std::string error;
    if (!ParseScript(text, "shell", &lines, &error)) {
      session.transcript().Error(error);
      ++failures;
      continue;
    }
    if (lines.empty()) continue;
    ScriptLine& line = lines.front();
    line.line = number;
    const std::string& first = line.tokens.front().text;
    if (line.tokens.size() == 1 && (first == "quit" || first == "exit")) break;
    if (!ValidateScript(lines, &error) || !executor.Execute(line, &error)) {
      session.transcript().Error(error);
      ++failures;
    }
  }
  return failures;
}

}  // namespace

int RunShell(Session& session, std::istream& in, bool prompt) {
  // Line editing needs the terminal on both sides; otherwise the prompt is plain text.
  std::unique_ptr<TerminalConsole> console = prompt && isatty(STDOUT_FILENO) ? TerminalConsole::Open() : nullptr;
  if (console) session.transcript().Divert(console.get());
  if (prompt) {
    session.transcript().Print(
        "bttev shell: one HAL command per line, 'help' lists them, 'quit' ends.\n"
        "Start with: init, enable, gatt init.\n");
  }
  const int failures = runLines(session, [&](std::string* text) {
    if (console) return console->ReadLine(text);
    if (prompt) session.transcript().Print("bttev> ");
    std::cout.flush();
    return static_cast<bool>(std::getline(in, *text));
  });
  if (console) {
    console->Stop();
    session.transcript().Divert(nullptr);
  }
  return failures;
}

}  // namespace bttev
}  // namespace tev
