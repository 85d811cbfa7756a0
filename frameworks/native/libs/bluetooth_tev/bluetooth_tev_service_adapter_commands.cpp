// Adapter commands: each checks its arguments on the stack's thread, posts one host call to the
// IPC thread and returns at once. Only enable and disable hear back, as an adapter state.
#include <cstring>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

// The adapter properties a full query asks for; 6 and 9 to 12 are left out on purpose.
constexpr bt_property_type_t kQueriedAdapterProperties[] = {
    BT_PROPERTY_BDNAME,
    BT_PROPERTY_BDADDR,
    BT_PROPERTY_UUIDS,
    BT_PROPERTY_CLASS_OF_DEVICE,
    BT_PROPERTY_TYPE_OF_DEVICE,
    BT_PROPERTY_ADAPTER_SCAN_MODE,
    BT_PROPERTY_ADAPTER_BONDED_DEVICES,
    BT_PROPERTY_LOCAL_LE_FEATURES,
};

// The name is read up to its NUL, but never past the bt_bdname_t the value is meant to be.
std::string nameOf(const bt_property_t& property) {
  const auto* chars = static_cast<const char*>(property.val);
  return std::string(chars, strnlen(chars, sizeof(bt_bdname_t)));
}

// A 32-bit value needs four bytes behind the pointer; anything shorter would be read past its end.
bool holdsWord(const bt_property_t& property) {
  return property.val && property.len >= static_cast<int>(sizeof(uint32_t));
}

template <typename Word>
Word wordOf(const bt_property_t& property) {
  Word word;
  std::memcpy(&word, property.val, sizeof(word));
  return word;
}

}  // namespace

struct AdapterBridge {
  using Service = android::sp<BluetoothTevService>;
  // One host call; runs only while the host is bound.
  using HostCall = base::OnceCallback<void(BluetoothTevService*)>;

  // Any thread. `command` names the "host not ready" line; null drops the call silently.
  static void post(BluetoothTevService* service, const char* command, HostCall call) {
    service->postToMojo(
        base::BindOnce(&AdapterBridge::callHost, Service(service), command, std::move(call)));
  }

  // IPC thread.
  static void callHost(Service service, const char* command, HostCall call) {
    DCHECK(service->onIpcThread());
    if (!service->mHost.is_bound()) {
      if (command) LOG(ERROR) << "BluetoothTev: " << command << " - host not ready";
      return;
    }
    std::move(call).Run(service.get());
  }

  // IPC thread.
  static tev::mojom::BluetoothHost::EnableAdapterCallback stateReply(BluetoothTevService* service,
                                                                     const char* method) {
    DCHECK(service->onIpcThread());
    return base::BindRepeating(&AdapterBridge::onAdapterState, Service(service), method);
  }

  // IPC thread. Enable and disable share the mapping, so a disable answered "on" reports on.
  static void onAdapterState(Service service, const char* method,
                             tev::mojom::BluetoothAdapterState state) {
    DCHECK(service->onIpcThread());
    LOG(INFO) << "BluetoothTev: " << method << " result: " << static_cast<int>(state);
    const bt_state_t mapped =
        state == tev::mojom::BluetoothAdapterState::ON ? BT_STATE_ON : BT_STATE_OFF;
    bt_callbacks_t* table = service->callbacks();
    if (!table || !table->adapter_state_changed_cb) return;
    service->postCallback(
        [](bt_callbacks_t* table, bt_state_t state) { table->adapter_state_changed_cb(state); },
        table, mapped);
  }

  // Any thread.
  static void requestProperty(BluetoothTevService* service, bt_property_type_t type) {
    post(service, "getAdapterProperty",
         base::BindOnce(
             [](bt_property_type_t type, BluetoothTevService* service) {
               service->host()->GetAdapterProperty(
                   static_cast<tev::mojom::BluetoothPropertyType>(type));
             },
             type));
  }
};

// Stack thread.
int BluetoothTevService::enable() {
  LOG(INFO) << "BluetoothTev: enable";
  AdapterBridge::post(
      this, "enable", base::BindOnce([](BluetoothTevService* service) {
        service->host()->EnableAdapter(AdapterBridge::stateReply(service, "EnableAdapter"));
      }));
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::disable() {
  LOG(INFO) << "BluetoothTev: disable";
  AdapterBridge::post(
      this, "disable", base::BindOnce([](BluetoothTevService* service) {
        service->host()->DisableAdapter(AdapterBridge::stateReply(service, "DisableAdapter"));
      }));
  return BT_STATUS_SUCCESS;
}

// Stack thread. Each type is its own host request, answered by its own OnAdapterProperties.
int BluetoothTevService::getAdapterProperties() {
  LOG(INFO) << "BluetoothTev: getAdapterProperties";
  for (bt_property_type_t type : kQueriedAdapterProperties) {
    AdapterBridge::requestProperty(this, type);
  }
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::getAdapterProperty(bt_property_type_t type) {
  AdapterBridge::requestProperty(this, type);
  return BT_STATUS_SUCCESS;
}

// Stack thread. The new value comes back, if at all, as OnAdapterProperties.
int BluetoothTevService::setAdapterProperty(const bt_property_t* property) {
  if (!property) return BT_STATUS_PARM_INVALID;
  auto record = tev::mojom::BluetoothProperty::New();
  switch (property->type) {
    case BT_PROPERTY_BDNAME:
      if (!property->val) return BT_STATUS_PARM_INVALID;
      record->set_bdname(nameOf(*property));
      break;
    case BT_PROPERTY_ADAPTER_SCAN_MODE:
      if (!holdsWord(*property)) return BT_STATUS_PARM_INVALID;
      // The HAL's scan-mode numbering is the host's.
      record->set_adapter_scan_mode(
          static_cast<tev::mojom::BluetoothScanMode>(wordOf<int32_t>(*property)));
      break;
    case BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT:
      if (!holdsWord(*property)) return BT_STATUS_PARM_INVALID;
      record->set_discovery_timeout(wordOf<uint32_t>(*property));
      break;
    default:
      LOG(WARNING) << "BluetoothTev: setAdapterProperty unsupported type="
                   << static_cast<int>(property->type);
      return BT_STATUS_UNSUPPORTED;
  }
  AdapterBridge::post(
      this, nullptr,
      base::BindOnce(
          [](tev::mojom::BluetoothPropertyPtr record, BluetoothTevService* service) {
            service->host()->SetAdapterProperty(std::move(record));
          },
          std::move(record)));
  return BT_STATUS_SUCCESS;
}

// Stack thread. Remote properties reach the stack only when the host pushes them.
int BluetoothTevService::getRemoteDeviceProperties(RawAddress* /*addr*/) {
  LOG(INFO) << "BluetoothTev: getRemoteDeviceProperties (no-op)";
  return BT_STATUS_UNSUPPORTED;
}

// Stack thread.
int BluetoothTevService::getRemoteDeviceProperty(RawAddress* /*addr*/,
                                                 bt_property_type_t /*type*/) {
  LOG(INFO) << "BluetoothTev: getRemoteDeviceProperty (no-op)";
  return BT_STATUS_UNSUPPORTED;
}

// Stack thread.
int BluetoothTevService::startDiscovery() {
  LOG(INFO) << "BluetoothTev: startDiscovery";
  AdapterBridge::post(this, nullptr, base::BindOnce([](BluetoothTevService* service) {
                        service->host()->StartDiscovery();
                      }));
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::cancelDiscovery() {
  LOG(INFO) << "BluetoothTev: cancelDiscovery";
  AdapterBridge::post(this, nullptr, base::BindOnce([](BluetoothTevService* service) {
                        service->host()->CancelDiscovery();
                      }));
  return BT_STATUS_SUCCESS;
}

// Stack thread. The transport keeps the HAL's numbering (0 auto, 1 BR/EDR, 2 LE).
int BluetoothTevService::createBond(const RawAddress* addr, int transport) {
  if (!addr) return BT_STATUS_PARM_INVALID;
  LOG(INFO) << "BluetoothTev: createBond " << addr->ToString() << " transport=" << transport;
  AdapterBridge::post(this, nullptr,
                      base::BindOnce(
                          [](tev::mojom::BluetoothAddressPtr address, int32_t transport,
                             BluetoothTevService* service) {
                            service->host()->CreateBond(std::move(address), transport);
                          },
                          toMojoAddress(*addr), static_cast<int32_t>(transport)));
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::removeBond(const RawAddress* addr) {
  if (!addr) return BT_STATUS_PARM_INVALID;
  LOG(INFO) << "BluetoothTev: removeBond " << addr->ToString();
  AdapterBridge::post(
      this, nullptr,
      base::BindOnce(
          [](tev::mojom::BluetoothAddressPtr address, BluetoothTevService* service) {
            service->host()->RemoveBond(std::move(address));
          },
          toMojoAddress(*addr)));
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::cancelBond(const RawAddress* addr) {
  if (!addr) return BT_STATUS_PARM_INVALID;
  LOG(INFO) << "BluetoothTev: cancelBond " << addr->ToString();
  AdapterBridge::post(
      this, nullptr,
      base::BindOnce(
          [](tev::mojom::BluetoothAddressPtr address, BluetoothTevService* service) {
            service->host()->CancelBond(std::move(address));
          },
          toMojoAddress(*addr)));
  return BT_STATUS_SUCCESS;
}

// Stack thread. Link state is not bridged: always "not connected".
int BluetoothTevService::getConnectionState(const RawAddress* /*addr*/) { return 0; }

// Stack thread. Pairing dialogs are not bridged.
int BluetoothTevService::pinReply(const RawAddress* /*addr*/, uint8_t /*accept*/,
                                  uint8_t /*pin_len*/, bt_pin_code_t* /*pin_code*/) {
  LOG(INFO) << "BluetoothTev: pinReply (not implemented via Mojo)";
  return BT_STATUS_UNSUPPORTED;
}

// Stack thread.
int BluetoothTevService::sspReply(const RawAddress* /*addr*/, bt_ssp_variant_t /*variant*/,
                                  uint8_t /*accept*/, uint32_t /*passkey*/) {
  LOG(INFO) << "BluetoothTev: sspReply (not implemented via Mojo)";
  return BT_STATUS_UNSUPPORTED;
}

}  // namespace tev
