#include "raw_address.h"

#include <base/strings/string_split.h>
#include <base/strings/stringprintf.h>

#include <cstdlib>
#include <vector>

namespace {
// "aa:bb:cc:dd:ee:ff"
constexpr size_t kStringLength = RawAddress::kLength * 3 - 1;
}  // namespace

const RawAddress RawAddress::kEmpty{{0x00, 0x00, 0x00, 0x00, 0x00, 0x00}};
const RawAddress RawAddress::kAny{{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}};

RawAddress::RawAddress(const uint8_t (&addr)[kLength]) { std::memcpy(address, addr, kLength); }

RawAddress::RawAddress(const std::array<uint8_t, kLength> array) { std::memcpy(address, array.data(), kLength); }

std::string RawAddress::ToString() const {
  return base::StringPrintf("%02x:%02x:%02x:%02x:%02x:%02x", address[0], address[1], address[2], address[3],
                            address[4], address[5]);
}

std::string RawAddress::ToColonSepHexString() const { return ToString(); }

std::string RawAddress::ToStringForLogging() const { return ToString(); }

std::string RawAddress::ToRedactedStringForLogging() const {
  return base::StringPrintf("xx:xx:xx:xx:%02x:%02x", address[4], address[5]);
}

// strtol is the judge of each piece, so a sign is accepted ("-1" is ff) while
// a "0x" prefix is not, as it leaves the "x" unconsumed.
bool RawAddress::FromString(const std::string& from, RawAddress& to) {
  if (from.length() != kStringLength) return false;

  const std::vector<std::string> pieces = base::SplitString(from, ":", base::TRIM_WHITESPACE, base::SPLIT_WANT_ALL);
  if (pieces.size() != kLength) return false;

  RawAddress parsed;
  for (size_t i = 0; i < kLength; ++i) {
    const std::string& piece = pieces[i];
    if (piece.length() != 2) return false;
    char* end = nullptr;
    const long value = std::strtol(piece.c_str(), &end, 16);
    if (*end != '\0') return false;
    parsed.address[i] = static_cast<uint8_t>(value);
  }
  to = parsed;
  return true;
}

size_t RawAddress::FromOctets(const uint8_t* from) {
  std::memcpy(address, from, kLength);
  return kLength;
}

std::array<uint8_t, RawAddress::kLength> RawAddress::ToArray() const {
  std::array<uint8_t, kLength> bytes;
  std::memcpy(bytes.data(), address, kLength);
  return bytes;
}

bool RawAddress::IsValidAddress(const std::string& address) {
  RawAddress scratch;
  return FromString(address, scratch);
}
