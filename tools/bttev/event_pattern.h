#pragma once

#include <map>
#include <string>
#include <vector>

#include "stack_side.h"

namespace tev {
namespace bttev {

using Variables = std::map<std::string, std::string>;

// FIELD=VALUE matches when any field of that name holds the value; FIELD=?VAR matches any value
// and binds the first one to VAR.
struct FieldPattern {
  std::string name;
  std::string value;
  bool quoted = false;
  std::string capture;
};

struct EventPattern {
  // Qualified once resolved: "client.open_cb".
  std::string callback;
  std::vector<FieldPattern> fields;

  std::string ToString() const;
};

// Qualifies a bare callback name when only one table has it, and checks the field names
// against the callback's fields. UUIDs in element field names ("char:2a37") take their
// shortest form.
bool ResolvePattern(EventPattern* pattern, std::string* error);

// Numbers compare by value and also match their label ("state=on"); UUIDs by value in any
// form; addresses and bytes case-insensitively; text exactly.
bool ValueMatches(const Field& field, const std::string& expected, bool quoted);

// On a match, the captured values are added to `captures`.
bool Matches(const CallbackEvent& event, const EventPattern& pattern, Variables* captures);

}  // namespace bttev
}  // namespace tev
