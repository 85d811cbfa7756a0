#include "command_parser.h"

#include "script_values.h"

namespace tev {
namespace bttev {

std::string ScriptLine::Where() const { return file + ":" + std::to_string(line); }

bool Tokenize(const std::string& text, std::vector<Token>* tokens, std::string* error) {
  tokens->clear();
  size_t i = 0;
  while (i < text.size()) {
    const char c = text[i];
    if (c == ' ' || c == '\t' || c == '\r') {
      ++i;
      continue;
    }
    if (c == '#') break;
    Token token;
    if (c == '"') {
      token.quoted = true;
      ++i;
      bool closed = false;
      while (i < text.size()) {
        const char q = text[i++];
        if (q == '"') {
          closed = true;
          break;
        }
        if (q == '\\' && i < text.size() && (text[i] == '"' || text[i] == '\\')) {
          token.text += text[i++];
        } else {
          token.text += q;
        }
      }
      if (!closed) {
        *error = "unterminated quoted text";
        return false;
      }
    } else {
      while (i < text.size() && text[i] != ' ' && text[i] != '\t' && text[i] != '\r') {
        // A quote inside a word quotes the rest of the value: name="My Phone".
        if (text[i] == '"') {
          const size_t close = text.find('"', i + 1);
          if (close == std::string::npos) {
            *error = "unterminated quoted text";
            return false;
          }
          token.text += text.substr(i + 1, close - i - 1);
          token.quoted = true;
          i = close + 1;
          continue;
        }
        token.text += text[i++];
      }
    }
    tokens->push_back(std::move(token));
  }
  return true;
}

bool ParseScript(const std::string& text, const std::string& file, std::vector<ScriptLine>* lines, std::string* error) {
  lines->clear();
  size_t start = 0;
  int number = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    ++number;
    ScriptLine line{file, number, {}};
    std::string reason;
    if (!Tokenize(text.substr(start, end - start), &line.tokens, &reason)) {
      *error = line.Where() + ": " + reason;
      return false;
    }
    if (!line.tokens.empty()) lines->push_back(std::move(line));
    start = end + 1;
  }
  return true;
}

namespace {

const std::vector<std::pair<std::string, int>> kSeverities = {
    {"VERBOSE", -1}, {"INFO", 0}, {"WARNING", 1}, {"ERROR", 2}, {"FATAL", 3}};

std::string severityName(int severity) {
  for (const auto& [name, value] : kSeverities) {
    if (value == severity) return name;
  }
  return std::to_string(severity);
}

// FIELD=VALUE and FIELD=?VAR words.
bool parseFields(const std::vector<Token>& words, size_t from, std::vector<FieldPattern>* fields, std::string* error) {
  for (size_t w = from; w < words.size(); ++w) {
    const std::string& word = words[w].text;
    const size_t eq = word.find('=');
    if (eq == std::string::npos || eq == 0) {
      *error = "expected FIELD=VALUE, got '" + word + "'";
      return false;
    }
    FieldPattern field;
    field.name = word.substr(0, eq);
    field.value = word.substr(eq + 1);
    field.quoted = words[w].quoted;
    if (!field.quoted && field.value.size() > 1 && field.value[0] == '?') {
      field.capture = field.value.substr(1);
      field.value.clear();
    }
    fields->push_back(std::move(field));
  }
  return true;
}

bool parseLog(const std::vector<Token>& words, size_t w, LogPattern* log, std::string* error) {
  for (; w + 1 < words.size() && !words[w].quoted; ++w) {
    bool known = false;
    for (const auto& [name, value] : kSeverities) {
      if (words[w].text == name) {
        log->severity = value;
        known = true;
      }
    }
    if (words[w].text == "exact") {
      log->exact = true;
      known = true;
    }
    if (!known) break;
  }
  if (w + 1 != words.size()) {
    *error = "expect log takes [INFO|WARNING|ERROR] [exact] and one text";
    return false;
  }
  log->text = words[w].text;
  return true;
}

}  // namespace

bool LogPattern::Matches(int lineSeverity, const std::string& line) const {
  if (severity != kAnySeverity && severity != lineSeverity) return false;
  return exact ? line == text : line.find(text) != std::string::npos;
}

std::string LogPattern::ToString() const {
  return "log line" + (severity == kAnySeverity ? "" : " at " + severityName(severity)) +
         (exact ? " equal to \"" : " containing \"") + text + "\"";
}

bool ParseExpectation(const std::vector<Token>& tokens, Expectation* expectation, std::string* error) {
  *expectation = Expectation();
  std::vector<Token> words;
  for (size_t i = 0; i < tokens.size(); ++i) {
    if (!tokens[i].quoted && tokens[i].text == "within") {
      if (i + 2 != tokens.size()) {
        *error = "'within' takes one duration and ends the line";
        return false;
      }
      if (!ParseDuration(tokens[i + 1].text, &expectation->within)) {
        *error = "bad duration '" + tokens[i + 1].text + "' (examples: 500ms, 2s)";
        return false;
      }
      expectation->hasWithin = true;
      break;
    }
    words.push_back(tokens[i]);
  }
  size_t w = 0;
  auto keyword = [&](const char* word) {
    if (w < words.size() && !words[w].quoted && words[w].text == word) return ++w, true;
    return false;
  };
  expectation->negated = keyword("no");
  expectation->next = !expectation->negated && keyword("next");
  if (expectation->negated && expectation->hasWithin) {
    *error = "'expect no' checks once every thread is idle; it takes no 'within'";
    return false;
  }
  if (w >= words.size()) {
    *error = "expect needs a callback name, 'no', 'next', 'log \"TEXT\"' or 'host METHOD'";
    return false;
  }
  if (expectation->next && !words[w].quoted && (words[w].text == "log" || words[w].text == "host")) {
    *error = "'expect next' takes a callback, not '" + words[w].text + "'";
    return false;
  }
  if (keyword("log")) {
    expectation->kind = Expectation::Kind::kLog;
    return parseLog(words, w, &expectation->log, error);
  }
  if (keyword("host")) {
    expectation->kind = Expectation::Kind::kHost;
    if (w >= words.size()) {
      *error = "expect host needs a method name (EnableAdapter, ReadGattCharacteristic ...)";
      return false;
    }
    if (expectation->hasWithin) {
      *error = "'expect host' checks once every thread is idle; it takes no 'within'";
      return false;
    }
    expectation->host.method = words[w++].text;
    return parseFields(words, w, &expectation->host.fields, error);
  }
  expectation->pattern.callback = words[w++].text;
  return parseFields(words, w, &expectation->pattern.fields, error) && ResolvePattern(&expectation->pattern, error);
}

}  // namespace bttev
}  // namespace tev
