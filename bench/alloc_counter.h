#pragma once

#include <cstdint>

namespace tev {
namespace bench {

// Heap allocations made through operator new (every form) by the calling thread since it
// started. Frees are not counted; malloc called directly is not either. Always zero in a
// sanitizer build, whose runtime owns the allocation functions.
uint64_t AllocationsOnThisThread();

}  // namespace bench
}  // namespace tev
