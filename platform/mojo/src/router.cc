#include "mojo/public/cpp/bindings/lib/router.h"

#include <atomic>

#include "base/logging.h"
#include "base/threading/sequenced_task_runner_handle.h"
#include "pipe_state.h"

namespace mojo {
namespace internal {
namespace {

// Unique across every router a pipe end passes through, so that the reply to a call made before
// PassHandle() cannot be taken for the reply to a call made after it.
std::atomic<uint64_t> g_next_request_id{1};

// Sends the reply to one request back through the pipe; usable from any thread.
class Responder final : public MessageReceiverWithStatus {
 public:
  Responder(std::shared_ptr<PipeState> pipe, int side, uint64_t request_id)
      : pipe_(std::move(pipe)), side_(side), request_id_(request_id) {}

  bool Accept(Message* message) override {
    message->set_flags(Message::kFlagIsResponse);
    message->set_request_id(request_id_);
    return pipe_->Send(side_, std::move(*message));
  }

  bool IsConnected() const override { return !pipe_->IsPeerClosed(side_); }

 private:
  std::shared_ptr<PipeState> pipe_;
  int side_;
  uint64_t request_id_;
};

}  // namespace

std::shared_ptr<Router> Router::Create(ScopedMessagePipeHandle handle, const Config& config,
                                       MessageReceiverWithResponder* incoming,
                                       scoped_refptr<base::SequencedTaskRunner> task_runner) {
  if (!task_runner) task_runner = base::SequencedTaskRunnerHandle::Get();
  CHECK(task_runner) << "binding a pipe of " << config.interface_name << " needs a sequence";
  std::shared_ptr<Router> router(
      new Router(std::move(handle), config, incoming, std::move(task_runner)));
  router->Attach();
  return router;
}

Router::Router(ScopedMessagePipeHandle handle, const Config& config,
               MessageReceiverWithResponder* incoming,
               scoped_refptr<base::SequencedTaskRunner> task_runner)
    : handle_(std::move(handle)),
      config_(config),
      incoming_(incoming),
      task_runner_(std::move(task_runner)) {}

Router::~Router() { Close(); }

void Router::Attach() { handle_.pipe()->Attach(handle_.side(), task_runner_, weak_from_this()); }

bool Router::OnSequence() const { return task_runner_->RunsTasksInCurrentSequence(); }

void Router::Send(Message message) {
  DCHECK(OnSequence()) << config_.interface_name << " used off its sequence";
  if (handle_.is_valid()) handle_.pipe()->Send(handle_.side(), std::move(message));
}

void Router::SendWithResponder(Message message, std::unique_ptr<MessageReceiver> responder) {
  DCHECK(OnSequence()) << config_.interface_name << " used off its sequence";
  if (!handle_.is_valid() || encountered_error_) return;
  const uint64_t request_id = g_next_request_id.fetch_add(1);
  message.set_request_id(request_id);
  responders_[request_id] = std::move(responder);
  handle_.pipe()->Send(handle_.side(), std::move(message));
}

void Router::set_connection_error_handler(base::OnceClosure handler) {
  error_handler_ = std::move(handler);
}

ScopedMessagePipeHandle Router::PassHandle() {
  if (handle_.is_valid()) handle_.pipe()->Detach(handle_.side());
  incoming_ = nullptr;
  responders_.clear();
  error_handler_.Reset();
  return std::move(handle_);
}

void Router::Close() {
  incoming_ = nullptr;
  error_handler_.Reset();
  handle_.reset();
  responders_.clear();
}

void Router::OnMessage(Message message) {
  if (!handle_.is_valid() || encountered_error_) return;
  const bool is_response = message.has_flag(Message::kFlagIsResponse);
  const MessageValidator validator =
      is_response ? config_.response_validator : config_.request_validator;
  const bool valid = validator && validator(message) && (is_response || incoming_);
  if (!valid) {
    LOG(ERROR) << "mojo: malformed " << config_.interface_name << "." << message.method_name()
               << (is_response ? " reply" : " message") << "; closing the pipe";
    handle_.reset();
    RaiseError();
    return;
  }
  if (is_response) {
    auto it = responders_.find(message.request_id());
    if (it == responders_.end()) return;
    std::unique_ptr<MessageReceiver> responder = std::move(it->second);
    responders_.erase(it);
    responder->Accept(&message);
    return;
  }
  if (message.has_flag(Message::kFlagExpectsResponse)) {
    incoming_->AcceptWithResponder(
        &message, std::make_unique<Responder>(handle_.shared_pipe(), handle_.side(),
                                              message.request_id()));
  } else {
    incoming_->Accept(&message);
  }
}

void Router::OnPeerClosed() {
  if (!handle_.is_valid() || encountered_error_) return;
  RaiseError();
}

void Router::RaiseError() {
  encountered_error_ = true;
  std::map<uint64_t, std::unique_ptr<MessageReceiver>> dropped;
  dropped.swap(responders_);
  base::OnceClosure handler = std::move(error_handler_);
  if (handler) std::move(handler).Run();
}

}  // namespace internal
}  // namespace mojo
