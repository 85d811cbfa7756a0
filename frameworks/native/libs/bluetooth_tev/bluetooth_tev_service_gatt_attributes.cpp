// The GATT client operations that name a remote attribute by its handle: characteristic and
// descriptor reads and writes, prepared-write execution, and notification subscriptions. Each
// handle is resolved through the device's cached database into the host's ids.
#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

// The stack's prepared-write type: the host queues the value until ExecuteWrite.
constexpr int kWriteTypePrepare = 3;

}  // namespace

struct GattAttributeBridge {
  using Entry = BluetoothTevService::GattDbEntry;
  using ServiceRef = android::sp<BluetoothTevService>;

  enum class Resolution { kResolved, kUnknownConnection, kNotCached, kUnresolved };

  // An attribute and the entries it hangs off, copied out of the cache.
  struct Target {
    RawAddress address;
    int connId = 0;
    Entry service{};
    Entry characteristic{};
    Entry descriptor{};
  };

  // The host's names for one attribute, owned by the task that sends them.
  struct HostIds {
    tev::mojom::BluetoothAddressPtr address;
    tev::mojom::BluetoothGattServiceIDPtr serviceId;
    tev::mojom::BluetoothGattIDPtr charId;
    tev::mojom::BluetoothGattIDPtr descId;
  };

  // Stack thread. The whole lookup, and the copy of the entries, runs under mGattMutex: the IPC
  // thread may replace the device's list at any moment, which would leave a found entry dangling.
  static Resolution resolve(BluetoothTevService* service, int conn_id, uint16_t handle,
                            bool descriptor, Target* target) {
    std::lock_guard<std::mutex> lock(service->mGattMutex);
    const auto connection = service->mConnIdToAddress.find(conn_id);
    if (connection == service->mConnIdToAddress.end()) return Resolution::kUnknownConnection;
    target->address = connection->second;
    target->connId = conn_id;
    const Entry* attribute = service->lookupGattEntry(target->address, handle);
    if (!attribute) return Resolution::kNotCached;
    const bool linked = descriptor ? linkDescriptor(*service, *attribute, target)
                                   : linkCharacteristic(*service, *attribute, target);
    return linked ? Resolution::kResolved : Resolution::kUnresolved;
  }

  // Stack thread; same locking as resolve(). An address without a connection id still resolves,
  // with connection id 0.
  static bool resolveByAddress(BluetoothTevService* service, const RawAddress& address,
                               uint16_t handle, Target* target) {
    std::lock_guard<std::mutex> lock(service->mGattMutex);
    target->address = address;
    const Entry* attribute = service->lookupGattEntry(address, handle);
    if (!attribute || !linkCharacteristic(*service, *attribute, target)) return false;
    const auto connection = service->mAddressToConnId.find(address);
    target->connId = connection == service->mAddressToConnId.end() ? 0 : connection->second;
    return true;
  }

  // Caller holds mGattMutex. The attribute's type is not checked: any entry serves.
  static bool linkCharacteristic(const BluetoothTevService& service, const Entry& attribute,
                                 Target* target) {
    const Entry* owner = service.lookupGattEntry(target->address, attribute.serviceHandle);
    if (!owner) return false;
    target->service = *owner;
    target->characteristic = attribute;
    return true;
  }

  // Caller holds mGattMutex. The service is the descriptor's own, not its characteristic's.
  static bool linkDescriptor(const BluetoothTevService& service, const Entry& attribute,
                             Target* target) {
    if (attribute.type != BTGATT_DB_DESCRIPTOR) return false;
    const Entry* characteristic = service.lookupGattEntry(target->address, attribute.charHandle);
    const Entry* owner = service.lookupGattEntry(target->address, attribute.serviceHandle);
    if (!characteristic || !owner) return false;
    target->service = *owner;
    target->characteristic = *characteristic;
    target->descriptor = attribute;
    return true;
  }

  static HostIds hostIds(const Target& target, bool descriptor) {
    HostIds ids;
    ids.address = BluetoothTevService::toMojoAddress(target.address);
    ids.serviceId = BluetoothTevService::buildServiceId(target.service);
    ids.charId = BluetoothTevService::buildGattId(target.characteristic);
    if (descriptor) ids.descId = BluetoothTevService::buildGattId(target.descriptor);
    return ids;
  }

  // IPC thread. A descriptor id makes it a descriptor read.
  static void read(const ServiceRef& service, HostIds ids, int conn_id, uint16_t handle) {
    DCHECK(service->onIpcThread());
    if (!service->mHost.is_bound()) return;
    const bool descriptor = !ids.descId.is_null();
    auto reply =
        base::BindRepeating(&GattAttributeBridge::onRead, service, conn_id, handle, descriptor);
    if (descriptor) {
      service->mHost->ReadGattDescriptor(std::move(ids.address), std::move(ids.serviceId),
                                         std::move(ids.charId), std::move(ids.descId), reply);
    } else {
      service->mHost->ReadGattCharacteristic(std::move(ids.address), std::move(ids.serviceId),
                                             std::move(ids.charId), reply);
    }
  }

  // IPC thread. A descriptor id makes it a descriptor write, which cannot be prepared.
  static void write(const ServiceRef& service, HostIds ids, tev::mojom::BluetoothGattValuePtr value,
                    bool prepare, int conn_id, uint16_t handle) {
    DCHECK(service->onIpcThread());
    if (!service->mHost.is_bound()) return;
    const bool descriptor = !ids.descId.is_null();
    auto reply =
        base::BindRepeating(&GattAttributeBridge::onWritten, service, conn_id, handle, descriptor);
    if (descriptor) {
      service->mHost->WriteGattDescriptor(std::move(ids.address), std::move(ids.serviceId),
                                          std::move(ids.charId), std::move(ids.descId),
                                          std::move(value), reply);
    } else {
      service->mHost->WriteGattCharacteristic(std::move(ids.address), std::move(ids.serviceId),
                                              std::move(ids.charId), std::move(value), prepare,
                                              reply);
    }
  }

  // IPC thread.
  static void executeWrite(const ServiceRef& service, tev::mojom::BluetoothAddressPtr address,
                           bool execute, int conn_id) {
    DCHECK(service->onIpcThread());
    if (!service->mHost.is_bound()) return;
    service->mHost->ExecuteWrite(
        std::move(address), execute,
        base::BindRepeating(&GattAttributeBridge::onExecuted, service, conn_id));
  }

  // IPC thread.
  static void subscribe(const ServiceRef& service, HostIds ids, bool enable, int conn_id,
                        uint16_t handle) {
    DCHECK(service->onIpcThread());
    if (!service->mHost.is_bound()) return;
    auto reply =
        base::BindRepeating(&GattAttributeBridge::onSubscribed, service, conn_id, handle, enable);
    if (enable) {
      service->mHost->RegisterForGattNotification(std::move(ids.address), std::move(ids.serviceId),
                                                  std::move(ids.charId), reply);
    } else {
      service->mHost->DeregisterForGattNotification(
          std::move(ids.address), std::move(ids.serviceId), std::move(ids.charId), reply);
    }
  }

  // IPC thread. The value is cut to what the record holds; the status keeps its low 8 bits.
  static void onRead(const ServiceRef& service, int conn_id, uint16_t handle, bool descriptor,
                     tev::mojom::BluetoothGattValuePtr reply) {
    const btgatt_client_callbacks_t* callbacks = service->gattClientCallbacks();
    if (!callbacks || !(descriptor ? callbacks->read_descriptor_cb != nullptr
                                   : callbacks->read_characteristic_cb != nullptr)) {
      return;
    }
    auto params = std::make_shared<btgatt_read_params_t>();
    params->handle = handle;
    // Never null on the wire; a null record reads as an empty successful value.
    if (reply) {
      const size_t length = std::min(reply->value.size(), sizeof(params->value.value));
      std::copy_n(reply->value.begin(), length, params->value.value);
      params->value.len = static_cast<uint16_t>(length);
      params->status = static_cast<uint8_t>(reply->status);
    }
    service->postCallback(
        [](const btgatt_client_callbacks_t* callbacks, int conn_id, bool descriptor,
           std::shared_ptr<btgatt_read_params_t> params) {
          if (descriptor) {
            callbacks->read_descriptor_cb(conn_id, params->status, *params);
          } else {
            callbacks->read_characteristic_cb(conn_id, params->status, params.get());
          }
        },
        callbacks, conn_id, descriptor, std::move(params));
  }

  // IPC thread. The written bytes are not echoed back.
  static void onWritten(const ServiceRef& service, int conn_id, uint16_t handle, bool descriptor,
                        tev::mojom::BluetoothGattStatus status) {
    const btgatt_client_callbacks_t* callbacks = service->gattClientCallbacks();
    if (!callbacks || !(descriptor ? callbacks->write_descriptor_cb != nullptr
                                   : callbacks->write_characteristic_cb != nullptr)) {
      return;
    }
    service->postCallback(
        [](const btgatt_client_callbacks_t* callbacks, int conn_id, uint16_t handle,
           bool descriptor, int status) {
          auto written =
              descriptor ? callbacks->write_descriptor_cb : callbacks->write_characteristic_cb;
          written(conn_id, status, handle, 0, nullptr);
        },
        callbacks, conn_id, handle, descriptor, static_cast<int>(status));
  }

  // IPC thread.
  static void onExecuted(const ServiceRef& service, int conn_id,
                         tev::mojom::BluetoothGattStatus status) {
    const btgatt_client_callbacks_t* callbacks = service->gattClientCallbacks();
    if (!callbacks || !callbacks->execute_write_cb) return;
    service->postCallback([](const btgatt_client_callbacks_t* callbacks, int conn_id,
                             int status) { callbacks->execute_write_cb(conn_id, status); },
                          callbacks, conn_id, static_cast<int>(status));
  }

  // IPC thread. A deregistration reports "not registered" whatever the host answered.
  static void onSubscribed(const ServiceRef& service, int conn_id, uint16_t handle, bool enable,
                           tev::mojom::BluetoothGattStatus status) {
    const btgatt_client_callbacks_t* callbacks = service->gattClientCallbacks();
    if (!callbacks || !callbacks->register_for_notification_cb) return;
    const bool registered = enable && status == tev::mojom::BluetoothGattStatus::SUCCESS;
    service->postCallback(
        [](const btgatt_client_callbacks_t* callbacks, int conn_id, int registered, int status,
           uint16_t handle) {
          callbacks->register_for_notification_cb(conn_id, registered, status, handle);
        },
        callbacks, conn_id, registered ? 1 : 0, static_cast<int>(status), handle);
  }

  // Stack thread.
  static Resolution postRead(BluetoothTevService* service, int conn_id, uint16_t handle,
                             bool descriptor) {
    Target target;
    const Resolution resolution = resolve(service, conn_id, handle, descriptor, &target);
    if (resolution != Resolution::kResolved) return resolution;
    service->postToMojo(base::BindOnce(&GattAttributeBridge::read, ServiceRef(service),
                                       hostIds(target, descriptor), conn_id, handle));
    return resolution;
  }

  // Stack thread.
  static int postWrite(BluetoothTevService* service, int conn_id, uint16_t handle, bool descriptor,
                       std::vector<uint8_t> bytes, bool prepare) {
    Target target;
    if (resolve(service, conn_id, handle, descriptor, &target) != Resolution::kResolved) {
      return BT_STATUS_FAIL;
    }
    auto value = tev::mojom::BluetoothGattValue::New(tev::mojom::BluetoothGattStatus::SUCCESS,
                                                     std::move(bytes));
    service->postToMojo(base::BindOnce(&GattAttributeBridge::write, ServiceRef(service),
                                       hostIds(target, descriptor), std::move(value), prepare,
                                       conn_id, handle));
    return BT_STATUS_SUCCESS;
  }

  // Stack thread. Shared by both subscription calls.
  static int postSubscription(BluetoothTevService* service, const RawAddress& addr, uint16_t handle,
                              bool enable) {
    Target target;
    if (!resolveByAddress(service, addr, handle, &target)) return BT_STATUS_FAIL;
    service->postToMojo(base::BindOnce(&GattAttributeBridge::subscribe, ServiceRef(service),
                                       hostIds(target, false), enable, target.connId, handle));
    return BT_STATUS_SUCCESS;
  }
};

// Stack thread.
int BluetoothTevService::gattReadCharacteristic(int conn_id, uint16_t handle, int /*auth_req*/) {
  using Resolution = GattAttributeBridge::Resolution;
  const Resolution resolution = GattAttributeBridge::postRead(this, conn_id, handle, false);
  if (resolution == Resolution::kNotCached) {
    LOG(ERROR) << "BluetoothTev: gattReadCharacteristic handle " << handle << " not found in DB";
  }
  return resolution == Resolution::kResolved ? BT_STATUS_SUCCESS : BT_STATUS_FAIL;
}

// Stack thread.
int BluetoothTevService::gattWriteCharacteristic(int conn_id, uint16_t handle, int write_type,
                                                 int /*auth_req*/, std::vector<uint8_t> value) {
  return GattAttributeBridge::postWrite(this, conn_id, handle, false, std::move(value),
                                        write_type == kWriteTypePrepare);
}

// Stack thread.
int BluetoothTevService::gattReadDescriptor(int conn_id, uint16_t handle, int /*auth_req*/) {
  return GattAttributeBridge::postRead(this, conn_id, handle, true) ==
                 GattAttributeBridge::Resolution::kResolved
             ? BT_STATUS_SUCCESS
             : BT_STATUS_FAIL;
}

// Stack thread.
int BluetoothTevService::gattWriteDescriptor(int conn_id, uint16_t handle, int /*auth_req*/,
                                             std::vector<uint8_t> value) {
  return GattAttributeBridge::postWrite(this, conn_id, handle, true, std::move(value), false);
}

// Stack thread.
int BluetoothTevService::gattExecuteWrite(int conn_id, int execute) {
  RawAddress address;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    const auto connection = mConnIdToAddress.find(conn_id);
    if (connection == mConnIdToAddress.end()) return BT_STATUS_FAIL;
    address = connection->second;
  }
  postToMojo(base::BindOnce(&GattAttributeBridge::executeWrite,
                            GattAttributeBridge::ServiceRef(this), toMojoAddress(address),
                            execute != 0, conn_id));
  return BT_STATUS_SUCCESS;
}

int BluetoothTevService::gattReadUsingCharUuid(int /*conn_id*/, const bluetooth::Uuid& /*uuid*/,
                                               uint16_t /*s_handle*/, uint16_t /*e_handle*/,
                                               int /*auth_req*/) {
  return BT_STATUS_UNSUPPORTED;
}

// Stack thread.
int BluetoothTevService::gattRegisterForNotification(int /*client_if*/, const RawAddress& addr,
                                                     uint16_t handle) {
  LOG(INFO) << "BluetoothTev: gattRegisterForNotification handle=" << handle;
  return GattAttributeBridge::postSubscription(this, addr, handle, true);
}

// Stack thread.
int BluetoothTevService::gattDeregisterForNotification(int /*client_if*/, const RawAddress& addr,
                                                       uint16_t handle) {
  LOG(INFO) << "BluetoothTev: gattDeregisterForNotification handle=" << handle;
  return GattAttributeBridge::postSubscription(this, addr, handle, false);
}

}  // namespace tev
