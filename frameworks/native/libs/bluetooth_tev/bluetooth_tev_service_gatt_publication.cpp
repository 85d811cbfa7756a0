// Publication of a local GATT service. The stack hands over the whole element list at once;
// the host builds a service step by step, each step answered with a handle of its choosing, so
// the chain below issues one host call per reply and writes each handle back into the list.
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {

struct GattServerBridge {
  using Service = android::sp<BluetoothTevService>;
  // Shared by every step of one chain; written on the IPC thread only.
  using Elements = std::shared_ptr<std::vector<btgatt_db_element_t>>;
  // StopService or DeleteService, and the slot that reports its outcome; both slots take
  // (status, server_if, service_handle).
  using ServiceRequest = void (tev::mojom::BluetoothHost::*)(
      int32_t, const tev::mojom::BluetoothHost::StopServiceCallback&);
  using ServiceStatusSlot = service_stopped_callback btgatt_server_callbacks_t::*;

  // IPC thread.
  static void createService(Service service, int serverIf, Elements elements) {
    DCHECK(service->onIpcThread());
    if (!service->mHost.is_bound()) return;
    const btgatt_db_element_t& first = elements->front();
    auto serviceId =
        tev::mojom::BluetoothGattServiceID::New(tev::mojom::BluetoothGattID::New(first.uuid, 0, 0),
                                                first.type == BTGATT_DB_PRIMARY_SERVICE);
    const auto count = static_cast<int32_t>(elements->size());
    service->mHost->AddService(
        std::move(serviceId), count,
        base::BindRepeating(&GattServerBridge::onServiceCreated, service, serverIf, elements));
  }

  // IPC thread.
  static void onServiceCreated(Service service, int serverIf, Elements elements,
                               int32_t serviceHandle) {
    DCHECK(service->onIpcThread());
    if (serviceHandle < 0) {
      LOG(ERROR) << "BluetoothTev: AddService failed";
      reportServiceAdded(service, serverIf, elements, 1);
      return;
    }
    btgatt_db_element_t& first = elements->front();
    first.attribute_handle = static_cast<uint16_t>(serviceHandle);
    first.start_handle = static_cast<uint16_t>(serviceHandle);
    addElement(std::move(service), serverIf, std::move(elements), serviceHandle, 1);
  }

  // IPC thread. Characteristics and descriptors go one at a time, each after the previous reply,
  // so the host attaches every descriptor to the characteristic added just before it.
  static void addElement(Service service, int serverIf, Elements elements, int32_t serviceHandle,
                         size_t index) {
    DCHECK(service->onIpcThread());
    // The host connection can be gone by the time a reply arrives: never call an unbound proxy.
    if (!service->mHost.is_bound()) return;
    while (index < elements->size() && elements->at(index).type != BTGATT_DB_CHARACTERISTIC &&
           elements->at(index).type != BTGATT_DB_DESCRIPTOR) {
      ++index;
    }
    if (index >= elements->size()) {
      service->mHost->StartService(
          serviceHandle, base::BindRepeating(&GattServerBridge::onServiceStarted, service, serverIf,
                                             elements, serviceHandle));
      return;
    }
    const btgatt_db_element_t& element = elements->at(index);
    auto onAdded = base::BindRepeating(&GattServerBridge::onElementAdded, service, serverIf,
                                       elements, serviceHandle, index);
    if (element.type == BTGATT_DB_DESCRIPTOR) {
      service->mHost->AddDescriptor(serviceHandle, element.uuid, element.permissions, onAdded);
    } else {
      service->mHost->AddCharacteristic(serviceHandle, element.uuid, element.properties,
                                        element.permissions, onAdded);
    }
  }

  // IPC thread.
  static void onElementAdded(Service service, int serverIf, Elements elements,
                             int32_t serviceHandle, size_t index, int32_t handle) {
    DCHECK(service->onIpcThread());
    // Going on after a refused attribute would attach later descriptors to the wrong
    // characteristic and report a broken service as published: give up and report failure.
    if (handle < 0) {
      reportServiceAdded(service, serverIf, elements, 1);
      return;
    }
    elements->at(index).attribute_handle = static_cast<uint16_t>(handle);
    addElement(std::move(service), serverIf, std::move(elements), serviceHandle, index + 1);
  }

  // IPC thread.
  static void onServiceStarted(Service service, int serverIf, Elements elements,
                               int32_t serviceHandle, tev::mojom::BluetoothGattStatus status) {
    DCHECK(service->onIpcThread());
    // Every element counts towards the range, the skipped ones too.
    const int64_t endHandle =
        static_cast<int64_t>(serviceHandle) + static_cast<int64_t>(elements->size()) - 1;
    elements->front().end_handle = static_cast<uint16_t>(endHandle);
    reportServiceAdded(service, serverIf, elements,
                       status == tev::mojom::BluetoothGattStatus::SUCCESS ? 0 : 1);
  }

  // IPC thread. The callback gets a copy of its own, so the chain's list is never shared
  // with the callback thread.
  static void reportServiceAdded(const Service& service, int serverIf, const Elements& elements,
                                 int status) {
    DCHECK(service->onIpcThread());
    const btgatt_server_callbacks_t* callbacks = service->gattServerCallbacks();
    if (!callbacks || !callbacks->service_added_cb) return;
    service->postCallback(
        [](const btgatt_server_callbacks_t* callbacks, int status, int serverIf,
           std::vector<btgatt_db_element_t> list) {
          callbacks->service_added_cb(status, serverIf, list.data(), list.size());
        },
        callbacks, status, serverIf, *elements);
  }

  // IPC thread.
  static void changeService(Service service, int serverIf, int serviceHandle,
                            ServiceRequest request, ServiceStatusSlot slot) {
    DCHECK(service->onIpcThread());
    if (!service->mHost.is_bound()) return;
    (service->mHost.get()->*request)(
        serviceHandle, base::BindRepeating(&GattServerBridge::onServiceChanged, service, serverIf,
                                           serviceHandle, slot));
  }

  // IPC thread.
  static void onServiceChanged(Service service, int serverIf, int serviceHandle,
                               ServiceStatusSlot slot, tev::mojom::BluetoothGattStatus status) {
    DCHECK(service->onIpcThread());
    const btgatt_server_callbacks_t* callbacks = service->gattServerCallbacks();
    if (!callbacks || !(callbacks->*slot)) return;
    const int result = status == tev::mojom::BluetoothGattStatus::SUCCESS ? 0 : 1;
    service->postCallback(callbacks->*slot, result, serverIf, serviceHandle);
  }
};

// Stack thread. The caller gives up its list; the chain owns it from here.
int BluetoothTevService::gattAddService(int server_if, std::vector<btgatt_db_element_t> service) {
  if (service.empty()) return BT_STATUS_PARM_INVALID;
  LOG(INFO) << "BluetoothTev: gattAddService elements=" << service.size();
  auto elements = std::make_shared<std::vector<btgatt_db_element_t>>(std::move(service));
  postToMojo(base::BindOnce(&GattServerBridge::createService,
                            android::sp<BluetoothTevService>(this), server_if,
                            std::move(elements)));
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::gattStopService(int server_if, int service_handle) {
  LOG(INFO) << "BluetoothTev: gattStopService handle=" << service_handle;
  postToMojo(base::BindOnce(&GattServerBridge::changeService,
                            android::sp<BluetoothTevService>(this), server_if, service_handle,
                            &tev::mojom::BluetoothHost::StopService,
                            &btgatt_server_callbacks_t::service_stopped_cb));
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::gattDeleteService(int server_if, int service_handle) {
  LOG(INFO) << "BluetoothTev: gattDeleteService handle=" << service_handle;
  postToMojo(base::BindOnce(&GattServerBridge::changeService,
                            android::sp<BluetoothTevService>(this), server_if, service_handle,
                            &tev::mojom::BluetoothHost::DeleteService,
                            &btgatt_server_callbacks_t::service_deleted_cb));
  return BT_STATUS_SUCCESS;
}

}  // namespace tev
