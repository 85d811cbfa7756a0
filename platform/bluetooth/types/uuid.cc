#include <bluetooth/uuid.h>

#include <base/strings/stringprintf.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace bluetooth {

namespace {

// 00000000-0000-1000-8000-00805F9B34FB
constexpr Uuid::UUID128Bit kBaseUuid = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                        0x80, 0x00, 0x00, 0x80, 0x5f, 0x9b, 0x34, 0xfb};

// Offsets of the dashes in the 36-character form.
constexpr size_t kDashPositions[] = {8, 13, 18, 23};

int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads hex digit pairs into `out`, skipping dashes at kDashPositions when
// `dashed`. Signs, prefixes and spaces are all refused.
bool ParseHexBytes(const std::string& text, bool dashed, uint8_t* out) {
  size_t nibble = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (dashed && std::find(std::begin(kDashPositions), std::end(kDashPositions), i) != std::end(kDashPositions)) {
      if (text[i] != '-') return false;
      continue;
    }
    const int value = HexDigitValue(text[i]);
    if (value < 0) return false;
    if (nibble % 2 == 0) {
      out[nibble / 2] = static_cast<uint8_t>(value << 4);
    } else {
      out[nibble / 2] |= static_cast<uint8_t>(value);
    }
    ++nibble;
  }
  return true;
}

}  // namespace

const Uuid Uuid::kEmpty = Uuid::From128BitBE(UUID128Bit{});

Uuid Uuid::GetRandom() {
  std::random_device device;
  std::uniform_int_distribution<unsigned int> byte(0, 0xff);
  UUID128Bit bytes;
  for (uint8_t& b : bytes) b = static_cast<uint8_t>(byte(device));
  return Uuid(bytes);
}

size_t Uuid::GetShortestRepresentationSize() const {
  if (std::memcmp(uu.data() + kNumBytes32, kBaseUuid.data() + kNumBytes32, kNumBytes128 - kNumBytes32) != 0) {
    return kNumBytes128;
  }
  if (uu[0] == 0 && uu[1] == 0) return kNumBytes16;
  return kNumBytes32;
}

bool Uuid::Is16Bit() const { return GetShortestRepresentationSize() == kNumBytes16; }

uint16_t Uuid::As16Bit() const { return static_cast<uint16_t>((uu[2] << 8) | uu[3]); }

uint32_t Uuid::As32Bit() const {
  return (static_cast<uint32_t>(uu[0]) << 24) | (static_cast<uint32_t>(uu[1]) << 16) |
         (static_cast<uint32_t>(uu[2]) << 8) | static_cast<uint32_t>(uu[3]);
}

Uuid Uuid::FromString(const std::string& uuid, bool* is_valid) {
  UUID128Bit bytes = kBaseUuid;
  bool ok = false;
  switch (uuid.size()) {
    case kString128BitLen:
      ok = ParseHexBytes(uuid, true, bytes.data());
      break;
    case kNumBytes32 * 2:
      ok = ParseHexBytes(uuid, false, bytes.data());
      break;
    case kNumBytes16 * 2:
      ok = ParseHexBytes(uuid, false, bytes.data() + 2);
      break;
  }
  if (is_valid) *is_valid = ok;
  return ok ? Uuid(bytes) : kEmpty;
}

Uuid Uuid::From16Bit(uint16_t uuid16bit) {
  UUID128Bit bytes = kBaseUuid;
  bytes[2] = static_cast<uint8_t>(uuid16bit >> 8);
  bytes[3] = static_cast<uint8_t>(uuid16bit);
  return Uuid(bytes);
}

Uuid Uuid::From32Bit(uint32_t uuid32bit) {
  UUID128Bit bytes = kBaseUuid;
  bytes[0] = static_cast<uint8_t>(uuid32bit >> 24);
  bytes[1] = static_cast<uint8_t>(uuid32bit >> 16);
  bytes[2] = static_cast<uint8_t>(uuid32bit >> 8);
  bytes[3] = static_cast<uint8_t>(uuid32bit);
  return Uuid(bytes);
}

Uuid Uuid::From128BitBE(const uint8_t* uuid) {
  UUID128Bit bytes;
  std::copy(uuid, uuid + kNumBytes128, bytes.begin());
  return Uuid(bytes);
}

Uuid Uuid::From128BitLE(const UUID128Bit& uuid) { return From128BitLE(uuid.data()); }

Uuid Uuid::From128BitLE(const uint8_t* uuid) {
  UUID128Bit bytes;
  std::reverse_copy(uuid, uuid + kNumBytes128, bytes.begin());
  return Uuid(bytes);
}

const Uuid::UUID128Bit Uuid::To128BitLE() const {
  UUID128Bit le;
  std::reverse_copy(uu.begin(), uu.end(), le.begin());
  return le;
}

const Uuid::UUID128Bit& Uuid::To128BitBE() const { return uu; }

std::string Uuid::ToString() const {
  return base::StringPrintf("%02x%02x%02x%02x-%02x%02x-%02x%02x-%02x%02x-%02x%02x%02x%02x%02x%02x", uu[0], uu[1],
                            uu[2], uu[3], uu[4], uu[5], uu[6], uu[7], uu[8], uu[9], uu[10], uu[11], uu[12], uu[13],
                            uu[14], uu[15]);
}

bool Uuid::IsEmpty() const { return *this == kEmpty; }

bool Uuid::IsBase() const { return uu == kBaseUuid; }

void Uuid::UpdateUuid(const Uuid& uuid) { uu = uuid.uu; }

bool Uuid::operator<(const Uuid& rhs) const { return uu < rhs.uu; }

bool Uuid::operator==(const Uuid& rhs) const { return uu == rhs.uu; }

bool Uuid::operator!=(const Uuid& rhs) const { return uu != rhs.uu; }

}  // namespace bluetooth
