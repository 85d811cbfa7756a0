// Temporary stubs; replaced by the real implementation.
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {

int BluetoothTevService::initGatt(const btgatt_callbacks_t* callbacks) {
  LOG(INFO) << "BluetoothTev: initGatt";
  if (!callbacks) return BT_STATUS_PARM_INVALID;
  mGattClientCallbacks = callbacks->client;
  mGattServerCallbacks = callbacks->server;
  mGattScannerCallbacks = callbacks->scanner;
  return BT_STATUS_SUCCESS;
}

// Ids handed out so far stay used: the counters keep their values.
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
int BluetoothTevService::gattRegisterClient(const bluetooth::Uuid& /*app_uuid*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattUnregisterClient(int /*client_if*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattConnect(int /*client_if*/, const RawAddress& /*addr*/, bool /*is_direct*/, int /*transport*/, bool /*opportunistic*/, int /*initiating_phys*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattDisconnect(int /*client_if*/, const RawAddress& /*addr*/, int /*conn_id*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattRefresh(int /*client_if*/, const RawAddress& /*addr*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::getOrCreateConnId(const RawAddress& /*addr*/, int /*client_if*/) { return BT_STATUS_UNSUPPORTED; }
void BluetoothTevService::OnLEConnectionStateChange(tev::mojom::BluetoothAddressPtr /*addr*/, bool /*connected*/) {  }
void BluetoothTevService::OnLEDeviceAddressChange(tev::mojom::BluetoothAddressPtr /*old_addr*/, tev::mojom::BluetoothAddressPtr /*new_addr*/) {  }
int BluetoothTevService::gattSearchService(int /*conn_id*/, const bluetooth::Uuid* /*filter_uuid*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattGetGattDb(int /*conn_id*/) { return BT_STATUS_UNSUPPORTED; }
void BluetoothTevService::OnSearchComplete(tev::mojom::BluetoothAddressPtr /*addr*/, tev::mojom::BluetoothGattStatus /*status*/) {  }
void BluetoothTevService::OnGetGattDB(tev::mojom::BluetoothAddressPtr /*addr*/, std::vector<tev::mojom::BluetoothGattDBElementPtr> /*db*/) {  }
const BluetoothTevService::GattDbEntry* BluetoothTevService::lookupGattEntry(const RawAddress& /*address*/, uint16_t /*handle*/) const { return {}; }
tev::mojom::BluetoothGattServiceIDPtr BluetoothTevService::buildServiceId(const GattDbEntry& /*entry*/) { return {}; }
tev::mojom::BluetoothGattIDPtr BluetoothTevService::buildGattId(const GattDbEntry& /*entry*/) { return {}; }

}  // namespace tev
