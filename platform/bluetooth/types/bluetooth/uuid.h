#pragma once

#include <stdint.h>

#include <array>
#include <string>

namespace bluetooth {

// A 128-bit UUID stored in network byte order. The 16- and 32-bit short
// forms stand for the Bluetooth base UUID with their value in bytes 0 to 3.
class Uuid final {
 public:
  static constexpr size_t kNumBytes128 = 16;
  static constexpr size_t kNumBytes32 = 4;
  static constexpr size_t kNumBytes16 = 2;

  static constexpr size_t kString128BitLen = 36;

  static const Uuid kEmpty;

  using UUID128Bit = std::array<uint8_t, kNumBytes128>;

  Uuid() = default;

  static Uuid GetRandom();

  // 2, 4 or 16: the fewest bytes that represent this UUID exactly.
  size_t GetShortestRepresentationSize() const;
  bool Is16Bit() const;

  uint16_t As16Bit() const;
  uint32_t As32Bit() const;

  // Accepts "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx", or 8 or 4 hex digits for
  // the short forms. Anything else gives kEmpty and clears *is_valid.
  static Uuid FromString(const std::string& uuid, bool* is_valid = nullptr);

  static Uuid From16Bit(uint16_t uuid16bit);
  static Uuid From32Bit(uint32_t uuid32bit);

  static constexpr inline Uuid From128BitBE(const UUID128Bit& uuid) { return Uuid(uuid); }
  static Uuid From128BitBE(const uint8_t* uuid);

  static Uuid From128BitLE(const UUID128Bit& uuid);
  static Uuid From128BitLE(const uint8_t* uuid);

  const UUID128Bit To128BitLE() const;
  const UUID128Bit& To128BitBE() const;

  // Lower case, 8-4-4-4-12.
  std::string ToString() const;

  bool IsEmpty() const;
  bool IsBase() const;

  void UpdateUuid(const Uuid& uuid);

  bool operator<(const Uuid& rhs) const;
  bool operator==(const Uuid& rhs) const;
  bool operator!=(const Uuid& rhs) const;

 private:
  constexpr Uuid(const UUID128Bit& val) : uu{val} {}

  UUID128Bit uu;
};

inline std::ostream& operator<<(std::ostream& os, const Uuid& uuid) {
  os << uuid.ToString();
  return os;
}

}  // namespace bluetooth

namespace std {
template <>
struct hash<bluetooth::Uuid> {
  std::size_t operator()(const bluetooth::Uuid& key) const {
    const auto& bytes = key.To128BitBE();
    return std::hash<std::string>{}(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  }
};
}  // namespace std
