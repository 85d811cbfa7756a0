#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "base/callback.h"
#include "base/sequenced_task_runner.h"
#include "mojo/public/cpp/bindings/lib/pipe_end_reader.h"
#include "mojo/public/cpp/bindings/message.h"
#include "mojo/public/cpp/system/message_pipe.h"

namespace mojo {
namespace internal {

using MessageValidator = bool (*)(const Message& message);

// The receiving side of one pipe end, bound to a sequence: takes messages off the pipe on that
// sequence, validates them, and hands requests to the stub or replies to their callbacks.
class Router final : public PipeEndReader, public std::enable_shared_from_this<Router> {
 public:
  struct Config {
    const char* interface_name = "";
    MessageValidator request_validator = nullptr;
    MessageValidator response_validator = nullptr;
  };

  // Reads the pipe on `task_runner` (the current sequence when null).
  static std::shared_ptr<Router> Create(ScopedMessagePipeHandle handle, const Config& config,
                                        MessageReceiverWithResponder* incoming,
                                        scoped_refptr<base::SequencedTaskRunner> task_runner);
  ~Router() override;
  Router(const Router&) = delete;
  Router& operator=(const Router&) = delete;

  // Must run on the router's sequence.
  void Send(Message message);
  void SendWithResponder(Message message, std::unique_ptr<MessageReceiver> responder);

  void set_connection_error_handler(base::OnceClosure handler);
  bool encountered_error() const { return encountered_error_; }

  // Gives the pipe end back unclosed; replies still awaited are dropped.
  ScopedMessagePipeHandle PassHandle();
  void Close();

  // Called by the pipe on the router's sequence.
  void OnMessage(Message message) override;
  void OnPeerClosed() override;

 private:
  Router(ScopedMessagePipeHandle handle, const Config& config,
         MessageReceiverWithResponder* incoming,
         scoped_refptr<base::SequencedTaskRunner> task_runner);
  void Attach();
  void RaiseError();
  bool OnSequence() const;

  ScopedMessagePipeHandle handle_;
  const Config config_;
  MessageReceiverWithResponder* incoming_;
  scoped_refptr<base::SequencedTaskRunner> task_runner_;
  base::OnceClosure error_handler_;
  bool encountered_error_ = false;
  std::map<uint64_t, std::unique_ptr<MessageReceiver>> responders_;
};

}  // namespace internal
}  // namespace mojo
