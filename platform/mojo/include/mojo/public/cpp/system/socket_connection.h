#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "base/callback.h"
#include "base/threading/thread.h"
#include "mojo/public/cpp/bindings/lib/wire.h"
#include "mojo/public/cpp/system/message_pipe.h"

namespace mojo {

namespace internal {
class SocketEndpoint;
struct Frame;
}  // namespace internal

// Pipes to another process over one connected Unix stream socket. The connection's first pipe
// is made by both sides with the same interface; interface pointers and requests sent on any
// pipe become further pipes on the same connection. What arrives is checked as bytes against
// its interface before anything is built from it: a malformed message ends the connection,
// which closes every pipe it carries on both sides, newest first, with one log line.
//
// Messages leave through the connection's own thread, "mojo_socket", and arrive from a reader
// thread that delivers them into the pipes, so either side's pipes keep their order.
class SocketConnection {
 public:
  // Which half of the pipe ids this side gives out; the two sides must differ.
  enum class Side { kInitiator, kAcceptor };

  // Takes ownership of `fd`. `name` identifies the connection in log lines.
  SocketConnection(int fd, Side side, std::string name);
  // Ends the connection if it is still open and waits for its threads.
  ~SocketConnection();
  SocketConnection(const SocketConnection&) = delete;
  SocketConnection& operator=(const SocketConnection&) = delete;

  // The local end of the connection's first pipe, whose messages are `Interface`'s. Call once,
  // before Start().
  template <typename Interface>
  ScopedMessagePipeHandle TakeFirstPipe() {
    return TakeFirstPipe(internal::CodecOf<Interface>());
  }
  ScopedMessagePipeHandle TakeFirstPipe(const internal::InterfaceCodec* codec);

  // Starts reading. `on_ended` runs once, on the reader thread, when the connection ends for
  // any reason, after every pipe it carried has been closed. It must not destroy the
  // connection; it may post a task that does.
  void Start(base::OnceClosure on_ended);

  // Ends the connection from this side. Any thread; a second call does nothing.
  void Close();

  bool ended() const { return ended_.load(); }
  // Frames written to the socket and frames read from it, so far: messages, whether a pipe
  // took them or not, and pipe closings. Equal counts across a quiet connection mean that
  // nothing is in flight.
  uint64_t messages_sent() const { return messages_sent_.load(); }
  uint64_t messages_received() const { return messages_received_.load(); }

 private:
  friend class internal::SocketEndpoint;

  // Any thread.
  std::shared_ptr<internal::SocketEndpoint> AddEndpoint(uint32_t id,
                                                        const internal::InterfaceCodec* codec,
                                                        ScopedMessagePipeHandle handle);
  void RemoveEndpoint(uint32_t id);
  uint32_t NextOwnId();
  // "mojo_socket" thread.
  void SendMessage(internal::SocketEndpoint* endpoint, Message message);
  void SendClosed(uint32_t id);
  // Any thread.
  void SendClosedFrame(uint32_t id);
  bool WriteFrame(const internal::Frame& frame);
  // Reader thread.
  void ReadLoop();
  bool Dispatch(internal::Frame frame, std::string* problem);
  bool IsPeerId(uint32_t id) const;
  void End(const std::string& problem);

  const int fd_;
  const Side side_;
  const std::string name_;
  base::Thread io_thread_{"mojo_socket"};
  struct ReaderDone {
    std::mutex mutex;
    std::condition_variable cv;
    bool done = false;
  };
  std::shared_ptr<ReaderDone> reader_done_;
  base::OnceClosure on_ended_;
  std::atomic<bool> ended_{false};
  std::atomic<uint64_t> messages_sent_{0};
  std::atomic<uint64_t> messages_received_{0};
  std::atomic<uint64_t> pipes_made_{0};

  std::mutex write_mutex_;
  std::mutex mutex_;
  std::map<uint32_t, std::shared_ptr<internal::SocketEndpoint>> endpoints_;
  uint32_t last_own_id_ = 0;
  uint32_t last_peer_id_ = 0;
};

}  // namespace mojo
