#include "executor.h"

#include <cctype>
#include <optional>

#include "base/strings/stringprintf.h"
#include "session.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

// The command and its argument words, without a trailing "returns STATUS".
bool resolve(const ScriptLine& line, const CommandEntry** entry, std::vector<Token>* words,
             std::optional<std::string>* expected, std::string* error) {
  size_t argStart = 0;
  *entry = FindCommand(line.tokens, &argStart, error);
  if (!*entry) return false;
  words->assign(line.tokens.begin() + static_cast<std::ptrdiff_t>(argStart), line.tokens.end());
  expected->reset();
  if ((*entry)->halCall && words->size() >= 2 && !(*words)[words->size() - 2].quoted &&
      (*words)[words->size() - 2].text == "returns") {
    *expected = words->back().text;
    words->resize(words->size() - 2);
  }
  if (words->size() < (*entry)->minArgs || words->size() > (*entry)->maxArgs) {
    *error = "usage: " + (*entry)->Usage();
    return false;
  }
  return true;
}

}  // namespace

bool ValidateScript(const std::vector<ScriptLine>& lines, std::string* error) {
  for (const ScriptLine& line : lines) {
    const CommandEntry* entry = nullptr;
    std::vector<Token> words;
    std::optional<std::string> expected;
    std::string reason;
    bool ok = resolve(line, &entry, &words, &expected, &reason);
    int64_t status = 0;
    if (ok && !entry->textResult && expected && !expected->empty() && (*expected)[0] != '$' &&
        !ParseStatus(*expected, &status)) {
      reason = "'returns' takes a status: success, fail, unsupported, parm_invalid ... or a number";
      ok = false;
    }
    if (ok && entry->name == "expect") {
      Expectation expectation;
      ok = ParseExpectation(words, &expectation, &reason);
    }
    if (!ok) {
      *error = line.Where() + ": " + reason;
      return false;
    }
  }
  return true;
}

bool Executor::Run(const std::vector<ScriptLine>& lines, std::string* error) {
  for (const ScriptLine& line : lines) {
    if (!Execute(line, error)) return false;
  }
  return true;
}

bool Executor::substitute(std::vector<Token>* tokens, std::string* error) const {
  for (Token& token : *tokens) {
    std::string out;
    const std::string& text = token.text;
    for (size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '$') {
        out += text[i];
        continue;
      }
      size_t end = i + 1;
      while (end < text.size() && (std::isalnum(static_cast<unsigned char>(text[end])) || text[end] == '_')) ++end;
      const std::string name = text.substr(i + 1, end - i - 1);
      if (name.empty()) {
        out += '$';
        continue;
      }
      auto found = session_.variables().find(name);
      if (found == session_.variables().end()) {
        *error = "$" + name + " is not set (an expectation's FIELD=?" + name + " or 'set' sets it)";
        return false;
      }
      out += found->second;
      i = end - 1;
    }
    token.text = out;
  }
  return true;
}

bool Executor::Execute(const ScriptLine& line, std::string* error) {
  ScriptLine expanded = line;
  std::string reason;
  const CommandEntry* entry = nullptr;
  std::vector<Token> words;
  std::optional<std::string> expected;
  if (!substitute(&expanded.tokens, &reason) || !resolve(expanded, &entry, &words, &expected, &reason)) {
    *error = line.Where() + ": " + reason;
    return false;
  }
  CommandArgs args(std::move(words));
  const bool handled = entry->handler(session_, args, &reason);
  session_.PumpHostJournal();
  if (!handled) {
    *error = line.Where() + ": " + reason;
    return false;
  }
  const std::string command = entry->group.empty() ? entry->name : entry->group + " " + entry->name;
  if (const std::optional<std::string>& text = args.returnedText()) {
    if (!expected || *text == *expected) return true;
    *error = line.Where() + ": " + command + " returned \"" + *text + "\", expected \"" + *expected + "\"";
    return false;
  }
  const std::optional<int64_t> returned = args.returned();
  if (!returned && expected) {
    *error = line.Where() + ": " + command + " gave no result for 'returns' to check";
    return false;
  }
  if (!returned) return true;
  int64_t wanted = 0;
  if (expected) {
    if (!ParseStatus(*expected, &wanted)) {
      *error = line.Where() + ": 'returns' takes a status, not '" + *expected + "'";
      return false;
    }
  } else if (!args.returnedStatus()) {
    return true;
  }
  if (*returned != wanted) {
    const std::string got = args.returnedStatus() ? StatusLabel(static_cast<int>(*returned)) : "";
    const std::string want = args.returnedStatus() ? StatusLabel(static_cast<int>(wanted)) : "";
    *error = base::StringPrintf("%s: %s returned %lld%s, expected %lld%s", line.Where().c_str(), command.c_str(),
                                static_cast<long long>(*returned), got.empty() ? "" : (" (" + got + ")").c_str(),
                                static_cast<long long>(wanted), want.empty() ? "" : (" (" + want + ")").c_str());
    return false;
  }
  return true;
}

}  // namespace bttev
}  // namespace tev
