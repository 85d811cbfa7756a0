#pragma once

#include <string>
#include <vector>

#include "event_pattern.h"

namespace tev {
namespace bttev {

// What the host received (a call from the library, or the library's reply to a host request),
// named by its method and the KEY=VALUE fields of its journal entry ("addr=02:51:b0:00:00:01
// service=180d@1 char=2a38@4").
struct HostPattern {
  std::string method;
  std::vector<FieldPattern> fields;

  std::string ToString() const;
};

// The KEY=VALUE fields of a journal summary; a word without '=' continues the value before it,
// and quotes around a value are dropped.
std::vector<std::pair<std::string, std::string>> SummaryFields(const std::string& summary);

// Values compare as numbers when both are numbers, otherwise as text without regard to case. On a
// match, the captured values are added to `captures`.
bool MatchesHostEntry(const std::string& method, const std::string& summary, const HostPattern& pattern,
                      Variables* captures);

}  // namespace bttev
}  // namespace tev
