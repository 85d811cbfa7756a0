#include "mojo/public/cpp/system/socket_connection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "base/bind.h"
#include "base/logging.h"
#include "pipe_state.h"
#include "socket_frame.h"

namespace mojo {
namespace internal {

// The connection's side of one pipe it carries: reads what the process writes to the pipe, on
// the "mojo_socket" thread, and sends it; takes what arrives for it into the pipe.
class SocketEndpoint final : public PipeEndReader {
 public:
  SocketEndpoint(SocketConnection* connection, uint32_t id, uint64_t born,
                 const InterfaceCodec* codec, ScopedMessagePipeHandle handle)
      : connection_(connection), id_(id), born_(born), codec_(codec), handle_(std::move(handle)) {}

  uint32_t id() const { return id_; }
  // Its place in the order in which the connection's pipes were made.
  uint64_t born() const { return born_; }
  const InterfaceCodec* codec() const { return codec_; }

  // Any thread: hands a message that arrived to the process's end of the pipe.
  void Deliver(Message message) { handle_.pipe()->Send(handle_.side(), std::move(message)); }
  // Any thread: the other side closed the pipe, or the connection ended.
  void Close() { handle_.reset(); }

  void Attach(const std::shared_ptr<SocketEndpoint>& self,
              scoped_refptr<base::SequencedTaskRunner> task_runner) {
    handle_.pipe()->Attach(handle_.side(), std::move(task_runner), self);
  }

  // "mojo_socket" thread.
  void OnMessage(Message message) override { connection_->SendMessage(this, std::move(message)); }
  void OnPeerClosed() override { connection_->SendClosed(id_); }

 private:
  SocketConnection* const connection_;
  const uint32_t id_;
  const uint64_t born_;
  const InterfaceCodec* const codec_;
  ScopedMessagePipeHandle handle_;
};

}  // namespace internal

namespace {

// The acceptor's ids carry the top bit, so the two sides never give out the same id.
constexpr uint32_t kAcceptorBit = 0x80000000u;

}  // namespace

using internal::Frame;
using internal::SocketEndpoint;

SocketConnection::SocketConnection(int fd, Side side, std::string name)
    : fd_(fd), side_(side), name_(std::move(name)) {
  io_thread_.Start();
}

SocketConnection::~SocketConnection() {
  Close();
  if (reader_done_) {
    std::unique_lock<std::mutex> lock(reader_done_->mutex);
    reader_done_->cv.wait(lock, [this] { return reader_done_->done; });
  } else {
    End("");
  }
  io_thread_.Stop();
  close(fd_);
}

ScopedMessagePipeHandle SocketConnection::TakeFirstPipe(const internal::InterfaceCodec* codec) {
  MessagePipe pipe;
  AddEndpoint(0, codec, std::move(pipe.handle1));
  return std::move(pipe.handle0);
}

void SocketConnection::Start(base::OnceClosure on_ended) {
  on_ended_ = std::move(on_ended);
  // Detached, so that a connection kept until the process exits leaves no thread to join; the
  // destructor waits for it instead, through state the thread keeps alive by itself.
  reader_done_ = std::make_shared<ReaderDone>();
  std::thread(
      [this](std::shared_ptr<ReaderDone> done) {
        ReadLoop();
        std::lock_guard<std::mutex> lock(done->mutex);
        done->done = true;
        done->cv.notify_all();
      },
      reader_done_)
      .detach();
}

void SocketConnection::Close() { shutdown(fd_, SHUT_RDWR); }

std::shared_ptr<SocketEndpoint> SocketConnection::AddEndpoint(
    uint32_t id, const internal::InterfaceCodec* codec, ScopedMessagePipeHandle handle) {
  auto endpoint = std::make_shared<SocketEndpoint>(this, id, pipes_made_.fetch_add(1), codec,
                                                   std::move(handle));
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (ended_.load()) {
      endpoint->Close();
      return endpoint;
    }
    endpoints_[id] = endpoint;
  }
  endpoint->Attach(endpoint, io_thread_.task_runner());
  return endpoint;
}

void SocketConnection::RemoveEndpoint(uint32_t id) {
  std::shared_ptr<SocketEndpoint> endpoint;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = endpoints_.find(id);
    if (it == endpoints_.end()) return;
    endpoint = std::move(it->second);
    endpoints_.erase(it);
  }
  endpoint->Close();
}

uint32_t SocketConnection::NextOwnId() {
  std::lock_guard<std::mutex> lock(mutex_);
  return ++last_own_id_ | (side_ == Side::kAcceptor ? kAcceptorBit : 0);
}

bool SocketConnection::IsPeerId(uint32_t id) const {
  return ((id & kAcceptorBit) != 0) == (side_ == Side::kInitiator);
}

void SocketConnection::SendMessage(SocketEndpoint* endpoint, Message message) {
  internal::WireMessage wire;
  if (!endpoint->codec()->encode(&message, &wire)) {
    LOG(ERROR) << "mojo: " << name_ << ": cannot encode " << endpoint->codec()->name << "."
               << message.method_name() << "; dropped";
    return;
  }
  Frame frame;
  frame.pipe = endpoint->id();
  frame.name = wire.name;
  frame.flags = wire.flags;
  frame.request_id = wire.request_id;
  frame.bytes = std::move(wire.bytes);
  for (size_t i = 0; i < wire.endpoints.size(); ++i) {
    const uint32_t id = NextOwnId();
    frame.new_pipes.push_back(id);
    AddEndpoint(id, wire.endpoint_codecs[i], std::move(wire.endpoints[i]));
  }
  WriteFrame(frame);
}

void SocketConnection::SendClosed(uint32_t id) {
  RemoveEndpoint(id);
  SendClosedFrame(id);
}

void SocketConnection::SendClosedFrame(uint32_t id) {
  Frame frame;
  frame.pipe = id;
  frame.kind = Frame::kPipeClosed;
  WriteFrame(frame);
}

bool SocketConnection::WriteFrame(const Frame& frame) {
  const std::vector<uint8_t> bytes = internal::SerializeFrame(frame);
  std::lock_guard<std::mutex> lock(write_mutex_);
  if (internal::WriteAll(fd_, bytes.data(), bytes.size())) {
    messages_sent_.fetch_add(1);
    return true;
  }
  // The reader sees the end too and closes the pipes.
  shutdown(fd_, SHUT_RDWR);
  return false;
}

void SocketConnection::ReadLoop() {
  std::string problem;
  for (;;) {
    Frame frame;
    const internal::ReadStatus status = internal::ReadFrame(fd_, &frame, &problem);
    if (status != internal::ReadStatus::kFrame) break;
    if (!Dispatch(std::move(frame), &problem)) break;
    // After the delivery, so that a count that has stopped moving means delivered.
    messages_received_.fetch_add(1);
  }
  End(problem);
}

bool SocketConnection::Dispatch(Frame frame, std::string* problem) {
  std::shared_ptr<SocketEndpoint> endpoint;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = endpoints_.find(frame.pipe);
    if (it != endpoints_.end()) endpoint = it->second;
    const bool ours = frame.pipe != 0 && !IsPeerId(frame.pipe);
    const uint32_t last = ours ? last_own_id_ : last_peer_id_;
    // A pipe given out earlier may have closed here while the peer was still using it.
    if (!endpoint && (frame.pipe & ~kAcceptorBit) > last) {
      *problem = "a frame for pipe " + std::to_string(frame.pipe) + ", which was never opened";
      return false;
    }
    for (uint32_t id : frame.new_pipes) {
      if (!IsPeerId(id) || (id & ~kAcceptorBit) <= last_peer_id_) {
        *problem = "a new pipe with id " + std::to_string(id);
        return false;
      }
      last_peer_id_ = id & ~kAcceptorBit;
    }
  }
  if (frame.kind == Frame::kPipeClosed) {
    if (!frame.new_pipes.empty() || !frame.bytes.empty()) {
      *problem = "a pipe-closed frame with contents";
      return false;
    }
    RemoveEndpoint(frame.pipe);
    return true;
  }

  if (!endpoint) {
    // The pipe closed here while the peer was still writing to it: the pipes the message
    // carries are closed too, and the peer is told.
    for (uint32_t id : frame.new_pipes) SendClosedFrame(id);
    return true;
  }
  internal::WireMessage wire;
  wire.name = frame.name;
  wire.flags = frame.flags;
  wire.request_id = frame.request_id;
  wire.bytes = std::move(frame.bytes);
  std::vector<ScopedMessagePipeHandle> ours;
  for (size_t i = 0; i < frame.new_pipes.size(); ++i) {
    MessagePipe pipe;
    wire.endpoints.push_back(std::move(pipe.handle0));
    ours.push_back(std::move(pipe.handle1));
  }
  const internal::InterfaceCodec* codec = endpoint->codec();
  Message message;
  if (!codec->decode(&wire, &message)) {
    *problem = std::string("a malformed ") + codec->name + " message (ordinal " +
               std::to_string(frame.name) + ")";
    return false;
  }
  // Pipes the message carries join the connection before the message can reach anyone who
  // would write to them.
  for (size_t i = 0; i < ours.size(); ++i) {
    AddEndpoint(frame.new_pipes[i], wire.endpoint_codecs[i], std::move(ours[i]));
  }
  endpoint->Deliver(std::move(message));
  return true;
}

void SocketConnection::End(const std::string& problem) {
  std::map<uint32_t, std::shared_ptr<SocketEndpoint>> endpoints;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (ended_.exchange(true)) return;
    endpoints.swap(endpoints_);
  }
  if (!problem.empty()) {
    LOG(ERROR) << "mojo: " << name_ << ": " << problem << "; closing the connection";
  }
  shutdown(fd_, SHUT_RDWR);
  // Newest first: a pipe that came inside a message on another closes before the one that
  // carried it, as when its owner tears its objects down in the reverse order of making them.
  std::vector<std::shared_ptr<SocketEndpoint>> newestFirst;
  for (auto& entry : endpoints) newestFirst.push_back(std::move(entry.second));
  std::sort(newestFirst.begin(), newestFirst.end(),
            [](const std::shared_ptr<SocketEndpoint>& a, const std::shared_ptr<SocketEndpoint>& b) {
              return a->born() > b->born();
            });
  for (auto& endpoint : newestFirst) endpoint->Close();
  base::OnceClosure on_ended = std::move(on_ended_);
  if (on_ended) std::move(on_ended).Run();
}

}  // namespace mojo
