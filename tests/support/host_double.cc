#include "host_double.h"

#include "tev/testing/flush.h"
#include "tev/testing/run_on.h"
#include "tevbridge/TevBridgeHostOffer.h"

namespace tev {
namespace testing {

HostDouble::HostDouble() : HostDouble(Options()) {}

HostDouble::HostDouble(const Options& options) : options_(options) {
  thread_.Start();
  tev::bridge::OfferTevBridgeHost(
      options_.bridgeVersion,
      base::BindRepeating(
          [](HostDouble* host, mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request) {
            host->RunOnHost(base::BindOnce(&HostDouble::BindBridge, base::Unretained(host),
                                           std::move(request)));
          },
          base::Unretained(this)));
}

HostDouble::~HostDouble() {
  tev::bridge::WithdrawTevBridgeHost();
  RunOn(thread_.task_runner(), [this] {
    instance_.reset();
    host_binding_.Close();
    bridge_binding_.Close();
  });
  thread_.Stop();
}

bool HostDouble::WaitForInstance() { return instance_ready_.Wait(); }

bool HostDouble::WaitForInitReply() { return init_replied_.Wait(); }

void HostDouble::CallInit() {
  RunOnHost(base::BindOnce(&HostDouble::InitOnHost, base::Unretained(this)));
}

void HostDouble::RunOnHost(base::OnceClosure task) {
  thread_.task_runner()->PostTask(FROM_HERE, std::move(task));
}

void HostDouble::FlushHost() { FlushThread(thread_); }

void HostDouble::SeverHostPipe() {
  RunOn(thread_.task_runner(), [this] { host_binding_.Close(); });
}

void HostDouble::SeverInstancePipe() {
  RunOn(thread_.task_runner(), [this] { instance_.reset(); });
}

void HostDouble::BindBridge(mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request) {
  bridge_binding_.Bind(std::move(request));
}

void HostDouble::OnBluetoothInstanceReady(tev::mojom::BluetoothInstancePtr instance) {
  instance_ = std::move(instance);
  instance_ready_.Signal();
  if (options_.autoInit) InitOnHost();
}

void HostDouble::InitOnHost() {
  if (!instance_) return;
  tev::mojom::BluetoothHostPtr host;
  host_binding_.Bind(mojo::MakeRequest(&host));
  instance_->Init(std::move(host), init_replied_.GetCallback());
}

}  // namespace testing
}  // namespace tev
