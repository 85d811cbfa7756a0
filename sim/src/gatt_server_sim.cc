#include "gatt_server_sim.h"

namespace tev {
namespace sim {
namespace {

using tev::mojom::BluetoothGattStatus;
using Type = tev::mojom::BluetoothGattDBAttributeType;

}  // namespace

int32_t GattServerSim::AddService(const tev::mojom::BluetoothGattServiceIDPtr& service_id,
                                  int32_t num_handles) {
  // The pipe refuses null ids; guarded all the same, as any host would.
  if (service_id.is_null() || service_id->id.is_null()) return -1;
  std::optional<uint16_t> first = allocator_.Reserve(num_handles);
  if (!first) return -1;
  PublishedService& service = services_[*first];
  service.uuid = service_id->id->uuid;
  service.primary = service_id->is_primary;
  service.first = *first;
  service.count = num_handles;
  service.next = *first + 1;
  return *first;
}

PublishedService* GattServerSim::Find(int32_t service_handle) {
  auto it = services_.find(static_cast<uint16_t>(service_handle));
  return service_handle > 0 && service_handle <= 0xffff && it != services_.end() ? &it->second
                                                                                  : nullptr;
}

int32_t GattServerSim::NextHandle(int32_t service_handle, LocalAttribute attribute) {
  PublishedService* service = Find(service_handle);
  if (!service || service->next >= service->first + service->count) return -1;
  attribute.handle = static_cast<uint16_t>(service->next++);
  service->attributes.push_back(attribute);
  return attribute.handle;
}

int32_t GattServerSim::AddCharacteristic(int32_t service_handle, const bluetooth::Uuid& uuid,
                                         int32_t properties, int32_t permissions) {
  LocalAttribute attribute;
  attribute.type = Type::CHARACTERISTIC;
  attribute.uuid = uuid;
  attribute.properties = static_cast<uint8_t>(properties);
  attribute.permissions = static_cast<uint16_t>(permissions);
  attribute.charHandle = 0;
  const int32_t handle = NextHandle(service_handle, attribute);
  if (handle > 0) Find(service_handle)->attributes.back().charHandle = static_cast<uint16_t>(handle);
  return handle;
}

int32_t GattServerSim::AddDescriptor(int32_t service_handle, const bluetooth::Uuid& uuid,
                                     int32_t permissions) {
  PublishedService* service = Find(service_handle);
  LocalAttribute attribute;
  attribute.type = Type::DESCRIPTOR;
  attribute.uuid = uuid;
  attribute.permissions = static_cast<uint16_t>(permissions);
  // A descriptor belongs to the characteristic added last.
  if (service) {
    for (const LocalAttribute& a : service->attributes) {
      if (a.type == Type::CHARACTERISTIC) attribute.charHandle = a.handle;
    }
  }
  return NextHandle(service_handle, attribute);
}

BluetoothGattStatus GattServerSim::StartService(int32_t service_handle) {
  PublishedService* service = Find(service_handle);
  if (!service) return BluetoothGattStatus::FAILURE;
  service->started = true;
  ever_started_ = true;
  return BluetoothGattStatus::SUCCESS;
}

BluetoothGattStatus GattServerSim::StopService(int32_t service_handle) {
  PublishedService* service = Find(service_handle);
  if (!service) return BluetoothGattStatus::FAILURE;
  service->started = false;
  return BluetoothGattStatus::SUCCESS;
}

BluetoothGattStatus GattServerSim::DeleteService(int32_t service_handle) {
  if (!Find(service_handle)) return BluetoothGattStatus::FAILURE;
  allocator_.Release(static_cast<uint16_t>(service_handle));
  services_.erase(static_cast<uint16_t>(service_handle));
  return BluetoothGattStatus::SUCCESS;
}

std::vector<const PublishedService*> GattServerSim::Started() const {
  std::vector<const PublishedService*> started;
  for (const auto& [first, service] : services_) {
    if (service.started) started.push_back(&service);
  }
  return started;
}

void GattServerSim::Reset() {
  for (const auto& [first, service] : services_) allocator_.Release(first);
  services_.clear();
  ever_started_ = false;
}

}  // namespace sim
}  // namespace tev
