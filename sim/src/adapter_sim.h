#pragma once

#include <map>
#include <optional>

#include "host_context.h"
#include "mojom/bluetooth.mojom.h"
#include "timer_set.h"

namespace tev {
namespace sim {

// The classic side of the host: adapter power and properties, discovery of the world's classic
// devices, and bonding. Host sequence only.
class AdapterSim {
 public:
  explicit AdapterSim(HostContext* context);

  tev::mojom::BluetoothAdapterState Enable();
  tev::mojom::BluetoothAdapterState Disable();
  // `status`, when given, is reported instead of the property.
  void GetProperty(tev::mojom::BluetoothPropertyType type, std::optional<int32_t> status);
  void SetProperty(tev::mojom::BluetoothPropertyPtr property, std::optional<int32_t> status);
  void StartDiscovery();
  void CancelDiscovery();
  // A non-zero `status` makes the bond fail with it.
  void CreateBond(const Address& address, int32_t transport, std::optional<int32_t> status);
  void RemoveBond(const Address& address);
  void CancelBond(const Address& address);

  // Drops discovery and bonds in progress (a host restart); settings and bonds stay.
  void Reset();

 private:
  tev::mojom::BluetoothPropertyPtr Property(tev::mojom::BluetoothPropertyType type);
  void ReportProperty(tev::mojom::BluetoothPropertyType type);
  void ReportFound(const ClassicDevice& device);
  void FinishDiscovery();
  void FinishBond(const Address& address, std::optional<int32_t> status);
  void EndDiscoverable();
  const ClassicDevice* FindClassic(const Address& address) const;
  bool IsBonded(const Address& address) const;
  void SendBondState(tev::mojom::BluetoothStatus status, const Address& address,
                     tev::mojom::BluetoothBondState state);
  void SendAcl(const Address& address, bool connected);

  HostContext* ctx_;
  bool discovering_ = false;
  TimerSet discovery_timers_;
  TimerSet discoverable_timers_;
  TimerSet bond_timers_;
  std::map<Address, TimerId> bonding_;
};

}  // namespace sim
}  // namespace tev
