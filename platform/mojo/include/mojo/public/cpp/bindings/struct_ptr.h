#pragma once

#include <cstddef>
#include <memory>
#include <utility>

namespace mojo {

// Nullable owning pointer to a generated record or union.
template <typename Struct>
class StructPtr {
 public:
  using StructType = Struct;

  StructPtr() = default;
  StructPtr(std::nullptr_t) {}
  StructPtr(StructPtr&&) noexcept = default;
  StructPtr& operator=(StructPtr&&) noexcept = default;
  StructPtr& operator=(std::nullptr_t) {
    ptr_.reset();
    return *this;
  }

  template <typename... Args>
  static StructPtr New(Args&&... args) {
    StructPtr result;
    result.ptr_ = std::make_unique<Struct>(std::forward<Args>(args)...);
    return result;
  }

  bool is_null() const { return !ptr_; }
  explicit operator bool() const { return !is_null(); }
  void reset() { ptr_.reset(); }
  Struct* get() const { return ptr_.get(); }
  Struct* operator->() const { return ptr_.get(); }
  Struct& operator*() const { return *ptr_; }

  StructPtr Clone() const { return ptr_ ? ptr_->Clone() : StructPtr(); }
  bool Equals(const StructPtr& other) const {
    if (is_null() || other.is_null()) return is_null() && other.is_null();
    return ptr_->Equals(*other.ptr_);
  }

 private:
  std::unique_ptr<Struct> ptr_;
};

}  // namespace mojo
