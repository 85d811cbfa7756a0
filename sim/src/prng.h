#pragma once

#include <cstdint>

namespace tev {
namespace sim {

// Small seeded generator (splitmix64), so every run of a world is the same.
class Prng {
 public:
  explicit Prng(uint64_t seed) : state_(seed) {}

  uint64_t Next() {
    uint64_t z = (state_ += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
  }

  // Uniform in [low, high]; low when high < low.
  int64_t Uniform(int64_t low, int64_t high) {
    if (high <= low) return low;
    return low + static_cast<int64_t>(Next() % static_cast<uint64_t>(high - low + 1));
  }

 private:
  uint64_t state_;
};

}  // namespace sim
}  // namespace tev
