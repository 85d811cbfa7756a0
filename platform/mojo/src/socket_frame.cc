#include "socket_frame.h"

#include <sys/socket.h>

#include <cerrno>

namespace mojo {
namespace internal {
namespace {

constexpr size_t kHeaderAfterLength = 4 + 4 + 4 + 4 + 8 + 4;

template <typename T>
void Append(std::vector<uint8_t>* out, T value) {
  for (size_t i = 0; i < sizeof(T); ++i) out->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

template <typename T>
T Take(const uint8_t* data, size_t* offset) {
  T value = 0;
  for (size_t i = 0; i < sizeof(T); ++i) value |= static_cast<T>(data[*offset + i]) << (8 * i);
  *offset += sizeof(T);
  return value;
}

// False at a clean end before the first byte (`*partial` false) or anywhere after it.
bool ReadAll(int fd, uint8_t* data, size_t size, bool* partial) {
  size_t done = 0;
  *partial = false;
  while (done < size) {
    const ssize_t got = recv(fd, data + done, size - done, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    done += static_cast<size_t>(got);
    *partial = true;
  }
  return true;
}

}  // namespace

std::vector<uint8_t> SerializeFrame(const Frame& frame) {
  std::vector<uint8_t> out;
  const size_t rest = kHeaderAfterLength + 4 * frame.new_pipes.size() + frame.bytes.size();
  out.reserve(4 + rest);
  Append(&out, static_cast<uint32_t>(rest));
  Append(&out, frame.pipe);
  Append(&out, frame.kind);
  Append(&out, frame.name);
  Append(&out, frame.flags);
  Append(&out, frame.request_id);
  Append(&out, static_cast<uint32_t>(frame.new_pipes.size()));
  for (uint32_t id : frame.new_pipes) Append(&out, id);
  out.insert(out.end(), frame.bytes.begin(), frame.bytes.end());
  return out;
}

ReadStatus ReadFrame(int fd, Frame* frame, std::string* problem) {
  uint8_t length_bytes[4];
  bool partial = false;
  if (!ReadAll(fd, length_bytes, sizeof(length_bytes), &partial)) {
    if (!partial) return ReadStatus::kEnded;
    *problem = "the socket ended inside a frame's length";
    return ReadStatus::kMalformed;
  }
  size_t offset = 0;
  const uint32_t length = Take<uint32_t>(length_bytes, &offset);
  if (length < kHeaderAfterLength || length > kMaxFrameSize) {
    *problem = "a frame of " + std::to_string(length) + " bytes";
    return ReadStatus::kMalformed;
  }
  std::vector<uint8_t> body(length);
  if (!ReadAll(fd, body.data(), body.size(), &partial)) {
    *problem = "the socket ended inside a frame";
    return ReadStatus::kMalformed;
  }
  offset = 0;
  frame->pipe = Take<uint32_t>(body.data(), &offset);
  frame->kind = Take<uint32_t>(body.data(), &offset);
  frame->name = Take<uint32_t>(body.data(), &offset);
  frame->flags = Take<uint32_t>(body.data(), &offset);
  frame->request_id = Take<uint64_t>(body.data(), &offset);
  const uint32_t count = Take<uint32_t>(body.data(), &offset);
  if (count > (length - offset) / 4) {
    *problem = "a frame naming " + std::to_string(count) + " new pipes";
    return ReadStatus::kMalformed;
  }
  frame->new_pipes.resize(count);
  for (uint32_t& id : frame->new_pipes) id = Take<uint32_t>(body.data(), &offset);
  frame->bytes.assign(body.begin() + static_cast<std::ptrdiff_t>(offset), body.end());
  if (frame->kind != Frame::kMessage && frame->kind != Frame::kPipeClosed) {
    *problem = "a frame of unknown kind " + std::to_string(frame->kind);
    return ReadStatus::kMalformed;
  }
  return ReadStatus::kFrame;
}

bool WriteAll(int fd, const uint8_t* data, size_t size) {
  size_t done = 0;
  while (done < size) {
    const ssize_t sent = send(fd, data + done, size - done, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    done += static_cast<size_t>(sent);
  }
  return true;
}

}  // namespace internal
}  // namespace mojo
