#pragma once

#include <istream>

namespace tev {
namespace bttev {

class Session;

// The interactive console: one command per line, in the language of scripts. A failing line
// is reported and the session goes on; "quit", "exit" or the end of input ends it. Returns the
// number of lines that failed. With `prompt` (`in` is a terminal) it greets and prompts; when
// standard input and output are both terminals, lines are edited with history and the
// session's output shows above the line being typed.
int RunShell(Session& session, std::istream& in, bool prompt);

}  // namespace bttev
}  // namespace tev
