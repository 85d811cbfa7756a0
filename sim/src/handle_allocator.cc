#include "tev/sim/handle_allocator.h"

namespace tev {
namespace sim {

HandleAllocator::HandleAllocator(uint16_t first, uint16_t last) : first_(first), last_(last) {}

std::optional<uint16_t> HandleAllocator::Reserve(int count) {
  if (count <= 0) return std::nullopt;
  // Handles are counted in int so that a block ending at 0xffff does not wrap.
  int candidate = first_;
  for (const auto& [start, size] : blocks_) {
    if (start - candidate >= count) break;
    candidate = start + size;
  }
  if (candidate + count - 1 > last_) return std::nullopt;
  blocks_[static_cast<uint16_t>(candidate)] = count;
  return static_cast<uint16_t>(candidate);
}

bool HandleAllocator::Release(uint16_t first) { return blocks_.erase(first) > 0; }

int HandleAllocator::BlockSize(uint16_t first) const {
  auto it = blocks_.find(first);
  return it == blocks_.end() ? 0 : it->second;
}

}  // namespace sim
}  // namespace tev
