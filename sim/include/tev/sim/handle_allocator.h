#pragma once

#include <cstdint>
#include <map>
#include <optional>

namespace tev {
namespace sim {

// Attribute handles of the services the Android side publishes: each service gets one
// contiguous block, first fit, from [first, last]; deleting the service frees its block.
class HandleAllocator {
 public:
  explicit HandleAllocator(uint16_t first = 1, uint16_t last = 0xffff);

  // The first handle of a new block of `count` handles; nothing when count is not positive or
  // no gap is large enough.
  std::optional<uint16_t> Reserve(int count);
  // Frees the block starting at `first`; false if no block starts there.
  bool Release(uint16_t first);
  // The size of the block starting at `first`, 0 if none does.
  int BlockSize(uint16_t first) const;

 private:
  const uint16_t first_;
  const uint16_t last_;
  // First handle to block size.
  std::map<uint16_t, int> blocks_;
};

}  // namespace sim
}  // namespace tev
