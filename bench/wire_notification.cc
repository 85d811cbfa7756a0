#include "wire_notification.h"

#include <memory>
#include <utility>

#include "base/threading/thread.h"
#include "bench_support.h"
#include "host_events.h"
#include "mojo/public/cpp/bindings/interface_ptr.h"
#include "mojo/public/cpp/bindings/lib/router.h"
#include "mojo/public/cpp/bindings/lib/wire.h"

namespace tev {
namespace bench {
namespace {

// A frame's length word, then pipe, kind, name, flags, request id and new pipe count.
constexpr size_t kFrameHeaderBytes = 4 + 4 + 4 + 4 + 4 + 8 + 4;

// Keeps the one request that reaches its pipe end.
class Capture final : public mojo::MessageReceiverWithResponder {
 public:
  bool Accept(mojo::Message* message) override {
    message_ = std::move(*message);
    return true;
  }
  bool AcceptWithResponder(mojo::Message* message,
                           std::unique_ptr<mojo::MessageReceiverWithStatus>) override {
    return Accept(message);
  }
  mojo::Message Take() { return std::move(message_); }

 private:
  mojo::Message message_;
};

}  // namespace

mojo::Message CaptureNotification() {
  using tev::mojom::BluetoothInstance;
  base::Thread thread("wire_capture");
  thread.Start();
  Capture capture;
  std::shared_ptr<mojo::internal::Router> router;
  tev::mojom::BluetoothInstancePtr proxy;
  RunOn(thread.task_runner(), [&] {
    mojo::MessagePipe pipe;
    proxy.Bind(mojo::InterfacePtrInfo<BluetoothInstance>(std::move(pipe.handle0)));
    mojo::internal::Router::Config config;
    config.interface_name = BluetoothInstance::Name_;
    config.request_validator = &BluetoothInstance::RequestValidator_;
    router = mojo::internal::Router::Create(std::move(pipe.handle1), config, &capture, nullptr);
    Deliver(Kind::kNotify, MakeRecords(Kind::kNotify), MakeValue(Kind::kNotify), proxy.get());
    return true;
  });
  // The message reached the router in a task posted by the call, which has run before this one.
  RunOn(thread.task_runner(), [&] {
    router.reset();
    proxy.reset();
    return true;
  });
  thread.Stop();
  return capture.Take();
}

size_t NotificationFrameBytes() {
  mojo::Message message = CaptureNotification();
  mojo::internal::WireMessage wire;
  tev::mojom::BluetoothInstance::EncodeMessage_(&message, &wire);
  return kFrameHeaderBytes + wire.bytes.size();
}

}  // namespace bench
}  // namespace tev
