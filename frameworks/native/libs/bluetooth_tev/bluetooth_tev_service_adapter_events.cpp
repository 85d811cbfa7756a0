// Adapter and device events from the host, turned into the stack's adapter callbacks. Property
// values and addresses reach the stack by pointer, so the callback task owns their storage and
// frees it only once the call has returned.
#include <cstdint>
#include <memory>
#include <vector>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

using PropertyList = std::shared_ptr<std::vector<bt_property_t>>;
// Owns the bytes the `val` of each converted property points into.
using PropertyBytes = std::shared_ptr<std::vector<std::vector<uint8_t>>>;
using Address = std::shared_ptr<RawAddress>;

struct Converted {
  PropertyList list;
  PropertyBytes bytes;
};

Converted convert(const std::vector<tev::mojom::BluetoothPropertyPtr>& properties) {
  Converted converted{std::make_shared<std::vector<bt_property_t>>(),
                      std::make_shared<std::vector<std::vector<uint8_t>>>()};
  BluetoothTevService::convertProperties(properties, converted.list.get(), converted.bytes.get());
  return converted;
}

int count(const PropertyList& list) { return static_cast<int>(list->size()); }

bt_property_t* first(const PropertyList& list) { return list->empty() ? nullptr : list->data(); }

// The host's enumerations are extensible; a HAL enumeration without a fixed type holds only the
// values of its smallest bit-field: 0 to 15 for bt_status_t, 0 to 3 for bt_bond_state_t. Passing
// a value beyond through unchanged would form a value the type cannot hold, which is undefined,
// so such a value is delivered as the nearest one the HAL names and logged; the event itself
// still reaches the stack, which would otherwise wait for it for good.
constexpr int kLastHalStatus = 15;
constexpr int kLastHalBondState = 3;

template <typename HalEnum, typename HostEnum>
HalEnum toHal(HostEnum value, int last, HalEnum nearest, const char* event, const char* what) {
  const auto number = static_cast<int64_t>(value);
  if (number >= 0 && number <= last) return static_cast<HalEnum>(number);
  LOG(WARNING) << "BluetoothTev: " << event << " " << what << "=" << number
               << " unknown to the HAL, delivered as " << static_cast<int>(nearest);
  return nearest;
}

bt_status_t toStatus(tev::mojom::BluetoothStatus status, const char* event) {
  return toHal(status, kLastHalStatus, BT_STATUS_FAIL, event, "status");
}

bt_bond_state_t toBondState(tev::mojom::BluetoothBondState state) {
  return toHal(state, kLastHalBondState, BT_BOND_STATE_NONE, "OnBondStateChanged", "state");
}

}  // namespace

// IPC thread.
void BluetoothTevService::OnAdapterProperties(
    tev::mojom::BluetoothStatus status, std::vector<tev::mojom::BluetoothPropertyPtr> properties) {
  DCHECK(onIpcThread());
  LOG(INFO) << "BluetoothTev: OnAdapterProperties status=" << static_cast<int>(status)
            << " count=" << properties.size();
  bt_callbacks_t* table = callbacks();
  if (!table || !table->adapter_properties_cb) return;
  Converted converted = convert(properties);
  postCallback(
      [](bt_callbacks_t* table, bt_status_t status, PropertyList list, PropertyBytes /*held*/) {
        table->adapter_properties_cb(status, count(list), first(list));
      },
      table, toStatus(status, "OnAdapterProperties"), std::move(converted.list),
      std::move(converted.bytes));
}

// IPC thread.
void BluetoothTevService::OnDeviceFound(std::vector<tev::mojom::BluetoothPropertyPtr> properties) {
  DCHECK(onIpcThread());
  LOG(INFO) << "BluetoothTev: OnDeviceFound props=" << properties.size();
  bt_callbacks_t* table = callbacks();
  if (!table || !table->device_found_cb) return;
  Converted converted = convert(properties);
  postCallback([](bt_callbacks_t* table, PropertyList list,
                  PropertyBytes /*held*/) { table->device_found_cb(count(list), first(list)); },
               table, std::move(converted.list), std::move(converted.bytes));
}

// IPC thread.
void BluetoothTevService::OnDevicePropertiesChanged(
    tev::mojom::BluetoothAddressPtr addr,
    std::vector<tev::mojom::BluetoothPropertyPtr> properties) {
  DCHECK(onIpcThread());
  LOG(INFO) << "BluetoothTev: OnDevicePropertiesChanged";
  bt_callbacks_t* table = callbacks();
  if (!table || !table->remote_device_properties_cb) return;
  Address address = std::make_shared<RawAddress>(toRawAddress(addr));
  Converted converted = convert(properties);
  postCallback(
      [](bt_callbacks_t* table, Address address, PropertyList list, PropertyBytes /*held*/) {
        table->remote_device_properties_cb(BT_STATUS_SUCCESS, address.get(), count(list),
                                           first(list));
      },
      table, std::move(address), std::move(converted.list), std::move(converted.bytes));
}

// IPC thread. Only 1 means started.
void BluetoothTevService::OnDiscoveryStateChanged(tev::mojom::BluetoothDiscoveryState state) {
  DCHECK(onIpcThread());
  LOG(INFO) << "BluetoothTev: OnDiscoveryStateChanged state=" << static_cast<int>(state);
  bt_callbacks_t* table = callbacks();
  if (!table || !table->discovery_state_changed_cb) return;
  const bt_discovery_state_t mapped = state == tev::mojom::BluetoothDiscoveryState::STARTED
                                          ? BT_DISCOVERY_STARTED
                                          : BT_DISCOVERY_STOPPED;
  postCallback([](bt_callbacks_t* table,
                  bt_discovery_state_t state) { table->discovery_state_changed_cb(state); },
               table, mapped);
}

// IPC thread. The bond states share their numbering; the host gives no fail reason.
void BluetoothTevService::OnBondStateChanged(tev::mojom::BluetoothStatus status,
                                             tev::mojom::BluetoothAddressPtr addr,
                                             tev::mojom::BluetoothBondState state) {
  DCHECK(onIpcThread());
  LOG(INFO) << "BluetoothTev: OnBondStateChanged status=" << static_cast<int>(status)
            << " state=" << static_cast<int>(state);
  bt_callbacks_t* table = callbacks();
  if (!table || !table->bond_state_changed_cb) return;
  // Two statements, so that their warnings are written in this order.
  const bt_status_t halStatus = toStatus(status, "OnBondStateChanged");
  const bt_bond_state_t halState = toBondState(state);
  Address address = std::make_shared<RawAddress>(toRawAddress(addr));
  postCallback(
      [](bt_callbacks_t* table, bt_status_t status, Address address, bt_bond_state_t state) {
        table->bond_state_changed_cb(status, address.get(), state, 0);
      },
      table, halStatus, std::move(address), halState);
}

// IPC thread. The HAL numbers connected 0 and disconnected 1; link type and HCI reason are
// unknown here and reported as 0.
void BluetoothTevService::OnConnectionStateChanged(tev::mojom::BluetoothAddressPtr addr,
                                                   tev::mojom::BluetoothDeviceType /*device_type*/,
                                                   bool connected) {
  DCHECK(onIpcThread());
  LOG(INFO) << "BluetoothTev: OnConnectionStateChanged connected=" << (connected ? 1 : 0);
  bt_callbacks_t* table = callbacks();
  if (!table || !table->acl_state_changed_cb) return;
  Address address = std::make_shared<RawAddress>(toRawAddress(addr));
  const bt_acl_state_t mapped = connected ? BT_ACL_STATE_CONNECTED : BT_ACL_STATE_DISCONNECTED;
  postCallback(
      [](bt_callbacks_t* table, Address address, bt_acl_state_t state) {
        table->acl_state_changed_cb(BT_STATUS_SUCCESS, address.get(), state, 0, 0);
      },
      table, std::move(address), mapped);
}

// IPC thread. Service records are not reported to the stack.
void BluetoothTevService::OnGetSdpRecords(
    tev::mojom::BluetoothStatus /*status*/, tev::mojom::BluetoothAddressPtr /*addr*/,
    bluetooth::Uuid /*uuid*/, std::vector<tev::mojom::BluetoothSdpRecordPtr> /*records*/) {}

}  // namespace tev
