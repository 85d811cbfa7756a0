#pragma once

#include <memory>
#include <string>

#include "base/callback.h"
#include "base/memory/scoped_refptr.h"
#include "base/single_thread_task_runner.h"
#include "base/threading/thread.h"
#include "base/time/time.h"
#include "mojo/public/cpp/bindings/interface_request.h"
#include "mojom/bluetooth.mojom.h"
#include "mojom/tev_bridge.mojom.h"
#include "tev/sim/clock.h"
#include "tev/sim/faults.h"
#include "tev/sim/journal.h"
#include "tev/sim/world.h"

namespace tev {
namespace sim {

class HostCore;

// The Quarne OS Bluetooth service, simulated: it offers itself as the bridge host, answers the
// library's OnBluetoothInstanceReady with Init, serves BluetoothHost over the pipes and plays
// the devices of a World. All of its state lives on its own thread, "quarne_bt_host", as if it
// were another process; the methods below may be called from any other thread.
//
// Only one host may be started at a time in a process: the bridge offer is process-wide.
class SimulatedHost {
 public:
  enum class Time {
    kVirtual,  // time moves only through AdvanceTime(): deterministic and instant
    kReal,     // wall-clock time, for demos
  };

  struct Options {
    Options();
    World world;
    // The bridge version offered; below 20 the library reports a version mismatch.
    unsigned int bridgeVersion = 20;
    Time time = Time::kVirtual;
    // Seeds the RSSI variation and advertising phases.
    uint64_t seed = 1;
    // Answer OnBluetoothInstanceReady with Init at once; otherwise call CallInit().
    bool autoInit = true;
  };

  SimulatedHost();
  explicit SimulatedHost(Options options);
  // Stops if still started.
  ~SimulatedHost();
  SimulatedHost(const SimulatedHost&) = delete;
  SimulatedHost& operator=(const SimulatedHost&) = delete;

  // Starts the host thread and offers the bridge. Call once.
  void Start();
  // Withdraws the offer, closes every pipe, cancels every timer and stops the thread. The
  // journal stays readable.
  void Stop();

  // Virtual time only: runs every timer due within `duration` on the host thread and returns
  // when they have run (events they sent may still be on their way to the library). False with
  // real time or when not started.
  bool AdvanceTime(base::TimeDelta duration);
  base::TimeDelta Now() const;

  Faults& faults() { return faults_; }
  Journal& journal() { return journal_; }
  const Journal& journal() const { return journal_; }

  // Closes the host's end of `pipe` now, as a crash of that connection would.
  void Sever(Pipe pipe);
  // The same, `delay` from now on the host's clock.
  void SeverAfter(Pipe pipe, base::TimeDelta delay);
  // Calls Init again on the library's instance pipe, with a fresh BluetoothHost pipe.
  void CallInit();
  // A host service restart: the BluetoothHost pipe closes, links, scans, discovery,
  // subscriptions, published services and central scripts are dropped (the adapter settings and
  // bonds are kept), then Init is called again with a fresh pipe.
  void Restart();

  // Sends a BluetoothInstance event that `call` makes, journaled as `method` with `summary` as if
  // the host had decided to send it; without a pipe, only a note is journaled. `call` runs on the
  // host thread; replies it asks for arrive there too.
  using InstanceCall = base::OnceCallback<void(tev::mojom::BluetoothInstance*)>;
  void SendEvent(const std::string& method, const std::string& summary, InstanceCall call);

  // Every task posted to the host thread so far has run.
  void Flush();
  // Runs `task` on the host thread and waits for it.
  void RunOnHost(base::OnceClosure task);

  scoped_refptr<base::SingleThreadTaskRunner> task_runner() const;

 private:
  // Host thread.
  void BindBridge(mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request);
  void TearDownOnHost();
  void PostToHost(base::OnceCallback<void(HostCore*)> task);

  const Options options_;
  Journal journal_;
  Faults faults_;
  base::Thread thread_{"quarne_bt_host"};
  std::unique_ptr<Clock> clock_;
  VirtualClock* virtual_clock_ = nullptr;
  // Host thread only, from Start() to the end of Stop().
  std::unique_ptr<HostCore> core_;
  bool started_ = false;
  bool stopped_ = false;
};

}  // namespace sim
}  // namespace tev
