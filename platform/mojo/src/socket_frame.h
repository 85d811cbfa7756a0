#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mojo {
namespace internal {

// One unit on a socket connection: a message for one of its pipes, or the notice that a pipe
// was closed. Little-endian, after a 4-byte length of the rest:
//   pipe id u32 | kind u32 | name u32 | flags u32 | request id u64 | new pipe count u32
//   | new pipe ids u32... | message bytes
struct Frame {
  enum Kind : uint32_t { kMessage = 0, kPipeClosed = 1 };

  uint32_t pipe = 0;
  uint32_t kind = kMessage;
  uint32_t name = 0;
  uint32_t flags = 0;
  uint64_t request_id = 0;
  std::vector<uint32_t> new_pipes;
  std::vector<uint8_t> bytes;
};

// Bounds what one frame may make the reader allocate.
constexpr uint32_t kMaxFrameSize = 16u << 20;

std::vector<uint8_t> SerializeFrame(const Frame& frame);

enum class ReadStatus { kFrame, kEnded, kMalformed };
// Blocks for one whole frame. kEnded when the socket closes between frames or fails;
// kMalformed, with `problem`, when the bytes cannot be a frame.
ReadStatus ReadFrame(int fd, Frame* frame, std::string* problem);

// Writes every byte or fails; never raises SIGPIPE.
bool WriteAll(int fd, const uint8_t* data, size_t size);

}  // namespace internal
}  // namespace mojo
