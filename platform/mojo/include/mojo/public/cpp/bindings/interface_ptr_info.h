#pragma once

#include <cstdint>
#include <utility>

#include "mojo/public/cpp/system/message_pipe.h"

namespace mojo {

// An unbound interface pointer: the calling end of a pipe, ready to travel in a message.
template <typename Interface>
class InterfacePtrInfo {
 public:
  InterfacePtrInfo() = default;
  explicit InterfacePtrInfo(ScopedMessagePipeHandle handle, uint32_t version = 0)
      : handle_(std::move(handle)), version_(version) {}
  InterfacePtrInfo(InterfacePtrInfo&&) noexcept = default;
  InterfacePtrInfo& operator=(InterfacePtrInfo&&) noexcept = default;

  bool is_valid() const { return handle_.is_valid(); }
  ScopedMessagePipeHandle PassHandle() { return std::move(handle_); }
  uint32_t version() const { return version_; }

 private:
  ScopedMessagePipeHandle handle_;
  uint32_t version_ = 0;
};

}  // namespace mojo
