#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace tev {
namespace stress {

// Where the arguments of generated calls and events come from: a seeded generator for the
// stress test, the fuzzer's bytes for the fuzz targets, so that both drive the same code.
class Choices {
 public:
  virtual ~Choices() = default;

  // A number in [0, bound); bound > 0.
  virtual uint32_t Below(uint32_t bound) = 0;
  // `bytes` (at most 8) bytes' worth of arbitrary bits.
  virtual uint64_t Bits(size_t bytes) = 0;

  bool Bool() { return Below(2) == 1; }
  // True about once in `n` times.
  bool OneIn(uint32_t n) { return Below(n) == 0; }
  template <typename Integer>
  Integer Any() {
    static_assert(std::is_integral_v<Integer>, "integers only");
    return static_cast<Integer>(Bits(sizeof(Integer)));
  }
  // Up to `max` arbitrary bytes.
  std::vector<uint8_t> Bytes(size_t max);
  // Up to `max` arbitrary characters, any byte value but NUL.
  std::string Text(size_t max);
};

class RandomChoices : public Choices {
 public:
  explicit RandomChoices(uint64_t seed) : engine_(seed) {}
  uint32_t Below(uint32_t bound) override;
  uint64_t Bits(size_t /*bytes*/) override { return engine_(); }

 private:
  std::mt19937_64 engine_;
};

// Reads the choices from bytes; once they run out every choice is 0.
class ByteChoices : public Choices {
 public:
  ByteChoices(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  uint32_t Below(uint32_t bound) override;
  uint64_t Bits(size_t bytes) override;
  bool Exhausted() const { return position_ >= size_; }
  // Hands the next `length` bytes (fewer at the end) to the caller, who reads them elsewhere.
  std::vector<uint8_t> Chunk(size_t length);

 private:
  uint8_t NextByte() { return position_ < size_ ? data_[position_++] : 0; }

  const uint8_t* data_;
  size_t size_;
  size_t position_ = 0;
};

}  // namespace stress
}  // namespace tev
