// GATT server applications and their LE links. The host has no notion of a server
// application, so server ids are handed out here and links are asked for by address only.
#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {

// Stack thread.
int BluetoothTevService::gattRegisterServer(const bluetooth::Uuid& app_uuid) {
  int serverIf = 0;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    serverIf = mNextServerIf++;
    mServerUuids[serverIf] = app_uuid;
  }
  LOG(INFO) << "BluetoothTev: gattRegisterServer if=" << serverIf;
  // Always posted: the slot is tested when the task runs.
  const btgatt_server_callbacks_t* server = gattServerCallbacks();
  postCallback(
      [](const btgatt_server_callbacks_t* callbacks, int serverIf, bluetooth::Uuid uuid) {
        if (callbacks && callbacks->register_server_cb) {
          callbacks->register_server_cb(BT_STATUS_SUCCESS, serverIf, uuid);
        }
      },
      server, serverIf, app_uuid);
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::gattUnregisterServer(int server_if) {
  LOG(INFO) << "BluetoothTev: gattUnregisterServer if=" << server_if;
  std::lock_guard<std::mutex> lock(mGattMutex);
  mServerUuids.erase(server_if);
  return BT_STATUS_SUCCESS;
}

// Stack thread. The outcome comes back as the host's LE connection event.
int BluetoothTevService::gattServerConnect(int /*server_if*/, const RawAddress& addr,
                                           bool /*is_direct*/, int /*transport*/) {
  LOG(INFO) << "BluetoothTev: gattServerConnect";
  postAddressCall(addr, &tev::mojom::BluetoothHost::ConnectLEDevice);
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::gattServerDisconnect(int /*server_if*/, const RawAddress& addr,
                                              int /*conn_id*/) {
  LOG(INFO) << "BluetoothTev: gattServerDisconnect";
  postAddressCall(addr, &tev::mojom::BluetoothHost::DisconnectLEDevice);
  return BT_STATUS_SUCCESS;
}

}  // namespace tev
