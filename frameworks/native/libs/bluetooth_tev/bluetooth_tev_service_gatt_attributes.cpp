// Temporary stubs; replaced by the real implementation.
#include "bluetooth_tev_service.h"

namespace tev {

int BluetoothTevService::gattReadCharacteristic(int /*conn_id*/, uint16_t /*handle*/, int /*auth_req*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattWriteCharacteristic(int /*conn_id*/, uint16_t /*handle*/, int /*write_type*/, int /*auth_req*/, std::vector<uint8_t> /*value*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattReadDescriptor(int /*conn_id*/, uint16_t /*handle*/, int /*auth_req*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattWriteDescriptor(int /*conn_id*/, uint16_t /*handle*/, int /*auth_req*/, std::vector<uint8_t> /*value*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattExecuteWrite(int /*conn_id*/, int /*execute*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattReadUsingCharUuid(int /*conn_id*/, const bluetooth::Uuid& /*uuid*/, uint16_t /*s_handle*/, uint16_t /*e_handle*/, int /*auth_req*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattRegisterForNotification(int /*client_if*/, const RawAddress& /*addr*/, uint16_t /*handle*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattDeregisterForNotification(int /*client_if*/, const RawAddress& /*addr*/, uint16_t /*handle*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattReadRemoteRssi(int /*client_if*/, const RawAddress& /*addr*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattGetDeviceType(const RawAddress& /*addr*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattConfigureMtu(int /*conn_id*/, int /*mtu*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattConnParameterUpdate(const RawAddress& /*addr*/, int /*min_interval*/, int /*max_interval*/, int /*latency*/, int /*timeout*/, uint16_t /*min_ce_len*/, uint16_t /*max_ce_len*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattSetPreferredPhy(const RawAddress& /*addr*/, uint8_t /*tx_phy*/, uint8_t /*rx_phy*/, uint16_t /*phy_options*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattReadPhy(const RawAddress& /*addr*/, ReadPhyCallback /*cb*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattTestCommand(int /*command*/, const btgatt_test_params_t& /*params*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::gattDiscoverServiceByUuid(int /*conn_id*/, const bluetooth::Uuid& /*uuid*/) { return BT_STATUS_UNSUPPORTED; }
void BluetoothTevService::OnGattNotify(tev::mojom::BluetoothAddressPtr /*addr*/, tev::mojom::BluetoothGattServiceIDPtr /*service_id*/, tev::mojom::BluetoothGattIDPtr /*char_id*/, bool /*is_notify*/, const std::vector<uint8_t>& /*value*/) {  }
void BluetoothTevService::OnServiceChanged(tev::mojom::BluetoothAddressPtr /*addr*/) {  }
void BluetoothTevService::OnMTUReceived(tev::mojom::BluetoothAddressPtr /*addr*/, uint16_t /*mtu*/) {  }
void BluetoothTevService::startLEScan(bool /*start*/) {  }
void BluetoothTevService::OnLEDeviceFound(tev::mojom::BluetoothAddressPtr /*addr*/, int32_t /*rssi*/, const std::vector<uint8_t>& /*eir*/) {  }

}  // namespace tev
