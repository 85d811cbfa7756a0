#pragma once

#include <memory>

namespace mojo {
namespace internal {
class PipeState;
}  // namespace internal

// Owns one end of a message pipe; destroying or resetting it closes that end, and the peer
// then sees a connection error.
class ScopedMessagePipeHandle {
 public:
  ScopedMessagePipeHandle() = default;
  ScopedMessagePipeHandle(std::shared_ptr<internal::PipeState> pipe, int side);
  ~ScopedMessagePipeHandle();
  ScopedMessagePipeHandle(ScopedMessagePipeHandle&& other) noexcept;
  ScopedMessagePipeHandle& operator=(ScopedMessagePipeHandle&& other) noexcept;
  ScopedMessagePipeHandle(const ScopedMessagePipeHandle&) = delete;
  ScopedMessagePipeHandle& operator=(const ScopedMessagePipeHandle&) = delete;

  bool is_valid() const { return pipe_ != nullptr; }
  void reset();

  internal::PipeState* pipe() const { return pipe_.get(); }
  const std::shared_ptr<internal::PipeState>& shared_pipe() const { return pipe_; }
  int side() const { return side_; }

 private:
  std::shared_ptr<internal::PipeState> pipe_;
  int side_ = 0;
};

// A new pipe: whatever is written to one end is read from the other.
struct MessagePipe {
  MessagePipe();
  ScopedMessagePipeHandle handle0;
  ScopedMessagePipeHandle handle1;
};

}  // namespace mojo
