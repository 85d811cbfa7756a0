#include "script_values.h"

#include <cctype>
#include <cmath>
#include <cstdlib>

namespace tev {
namespace bttev {
namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool ParseInteger(const std::string& text, int64_t* value) {
  if (text == "true") {
    *value = 1;
    return true;
  }
  if (text == "false") {
    *value = 0;
    return true;
  }
  if (text.empty()) return false;
  char* end = nullptr;
  const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  const long long parsed = std::strtoll(text.c_str(), &end, hex ? 16 : 10);
  if (*end != '\0') return false;
  *value = parsed;
  return true;
}

bool ParseDurationMicros(const std::string& text, std::chrono::microseconds* value) {
  size_t unit = 0;
  while (unit < text.size() && (std::isdigit(static_cast<unsigned char>(text[unit])) || text[unit] == '.')) ++unit;
  if (unit == 0 || unit == text.size()) return false;
  char* end = nullptr;
  const std::string number = text.substr(0, unit);
  const double amount = std::strtod(number.c_str(), &end);
  if (*end != '\0' || !std::isfinite(amount)) return false;
  const std::string suffix = text.substr(unit);
  double scale = 0;
  if (suffix == "us") {
    scale = 1;
  } else if (suffix == "ms") {
    scale = 1e3;
  } else if (suffix == "s") {
    scale = 1e6;
  } else if (suffix == "m") {
    scale = 60e6;
  } else {
    return false;
  }
  const double micros = amount * scale;
  // Beyond a day is a typing error, not a plan.
  if (micros > 86400e6) return false;
  *value = std::chrono::microseconds(static_cast<int64_t>(std::llround(micros)));
  return true;
}

bool ParseDuration(const std::string& text, std::chrono::milliseconds* value) {
  std::chrono::microseconds micros;
  if (!ParseDurationMicros(text, &micros)) return false;
  *value = std::chrono::duration_cast<std::chrono::milliseconds>(micros);
  return true;
}

bool ParseAddress(const std::string& text, RawAddress* address) {
  if (text.size() != 17) return false;
  RawAddress parsed;
  for (size_t i = 0; i < RawAddress::kLength; ++i) {
    const size_t at = i * 3;
    const int high = hexDigit(text[at]);
    const int low = hexDigit(text[at + 1]);
    if (high < 0 || low < 0) return false;
    if (i + 1 < RawAddress::kLength && text[at + 2] != ':') return false;
    parsed.address[i] = static_cast<uint8_t>(high * 16 + low);
  }
  *address = parsed;
  return true;
}

bool ParseUuid(const std::string& text, bluetooth::Uuid* uuid) {
  bool valid = false;
  const bluetooth::Uuid parsed = bluetooth::Uuid::FromString(text, &valid);
  if (!valid) return false;
  *uuid = parsed;
  return true;
}

bool ParseBytes(const std::string& text, bool quoted, std::vector<uint8_t>* bytes) {
  bytes->clear();
  if (quoted) {
    bytes->assign(text.begin(), text.end());
    return true;
  }
  if (text == "-") return true;
  size_t i = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') ? 2 : 0;
  std::vector<uint8_t> parsed;
  while (i < text.size()) {
    if (text[i] == ':' && !parsed.empty()) ++i;
    if (i + 1 >= text.size()) return false;
    const int high = hexDigit(text[i]);
    const int low = hexDigit(text[i + 1]);
    if (high < 0 || low < 0) return false;
    parsed.push_back(static_cast<uint8_t>(high * 16 + low));
    i += 2;
  }
  if (parsed.empty()) return false;
  *bytes = std::move(parsed);
  return true;
}

}  // namespace bttev
}  // namespace tev
