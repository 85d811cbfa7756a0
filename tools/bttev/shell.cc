#include "shell.h"

#include <iostream>
#include <string>

#include "command_parser.h"
#include "executor.h"
#include "session.h"

namespace tev {
namespace bttev {

int RunShell(Session& session, std::istream& in, bool prompt) {
  Executor executor(session);
  int failures = 0;
  int number = 0;
  if (prompt) {
    session.transcript().Print(
        "bttev shell: one HAL command per line, 'help' lists them, 'quit' ends.\n"
        "Start with: init, enable, gatt init.\n");
  }
  std::string text;
  for (;;) {
    if (prompt) session.transcript().Print("bttev> ");
    std::cout.flush();
    if (!std::getline(in, text)) break;
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

}  // namespace bttev
}  // namespace tev
