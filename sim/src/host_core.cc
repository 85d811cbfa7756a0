#include "host_core.h"

#include "base/bind.h"

namespace tev {
namespace sim {

using Direction = JournalEntry::Direction;

HostCore::HostCore(const World& world, Clock* clock, Journal* journal, Faults* faults,
                   uint64_t seed, bool auto_init)
    : ctx_(world, clock, journal, seed),
      faults_(faults),
      auto_init_(auto_init),
      adapter_(&ctx_),
      le_(&ctx_),
      gatt_client_(&ctx_, &le_),
      centrals_(&ctx_, &gatt_server_),
      fault_timers_(clock) {}

HostCore::~HostCore() {
  host_binding_.Close();
  bridge_binding_.Close();
  ctx_.instance().reset();
}

void HostCore::BindBridge(mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request) {
  bridge_binding_.Bind(std::move(request));
  bridge_binding_.set_connection_error_handler(base::BindOnce(
      [](HostContext* ctx) { ctx->Note("TevBridgeHost pipe closed by the library"); }, &ctx_));
}

void HostCore::OnBluetoothInstanceReady(tev::mojom::BluetoothInstancePtr instance) {
  ctx_.Record(Direction::kCallReceived, "OnBluetoothInstanceReady", "");
  ctx_.instance() = std::move(instance);
  ctx_.instance().set_connection_error_handler(
      base::BindOnce(&HostCore::OnInstanceLost, base::Unretained(this)));
  if (auto_init_) CallInit();
}

void HostCore::CallInit() {
  if (!ctx_.instance()) {
    ctx_.Note("Init not sent: no BluetoothInstance pipe");
    return;
  }
  tev::mojom::BluetoothHostPtr host;
  host_binding_.Bind(mojo::MakeRequest(&host));
  host_binding_.set_connection_error_handler(
      base::BindOnce(&HostCore::OnHostPipeLost, base::Unretained(this)));
  ctx_.Send("Init", "", [&](tev::mojom::BluetoothInstance* i) {
    i->Init(std::move(host), base::BindRepeating(&HostCore::OnInitReply, base::Unretained(this)));
  });
}

void HostCore::OnInitReply() { ctx_.Record(Direction::kReplyReceived, "Init", ""); }

void HostCore::OnInstanceLost() {
  ctx_.Note("BluetoothInstance pipe closed by the library");
  ctx_.instance().reset();
  ResetRuntime();
}

void HostCore::OnHostPipeLost() { ctx_.Note("BluetoothHost pipe closed by the library"); }

void HostCore::Sever(Pipe pipe) {
  ctx_.Note(std::string("severed ") + PipeName(pipe));
  switch (pipe) {
    case Pipe::kBridge:
      bridge_binding_.Close();
      break;
    case Pipe::kBluetoothHost:
      host_binding_.Close();
      break;
    case Pipe::kBluetoothInstance:
      ctx_.instance().reset();
      ResetRuntime();
      break;
  }
}

void HostCore::SeverAfter(Pipe pipe, base::TimeDelta delay) {
  fault_timers_.Schedule(delay, base::BindOnce(&HostCore::Sever, base::Unretained(this), pipe));
}

void HostCore::Restart() {
  ctx_.Note("host restart");
  host_binding_.Close();
  ResetRuntime();
  CallInit();
}

void HostCore::SendEvent(const std::string& method, const std::string& summary,
                         base::OnceCallback<void(tev::mojom::BluetoothInstance*)> call) {
  ctx_.Send(method.c_str(), summary,
            [&](tev::mojom::BluetoothInstance* instance) { std::move(call).Run(instance); });
}

void HostCore::ResetRuntime() {
  adapter_.Reset();
  le_.DropAll(false);
  gatt_client_.Reset();
  gatt_server_.Reset();
  centrals_.Reset();
  fault_timers_.CancelAll();
}

bool HostCore::Receive(const char* method, const std::string& summary,
                       std::optional<Fault>* fault) {
  ctx_.Record(Direction::kCallReceived, method, summary);
  *fault = faults_->Take(method);
  if (*fault && (*fault)->sever) {
    Sever(*(*fault)->sever);
    return false;
  }
  return true;
}

void HostCore::SendReply(const std::string& method, const std::string& summary,
                         base::OnceClosure send) {
  ctx_.Record(Direction::kReplySent, method, summary);
  std::move(send).Run();
}

void HostCore::Reply(const char* method, const std::optional<Fault>& fault,
                     const std::string& summary, base::OnceClosure send) {
  if (fault && fault->never) {
    ctx_.Note(std::string(method) + " reply withheld", summary);
    return;
  }
  if (fault && !fault->delay.is_zero()) {
    fault_timers_.Schedule(fault->delay,
                           base::BindOnce(&HostCore::SendReply, base::Unretained(this),
                                          std::string(method), summary, std::move(send)));
    return;
  }
  SendReply(method, summary, std::move(send));
}

void HostCore::Handle(const char* method, const std::optional<Fault>& fault,
                      base::OnceClosure work) {
  if (fault && fault->never) {
    ctx_.Note(std::string(method) + " swallowed");
    return;
  }
  if (fault && !fault->delay.is_zero()) {
    fault_timers_.Schedule(fault->delay, std::move(work));
    return;
  }
  std::move(work).Run();
}

}  // namespace sim
}  // namespace tev
