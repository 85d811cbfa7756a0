#include "pipe_state.h"

#include "base/bind.h"
#include "base/location.h"

namespace mojo {
namespace internal {
namespace {

void DeliverMessage(const std::weak_ptr<PipeEndReader>& weak_reader, Message message) {
  if (std::shared_ptr<PipeEndReader> reader = weak_reader.lock()) reader->OnMessage(std::move(message));
}

void DeliverPeerClosed(const std::weak_ptr<PipeEndReader>& weak_reader) {
  if (std::shared_ptr<PipeEndReader> reader = weak_reader.lock()) reader->OnPeerClosed();
}

}  // namespace

PipeState::PipeState() { base::RegisterWorkHolder(this); }

PipeState::~PipeState() { base::UnregisterWorkHolder(this); }

bool PipeState::Send(int from_side, Message message) {
  std::unique_lock<std::mutex> lock(mutex_);
  End& to = ends_[1 - from_side];
  if (ends_[from_side].closed || to.closed) {
    lock.unlock();
    return false;  // `message` is destroyed here, outside the lock.
  }
  if (to.task_runner) {
    PostMessageLocked(to, std::move(message));
  } else {
    to.queued.push_back(QueuedMessage{base::PendingWork::Begin(), std::move(message)});
  }
  return true;
}

void PipeState::Close(int side) {
  std::deque<QueuedMessage> dropped;
  std::unique_lock<std::mutex> lock(mutex_);
  End& end = ends_[side];
  if (end.closed) return;
  end.closed = true;
  dropped.swap(end.queued);
  end.task_runner.reset();
  end.reader.reset();
  End& peer = ends_[1 - side];
  if (!peer.closed) {
    if (peer.task_runner) {
      PostPeerClosedLocked(peer);
    } else {
      peer.peer_closed = true;
    }
  }
  lock.unlock();
}

bool PipeState::IsPeerClosed(int side) {
  std::lock_guard<std::mutex> lock(mutex_);
  return ends_[1 - side].closed;
}

void PipeState::Attach(int side, scoped_refptr<base::SequencedTaskRunner> task_runner,
                       std::weak_ptr<PipeEndReader> reader) {
  std::lock_guard<std::mutex> lock(mutex_);
  End& end = ends_[side];
  end.task_runner = std::move(task_runner);
  end.reader = std::move(reader);
  while (!end.queued.empty()) {
    PostMessageLocked(end, std::move(end.queued.front().message));
    end.queued.pop_front();
  }
  if (end.peer_closed) PostPeerClosedLocked(end);
}

void PipeState::Detach(int side) {
  std::lock_guard<std::mutex> lock(mutex_);
  End& end = ends_[side];
  end.task_runner.reset();
  end.reader.reset();
  // A close notice posted to the old reader may never have run: the next reader gets its own.
  end.peer_closed = ends_[1 - side].closed;
}

std::string PipeState::DescribeWork() {
  std::lock_guard<std::mutex> lock(mutex_);
  std::string text;
  for (const End& end : ends_) {
    if (end.queued.empty()) continue;
    const Message& first = end.queued.front().message;
    text += (text.empty() ? "" : "; ") + std::string("a pipe end that nothing reads holds ") +
            std::to_string(end.queued.size()) + " message(s), the first " +
            first.interface_name() + "." + first.method_name();
  }
  return text;
}

void PipeState::PostMessageLocked(End& to, Message message) {
  // Named after the method it carries, so that traces show the call rather than the pipe.
  const base::Location from_here(message.method_name(), message.interface_name(), 0);
  to.task_runner->PostTask(from_here,
                           base::BindOnce(&DeliverMessage, to.reader, std::move(message)));
}

void PipeState::PostPeerClosedLocked(End& to) {
  to.peer_closed = false;
  to.task_runner->PostTask(FROM_HERE, base::BindOnce(&DeliverPeerClosed, to.reader));
}

}  // namespace internal

ScopedMessagePipeHandle::ScopedMessagePipeHandle(std::shared_ptr<internal::PipeState> pipe,
                                                 int side)
    : pipe_(std::move(pipe)), side_(side) {}

ScopedMessagePipeHandle::~ScopedMessagePipeHandle() { reset(); }

ScopedMessagePipeHandle::ScopedMessagePipeHandle(ScopedMessagePipeHandle&& other) noexcept
    : pipe_(std::move(other.pipe_)), side_(other.side_) {}

ScopedMessagePipeHandle& ScopedMessagePipeHandle::operator=(
    ScopedMessagePipeHandle&& other) noexcept {
  if (this != &other) {
    reset();
    pipe_ = std::move(other.pipe_);
    side_ = other.side_;
  }
  return *this;
}

void ScopedMessagePipeHandle::reset() {
  if (pipe_) {
    std::shared_ptr<internal::PipeState> pipe = std::move(pipe_);
    pipe->Close(side_);
  }
}

MessagePipe::MessagePipe() {
  auto pipe = std::make_shared<internal::PipeState>();
  handle0 = ScopedMessagePipeHandle(pipe, 0);
  handle1 = ScopedMessagePipeHandle(pipe, 1);
}

}  // namespace mojo
