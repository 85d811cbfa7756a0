// Replaces the global allocation functions of the benchmark binaries with ones that count, per
// thread, so that a benchmark can say how many blocks one event costs on each thread it crosses.
// A thread-local counter keeps the counting free of cross-thread traffic.
#include "alloc_counter.h"

#include <cstdlib>
#include <new>

// A sanitizer's runtime owns the allocation functions: there the counts stay at zero.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TEV_BENCH_COUNTS_ALLOCATIONS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TEV_BENCH_COUNTS_ALLOCATIONS 0
#endif
#endif
#ifndef TEV_BENCH_COUNTS_ALLOCATIONS
#define TEV_BENCH_COUNTS_ALLOCATIONS 1
#endif

namespace tev {
namespace bench {
namespace {

thread_local uint64_t tAllocations = 0;

}  // namespace

uint64_t AllocationsOnThisThread() { return tAllocations; }

#if TEV_BENCH_COUNTS_ALLOCATIONS
namespace {

void* Allocate(std::size_t size) {
  ++tAllocations;
  if (size == 0) size = 1;
  for (;;) {
    if (void* block = std::malloc(size)) return block;
    std::new_handler handler = std::get_new_handler();
    if (!handler) return nullptr;
    handler();
  }
}

void* AllocateAligned(std::size_t size, std::align_val_t alignment) {
  ++tAllocations;
  const auto align = static_cast<std::size_t>(alignment);
  // aligned_alloc wants a size that is a multiple of the alignment.
  const std::size_t rounded = (size + align - 1) / align * align;
  return std::aligned_alloc(align, rounded == 0 ? align : rounded);
}

}  // namespace
#endif

}  // namespace bench
}  // namespace tev

#if TEV_BENCH_COUNTS_ALLOCATIONS

using tev::bench::Allocate;
using tev::bench::AllocateAligned;

void* operator new(std::size_t size) {
  if (void* block = Allocate(size)) return block;
  std::abort();  // The library throws nothing; neither does its benchmark.
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  if (void* block = AllocateAligned(size, alignment)) return block;
  std::abort();
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return operator new(size, alignment);
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete(void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete[](void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }
#endif
