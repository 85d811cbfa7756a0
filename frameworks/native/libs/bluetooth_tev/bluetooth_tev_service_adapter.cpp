// Temporary stubs; replaced by the real implementation.
#include "bluetooth_tev_service.h"

namespace tev {

int BluetoothTevService::enable() { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::disable() { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::getAdapterProperties() { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::getAdapterProperty(bt_property_type_t /*type*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::setAdapterProperty(const bt_property_t* /*property*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::getRemoteDeviceProperties(RawAddress* /*addr*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::getRemoteDeviceProperty(RawAddress* /*addr*/, bt_property_type_t /*type*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::startDiscovery() { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::cancelDiscovery() { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::createBond(const RawAddress* /*addr*/, int /*transport*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::removeBond(const RawAddress* /*addr*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::cancelBond(const RawAddress* /*addr*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::getConnectionState(const RawAddress* /*addr*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::pinReply(const RawAddress* /*addr*/, uint8_t /*accept*/, uint8_t /*pin_len*/, bt_pin_code_t* /*pin_code*/) { return BT_STATUS_UNSUPPORTED; }
int BluetoothTevService::sspReply(const RawAddress* /*addr*/, bt_ssp_variant_t /*variant*/, uint8_t /*accept*/, uint32_t /*passkey*/) { return BT_STATUS_UNSUPPORTED; }
void BluetoothTevService::OnAdapterProperties(tev::mojom::BluetoothStatus /*status*/, std::vector<tev::mojom::BluetoothPropertyPtr> /*properties*/) {  }
void BluetoothTevService::OnDeviceFound(std::vector<tev::mojom::BluetoothPropertyPtr> /*properties*/) {  }
void BluetoothTevService::OnDevicePropertiesChanged(tev::mojom::BluetoothAddressPtr /*addr*/, std::vector<tev::mojom::BluetoothPropertyPtr> /*properties*/) {  }
void BluetoothTevService::OnDiscoveryStateChanged(tev::mojom::BluetoothDiscoveryState /*state*/) {  }
void BluetoothTevService::OnBondStateChanged(tev::mojom::BluetoothStatus /*status*/, tev::mojom::BluetoothAddressPtr /*addr*/, tev::mojom::BluetoothBondState /*state*/) {  }
void BluetoothTevService::OnConnectionStateChanged(tev::mojom::BluetoothAddressPtr /*addr*/, tev::mojom::BluetoothDeviceType /*device_type*/, bool /*connected*/) {  }
void BluetoothTevService::OnGetSdpRecords(tev::mojom::BluetoothStatus /*status*/, tev::mojom::BluetoothAddressPtr /*addr*/, bluetooth::Uuid /*uuid*/, std::vector<tev::mojom::BluetoothSdpRecordPtr> /*records*/) {  }

}  // namespace tev
