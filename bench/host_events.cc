#include "host_events.h"

#include <utility>

#include "alloc_counter.h"
#include "bench_support.h"
#include "counting_stack.h"

namespace tev {
namespace bench {

tev::mojom::BluetoothAddressPtr PeerAddress() {
  return tev::mojom::BluetoothAddress::New(std::vector<uint8_t>(kPeer.begin(), kPeer.end()));
}

Records MakeRecords(Kind kind) {
  Records records;
  records.address = PeerAddress();
  if (kind == Kind::kNotify) {
    records.service = tev::mojom::BluetoothGattServiceID::New(
        tev::mojom::BluetoothGattID::New(bluetooth::Uuid::From16Bit(0x180d), 1, 1), true);
    records.characteristic =
        tev::mojom::BluetoothGattID::New(bluetooth::Uuid::From16Bit(0x2a37), 2, 2);
  }
  return records;
}

std::vector<uint8_t> MakeValue(Kind kind) {
  return std::vector<uint8_t>(kind == Kind::kNotify ? kNotifyBytes : kAdvertisingBytes, 0x5a);
}

void Deliver(Kind kind, Records records, const std::vector<uint8_t>& value,
             tev::mojom::BluetoothInstance* to) {
  if (kind == Kind::kNotify) {
    to->OnGattNotify(std::move(records.address), std::move(records.service),
                     std::move(records.characteristic), true, value);
  } else {
    to->OnLEDeviceFound(std::move(records.address), -60, value);
  }
}

void SendEvents(Kind kind, int count, bool stamp, HostAllocations* allocations,
                tev::mojom::BluetoothInstance* instance) {
  std::vector<uint8_t> value = MakeValue(kind);
  for (int i = 0; i < count; ++i) {
    const uint64_t start = AllocationsOnThisThread();
    Records records = MakeRecords(kind);
    const uint64_t built = AllocationsOnThisThread();
    if (stamp) StampInto(value.data(), NowNs());
    Deliver(kind, std::move(records), value, instance);
    if (allocations) {
      allocations->records += built - start;
      allocations->send += AllocationsOnThisThread() - built;
    }
  }
}

}  // namespace bench
}  // namespace tev
