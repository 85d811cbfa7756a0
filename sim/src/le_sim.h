#pragma once

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "attribute_db.h"
#include "host_context.h"
#include "timer_set.h"

namespace tev {
namespace sim {

// One of the world's LE peripherals as it is now.
struct LivePeripheral {
  enum class Link { kDown, kConnecting, kUp };

  LivePeripheral(const Peripheral& definition, Clock* clock);

  const Peripheral& def;
  const Bytes advertisingData;
  AttributeDb db;
  Link link = Link::kDown;
  // Prepared writes waiting for ExecuteWrite: handle and value, in order.
  std::vector<std::pair<uint16_t, Bytes>> prepared;
  Clock* const clock;
  // Characteristics whose notifications or indications are on, with their sources' timers.
  std::map<uint16_t, std::unique_ptr<TimerSet>> subscriptions;
  // Next value of each notification source, by its index in the world.
  std::map<size_t, size_t> nextValue;
};

// The LE side of the host towards peripherals: scanning (each peripheral reported at its
// advertising interval with a varying RSSI) and links. Host sequence only.
class LeSim {
 public:
  explicit LeSim(HostContext* context);

  void StartScan();
  void StopScan();
  // False when the address is none of the world's peripherals.
  bool Connect(const Address& address);
  bool Disconnect(const Address& address);

  LivePeripheral* Find(const Address& address);
  // Null unless the link is up.
  LivePeripheral* Connected(const Address& address);

  // Takes every link down, with disconnection events when `report`, and stops scanning.
  void DropAll(bool report);

 private:
  void Advertise(LivePeripheral* peripheral);
  void LinkUp(LivePeripheral* peripheral);
  void LinkDown(LivePeripheral* peripheral, bool report);

  HostContext* ctx_;
  bool scanning_ = false;
  TimerSet scan_timers_;
  TimerSet link_timers_;
  std::map<Address, std::unique_ptr<LivePeripheral>> peripherals_;
};

}  // namespace sim
}  // namespace tev
