#pragma once

#include <condition_variable>
#include <mutex>

#include "base/callback.h"
#include "base/threading/thread.h"
#include "mojo/public/cpp/bindings/binding.h"
#include "mojom/bluetooth.mojom.h"
#include "mojom/tev_bridge.mojom.h"

namespace tev {
namespace bench {

// The host end of the bridge at its leanest, over the real pipes, on its own thread as another
// process would be: it offers the bridge, answers OnBluetoothInstanceReady with Init, and then
// only sends events. The BluetoothHost pipe it hands over is never read, so the library's calls
// wait in it; the event benchmarks make none.
class LeanHost : public tev::mojom::TevBridgeHost {
 public:
  LeanHost();
  ~LeanHost() override;
  LeanHost(const LeanHost&) = delete;
  LeanHost& operator=(const LeanHost&) = delete;

  // Blocks until the library has answered Init.
  void WaitForInit();

  // Runs `task` on the host thread with the library's BluetoothInstance.
  void Post(base::OnceCallback<void(tev::mojom::BluetoothInstance*)> task);

  scoped_refptr<base::SingleThreadTaskRunner> task_runner() const { return thread_.task_runner(); }

 private:
  // Host thread.
  void OnBluetoothInstanceReady(tev::mojom::BluetoothInstancePtr instance) override;
  void OnInitReply();

  base::Thread thread_{"lean_host"};
  // Host thread only.
  mojo::Binding<tev::mojom::TevBridgeHost> bridge_binding_{this};
  tev::mojom::BluetoothInstancePtr instance_;
  mojo::InterfaceRequest<tev::mojom::BluetoothHost> unread_host_;

  std::mutex mutex_;
  std::condition_variable init_cv_;
  bool init_replied_ = false;
};

}  // namespace bench
}  // namespace tev
