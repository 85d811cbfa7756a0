#pragma once

#include <utility>

#include "mojo/public/cpp/system/message_pipe.h"

namespace mojo {

// The serving end of a pipe, waiting to be bound to an implementation.
template <typename Interface>
class InterfaceRequest {
 public:
  InterfaceRequest() = default;
  InterfaceRequest(std::nullptr_t) {}
  explicit InterfaceRequest(ScopedMessagePipeHandle handle) : handle_(std::move(handle)) {}
  InterfaceRequest(InterfaceRequest&&) noexcept = default;
  InterfaceRequest& operator=(InterfaceRequest&&) noexcept = default;

  bool is_pending() const { return handle_.is_valid(); }
  explicit operator bool() const { return is_pending(); }
  ScopedMessagePipeHandle PassMessagePipe() { return std::move(handle_); }

 private:
  ScopedMessagePipeHandle handle_;
};

}  // namespace mojo
