#pragma once

#include <vector>

#include "mojo/public/cpp/bindings/struct_ptr.h"

namespace mojo {
namespace internal {

template <typename T>
T Clone(const T& value) {
  return value;
}
template <typename S>
StructPtr<S> Clone(const StructPtr<S>& value) {
  return value.Clone();
}
template <typename T>
std::vector<T> Clone(const std::vector<T>& values) {
  std::vector<T> result;
  result.reserve(values.size());
  for (const T& value : values) result.push_back(Clone(value));
  return result;
}

template <typename T>
bool Equals(const T& a, const T& b) {
  return a == b;
}
template <typename S>
bool Equals(const StructPtr<S>& a, const StructPtr<S>& b) {
  return a.Equals(b);
}
template <typename T>
bool Equals(const std::vector<T>& a, const std::vector<T>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (!Equals(a[i], b[i])) return false;
  }
  return true;
}

}  // namespace internal
}  // namespace mojo
