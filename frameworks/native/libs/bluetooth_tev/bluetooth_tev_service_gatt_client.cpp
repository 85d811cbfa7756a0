// GATT client registration and LE connections: client ids, connection ids and the registries
// that tie a device address to both.
#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

// The client a connection's callbacks go to when no gattConnect named one.
constexpr int kDefaultClientIf = 1;
// connection_cb always names this server interface, whatever servers are registered.
constexpr int kConnectionServerIf = 1;

// IPC thread. The client callback (open_cb or close_cb) first, then the server's connection_cb.
void notifyConnection(BluetoothTevService* service, int connId, int clientIf,
                      const RawAddress& addr, bool connected) {
  const btgatt_client_callbacks_t* client = service->gattClientCallbacks();
  if (client && (connected ? client->open_cb : client->close_cb)) {
    service->postCallback(
        [](const btgatt_client_callbacks_t* client, bool connected, int connId, int clientIf,
           RawAddress addr) {
          (connected ? client->open_cb : client->close_cb)(connId, 0, clientIf, addr);
        },
        client, connected, connId, clientIf, addr);
  }
  const btgatt_server_callbacks_t* server = service->gattServerCallbacks();
  if (server && server->connection_cb) {
    service->postCallback(
        [](const btgatt_server_callbacks_t* server, int connId, int connected, RawAddress addr) {
          server->connection_cb(connId, kConnectionServerIf, connected, addr);
        },
        server, connId, connected ? 1 : 0, addr);
  }
}

}  // namespace

// Stack thread.
int BluetoothTevService::initGatt(const btgatt_callbacks_t* callbacks) {
  LOG(INFO) << "BluetoothTev: initGatt";
  if (!callbacks) return BT_STATUS_PARM_INVALID;
  mGattClientCallbacks = callbacks->client;
  mGattServerCallbacks = callbacks->server;
  mGattScannerCallbacks = callbacks->scanner;
  return BT_STATUS_SUCCESS;
}

// Stack thread. Ids handed out so far stay used: the counters keep their values.
void BluetoothTevService::cleanupGatt() {
  LOG(INFO) << "BluetoothTev: cleanupGatt";
  std::map<int, ReadReply> droppedReads;
  std::map<int, StatusReply> droppedWrites;
  std::map<int, StatusReply> droppedExecuteWrites;
  std::lock_guard<std::mutex> lock(mGattMutex);
  mGattClientCallbacks = nullptr;
  mGattServerCallbacks = nullptr;
  mGattScannerCallbacks = nullptr;
  mClientUuids.clear();
  mServerUuids.clear();
  mConnIdToAddress.clear();
  mAddressToConnId.clear();
  mConnIdToClientIf.clear();
  mGattDbCache.clear();
  // The host's replies waiting here are dropped unrun, after the lock is released.
  droppedReads.swap(mPendingReads);
  droppedWrites.swap(mPendingWrites);
  droppedExecuteWrites.swap(mPendingExecuteWrites);
}

// Stack thread.
int BluetoothTevService::gattRegisterClient(const bluetooth::Uuid& app_uuid) {
  int clientIf;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    clientIf = mNextClientIf++;
    mClientUuids[clientIf] = app_uuid;
  }
  LOG(INFO) << "BluetoothTev: gattRegisterClient if=" << clientIf;
  // Posted even without a table: the slot is tested when the task runs.
  const btgatt_client_callbacks_t* client = gattClientCallbacks();
  postCallback(
      [](const btgatt_client_callbacks_t* client, int clientIf, bluetooth::Uuid uuid) {
        if (client && client->register_client_cb) client->register_client_cb(0, clientIf, uuid);
      },
      client, clientIf, app_uuid);
  return BT_STATUS_SUCCESS;
}

// Stack thread. Connections made for this client keep naming it.
int BluetoothTevService::gattUnregisterClient(int client_if) {
  LOG(INFO) << "BluetoothTev: gattUnregisterClient if=" << client_if;
  std::lock_guard<std::mutex> lock(mGattMutex);
  mClientUuids.erase(client_if);
  return BT_STATUS_SUCCESS;
}

// Stack thread. Only the client and the address matter to the host.
int BluetoothTevService::gattConnect(int client_if, const RawAddress& addr, bool /*is_direct*/,
                                     int /*transport*/, bool /*opportunistic*/,
                                     int /*initiating_phys*/) {
  LOG(INFO) << "BluetoothTev: gattConnect if=" << client_if << " addr=" << addr.ToString();
  postAddressCall(addr, &tev::mojom::BluetoothHost::ConnectLEDevice);
  std::lock_guard<std::mutex> lock(mGattMutex);
  // A device not yet connected gets its id from the connection event, for the default client.
  auto known = mAddressToConnId.find(addr);
  if (known != mAddressToConnId.end()) mConnIdToClientIf[known->second] = client_if;
  return BT_STATUS_SUCCESS;
}

// Stack thread. The registries are cleared by the host's disconnection event.
int BluetoothTevService::gattDisconnect(int client_if, const RawAddress& addr, int conn_id) {
  LOG(INFO) << "BluetoothTev: gattDisconnect if=" << client_if << " conn_id=" << conn_id;
  postAddressCall(addr, &tev::mojom::BluetoothHost::DisconnectLEDevice);
  return BT_STATUS_SUCCESS;
}

// Stack thread. The next discovery asks the host again.
int BluetoothTevService::gattRefresh(int /*client_if*/, const RawAddress& addr) {
  LOG(INFO) << "BluetoothTev: gattRefresh";
  std::lock_guard<std::mutex> lock(mGattMutex);
  mGattDbCache.erase(addr);
  return BT_STATUS_SUCCESS;
}

// Any thread.
int BluetoothTevService::getOrCreateConnId(const RawAddress& addr, int client_if) {
  std::lock_guard<std::mutex> lock(mGattMutex);
  auto known = mAddressToConnId.find(addr);
  if (known != mAddressToConnId.end()) return known->second;
  const int connId = mNextConnId++;
  mConnIdToAddress[connId] = addr;
  mAddressToConnId[addr] = connId;
  mConnIdToClientIf[connId] = client_if;
  return connId;
}

// IPC thread.
void BluetoothTevService::OnLEConnectionStateChange(tev::mojom::BluetoothAddressPtr addr,
                                                    bool connected) {
  DCHECK(onIpcThread());
  const RawAddress address = toRawAddress(addr);
  LOG(INFO) << "BluetoothTev: OnLEConnectionStateChange addr=" << address.ToString()
            << " connected=" << (connected ? 1 : 0);
  int connId = 0;
  int clientIf = kDefaultClientIf;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    auto known = mAddressToConnId.find(address);
    if (connected) {
      // A repeated connection event keeps the id the device already has.
      if (known != mAddressToConnId.end()) {
        connId = known->second;
      } else {
        connId = mNextConnId++;
        mConnIdToAddress[connId] = address;
        mAddressToConnId[address] = connId;
      }
    } else if (known != mAddressToConnId.end()) {
      connId = known->second;
      mConnIdToAddress.erase(connId);
      mAddressToConnId.erase(known);
    }
    auto client = mConnIdToClientIf.find(connId);
    if (client != mConnIdToClientIf.end()) {
      clientIf = client->second;
      if (!connected) mConnIdToClientIf.erase(client);
    }
    // Whatever was cached may no longer match the device; an unknown address is cleared too.
    if (!connected) mGattDbCache.erase(address);
  }
  // Nothing to report for a device that never had a connection id.
  if (connId < 1) return;
  notifyConnection(this, connId, clientIf, address, connected);
}

// IPC thread. The stack keeps using the same connection id under the new address.
void BluetoothTevService::OnLEDeviceAddressChange(tev::mojom::BluetoothAddressPtr old_addr,
                                                  tev::mojom::BluetoothAddressPtr new_addr) {
  DCHECK(onIpcThread());
  const RawAddress oldAddress = toRawAddress(old_addr);
  const RawAddress newAddress = toRawAddress(new_addr);
  LOG(INFO) << "BluetoothTev: OnLEDeviceAddressChange " << oldAddress.ToString() << " -> "
            << newAddress.ToString();
  std::lock_guard<std::mutex> lock(mGattMutex);
  auto known = mAddressToConnId.find(oldAddress);
  if (known != mAddressToConnId.end()) {
    const int connId = known->second;
    mAddressToConnId.erase(known);
    mAddressToConnId[newAddress] = connId;
    mConnIdToAddress[connId] = newAddress;
  }
  // The list moves to the new address and the old address's entry goes, so a change onto the
  // same address leaves the device without a list: its next discovery asks the host again.
  auto cached = mGattDbCache.find(oldAddress);
  if (cached == mGattDbCache.end()) return;
  if (oldAddress != newAddress) mGattDbCache[newAddress] = std::move(cached->second);
  mGattDbCache.erase(oldAddress);
}

}  // namespace tev
