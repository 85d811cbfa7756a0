#include <cstdio>
#include <cstring>
#include <vector>

#include "base/location.h"
#include "base/strings/string_split.h"
#include "base/strings/stringprintf.h"

namespace base {

std::string StringPrintV(const char* format, va_list ap) {
  va_list measure;
  va_copy(measure, ap);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length <= 0) return std::string();
  std::string result(static_cast<size_t>(length), '\0');
  std::vsnprintf(result.data(), result.size() + 1, format, ap);
  return result;
}

std::string StringPrintf(const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  std::string result = StringPrintV(format, ap);
  va_end(ap);
  return result;
}

void StringAppendF(std::string* dst, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  dst->append(StringPrintV(format, ap));
  va_end(ap);
}

namespace {
constexpr StringPiece kWhitespace = " \t\n\v\f\r";

StringPiece TrimWhitespace(StringPiece piece) {
  const size_t first = piece.find_first_not_of(kWhitespace);
  if (first == StringPiece::npos) return StringPiece();
  const size_t last = piece.find_last_not_of(kWhitespace);
  return piece.substr(first, last - first + 1);
}
}  // namespace

std::vector<std::string> SplitString(StringPiece input, StringPiece separators,
                                     WhitespaceHandling whitespace, SplitResult result_type) {
  std::vector<std::string> result;
  // An empty input yields no pieces at all.
  if (input.empty()) return result;
  size_t start = 0;
  for (;;) {
    const size_t end = input.find_first_of(separators, start);
    StringPiece piece = input.substr(start, end == StringPiece::npos ? StringPiece::npos : end - start);
    if (whitespace == TRIM_WHITESPACE) piece = TrimWhitespace(piece);
    if (result_type == SPLIT_WANT_ALL || !piece.empty()) result.emplace_back(piece);
    if (end == StringPiece::npos) break;
    start = end + 1;
  }
  return result;
}

std::string Location::ToString() const {
  return StringPrintf("%s@%s:%d", function_name_, file_name_, line_number_);
}

}  // namespace base
