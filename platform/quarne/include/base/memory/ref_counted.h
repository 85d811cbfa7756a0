#pragma once

#include <atomic>

#include "base/memory/scoped_refptr.h"

namespace base {

// Thread-safe intrusive reference count; the last Release() deletes the object as T.
template <typename T>
class RefCountedThreadSafe {
 public:
  void AddRef() const { count_.fetch_add(1, std::memory_order_relaxed); }
  void Release() const {
    if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      delete static_cast<const T*>(this);
    }
  }
  bool HasOneRef() const { return count_.load(std::memory_order_acquire) == 1; }

 protected:
  RefCountedThreadSafe() = default;
  ~RefCountedThreadSafe() = default;

 private:
  mutable std::atomic<int> count_{0};
};

}  // namespace base
