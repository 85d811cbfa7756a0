// The GATT profile table, its entry functions, which forward to the service, and the scanner and
// advertiser objects it hands out.
#include "bt_gatt_tev.h"

#include <vector>

#include "base/logging.h"
#include "bluetooth_tev_service.h"

using tev::BluetoothTevService;

namespace {

BluetoothTevService* service() { return BluetoothTevService::GetInstance(); }

// A null pointer reads as no bytes rather than being dereferenced.
std::vector<uint8_t> copyBytes(const uint8_t* value, size_t length) {
  if (!value || length == 0) return {};
  return std::vector<uint8_t>(value, value + length);
}

bt_status_t toStatus(int status) { return static_cast<bt_status_t>(status); }

bt_status_t tev_gatt_init(const btgatt_callbacks_t* callbacks) {
  return toStatus(service()->initGatt(callbacks));
}

void tev_gatt_cleanup() { service()->cleanupGatt(); }

bt_status_t tev_gatt_client_register_client(const bluetooth::Uuid& uuid, bool /*eatt_support*/) {
  return toStatus(service()->gattRegisterClient(uuid));
}

bt_status_t tev_gatt_client_unregister_client(int client_if) {
  return toStatus(service()->gattUnregisterClient(client_if));
}

bt_status_t tev_gatt_client_connect(int client_if, const RawAddress& bd_addr, bool is_direct,
                                    int transport, bool opportunistic, int initiating_phys) {
  return toStatus(service()->gattConnect(client_if, bd_addr, is_direct, transport, opportunistic,
                                         initiating_phys));
}

bt_status_t tev_gatt_client_disconnect(int client_if, const RawAddress& bd_addr, int conn_id) {
  return toStatus(service()->gattDisconnect(client_if, bd_addr, conn_id));
}

bt_status_t tev_gatt_client_refresh(int client_if, const RawAddress& bd_addr) {
  return toStatus(service()->gattRefresh(client_if, bd_addr));
}

bt_status_t tev_gatt_client_search_service(int conn_id, const bluetooth::Uuid* filter_uuid) {
  return toStatus(service()->gattSearchService(conn_id, filter_uuid));
}

// This release's slot returns nothing, so the member's status goes nowhere.
void tev_gatt_client_discover_service_by_uuid(int conn_id, const bluetooth::Uuid& uuid) {
  service()->gattDiscoverServiceByUuid(conn_id, uuid);
}

bt_status_t tev_gatt_client_read_characteristic(int conn_id, uint16_t handle, int auth_req) {
  return toStatus(service()->gattReadCharacteristic(conn_id, handle, auth_req));
}

bt_status_t tev_gatt_client_read_using_characteristic_uuid(int conn_id, const bluetooth::Uuid& uuid,
                                                           uint16_t s_handle, uint16_t e_handle,
                                                           int auth_req) {
  return toStatus(service()->gattReadUsingCharUuid(conn_id, uuid, s_handle, e_handle, auth_req));
}

bt_status_t tev_gatt_client_write_characteristic(int conn_id, uint16_t handle, int write_type,
                                                 int auth_req, const uint8_t* value,
                                                 size_t length) {
  return toStatus(service()->gattWriteCharacteristic(conn_id, handle, write_type, auth_req,
                                                     copyBytes(value, length)));
}

bt_status_t tev_gatt_client_read_descriptor(int conn_id, uint16_t handle, int auth_req) {
  return toStatus(service()->gattReadDescriptor(conn_id, handle, auth_req));
}

bt_status_t tev_gatt_client_write_descriptor(int conn_id, uint16_t handle, int auth_req,
                                             const uint8_t* value, size_t length) {
  return toStatus(
      service()->gattWriteDescriptor(conn_id, handle, auth_req, copyBytes(value, length)));
}

bt_status_t tev_gatt_client_execute_write(int conn_id, int execute) {
  return toStatus(service()->gattExecuteWrite(conn_id, execute));
}

bt_status_t tev_gatt_client_register_for_notification(int client_if, const RawAddress& bd_addr,
                                                      uint16_t handle) {
  return toStatus(service()->gattRegisterForNotification(client_if, bd_addr, handle));
}

bt_status_t tev_gatt_client_deregister_for_notification(int client_if, const RawAddress& bd_addr,
                                                        uint16_t handle) {
  return toStatus(service()->gattDeregisterForNotification(client_if, bd_addr, handle));
}

bt_status_t tev_gatt_client_read_remote_rssi(int client_if, const RawAddress& bd_addr) {
  return toStatus(service()->gattReadRemoteRssi(client_if, bd_addr));
}

int tev_gatt_client_get_device_type(const RawAddress& bd_addr) {
  return service()->gattGetDeviceType(bd_addr);
}

bt_status_t tev_gatt_client_configure_mtu(int conn_id, int mtu) {
  return toStatus(service()->gattConfigureMtu(conn_id, mtu));
}

bt_status_t tev_gatt_client_conn_parameter_update(const RawAddress& bd_addr, int min_interval,
                                                  int max_interval, int latency, int timeout,
                                                  uint16_t min_ce_len, uint16_t max_ce_len) {
  return toStatus(service()->gattConnParameterUpdate(bd_addr, min_interval, max_interval, latency,
                                                     timeout, min_ce_len, max_ce_len));
}

bt_status_t tev_gatt_client_set_preferred_phy(const RawAddress& bd_addr, uint8_t tx_phy,
                                              uint8_t rx_phy, uint16_t phy_options) {
  return toStatus(service()->gattSetPreferredPhy(bd_addr, tx_phy, rx_phy, phy_options));
}

bt_status_t tev_gatt_client_read_phy(
    const RawAddress& bd_addr, base::Callback<void(uint8_t tx_phy, uint8_t rx_phy, uint8_t status)> cb) {
  return toStatus(service()->gattReadPhy(bd_addr, cb));
}

bt_status_t tev_gatt_client_test_command(int command, const btgatt_test_params_t& params) {
  return toStatus(service()->gattTestCommand(command, params));
}

bt_status_t tev_gatt_client_get_gatt_db(int conn_id) {
  return toStatus(service()->gattGetGattDb(conn_id));
}

bt_status_t tev_gatt_server_register_server(const bluetooth::Uuid& uuid, bool /*eatt_support*/) {
  return toStatus(service()->gattRegisterServer(uuid));
}

bt_status_t tev_gatt_server_unregister_server(int server_if) {
  return toStatus(service()->gattUnregisterServer(server_if));
}

bt_status_t tev_gatt_server_connect(int server_if, const RawAddress& bd_addr, bool is_direct,
                                    int transport) {
  return toStatus(service()->gattServerConnect(server_if, bd_addr, is_direct, transport));
}

bt_status_t tev_gatt_server_disconnect(int server_if, const RawAddress& bd_addr, int conn_id) {
  return toStatus(service()->gattServerDisconnect(server_if, bd_addr, conn_id));
}

bt_status_t tev_gatt_server_add_service(int server_if, const btgatt_db_element_t* service_elements,
                                        size_t service_count) {
  std::vector<btgatt_db_element_t> elements;
  if (service_elements && service_count > 0) {
    elements.assign(service_elements, service_elements + service_count);
  }
  return toStatus(service()->gattAddService(server_if, std::move(elements)));
}

bt_status_t tev_gatt_server_stop_service(int server_if, int service_handle) {
  return toStatus(service()->gattStopService(server_if, service_handle));
}

bt_status_t tev_gatt_server_delete_service(int server_if, int service_handle) {
  return toStatus(service()->gattDeleteService(server_if, service_handle));
}

bt_status_t tev_gatt_server_send_indication(int server_if, int attribute_handle, int conn_id,
                                            int confirm, const uint8_t* value, size_t length) {
  return toStatus(service()->gattSendIndication(server_if, attribute_handle, conn_id, confirm,
                                                copyBytes(value, length)));
}

bt_status_t tev_gatt_server_send_response(int conn_id, int trans_id, int status,
                                          const btgatt_response_t& response) {
  return toStatus(service()->gattSendResponse(conn_id, trans_id, status, response));
}

bt_status_t tev_gatt_server_set_preferred_phy(const RawAddress& bd_addr, uint8_t tx_phy,
                                              uint8_t rx_phy, uint16_t phy_options) {
  return toStatus(service()->gattServerSetPreferredPhy(bd_addr, tx_phy, rx_phy, phy_options));
}

bt_status_t tev_gatt_server_read_phy(
    const RawAddress& bd_addr, base::Callback<void(uint8_t tx_phy, uint8_t rx_phy, uint8_t status)> cb) {
  return toStatus(service()->gattServerReadPhy(bd_addr, cb));
}

const btgatt_client_interface_t kClientInterface = {
    tev_gatt_client_register_client,
    tev_gatt_client_unregister_client,
    tev_gatt_client_connect,
    tev_gatt_client_disconnect,
    tev_gatt_client_refresh,
    tev_gatt_client_search_service,
    tev_gatt_client_discover_service_by_uuid,
    tev_gatt_client_read_characteristic,
    tev_gatt_client_read_using_characteristic_uuid,
    tev_gatt_client_write_characteristic,
    tev_gatt_client_read_descriptor,
    tev_gatt_client_write_descriptor,
    tev_gatt_client_execute_write,
    tev_gatt_client_register_for_notification,
    tev_gatt_client_deregister_for_notification,
    tev_gatt_client_read_remote_rssi,
    tev_gatt_client_get_device_type,
    tev_gatt_client_configure_mtu,
    tev_gatt_client_conn_parameter_update,
    tev_gatt_client_set_preferred_phy,
    tev_gatt_client_read_phy,
    tev_gatt_client_test_command,
    tev_gatt_client_get_gatt_db,
};

const btgatt_server_interface_t kServerInterface = {
    tev_gatt_server_register_server,
    tev_gatt_server_unregister_server,
    tev_gatt_server_connect,
    tev_gatt_server_disconnect,
    tev_gatt_server_add_service,
    tev_gatt_server_stop_service,
    tev_gatt_server_delete_service,
    tev_gatt_server_send_indication,
    tev_gatt_server_send_response,
    tev_gatt_server_set_preferred_phy,
    tev_gatt_server_read_phy,
};

tev::BleScannerTev gScanner;
tev::BleAdvertiserTev gAdvertiser;

const btgatt_interface_t kGattInterface = {
    sizeof(btgatt_interface_t), tev_gatt_init, tev_gatt_cleanup, &kClientInterface,
    &kServerInterface,          &gScanner,     &gAdvertiser,
};

}  // namespace

namespace tev {

const btgatt_interface_t* getGattInterface() { return &kGattInterface; }


void BleScannerTev::RegisterScanner(const bluetooth::Uuid& /*app_uuid*/, RegisterCallback cb) {
  const uint16_t id = mNextScannerId.fetch_add(1);
  LOG(INFO) << "BluetoothTev: RegisterScanner id=" << id;
  if (cb) cb.Run(static_cast<uint8_t>(id), 0);
}

void BleScannerTev::Unregister(int scanner_id) {
  LOG(INFO) << "BluetoothTev: Unregister scanner id=" << scanner_id;
}

void BleScannerTev::Scan(bool start) {
  LOG(INFO) << "BluetoothTev: Scan start=" << (start ? 1 : 0);
  BluetoothTevService::GetInstance()->startLEScan(start);
}

void BleScannerTev::ScanFilterParamSetup(uint8_t /*client_id*/, uint8_t action,
                                         uint8_t /*filt_index*/,
                                         std::unique_ptr<btgatt_filt_param_setup_t> /*filt_param*/,
                                         FilterParamSetupCallback cb) {
  if (cb) cb.Run(0, action, 0);
}

void BleScannerTev::ScanFilterAdd(int /*filter_index*/, std::vector<ApcfCommand> /*filters*/,
                                  FilterConfigCallback cb) {
  if (cb) cb.Run(0, 0, 0, 0);
}

void BleScannerTev::ScanFilterClear(int /*filter_index*/, FilterConfigCallback cb) {
  if (cb) cb.Run(0, 0, 0, 0);
}

void BleScannerTev::ScanFilterEnable(bool enable, EnableCallback cb) {
  if (cb) cb.Run(enable ? 1 : 0, 0);
}

void BleScannerTev::SetScanParameters(int /*scanner_id*/, int /*scan_interval*/,
                                      int /*scan_window*/, Callback cb) {
  if (cb) cb.Run(0);
}

void BleScannerTev::BatchscanConfigStorage(int /*client_if*/, int /*batch_scan_full_max*/,
                                           int /*batch_scan_trunc_max*/,
                                           int /*batch_scan_notify_threshold*/, Callback cb) {
  if (cb) cb.Run(0);
}

void BleScannerTev::BatchscanEnable(int /*scan_mode*/, int /*scan_interval*/,
                                    int /*scan_window*/, int /*addr_type*/, int /*discard_rule*/,
                                    Callback cb) {
  if (cb) cb.Run(0);
}

void BleScannerTev::BatchscanDisable(Callback cb) {
  if (cb) cb.Run(0);
}

void BleScannerTev::BatchscanReadReports(int /*client_if*/, int /*scan_mode*/) {}

void BleScannerTev::StartSync(uint8_t /*sid*/, RawAddress /*address*/, uint16_t /*skip*/,
                              uint16_t /*timeout*/, int /*reg_id*/) {}

void BleScannerTev::StopSync(uint16_t /*handle*/) {}

void BleScannerTev::RegisterCallbacks(ScanningCallbacks* /*callbacks*/) {}

void BleScannerTev::CancelCreateSync(uint8_t /*sid*/, RawAddress /*address*/) {}

void BleScannerTev::TransferSync(RawAddress /*address*/, uint16_t /*service_data*/,
                                 uint16_t /*sync_handle*/, int /*pa_source*/) {}

void BleScannerTev::TransferSetInfo(RawAddress /*address*/, uint16_t /*service_data*/,
                                    uint8_t /*adv_handle*/, int /*pa_source*/) {}

void BleScannerTev::SyncTxParameters(RawAddress /*addr*/, uint8_t /*mode*/, uint16_t /*skip*/,
                                     uint16_t /*timeout*/, int /*reg_id*/) {}

void BleAdvertiserTev::RegisterAdvertiser(IdStatusCallback /*cb*/) {}

void BleAdvertiserTev::GetOwnAddress(uint8_t /*advertiser_id*/, GetAddressCallback /*cb*/) {}

void BleAdvertiserTev::SetParameters(uint8_t /*advertiser_id*/, AdvertiseParameters /*params*/,
                                     ParametersCallback /*cb*/) {}

void BleAdvertiserTev::SetData(int /*advertiser_id*/, bool /*set_scan_rsp*/,
                               std::vector<uint8_t> /*data*/, StatusCallback /*cb*/) {}

void BleAdvertiserTev::Enable(uint8_t /*advertiser_id*/, bool /*enable*/, StatusCallback /*cb*/,
                              uint16_t /*duration*/, uint8_t /*maxExtAdvEvents*/,
                              StatusCallback /*timeout_cb*/) {}

void BleAdvertiserTev::Unregister(uint8_t /*advertiser_id*/) {}

void BleAdvertiserTev::StartAdvertising(uint8_t /*advertiser_id*/, StatusCallback /*cb*/,
                                        AdvertiseParameters /*params*/,
                                        std::vector<uint8_t> /*advertise_data*/,
                                        std::vector<uint8_t> /*scan_response_data*/,
                                        int /*timeout_s*/, StatusCallback /*timeout_cb*/) {}

void BleAdvertiserTev::StartAdvertisingSet(
    int /*reg_id*/, IdTxPowerStatusCallback /*register_cb*/, AdvertiseParameters /*params*/,
    std::vector<uint8_t> /*advertise_data*/, std::vector<uint8_t> /*scan_response_data*/,
    PeriodicAdvertisingParameters /*periodic_params*/, std::vector<uint8_t> /*periodic_data*/,
    uint16_t /*duration*/, uint8_t /*maxExtAdvEvents*/, IdStatusCallback /*timeout_cb*/) {}

void BleAdvertiserTev::SetPeriodicAdvertisingParameters(
    int /*advertiser_id*/, PeriodicAdvertisingParameters /*parameters*/, StatusCallback /*cb*/) {}

void BleAdvertiserTev::SetPeriodicAdvertisingData(int /*advertiser_id*/,
                                                  std::vector<uint8_t> /*data*/,
                                                  StatusCallback /*cb*/) {}

void BleAdvertiserTev::SetPeriodicAdvertisingEnable(int /*advertiser_id*/, bool /*enable*/,
                                                    StatusCallback /*cb*/) {}

void BleAdvertiserTev::RegisterCallbacks(AdvertisingCallbacks* /*callbacks*/) {}

}  // namespace tev
