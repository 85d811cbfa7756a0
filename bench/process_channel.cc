#include "process_channel.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "bench_support.h"
#include "counting_stack.h"

namespace tev {
namespace bench {
namespace {

constexpr size_t kLengthBytes = sizeof(uint32_t);

}  // namespace

bool WriteFully(int fd, const void* data, size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  while (size > 0) {
    const ssize_t sent = send(fd, bytes, size, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes += sent;
    size -= static_cast<size_t>(sent);
  }
  return true;
}

bool ReadFully(int fd, void* data, size_t size) {
  auto* bytes = static_cast<uint8_t*>(data);
  while (size > 0) {
    const ssize_t got = recv(fd, bytes, size, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    bytes += got;
    size -= static_cast<size_t>(got);
  }
  return true;
}

BareMessage::BareMessage(size_t size) : bytes_(size < kSmallest ? kSmallest : size, 0x5a) {
  const auto rest = static_cast<uint32_t>(bytes_.size() - kLengthBytes);
  std::memcpy(bytes_.data(), &rest, kLengthBytes);
}

bool BareMessage::Send(int fd, bool stamp) {
  if (stamp) StampInto(bytes_.data() + kLengthBytes, NowNs());
  return WriteFully(fd, bytes_.data(), bytes_.size());
}

bool BareMessage::Receive(int fd) {
  uint32_t rest = 0;
  if (!ReadFully(fd, &rest, kLengthBytes) || rest != bytes_.size() - kLengthBytes) return false;
  return ReadFully(fd, bytes_.data() + kLengthBytes, rest);
}

int64_t BareMessage::stamp() const { return StampFrom(bytes_.data() + kLengthBytes); }

}  // namespace bench
}  // namespace tev
