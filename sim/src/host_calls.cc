// The BluetoothHost methods: journal the call, apply its fault, hand the work to the part of
// the host that plays it, and reply.
#include "base/bind.h"
#include "format.h"
#include "host_core.h"

namespace tev {
namespace sim {
namespace {

using tev::mojom::BluetoothAdapterState;
using tev::mojom::BluetoothGattStatus;
using tev::mojom::BluetoothGattValue;
using tev::mojom::BluetoothGattValuePtr;

// Binds a reply callback to its arguments, to be run now or later.
template <typename Callback, typename... Args>
base::OnceClosure Bound(const Callback& callback, Args... args) {
  return base::BindOnce([](Callback cb, Args... values) { cb.Run(std::move(values)...); }, callback,
                        std::move(args)...);
}

std::optional<int32_t> Result(const std::optional<Fault>& fault) {
  return fault ? fault->result : std::nullopt;
}

// A malformed address finds no device, as the all-zero address does.
Address ToAddress(const tev::mojom::BluetoothAddressPtr& address) {
  return FromMojo(address).value_or(Address{});
}

std::string StatusText(BluetoothGattStatus status) {
  return "status=" + std::to_string(static_cast<int>(status));
}

std::string ValueText(const BluetoothGattValuePtr& value) {
  return StatusText(value->status) + " value=" + HexText(value->value);
}

Bytes ValueBytes(const BluetoothGattValuePtr& value) {
  return value.is_null() ? Bytes() : value->value;
}

BluetoothGattStatus StatusOr(const std::optional<Fault>& fault, BluetoothGattStatus status) {
  return Result(fault) ? static_cast<BluetoothGattStatus>(*Result(fault)) : status;
}

}  // namespace

void HostCore::EnableAdapter(const EnableAdapterCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("EnableAdapter", "", &fault)) return;
  const BluetoothAdapterState state =
      Result(fault) ? static_cast<BluetoothAdapterState>(*Result(fault)) : adapter_.Enable();
  Reply("EnableAdapter", fault, "state=" + std::to_string(static_cast<int>(state)),
        Bound(callback, state));
}

void HostCore::DisableAdapter(const DisableAdapterCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("DisableAdapter", "", &fault)) return;
  BluetoothAdapterState state;
  if (Result(fault)) {
    state = static_cast<BluetoothAdapterState>(*Result(fault));
  } else {
    le_.DropAll(true);
    centrals_.DropAll(true);
    state = adapter_.Disable();
  }
  Reply("DisableAdapter", fault, "state=" + std::to_string(static_cast<int>(state)),
        Bound(callback, state));
}

void HostCore::GetAdapterProperty(tev::mojom::BluetoothPropertyType type) {
  std::optional<Fault> fault;
  if (!Receive("GetAdapterProperty", "type=" + std::to_string(static_cast<int>(type)), &fault)) return;
  Handle("GetAdapterProperty", fault,
         base::BindOnce(&AdapterSim::GetProperty, base::Unretained(&adapter_), type, Result(fault)));
}

void HostCore::SetAdapterProperty(tev::mojom::BluetoothPropertyPtr property) {
  std::optional<Fault> fault;
  if (!Receive("SetAdapterProperty", PropertyText(property), &fault)) return;
  Handle("SetAdapterProperty", fault,
         base::BindOnce(&AdapterSim::SetProperty, base::Unretained(&adapter_), std::move(property),
                        Result(fault)));
}

void HostCore::StartDiscovery() {
  std::optional<Fault> fault;
  if (!Receive("StartDiscovery", "", &fault)) return;
  Handle("StartDiscovery", fault,
         base::BindOnce(&AdapterSim::StartDiscovery, base::Unretained(&adapter_)));
}

void HostCore::CancelDiscovery() {
  std::optional<Fault> fault;
  if (!Receive("CancelDiscovery", "", &fault)) return;
  Handle("CancelDiscovery", fault,
         base::BindOnce(&AdapterSim::CancelDiscovery, base::Unretained(&adapter_)));
}

void HostCore::CreateBond(tev::mojom::BluetoothAddressPtr addr, int32_t transport) {
  std::optional<Fault> fault;
  if (!Receive("CreateBond", AddrText(addr) + " transport=" + std::to_string(transport), &fault)) {
    return;
  }
  Handle("CreateBond", fault,
         base::BindOnce(&AdapterSim::CreateBond, base::Unretained(&adapter_), ToAddress(addr),
                        transport, Result(fault)));
}

void HostCore::RemoveBond(tev::mojom::BluetoothAddressPtr addr) {
  std::optional<Fault> fault;
  if (!Receive("RemoveBond", AddrText(addr), &fault)) return;
  Handle("RemoveBond", fault,
         base::BindOnce(&AdapterSim::RemoveBond, base::Unretained(&adapter_), ToAddress(addr)));
}

void HostCore::CancelBond(tev::mojom::BluetoothAddressPtr addr) {
  std::optional<Fault> fault;
  if (!Receive("CancelBond", AddrText(addr), &fault)) return;
  Handle("CancelBond", fault,
         base::BindOnce(&AdapterSim::CancelBond, base::Unretained(&adapter_), ToAddress(addr)));
}

void HostCore::ConnectLEDevice(tev::mojom::BluetoothAddressPtr addr) {
  std::optional<Fault> fault;
  if (!Receive("ConnectLEDevice", AddrText(addr), &fault)) return;
  Handle("ConnectLEDevice", fault, base::BindOnce(
                                       [](HostCore* self, const Address& address) {
                                         // An absent device is waited for in vain, as on air.
                                         if (!self->le_.Connect(address) &&
                                             !self->centrals_.Connect(address)) {
                                           self->ctx_.Note("ConnectLEDevice: no such device in range",
                                                           AddrText(address));
                                         }
                                       },
                                       this, ToAddress(addr)));
}

void HostCore::DisconnectLEDevice(tev::mojom::BluetoothAddressPtr addr) {
  std::optional<Fault> fault;
  if (!Receive("DisconnectLEDevice", AddrText(addr), &fault)) return;
  Handle("DisconnectLEDevice", fault,
         base::BindOnce(
             [](HostCore* self, const Address& address) {
               if (!self->le_.Disconnect(address) && !self->centrals_.Disconnect(address)) {
                 self->ctx_.Note("DisconnectLEDevice ignored: no such device", AddrText(address));
               }
             },
             this, ToAddress(addr)));
}

void HostCore::SearchService(tev::mojom::BluetoothAddressPtr addr) {
  std::optional<Fault> fault;
  if (!Receive("SearchService", AddrText(addr), &fault)) return;
  Handle("SearchService", fault,
         base::BindOnce(&GattClientSim::SearchService, base::Unretained(&gatt_client_),
                        ToAddress(addr), Result(fault)));
}

void HostCore::GetGattDB(tev::mojom::BluetoothAddressPtr addr) {
  std::optional<Fault> fault;
  if (!Receive("GetGattDB", AddrText(addr), &fault)) return;
  Handle("GetGattDB", fault,
         base::BindOnce(&GattClientSim::GetGattDb, base::Unretained(&gatt_client_), ToAddress(addr)));
}

void HostCore::ReadGattCharacteristic(tev::mojom::BluetoothAddressPtr addr,
                                      tev::mojom::BluetoothGattServiceIDPtr service_id,
                                      tev::mojom::BluetoothGattIDPtr char_id,
                                      const ReadGattCharacteristicCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("ReadGattCharacteristic",
               AddrText(addr) + " service=" + ServiceIdText(service_id) + " char=" + GattIdText(char_id),
               &fault)) {
    return;
  }
  BluetoothGattValuePtr value =
      Result(fault) ? BluetoothGattValue::New(StatusOr(fault, BluetoothGattStatus::SUCCESS), Bytes())
                    : gatt_client_.Read(ToAddress(addr), char_id);
  const std::string summary = ValueText(value);
  Reply("ReadGattCharacteristic", fault, summary, Bound(callback, std::move(value)));
}

void HostCore::WriteGattCharacteristic(tev::mojom::BluetoothAddressPtr addr,
                                       tev::mojom::BluetoothGattServiceIDPtr service_id,
                                       tev::mojom::BluetoothGattIDPtr char_id,
                                       tev::mojom::BluetoothGattValuePtr value, bool prepare,
                                       const WriteGattCharacteristicCallback& callback) {
  std::optional<Fault> fault;
  const Bytes bytes = ValueBytes(value);
  if (!Receive("WriteGattCharacteristic",
               AddrText(addr) + " service=" + ServiceIdText(service_id) + " char=" +
                   GattIdText(char_id) + " value=" + HexText(bytes) + " prepare=" + (prepare ? "1" : "0"),
               &fault)) {
    return;
  }
  const BluetoothGattStatus status =
      Result(fault) ? StatusOr(fault, BluetoothGattStatus::SUCCESS)
                    : gatt_client_.Write(ToAddress(addr), char_id, bytes, prepare);
  Reply("WriteGattCharacteristic", fault, StatusText(status), Bound(callback, status));
}

void HostCore::ReadGattDescriptor(tev::mojom::BluetoothAddressPtr addr,
                                  tev::mojom::BluetoothGattServiceIDPtr service_id,
                                  tev::mojom::BluetoothGattIDPtr char_id,
                                  tev::mojom::BluetoothGattIDPtr desc_id,
                                  const ReadGattDescriptorCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("ReadGattDescriptor",
               AddrText(addr) + " service=" + ServiceIdText(service_id) + " char=" +
                   GattIdText(char_id) + " desc=" + GattIdText(desc_id),
               &fault)) {
    return;
  }
  BluetoothGattValuePtr value =
      Result(fault) ? BluetoothGattValue::New(StatusOr(fault, BluetoothGattStatus::SUCCESS), Bytes())
                    : gatt_client_.Read(ToAddress(addr), desc_id);
  const std::string summary = ValueText(value);
  Reply("ReadGattDescriptor", fault, summary, Bound(callback, std::move(value)));
}

void HostCore::WriteGattDescriptor(tev::mojom::BluetoothAddressPtr addr,
                                   tev::mojom::BluetoothGattServiceIDPtr service_id,
                                   tev::mojom::BluetoothGattIDPtr char_id,
                                   tev::mojom::BluetoothGattIDPtr desc_id,
                                   tev::mojom::BluetoothGattValuePtr value,
                                   const WriteGattDescriptorCallback& callback) {
  std::optional<Fault> fault;
  const Bytes bytes = ValueBytes(value);
  if (!Receive("WriteGattDescriptor",
               AddrText(addr) + " service=" + ServiceIdText(service_id) + " char=" +
                   GattIdText(char_id) + " desc=" + GattIdText(desc_id) + " value=" + HexText(bytes),
               &fault)) {
    return;
  }
  const BluetoothGattStatus status = Result(fault)
                                         ? StatusOr(fault, BluetoothGattStatus::SUCCESS)
                                         : gatt_client_.Write(ToAddress(addr), desc_id, bytes, false);
  Reply("WriteGattDescriptor", fault, StatusText(status), Bound(callback, status));
}

void HostCore::ExecuteWrite(tev::mojom::BluetoothAddressPtr addr, bool execute,
                            const ExecuteWriteCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("ExecuteWrite", AddrText(addr) + " execute=" + (execute ? "1" : "0"), &fault)) return;
  const BluetoothGattStatus status =
      Result(fault) ? StatusOr(fault, BluetoothGattStatus::SUCCESS)
                    : gatt_client_.Execute(ToAddress(addr), execute);
  Reply("ExecuteWrite", fault, StatusText(status), Bound(callback, status));
}

void HostCore::RegisterForGattNotification(tev::mojom::BluetoothAddressPtr addr,
                                           tev::mojom::BluetoothGattServiceIDPtr service_id,
                                           tev::mojom::BluetoothGattIDPtr char_id,
                                           const RegisterForGattNotificationCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("RegisterForGattNotification",
               AddrText(addr) + " service=" + ServiceIdText(service_id) + " char=" + GattIdText(char_id),
               &fault)) {
    return;
  }
  const BluetoothGattStatus status =
      Result(fault) ? StatusOr(fault, BluetoothGattStatus::SUCCESS)
                    : gatt_client_.Subscribe(ToAddress(addr), char_id, true);
  Reply("RegisterForGattNotification", fault, StatusText(status), Bound(callback, status));
}

void HostCore::DeregisterForGattNotification(tev::mojom::BluetoothAddressPtr addr,
                                             tev::mojom::BluetoothGattServiceIDPtr service_id,
                                             tev::mojom::BluetoothGattIDPtr char_id,
                                             const DeregisterForGattNotificationCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("DeregisterForGattNotification",
               AddrText(addr) + " service=" + ServiceIdText(service_id) + " char=" + GattIdText(char_id),
               &fault)) {
    return;
  }
  const BluetoothGattStatus status =
      Result(fault) ? StatusOr(fault, BluetoothGattStatus::SUCCESS)
                    : gatt_client_.Subscribe(ToAddress(addr), char_id, false);
  Reply("DeregisterForGattNotification", fault, StatusText(status), Bound(callback, status));
}

void HostCore::ReadRemoteRssi(tev::mojom::BluetoothAddressPtr addr,
                              const ReadRemoteRssiCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("ReadRemoteRssi", AddrText(addr), &fault)) return;
  const Address address = ToAddress(addr);
  // 127: the value the controller gives when it has none.
  int32_t rssi = 127;
  for (const Peripheral& p : ctx_.world().peripherals) {
    if (p.address == address) rssi = ctx_.VaryRssi(p.rssi);
  }
  for (const ClassicDevice& d : ctx_.world().classicDevices) {
    if (d.address == address) rssi = ctx_.VaryRssi(d.rssi);
  }
  for (const RemoteCentral& c : ctx_.world().centrals) {
    if (c.address == address) rssi = ctx_.VaryRssi(c.rssi);
  }
  if (Result(fault)) rssi = *Result(fault);
  Reply("ReadRemoteRssi", fault, "rssi=" + std::to_string(rssi), Bound(callback, rssi));
}

void HostCore::StartLEScan() {
  std::optional<Fault> fault;
  if (!Receive("StartLEScan", "", &fault)) return;
  Handle("StartLEScan", fault, base::BindOnce(&LeSim::StartScan, base::Unretained(&le_)));
}

void HostCore::StopLEScan() {
  std::optional<Fault> fault;
  if (!Receive("StopLEScan", "", &fault)) return;
  Handle("StopLEScan", fault, base::BindOnce(&LeSim::StopScan, base::Unretained(&le_)));
}

void HostCore::AddService(tev::mojom::BluetoothGattServiceIDPtr service_id, int32_t num_handles,
                          const AddServiceCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("AddService",
               "service=" + ServiceIdText(service_id) + " handles=" + std::to_string(num_handles),
               &fault)) {
    return;
  }
  const int32_t handle =
      Result(fault) ? *Result(fault) : gatt_server_.AddService(service_id, num_handles);
  Reply("AddService", fault, "handle=" + std::to_string(handle), Bound(callback, handle));
}

void HostCore::AddCharacteristic(int32_t service_handle, bluetooth::Uuid uuid, int32_t properties,
                                 int32_t permissions, const AddCharacteristicCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("AddCharacteristic",
               "service=" + std::to_string(service_handle) + " uuid=" + UuidText(uuid) +
                   " properties=" + std::to_string(properties) +
                   " permissions=" + std::to_string(permissions),
               &fault)) {
    return;
  }
  const int32_t handle = Result(fault) ? *Result(fault)
                                       : gatt_server_.AddCharacteristic(service_handle, uuid,
                                                                        properties, permissions);
  Reply("AddCharacteristic", fault, "handle=" + std::to_string(handle), Bound(callback, handle));
}

void HostCore::AddDescriptor(int32_t service_handle, bluetooth::Uuid uuid, int32_t permissions,
                             const AddDescriptorCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("AddDescriptor",
               "service=" + std::to_string(service_handle) + " uuid=" + UuidText(uuid) +
                   " permissions=" + std::to_string(permissions),
               &fault)) {
    return;
  }
  const int32_t handle = Result(fault) ? *Result(fault)
                                       : gatt_server_.AddDescriptor(service_handle, uuid, permissions);
  Reply("AddDescriptor", fault, "handle=" + std::to_string(handle), Bound(callback, handle));
}

void HostCore::StartService(int32_t service_handle, const StartServiceCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("StartService", "service=" + std::to_string(service_handle), &fault)) return;
  BluetoothGattStatus status = StatusOr(fault, BluetoothGattStatus::SUCCESS);
  if (!Result(fault)) {
    status = gatt_server_.StartService(service_handle);
    if (status == BluetoothGattStatus::SUCCESS) centrals_.OnServiceStarted();
  }
  Reply("StartService", fault, StatusText(status), Bound(callback, status));
}

void HostCore::StopService(int32_t service_handle, const StopServiceCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("StopService", "service=" + std::to_string(service_handle), &fault)) return;
  const BluetoothGattStatus status =
      Result(fault) ? StatusOr(fault, BluetoothGattStatus::SUCCESS) : gatt_server_.StopService(service_handle);
  Reply("StopService", fault, StatusText(status), Bound(callback, status));
}

void HostCore::DeleteService(int32_t service_handle, const DeleteServiceCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("DeleteService", "service=" + std::to_string(service_handle), &fault)) return;
  const BluetoothGattStatus status = Result(fault) ? StatusOr(fault, BluetoothGattStatus::SUCCESS)
                                                   : gatt_server_.DeleteService(service_handle);
  Reply("DeleteService", fault, StatusText(status), Bound(callback, status));
}

void HostCore::SendIndication(int32_t attribute_handle, tev::mojom::BluetoothAddressPtr addr,
                              bool confirm, const std::vector<uint8_t>& value,
                              const SendIndicationCallback& callback) {
  std::optional<Fault> fault;
  if (!Receive("SendIndication",
               "handle=" + std::to_string(attribute_handle) + " " + AddrText(addr) +
                   " confirm=" + (confirm ? "1" : "0") + " value=" + HexText(value),
               &fault)) {
    return;
  }
  const Address address = ToAddress(addr);
  BluetoothGattStatus status = StatusOr(fault, BluetoothGattStatus::SUCCESS);
  if (!Result(fault)) {
    // Peripherals linked to the host receive it as well as centrals do.
    status = centrals_.Indicate(address).value_or(le_.Connected(address) ? BluetoothGattStatus::SUCCESS
                                                                         : BluetoothGattStatus::FAILURE);
  }
  Reply("SendIndication", fault, StatusText(status), Bound(callback, status));
}

}  // namespace sim
}  // namespace tev
