#include "host_pattern.h"

#include <strings.h>

#include "script_values.h"

namespace tev {
namespace bttev {
namespace {

bool sameValue(const std::string& actual, const std::string& expected) {
  int64_t a = 0;
  int64_t b = 0;
  if (ParseInteger(actual, &a) && ParseInteger(expected, &b)) return a == b;
  return actual.size() == expected.size() && strcasecmp(actual.c_str(), expected.c_str()) == 0;
}

}  // namespace

std::string HostPattern::ToString() const {
  std::string text = "host " + method;
  for (const FieldPattern& field : fields) {
    text += " " + field.name + "=" + (field.capture.empty() ? field.value : "?" + field.capture);
  }
  return text;
}

std::vector<std::pair<std::string, std::string>> SummaryFields(const std::string& summary) {
  std::vector<std::pair<std::string, std::string>> fields;
  size_t start = 0;
  while (start < summary.size()) {
    size_t end = summary.find(' ', start);
    if (end == std::string::npos) end = summary.size();
    const std::string word = summary.substr(start, end - start);
    const size_t eq = word.find('=');
    if (eq != std::string::npos && eq > 0) {
      fields.emplace_back(word.substr(0, eq), word.substr(eq + 1));
    } else if (!fields.empty() && !word.empty()) {
      fields.back().second += " " + word;
    }
    start = end + 1;
  }
  for (auto& field : fields) {
    std::string& value = field.second;
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
  }
  return fields;
}

bool MatchesHostEntry(const std::string& method, const std::string& summary, const HostPattern& pattern,
                      Variables* captures) {
  if (method != pattern.method) return false;
  const std::vector<std::pair<std::string, std::string>> fields = SummaryFields(summary);
  Variables found;
  for (const FieldPattern& wanted : pattern.fields) {
    bool matched = false;
    for (const auto& [name, value] : fields) {
      if (name != wanted.name) continue;
      if (!wanted.capture.empty()) {
        found.emplace(wanted.capture, value);
        matched = true;
        break;
      }
      if (sameValue(value, wanted.value)) {
        matched = true;
        break;
      }
    }
    if (!matched) return false;
  }
  if (captures) captures->insert(found.begin(), found.end());
  return true;
}

}  // namespace bttev
}  // namespace tev
