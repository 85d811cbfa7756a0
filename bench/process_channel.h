#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The socket pair between the benchmark process and its host process, made before the fork. The
// benchmark process's commands travel on it to the host process, and so do the bare-socket
// baseline's messages both ways: framed as a connection frames its messages (a 4-byte length,
// then the rest) but with nothing else around them.
namespace tev {
namespace bench {

enum class Op : uint32_t {
  // Answered with one byte: 1 once the library has answered the host's Init, 0 if it has not
  // within kDeadlockGuard.
  kWaitForInit = 1,
  // `count` notifications from the host thread, as one event batch, each stamped if `stamp`.
  kNotify = 2,
  // `count` bare messages of `bytes` bytes to the benchmark process, each stamped if `stamp`.
  kStream = 3,
  // Sends each of the next `count` bare messages of `bytes` bytes back as it arrives.
  kEcho = 4,
  // Empties the host's journal, which grows by an entry per call, reply and event batch.
  kClearJournal = 5,
};

struct Command {
  Op op;
  uint32_t count;
  uint32_t bytes;
  uint32_t stamp;
};

// Blocking, all of it; false once the socket has ended.
bool WriteFully(int fd, const void* data, size_t size);
bool ReadFully(int fd, void* data, size_t size);

// A bare message: its length word, its send stamp, then filler up to its size.
class BareMessage {
 public:
  static constexpr size_t kSmallest = 12;

  // `size` counts every byte on the socket, the length word included; at least kSmallest.
  explicit BareMessage(size_t size);

  // One send(); stamped just before it when `stamp` is set.
  bool Send(int fd, bool stamp);
  // The length word, then the rest, as a connection reads a frame; false if the socket ended or
  // the length is not this message's.
  bool Receive(int fd);
  int64_t stamp() const;

 private:
  std::vector<uint8_t> bytes_;
};

}  // namespace bench
}  // namespace tev
