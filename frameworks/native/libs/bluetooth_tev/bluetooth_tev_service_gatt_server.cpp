// Temporary stubs; replaced by the real implementation.
#include "bluetooth_tev_service.h"

namespace tev {

int BluetoothTevService::gattRegisterServer(const bluetooth::Uuid& /*app_uuid*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattUnregisterServer(int /*server_if*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattServerConnect(int /*server_if*/, const RawAddress& /*addr*/, bool /*is_direct*/, int /*transport*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattServerDisconnect(int /*server_if*/, const RawAddress& /*addr*/, int /*conn_id*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattAddService(int /*server_if*/, std::vector<btgatt_db_element_t> /*service*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattStopService(int /*server_if*/, int /*service_handle*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattDeleteService(int /*server_if*/, int /*service_handle*/) { return BT_STATUS_UNSUPPORTED; }
void BluetoothTevService::RequestGattRead(tev::mojom::BluetoothAddressPtr /*addr*/, int32_t /*attribute_handle*/, int32_t /*offset*/, bool /*is_long*/, tev::mojom::BluetoothGattDBAttributeType /*attribute_type*/, const RequestGattReadCallback& /*callback*/) {  }
void BluetoothTevService::RequestGattWrite(tev::mojom::BluetoothAddressPtr /*addr*/, int32_t /*attribute_handle*/, int32_t /*offset*/, const std::vector<uint8_t>& /*value*/, tev::mojom::BluetoothGattDBAttributeType /*attribute_type*/, bool /*is_prepare*/, const RequestGattWriteCallback& /*callback*/) {  }
void BluetoothTevService::RequestGattExecuteWrite(tev::mojom::BluetoothAddressPtr /*addr*/, bool /*execute*/, const RequestGattExecuteWriteCallback& /*callback*/) {  }
int BluetoothTevService::gattSendResponse(int /*conn_id*/, int /*trans_id*/, int /*status*/, const btgatt_response_t& /*response*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattSendIndication(int /*server_if*/, int /*attribute_handle*/, int /*conn_id*/, int /*confirm*/, std::vector<uint8_t> /*value*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattServerSetPreferredPhy(const RawAddress& /*addr*/, uint8_t /*tx_phy*/, uint8_t /*rx_phy*/, uint16_t /*phy_options*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattServerReadPhy(const RawAddress& /*addr*/, ReadPhyCallback /*cb*/) { return BT_STATUS_UNSUPPORTED; }

}  // namespace tev
