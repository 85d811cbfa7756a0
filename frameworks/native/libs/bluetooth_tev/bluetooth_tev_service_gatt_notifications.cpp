// GATT client notifications, remote RSSI, MTU and service change, and the client calls the
// host cannot carry, answered here with fixed results.
#include <algorithm>
#include <mutex>
#include <utility>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

// The MTU the stack is told for every request: the host negotiates its own.
constexpr int kFixedMtu = 512;
// PHY 1 is LE 1M.
constexpr uint8_t kLe1mPhy = 1;

// IPC thread. The host's answer carries no status: the stack is told success.
void onRssiRead(const android::sp<BluetoothTevService>& service, const RawAddress& addr,
                int client_if, int32_t rssi) {
  const btgatt_client_callbacks_t* callbacks = service->gattClientCallbacks();
  if (!callbacks || !callbacks->read_remote_rssi_cb) return;
  service->postCallback(
      [](const btgatt_client_callbacks_t* callbacks, int client_if, const RawAddress& addr,
         int rssi) { callbacks->read_remote_rssi_cb(client_if, addr, rssi, 0); },
      callbacks, client_if, addr, static_cast<int>(rssi));
}

}  // namespace

// Stack thread. No registry is consulted: the device need not be connected.
int BluetoothTevService::gattReadRemoteRssi(int client_if, const RawAddress& addr) {
  LOG(INFO) << "BluetoothTev: gattReadRemoteRssi";
  postToMojo(base::BindOnce(
      [](const android::sp<BluetoothTevService>& service, tev::mojom::BluetoothAddressPtr address,
         const RawAddress& addr, int client_if) {
        DCHECK(service->onIpcThread());
        if (!service->mHost.is_bound()) return;
        service->mHost->ReadRemoteRssi(std::move(address),
                                       base::BindRepeating(&onRssiRead, service, addr, client_if));
      },
      android::sp<BluetoothTevService>(this), toMojoAddress(addr), addr, client_if));
  return BT_STATUS_SUCCESS;
}

// Stack thread. The requested MTU is only logged; the host is not asked.
int BluetoothTevService::gattConfigureMtu(int conn_id, int mtu) {
  LOG(INFO) << "BluetoothTev: gattConfigureMtu conn_id=" << conn_id << " mtu=" << mtu;
  // Posted even without a table: the captured table and its slot are tested when it runs.
  postCallback(
      [](const btgatt_client_callbacks_t* callbacks, int conn_id) {
        if (callbacks && callbacks->configure_mtu_cb) {
          callbacks->configure_mtu_cb(conn_id, 0, kFixedMtu);
        }
      },
      gattClientCallbacks(), conn_id);
  return BT_STATUS_SUCCESS;
}

// IPC thread. Values are cut, silently, to what the record holds.
void BluetoothTevService::OnGattNotify(tev::mojom::BluetoothAddressPtr addr,
                                       tev::mojom::BluetoothGattServiceIDPtr /*service_id*/,
                                       tev::mojom::BluetoothGattIDPtr char_id, bool is_notify,
                                       const std::vector<uint8_t>& value) {
  DCHECK(onIpcThread());
  const btgatt_client_callbacks_t* callbacks = gattClientCallbacks();
  if (!callbacks || !callbacks->notify_cb) return;
  // Never null on the wire; without an attribute there is no handle to report.
  if (!char_id) return;
  const RawAddress address = toRawAddress(addr);
  int connId = 0;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    const auto connection = mAddressToConnId.find(address);
    if (connection == mAddressToConnId.end()) return;
    connId = connection->second;
  }
  btgatt_notify_params_t params{};
  params.bda = address;
  params.handle = char_id->handle;
  params.is_notify = is_notify ? 1 : 0;
  const size_t length = std::min(value.size(), sizeof(params.value));
  std::copy_n(value.begin(), length, params.value);
  params.len = static_cast<uint16_t>(length);
  // The task holds its own copy of the record: one heap block per notification.
  postCallback([](const btgatt_client_callbacks_t* callbacks, int conn_id,
                  const btgatt_notify_params_t& params) { callbacks->notify_cb(conn_id, params); },
               callbacks, connId, params);
}

// IPC thread. The cache goes even when the device is not connected, so the next discovery asks
// the host again.
void BluetoothTevService::OnServiceChanged(tev::mojom::BluetoothAddressPtr addr) {
  DCHECK(onIpcThread());
  const RawAddress address = toRawAddress(addr);
  LOG(INFO) << "BluetoothTev: OnServiceChanged addr=" << address.ToString();
  int connId = 0;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    mGattDbCache.erase(address);
    const auto connection = mAddressToConnId.find(address);
    if (connection == mAddressToConnId.end()) return;
    connId = connection->second;
  }
  const btgatt_client_callbacks_t* callbacks = gattClientCallbacks();
  if (!callbacks || !callbacks->services_removed_cb) return;
  // The whole handle range, so that the stack discovers everything again.
  postCallback([](const btgatt_client_callbacks_t* callbacks,
                  int conn_id) { callbacks->services_removed_cb(conn_id, 0x0001, 0xFFFF); },
               callbacks, connId);
}

// IPC thread. Both sides of the connection are told, the client first.
void BluetoothTevService::OnMTUReceived(tev::mojom::BluetoothAddressPtr addr, uint16_t mtu) {
  DCHECK(onIpcThread());
  const RawAddress address = toRawAddress(addr);
  LOG(INFO) << "BluetoothTev: OnMTUReceived addr=" << address.ToString() << " mtu=" << mtu;
  int connId = 0;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    const auto connection = mAddressToConnId.find(address);
    if (connection == mAddressToConnId.end()) return;
    connId = connection->second;
  }
  const btgatt_client_callbacks_t* client = gattClientCallbacks();
  if (client && client->configure_mtu_cb) {
    postCallback([](const btgatt_client_callbacks_t* client, int conn_id,
                    int mtu) { client->configure_mtu_cb(conn_id, 0, mtu); },
                 client, connId, static_cast<int>(mtu));
  }
  const btgatt_server_callbacks_t* server = gattServerCallbacks();
  if (server && server->mtu_changed_cb) {
    postCallback([](const btgatt_server_callbacks_t* server, int conn_id,
                    int mtu) { server->mtu_changed_cb(conn_id, mtu); },
                 server, connId, static_cast<int>(mtu));
  }
}

int BluetoothTevService::gattGetDeviceType(const RawAddress& /*addr*/) {
  return BT_DEVICE_DEVTYPE_BLE;
}

int BluetoothTevService::gattConnParameterUpdate(const RawAddress& /*addr*/, int /*min_interval*/,
                                                 int /*max_interval*/, int /*latency*/,
                                                 int /*timeout*/, uint16_t /*min_ce_len*/,
                                                 uint16_t /*max_ce_len*/) {
  return BT_STATUS_SUCCESS;
}

int BluetoothTevService::gattSetPreferredPhy(const RawAddress& /*addr*/, uint8_t /*tx_phy*/,
                                             uint8_t /*rx_phy*/, uint16_t /*phy_options*/) {
  return BT_STATUS_SUCCESS;
}

// Caller's thread: the answer runs before the call returns.
int BluetoothTevService::gattReadPhy(const RawAddress& /*addr*/, ReadPhyCallback cb) {
  if (cb) cb.Run(kLe1mPhy, kLe1mPhy, 0);
  return BT_STATUS_SUCCESS;
}

int BluetoothTevService::gattTestCommand(int /*command*/, const btgatt_test_params_t& /*params*/) {
  return BT_STATUS_UNSUPPORTED;
}

// Discovery always covers every service, so a discovery by UUID has nothing to add.
int BluetoothTevService::gattDiscoverServiceByUuid(int /*conn_id*/,
                                                   const bluetooth::Uuid& /*uuid*/) {
  return BT_STATUS_SUCCESS;
}

}  // namespace tev
