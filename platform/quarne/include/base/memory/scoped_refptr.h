#pragma once

#include <cstddef>
#include <utility>

// Owning pointer to an object with AddRef()/Release().
template <typename T>
class scoped_refptr {
 public:
  using element_type = T;

  constexpr scoped_refptr() = default;
  constexpr scoped_refptr(std::nullptr_t) {}
  scoped_refptr(T* pointer) : ptr_(pointer) {
    if (ptr_) ptr_->AddRef();
  }
  scoped_refptr(const scoped_refptr& other) : scoped_refptr(other.ptr_) {}
  template <typename U>
  scoped_refptr(const scoped_refptr<U>& other) : scoped_refptr(other.get()) {}
  scoped_refptr(scoped_refptr&& other) noexcept : ptr_(other.ptr_) { other.ptr_ = nullptr; }
  template <typename U>
  scoped_refptr(scoped_refptr<U>&& other) noexcept : ptr_(other.release()) {}
  ~scoped_refptr() {
    if (ptr_) ptr_->Release();
  }

  scoped_refptr& operator=(scoped_refptr other) noexcept {
    std::swap(ptr_, other.ptr_);
    return *this;
  }

  T* get() const { return ptr_; }
  T& operator*() const { return *ptr_; }
  T* operator->() const { return ptr_; }
  explicit operator bool() const { return ptr_ != nullptr; }

  void reset() { scoped_refptr().swap(*this); }
  void swap(scoped_refptr& other) noexcept { std::swap(ptr_, other.ptr_); }
  T* release() {
    T* pointer = ptr_;
    ptr_ = nullptr;
    return pointer;
  }

  template <typename U>
  bool operator==(const scoped_refptr<U>& other) const { return ptr_ == other.get(); }
  template <typename U>
  bool operator!=(const scoped_refptr<U>& other) const { return ptr_ != other.get(); }
  bool operator==(std::nullptr_t) const { return ptr_ == nullptr; }
  bool operator!=(std::nullptr_t) const { return ptr_ != nullptr; }

 private:
  T* ptr_ = nullptr;
};

namespace base {

template <typename T, typename... Args>
scoped_refptr<T> MakeRefCounted(Args&&... args) {
  return scoped_refptr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace base
