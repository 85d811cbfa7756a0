#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "event_pattern.h"
#include "host_pattern.h"

namespace tev {
namespace bttev {

// One word of a command line; quoted words keep their spaces and are never taken as variables,
// captures or hexadecimal bytes.
struct Token {
  std::string text;
  bool quoted = false;
};

struct ScriptLine {
  std::string file;
  int line = 0;
  std::vector<Token> tokens;

  // "file:line".
  std::string Where() const;
};

// Words separated by blanks; "double quotes" group words (\" and \\ escape inside them); '#'
// outside quotes starts a comment.
bool Tokenize(const std::string& text, std::vector<Token>* tokens, std::string* error);

// Every non-empty line of `text`. Errors read "file:line: reason".
bool ParseScript(const std::string& text, const std::string& file, std::vector<ScriptLine>* lines, std::string* error);

// A log line as an expectation names it: a severity (INFO, WARNING, ERROR, or any), and text the
// line contains or, when exact, equals.
struct LogPattern {
  static constexpr int kAnySeverity = -100;
  int severity = kAnySeverity;
  bool exact = false;
  std::string text;

  bool Matches(int lineSeverity, const std::string& line) const;
  std::string ToString() const;
};

// expect [no|next] CALLBACK [FIELD=VALUE | FIELD=?VAR]... [within DURATION]
// expect [no] log [SEVERITY] [exact] "TEXT" [within DURATION]
// expect [no] host METHOD [FIELD=VALUE | FIELD=?VAR]...
struct Expectation {
  enum class Kind { kCallback, kLog, kHost };
  Kind kind = Kind::kCallback;
  bool negated = false;
  // The next callback to arrive must be this one.
  bool next = false;
  LogPattern log;
  HostPattern host;
  EventPattern pattern;
  std::chrono::milliseconds within{0};
  bool hasWithin = false;
};

// `tokens` are the words after "expect". Resolves the callback name and field names.
bool ParseExpectation(const std::vector<Token>& tokens, Expectation* expectation, std::string* error);

}  // namespace bttev
}  // namespace tev
