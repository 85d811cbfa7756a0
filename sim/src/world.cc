#include "tev/sim/world.h"

#include <cctype>

#include "base/strings/stringprintf.h"

namespace tev {
namespace sim {
namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

std::string AddressToString(const Address& a) {
  return base::StringPrintf("%02x:%02x:%02x:%02x:%02x:%02x", a[0], a[1], a[2], a[3], a[4], a[5]);
}

bool ParseAddress(const std::string& text, Address* address) {
  if (text.size() != 17) return false;
  Address parsed{};
  for (size_t i = 0; i < 6; ++i) {
    const size_t at = i * 3;
    if (i > 0 && text[at - 1] != ':') return false;
    const int high = HexDigit(text[at]);
    const int low = HexDigit(text[at + 1]);
    if (high < 0 || low < 0) return false;
    parsed[i] = static_cast<uint8_t>(high * 16 + low);
  }
  *address = parsed;
  return true;
}

}  // namespace sim
}  // namespace tev
