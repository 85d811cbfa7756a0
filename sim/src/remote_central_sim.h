#pragma once

#include <map>
#include <memory>
#include <optional>

#include "gatt_server_sim.h"
#include "host_context.h"
#include "mojom/bluetooth.mojom.h"
#include "timer_set.h"

namespace tev {
namespace sim {

// The world's remote centrals: once the Android side starts a service, each connects and runs
// its script of requests against the published services, one step after the answer to the
// last. Host sequence only.
class RemoteCentralSim {
 public:
  RemoteCentralSim(HostContext* context, const GattServerSim* server);

  void OnServiceStarted();
  // False when the address is none of the world's centrals.
  bool Connect(const Address& address);
  bool Disconnect(const Address& address);
  // The status for an indication sent to `address`; nothing when it is none of the centrals.
  std::optional<tev::mojom::BluetoothGattStatus> Indicate(const Address& address);
  bool IsConnected(const Address& address) const;

  // Takes every central's link down, with events when `report`.
  void DropAll(bool report);
  // As DropAll without events; scripts run again from the start after the next StartService.
  void Reset();

 private:
  struct LiveCentral {
    LiveCentral(const RemoteCentral& definition, Clock* clock) : def(definition), timers(clock) {}
    const RemoteCentral& def;
    bool started = false;
    bool connected = false;
    size_t step = 0;
    // Answers to requests of an earlier link are ignored.
    uint64_t generation = 0;
    TimerSet timers;
  };

  void Begin(LiveCentral* central);
  void RunStep(LiveCentral* central);
  void Next(LiveCentral* central, base::TimeDelta after);
  void LinkDown(LiveCentral* central, bool report);
  // The attribute a step is about, among the started services.
  const LocalAttribute* Target(const ScriptStep& step) const;
  void Request(LiveCentral* central, const ScriptStep& step, const LocalAttribute& target);
  void OnReadAnswer(LiveCentral* central, uint64_t generation,
                    tev::mojom::BluetoothGattStatus status, const std::vector<uint8_t>& value);
  void OnStatusAnswer(LiveCentral* central, uint64_t generation, const std::string& method,
                      tev::mojom::BluetoothGattStatus status);

  HostContext* ctx_;
  const GattServerSim* server_;
  std::map<Address, std::unique_ptr<LiveCentral>> centrals_;
};

}  // namespace sim
}  // namespace tev
