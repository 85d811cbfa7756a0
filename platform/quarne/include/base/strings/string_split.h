#pragma once

#include <string>
#include <vector>

#include "base/strings/string_piece.h"

namespace base {

enum WhitespaceHandling {
  KEEP_WHITESPACE,
  TRIM_WHITESPACE,
};

enum SplitResult {
  // Every piece, empty ones too.
  SPLIT_WANT_ALL,
  // Only non-empty pieces (after trimming, if asked).
  SPLIT_WANT_NONEMPTY,
};

// Splits `input` at any of the characters in `separators`.
std::vector<std::string> SplitString(StringPiece input, StringPiece separators,
                                     WhitespaceHandling whitespace, SplitResult result_type);

}  // namespace base
