#pragma once

#include <array>
#include <cstring>
#include <string>

// A Bluetooth device address, byte 0 first as it is written in text.
class RawAddress final {
 public:
  static constexpr unsigned int kLength = 6;

  uint8_t address[kLength];

  RawAddress() = default;
  RawAddress(const uint8_t (&addr)[kLength]);
  RawAddress(const std::array<uint8_t, kLength> array);

  bool operator<(const RawAddress& rhs) const { return std::memcmp(address, rhs.address, sizeof(address)) < 0; }
  bool operator==(const RawAddress& rhs) const { return std::memcmp(address, rhs.address, sizeof(address)) == 0; }
  bool operator>(const RawAddress& rhs) const { return rhs < *this; }
  bool operator<=(const RawAddress& rhs) const { return !(*this > rhs); }
  bool operator>=(const RawAddress& rhs) const { return !(*this < rhs); }
  bool operator!=(const RawAddress& rhs) const { return !(*this == rhs); }

  bool IsEmpty() const { return *this == kEmpty; }

  // "aa:bb:cc:dd:ee:ff", lower case.
  std::string ToString() const;
  std::string ToColonSepHexString() const;
  std::string ToStringForLogging() const;
  // Only the last two bytes survive: "xx:xx:xx:xx:ee:ff".
  std::string ToRedactedStringForLogging() const;

  // Writes `to` only when the whole of `from` parses.
  static bool FromString(const std::string& from, RawAddress& to);

  // Copies kLength bytes and returns how many were read.
  size_t FromOctets(const uint8_t* from);

  std::array<uint8_t, kLength> ToArray() const;

  static bool IsValidAddress(const std::string& address);

  static const RawAddress kEmpty;  // 00:00:00:00:00:00
  static const RawAddress kAny;    // ff:ff:ff:ff:ff:ff
};

inline std::ostream& operator<<(std::ostream& os, const RawAddress& a) {
  os << a.ToString();
  return os;
}

namespace std {
template <>
struct hash<RawAddress> {
  std::size_t operator()(const RawAddress& val) const {
    static_assert(sizeof(uint64_t) >= RawAddress::kLength, "an address must fit in a uint64_t");
    uint64_t packed = 0;
    std::memcpy(&packed, val.address, RawAddress::kLength);
    return std::hash<uint64_t>{}(packed);
  }
};
}  // namespace std

#define BD_ADDR_LEN 6

// Over the air and over HCI an address travels last byte first. The stream
// pointer is left just past the address.
inline void BDADDR_TO_STREAM(uint8_t*& p, const RawAddress& a) {
  for (int i = BD_ADDR_LEN - 1; i >= 0; --i) *p++ = a.address[i];
}

inline void STREAM_TO_BDADDR(RawAddress& a, const uint8_t*& p) {
  for (int i = BD_ADDR_LEN - 1; i >= 0; --i) a.address[i] = *p++;
}

inline void STREAM_TO_BDADDR(RawAddress& a, uint8_t*& p) {
  for (int i = BD_ADDR_LEN - 1; i >= 0; --i) a.address[i] = *p++;
}
