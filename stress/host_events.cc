#include "host_events.h"

#include <iterator>

#include "base/bind.h"

namespace tev {
namespace stress {
namespace {

using tev::mojom::BluetoothGattStatus;
using tev::mojom::BluetoothInstance;

// Each call below makes at most one choice inside its argument list, whose evaluation order is
// unspecified: the same bytes must give the same event under every compiler.
template <typename Enum>
Enum anyOf(Choices& choices, uint32_t known) {
  return static_cast<Enum>(choices.OneIn(8) ? choices.Any<int32_t>()
                                            : static_cast<int32_t>(choices.Below(known)));
}

BluetoothGattStatus gattStatus(Choices& choices) {
  return choices.Bool() ? BluetoothGattStatus::SUCCESS : anyOf<BluetoothGattStatus>(choices, 0x12);
}

int32_t offset(Choices& choices) {
  return choices.OneIn(8) ? choices.Any<int32_t>() : static_cast<int32_t>(choices.Below(64));
}

const HostEvent kEvents[] = {
    {"OnAdapterProperties",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       const auto status = anyOf<tev::mojom::BluetoothStatus>(c, 15);
       i->OnAdapterProperties(status, MakeProperties(c, s));
     }},
    {"OnDeviceFound",
     [](Choices& c, BluetoothInstance* i, Shape s) { i->OnDeviceFound(MakeProperties(c, s)); }},
    {"OnDevicePropertiesChanged",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       i->OnDevicePropertiesChanged(std::move(address), MakeProperties(c, s));
     }},
    {"OnDiscoveryStateChanged",
     [](Choices& c, BluetoothInstance* i, Shape) {
       i->OnDiscoveryStateChanged(anyOf<tev::mojom::BluetoothDiscoveryState>(c, 2));
     }},
    {"OnBondStateChanged",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto status = anyOf<tev::mojom::BluetoothStatus>(c, 15);
       auto address = MakeAddress(c, s);
       i->OnBondStateChanged(status, std::move(address),
                             anyOf<tev::mojom::BluetoothBondState>(c, 3));
     }},
    {"OnConnectionStateChanged",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       const auto type = anyOf<tev::mojom::BluetoothDeviceType>(c, 4);
       i->OnConnectionStateChanged(std::move(address), type, c.Bool());
     }},
    {"OnLEDeviceFound",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       const int32_t rssi = c.OneIn(4) ? c.Any<int32_t>() : -static_cast<int32_t>(c.Below(100));
       i->OnLEDeviceFound(std::move(address), rssi, MakeValue(c));
     }},
    {"OnLEConnectionStateChange",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       i->OnLEConnectionStateChange(std::move(address), !c.OneIn(3));
     }},
    {"OnLEDeviceAddressChange",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto from = MakeAddress(c, s);
       i->OnLEDeviceAddressChange(std::move(from), MakeAddress(c, s));
     }},
    {"OnSearchComplete",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       i->OnSearchComplete(std::move(address), gattStatus(c));
     }},
    {"OnGetGattDB",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       i->OnGetGattDB(std::move(address), MakeDatabase(c, s));
     }},
    {"OnGattNotify",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       auto service = MakeServiceId(c, s);
       auto characteristic = MakeGattId(c, s);
       const bool notify = c.Bool();
       i->OnGattNotify(std::move(address), std::move(service), std::move(characteristic), notify,
                       MakeValue(c));
     }},
    {"OnServiceChanged",
     [](Choices& c, BluetoothInstance* i, Shape s) { i->OnServiceChanged(MakeAddress(c, s)); }},
    {"RequestGattRead",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       const int32_t handle = MakeHandle(c);
       const int32_t at = offset(c);
       const bool isLong = c.Bool();
       i->RequestGattRead(
           std::move(address), handle, at, isLong,
           anyOf<tev::mojom::BluetoothGattDBAttributeType>(c, 5),
           base::BindRepeating([](BluetoothGattStatus, const std::vector<uint8_t>&) {}));
     }},
    {"RequestGattWrite",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       const int32_t handle = MakeHandle(c);
       const int32_t at = offset(c);
       const std::vector<uint8_t> value = MakeValue(c);
       const auto type = anyOf<tev::mojom::BluetoothGattDBAttributeType>(c, 5);
       i->RequestGattWrite(std::move(address), handle, at, value, type, c.Bool(),
                           base::BindRepeating([](BluetoothGattStatus) {}));
     }},
    {"RequestGattExecuteWrite",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       i->RequestGattExecuteWrite(std::move(address), c.Bool(),
                                  base::BindRepeating([](BluetoothGattStatus) {}));
     }},
    {"OnMTUReceived",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto address = MakeAddress(c, s);
       i->OnMTUReceived(std::move(address), c.Any<uint16_t>());
     }},
    {"OnGetSdpRecords",
     [](Choices& c, BluetoothInstance* i, Shape s) {
       auto status = anyOf<tev::mojom::BluetoothStatus>(c, 15);
       auto address = MakeAddress(c, s);
       auto uuid = MakeUuid(c);
       i->OnGetSdpRecords(status, std::move(address), uuid, MakeSdpRecords(c, s));
     }},
};

}  // namespace

const HostEvent& PickHostEvent(Choices& choices) {
  return kEvents[choices.Below(static_cast<uint32_t>(std::size(kEvents)))];
}

}  // namespace stress
}  // namespace tev
