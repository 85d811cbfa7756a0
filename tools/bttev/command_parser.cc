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

bool ParseExpectation(const std::vector<Token>& tokens, Expectation* expectation, std::string* error) {
  *expectation = Expectation();
  size_t i = 0;
  std::vector<Token> words;
  for (; i < tokens.size(); ++i) {
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
  if (words.empty()) {
    *error = "expect needs a callback name, 'no CALLBACK' or 'log \"TEXT\"'";
    return false;
  }
  size_t w = 0;
  if (!words[0].quoted && words[0].text == "log") {
    if (words.size() != 2) {
      *error = "expect log takes one text";
      return false;
    }
    expectation->log = true;
    expectation->logText = words[1].text;
    return true;
  }
  if (!words[0].quoted && words[0].text == "no") {
    expectation->negated = true;
    ++w;
    if (expectation->hasWithin) {
      *error = "'expect no' checks once every thread is idle; it takes no 'within'";
      return false;
    }
  }
  if (w >= words.size()) {
    *error = "expect no needs a callback name";
    return false;
  }
  expectation->pattern.callback = words[w++].text;
  for (; w < words.size(); ++w) {
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
    expectation->pattern.fields.push_back(std::move(field));
  }
  return ResolvePattern(&expectation->pattern, error);
}

}  // namespace bttev
}  // namespace tev
