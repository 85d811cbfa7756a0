#pragma once

#include <optional>

#include "host_context.h"
#include "le_sim.h"
#include "mojom/bluetooth.mojom.h"
#include "timer_set.h"

namespace tev {
namespace sim {

// The host as GATT client of the world's peripherals, on the library's behalf: discovery,
// reads, writes (direct, prepared, executed) and notification sources. Host sequence only.
class GattClientSim {
 public:
  GattClientSim(HostContext* context, LeSim* le);

  // `status`, when given, is reported instead of the outcome of the search.
  void SearchService(const Address& address, std::optional<int32_t> status);
  void GetGattDb(const Address& address);

  // Characteristics and descriptors alike are found by the handle of their id.
  tev::mojom::BluetoothGattValuePtr Read(const Address& address,
                                         const tev::mojom::BluetoothGattIDPtr& id);
  tev::mojom::BluetoothGattStatus Write(const Address& address,
                                        const tev::mojom::BluetoothGattIDPtr& id,
                                        const Bytes& value, bool prepare);
  tev::mojom::BluetoothGattStatus Execute(const Address& address, bool execute);
  tev::mojom::BluetoothGattStatus Subscribe(const Address& address,
                                            const tev::mojom::BluetoothGattIDPtr& char_id,
                                            bool on);

  void Reset();

 private:
  void CompleteSearch(const Address& address, tev::mojom::BluetoothGattStatus status);
  Attribute* Resolve(LivePeripheral* peripheral, const tev::mojom::BluetoothGattIDPtr& id);
  void SetSubscribed(LivePeripheral* peripheral, const Attribute& characteristic, bool on);
  void Notify(LivePeripheral* peripheral, uint16_t char_handle, size_t source);

  HostContext* ctx_;
  LeSim* le_;
  TimerSet search_timers_;
};

}  // namespace sim
}  // namespace tev
