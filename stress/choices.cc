#include "choices.h"

namespace tev {
namespace stress {

std::vector<uint8_t> Choices::Bytes(size_t max) {
  std::vector<uint8_t> bytes(Below(static_cast<uint32_t>(max) + 1));
  for (uint8_t& byte : bytes) byte = Any<uint8_t>();
  return bytes;
}

std::string Choices::Text(size_t max) {
  std::string text(Below(static_cast<uint32_t>(max) + 1), ' ');
  for (char& c : text) c = static_cast<char>(Below(255) + 1);
  return text;
}

uint32_t RandomChoices::Below(uint32_t bound) {
  return std::uniform_int_distribution<uint32_t>(0, bound - 1)(engine_);
}

// As few bytes as the bound needs, so that a fuzzer's mutations stay local.
uint32_t ByteChoices::Below(uint32_t bound) {
  uint32_t value = 0;
  for (uint32_t span = bound - 1; span > 0; span >>= 8) value = (value << 8) | NextByte();
  return value % bound;
}

uint64_t ByteChoices::Bits(size_t bytes) {
  uint64_t value = 0;
  for (size_t i = 0; i < bytes && i < 8; ++i) value = (value << 8) | NextByte();
  return value;
}

std::vector<uint8_t> ByteChoices::Chunk(size_t length) {
  const size_t available = position_ < size_ ? size_ - position_ : 0;
  const size_t taken = length < available ? length : available;
  std::vector<uint8_t> chunk(data_ + position_, data_ + position_ + taken);
  position_ += taken;
  return chunk;
}

}  // namespace stress
}  // namespace tev
