#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "mojom/bluetooth.mojom.h"

// The events a benchmark's host sends, built fresh for every event as a host must: shared by the
// in-process event benchmarks and the host process of the cross-process ones.
namespace tev {
namespace bench {

// The peer every benchmark's host plays: the default world's heart-rate monitor.
constexpr std::array<uint8_t, 6> kPeer = {0x02, 0x51, 0xb0, 0x00, 0x00, 0x01};
tev::mojom::BluetoothAddressPtr PeerAddress();

enum class Kind { kNotify, kScan };

// A notification filling a default ATT MTU, and a full legacy advertisement.
constexpr size_t kNotifyBytes = 20;
constexpr size_t kAdvertisingBytes = 31;

// What the host builds for one event and moves into the call (a scan result has no ids).
struct Records {
  tev::mojom::BluetoothAddressPtr address;
  tev::mojom::BluetoothGattServiceIDPtr service;
  tev::mojom::BluetoothGattIDPtr characteristic;
};

Records MakeRecords(Kind kind);
std::vector<uint8_t> MakeValue(Kind kind);

// `to` is the host's proxy of the library's BluetoothInstance, or the library itself.
void Deliver(Kind kind, Records records, const std::vector<uint8_t>& value,
             tev::mojom::BluetoothInstance* to);

// What building and sending cost the host thread, in blocks.
struct HostAllocations {
  uint64_t records = 0;
  uint64_t send = 0;
};

// Host thread: `count` events as fast as the host can build and send them, each carrying its
// send time when `stamp` is set. `allocations` may be null.
void SendEvents(Kind kind, int count, bool stamp, HostAllocations* allocations,
                tev::mojom::BluetoothInstance* instance);

}  // namespace bench
}  // namespace tev
