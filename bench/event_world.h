#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "base/memory/scoped_refptr.h"
#include "base/single_thread_task_runner.h"
#include "bluetooth_tev_service.h"
#include "lean_host.h"

namespace tev {
namespace bench {

// The library brought up as the stack brings it up (init through bluetoothInterface, the GATT
// table's init) against a LeanHost, with one LE connection open so that notifications from the
// peer have a connection id. One per process, made by main() before the benchmarks run.
class EventWorld {
 public:
  static constexpr std::array<uint8_t, 6> kPeer = {0x02, 0x51, 0xb0, 0x00, 0x00, 0x01};

  EventWorld();
  // cleanup through both tables, then waits for the IPC thread.
  ~EventWorld();
  EventWorld(const EventWorld&) = delete;
  EventWorld& operator=(const EventWorld&) = delete;

  static EventWorld& Get();

  LeanHost& host() { return host_; }
  BluetoothTevService* service() const { return BluetoothTevService::GetInstance(); }
  static scoped_refptr<base::SingleThreadTaskRunner> IpcTaskRunner();

 private:
  LeanHost host_;
};

tev::mojom::BluetoothAddressPtr PeerAddress();

}  // namespace bench
}  // namespace tev
