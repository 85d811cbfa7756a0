#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <utility>

#include "base/bind.h"
#include "base/threading/thread.h"
#include "mock_bluetooth_host.h"
#include "mojo/public/cpp/bindings/binding.h"
#include "mojom/tev_bridge.mojom.h"
#include "tev/testing/event.h"

namespace tev {
namespace testing {

// The host end of the bridge, on its own thread as a separate process would be: it offers the
// bridge, and answers OnBluetoothInstanceReady by calling Init with a mock BluetoothHost.
class HostDouble : public tev::mojom::TevBridgeHost {
 public:
  struct Options {
    unsigned int bridgeVersion = 20;
    // Call Init as soon as the library announces its instance.
    bool autoInit = true;
  };

  HostDouble();
  explicit HostDouble(const Options& options);
  ~HostDouble() override;

  // Set expectations before the calls they are about can happen.
  ::testing::NiceMock<MockBluetoothHost>& mock() { return mock_; }

  // Blocks until the library has announced its BluetoothInstance.
  bool WaitForInstance();
  // Blocks until the library has acknowledged Init.
  bool WaitForInitReply();
  // Calls Init (again) with a fresh BluetoothHost pipe.
  void CallInit();

  // Runs `event(instance)` on the host thread with the library's BluetoothInstance.
  template <typename F>
  void Fire(F event) {
    RunOnHost(base::BindOnce(
        [](HostDouble* host, F event) {
          if (host->instance_) event(host->instance_.get());
        },
        this, std::move(event)));
  }

  void RunOnHost(base::OnceClosure task);
  // Every task posted to the host thread so far has run.
  void FlushHost();

  // Closes the host's end of the BluetoothHost pipe.
  void SeverHostPipe();
  // Closes the host's end of the BluetoothInstance pipe.
  void SeverInstancePipe();

  scoped_refptr<base::SingleThreadTaskRunner> task_runner() const { return thread_.task_runner(); }

 private:
  void OnBluetoothInstanceReady(tev::mojom::BluetoothInstancePtr instance) override;
  void BindBridge(mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request);
  void InitOnHost();

  const Options options_;
  ::testing::NiceMock<MockBluetoothHost> mock_;
  base::Thread thread_{"host"};
  // Host thread only.
  mojo::Binding<tev::mojom::TevBridgeHost> bridge_binding_{this};
  mojo::Binding<tev::mojom::BluetoothHost> host_binding_{&mock_};
  tev::mojom::BluetoothInstancePtr instance_;
  Event instance_ready_;
  Event init_replied_;
};

}  // namespace testing
}  // namespace tev
