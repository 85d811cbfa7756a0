#pragma once

#include <string_view>

namespace base {
using StringPiece = std::string_view;
}  // namespace base
