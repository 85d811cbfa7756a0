#include "event_pattern.h"

#include <algorithm>
#include <cctype>

#include "script_values.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// "char:0x2A37" and "char:00002a37-0000-1000-8000-00805f9b34fb" both become "char:2a37".
std::string canonicalFieldName(const std::string& name) {
  const size_t colon = name.find(':');
  if (colon == std::string::npos) return name;
  std::string uuidText = name.substr(colon + 1);
  if (uuidText.size() > 2 && uuidText[0] == '0' && (uuidText[1] == 'x' || uuidText[1] == 'X')) {
    uuidText = uuidText.substr(2);
  }
  bluetooth::Uuid uuid;
  if (!ParseUuid(uuidText, &uuid)) return name;
  return name.substr(0, colon) + ":" + UuidText(uuid);
}

}  // namespace

std::string EventPattern::ToString() const {
  std::string text = callback;
  for (const FieldPattern& field : fields) {
    text += " " + field.name + "=";
    if (!field.capture.empty()) {
      text += "?" + field.capture;
    } else {
      text += field.quoted ? "\"" + field.value + "\"" : field.value;
    }
  }
  return text;
}

bool ResolvePattern(EventPattern* pattern, std::string* error) {
  const CallbackSchema* schema = nullptr;
  std::vector<std::string> candidates;
  for (const CallbackSchema& candidate : CallbackSchemas()) {
    if (candidate.Name() == pattern->callback) {
      schema = &candidate;
      candidates = {candidate.Name()};
      break;
    }
    if (candidate.slot == pattern->callback) {
      schema = &candidate;
      candidates.push_back(candidate.Name());
    }
  }
  if (candidates.empty()) {
    *error = "unknown callback '" + pattern->callback + "' (see 'help callbacks')";
    return false;
  }
  if (candidates.size() > 1) {
    *error = "'" + pattern->callback + "' is in more than one table: say " + candidates[0] + " or " + candidates[1];
    return false;
  }
  pattern->callback = schema->Name();
  for (FieldPattern& field : pattern->fields) {
    field.name = canonicalFieldName(field.name);
    const bool known = std::find(schema->fields.begin(), schema->fields.end(), field.name) != schema->fields.end();
    if (!known && !schema->openFields) {
      std::string list;
      for (const std::string& name : schema->fields) list += (list.empty() ? "" : ", ") + name;
      *error = pattern->callback + " has no field '" + field.name + "' (fields: " + list + ")";
      return false;
    }
  }
  return true;
}

bool ValueMatches(const Field& field, const std::string& expected, bool quoted) {
  switch (field.kind) {
    case FieldKind::kNumber: {
      int64_t number = 0;
      if (!quoted && ParseInteger(expected, &number)) return field.value == std::to_string(number);
      return !field.label.empty() && lower(field.label) == lower(expected);
    }
    case FieldKind::kText:
      return field.value == expected;
    case FieldKind::kAddress:
      return lower(field.value) == lower(expected);
    case FieldKind::kUuid: {
      bluetooth::Uuid uuid;
      return ParseUuid(expected, &uuid) && UuidText(uuid) == field.value;
    }
    case FieldKind::kBytes: {
      std::vector<uint8_t> bytes;
      if (!ParseBytes(expected, quoted, &bytes)) return false;
      return HexText(bytes.data(), bytes.size()) == field.value;
    }
  }
  return false;
}

bool Matches(const CallbackEvent& event, const EventPattern& pattern, Variables* captures) {
  if (event.Name() != pattern.callback) return false;
  Variables bound;
  for (const FieldPattern& expected : pattern.fields) {
    const Field* hit = nullptr;
    for (const Field& field : event.fields) {
      if (field.name != expected.name) continue;
      if (!expected.capture.empty() || ValueMatches(field, expected.value, expected.quoted)) {
        hit = &field;
        break;
      }
    }
    if (!hit) return false;
    if (!expected.capture.empty()) bound[expected.capture] = hit->value;
  }
  if (captures) {
    for (auto& [name, value] : bound) (*captures)[name] = value;
  }
  return true;
}

}  // namespace bttev
}  // namespace tev
