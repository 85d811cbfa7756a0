#include "lean_host.h"

#include <utility>

#include "base/bind.h"
#include "bench_support.h"
#include "tevbridge/TevBridgeHostOffer.h"

namespace tev {
namespace bench {
namespace {

// The bridge version the library asks for.
constexpr unsigned int kBridgeVersion = 20;

}  // namespace

LeanHost::LeanHost() {
  thread_.Start();
  auto bind = [](LeanHost* host, mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request) {
    host->task_runner()->PostTask(
        FROM_HERE,
        base::BindOnce(
            [](LeanHost* host, mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request) {
              host->bridge_binding_.Bind(std::move(request));
            },
            base::Unretained(host), std::move(request)));
  };
  tev::bridge::OfferTevBridgeHost(kBridgeVersion,
                                  base::BindRepeating(bind, base::Unretained(this)));
}

LeanHost::~LeanHost() {
  tev::bridge::WithdrawTevBridgeHost();
  RunOn(thread_.task_runner(), [this] {
    instance_.reset();
    unread_host_ = nullptr;
    bridge_binding_.Close();
    return true;
  });
  thread_.Stop();
}

void LeanHost::WaitForInit() {
  std::unique_lock<std::mutex> lock(mutex_);
  init_cv_.wait(lock, [this] { return init_replied_; });
}

void LeanHost::Post(base::OnceCallback<void(tev::mojom::BluetoothInstance*)> task) {
  thread_.task_runner()->PostTask(
      FROM_HERE,
      base::BindOnce(
          [](LeanHost* host, base::OnceCallback<void(tev::mojom::BluetoothInstance*)> task) {
            if (host->instance_) std::move(task).Run(host->instance_.get());
          },
          base::Unretained(this), std::move(task)));
}

void LeanHost::OnBluetoothInstanceReady(tev::mojom::BluetoothInstancePtr instance) {
  instance_ = std::move(instance);
  tev::mojom::BluetoothHostPtr host;
  unread_host_ = mojo::MakeRequest(&host);
  instance_->Init(std::move(host),
                  base::BindRepeating(&LeanHost::OnInitReply, base::Unretained(this)));
}

void LeanHost::OnInitReply() {
  std::lock_guard<std::mutex> lock(mutex_);
  init_replied_ = true;
  init_cv_.notify_all();
}

}  // namespace bench
}  // namespace tev
