#pragma once

#include "bluetooth_tev_service.h"
#include "lean_host.h"

namespace tev {
namespace bench {

// The library brought up as the stack brings it up (init through bluetoothInterface, the GATT
// table's init) against a LeanHost, with one LE connection open so that notifications from the
// peer (kPeer) have a connection id. One per process, made by main() before the benchmarks run.
class EventWorld {
 public:
  EventWorld();
  // cleanup through both tables.
  ~EventWorld();
  EventWorld(const EventWorld&) = delete;
  EventWorld& operator=(const EventWorld&) = delete;

  static EventWorld& Get();

  LeanHost& host() { return host_; }
  BluetoothTevService* service() const { return BluetoothTevService::GetInstance(); }

 private:
  LeanHost host_;
};

}  // namespace bench
}  // namespace tev
