#pragma once

#include <string>
#include <vector>

#include "command_parser.h"
#include "command_table.h"

namespace tev {
namespace bttev {

class Session;

// Checks that every line names a command with the right number of arguments (and that every
// expectation parses), so that a script fails before anything runs. Errors read
// "file:line: reason".
bool ValidateScript(const std::vector<ScriptLine>& lines, std::string* error);

// Runs command lines against a session, on the stack thread.
class Executor {
 public:
  explicit Executor(Session& session) : session_(session) {}

  // Runs the lines in order and stops at the first failure.
  bool Run(const std::vector<ScriptLine>& lines, std::string* error);
  bool Execute(const ScriptLine& line, std::string* error);

 private:
  bool substitute(std::vector<Token>* tokens, std::string* error) const;

  Session& session_;
};

}  // namespace bttev
}  // namespace tev
