// The exported HAL entry table and its adapter entry functions. Each one reaches the service and
// forwards; what is not bridged answers here with a fixed result.
#include <hardware/bluetooth.h>

#include <cstdio>
#include <string>

#include "bluetooth_tev_service.h"

using tev::BluetoothTevService;

namespace {

BluetoothTevService* service() { return BluetoothTevService::GetInstance(); }

int tev_init(bt_callbacks_t* callbacks, bool /*guest_mode*/, bool /*is_common_criteria_mode*/,
             int /*config_compare_result*/, const char** /*init_flags*/, bool /*is_atv*/,
             const char* /*user_data_directory*/) {
  return service()->initialize(callbacks);
}

int tev_enable() { return service()->enable(); }

int tev_disable() { return service()->disable(); }

void tev_cleanup() { service()->cleanup(); }

int tev_get_adapter_properties() { return service()->getAdapterProperties(); }

int tev_get_adapter_property(bt_property_type_t type) {
  return service()->getAdapterProperty(type);
}

int tev_set_adapter_property(const bt_property_t* property) {
  return service()->setAdapterProperty(property);
}

int tev_get_remote_device_properties(RawAddress* remote_addr) {
  return service()->getRemoteDeviceProperties(remote_addr);
}

int tev_get_remote_device_property(RawAddress* remote_addr, bt_property_type_t type) {
  return service()->getRemoteDeviceProperty(remote_addr, type);
}

int tev_set_remote_device_property(RawAddress* /*remote_addr*/, const bt_property_t* /*property*/) {
  return BT_STATUS_UNSUPPORTED;
}

int tev_get_remote_service_record(const RawAddress& /*remote_addr*/,
                                  const bluetooth::Uuid& /*uuid*/) {
  return BT_STATUS_UNSUPPORTED;
}

int tev_get_remote_services(RawAddress* /*remote_addr*/, int /*transport*/) {
  return BT_STATUS_UNSUPPORTED;
}

int tev_start_discovery() { return service()->startDiscovery(); }

int tev_cancel_discovery() { return service()->cancelDiscovery(); }

int tev_create_bond(const RawAddress* bd_addr, int transport) {
  return service()->createBond(bd_addr, transport);
}

int tev_create_bond_out_of_band(const RawAddress* /*bd_addr*/, int /*transport*/,
                                const bt_oob_data_t* /*p192_data*/,
                                const bt_oob_data_t* /*p256_data*/) {
  return BT_STATUS_UNSUPPORTED;
}

int tev_remove_bond(const RawAddress* bd_addr) { return service()->removeBond(bd_addr); }

int tev_cancel_bond(const RawAddress* bd_addr) { return service()->cancelBond(bd_addr); }

int tev_get_connection_state(const RawAddress* bd_addr) {
  return service()->getConnectionState(bd_addr);
}

int tev_pin_reply(const RawAddress* bd_addr, uint8_t accept, uint8_t pin_len,
                  bt_pin_code_t* pin_code) {
  return service()->pinReply(bd_addr, accept, pin_len, pin_code);
}

int tev_ssp_reply(const RawAddress* bd_addr, bt_ssp_variant_t variant, uint8_t accept,
                  uint32_t passkey) {
  return service()->sspReply(bd_addr, variant, accept, passkey);
}

const void* tev_get_profile_interface(const char* profile_id) {
  return service()->getProfileInterface(profile_id);
}

int tev_dut_mode_configure(uint8_t /*enable*/) { return BT_STATUS_UNSUPPORTED; }

int tev_dut_mode_send(uint16_t /*opcode*/, uint8_t* /*buf*/, uint8_t /*len*/) {
  return BT_STATUS_UNSUPPORTED;
}

int tev_le_test_mode(uint16_t /*opcode*/, uint8_t* /*buf*/, uint8_t /*len*/) {
  return BT_STATUS_UNSUPPORTED;
}

int tev_set_os_callouts(bt_os_callouts_t* /*callouts*/) { return BT_STATUS_SUCCESS; }

int tev_read_energy_info() { return BT_STATUS_UNSUPPORTED; }

void tev_dump(int fd, const char** /*arguments*/) {
  dprintf(fd, "BluetoothTev: Mojo bridge to Quarne OS\n");
}

void tev_dump_metrics(std::string* output) {
  if (output) *output = "";
}

int tev_config_clear() { return BT_STATUS_SUCCESS; }

void tev_interop_database_clear() {}

void tev_interop_database_add(uint16_t /*feature*/, const RawAddress* /*addr*/, size_t /*len*/) {}

bluetooth::avrcp::ServiceInterface* tev_get_avrcp_service() { return nullptr; }

// Deliberately the plain address: nothing here needs hiding from the stack's own logs.
std::string tev_obfuscate_address(const RawAddress& address) { return address.ToString(); }

int tev_get_metric_id(const RawAddress& /*address*/) { return 0; }

}  // namespace

// The HAL's only entry point; the later slots of this release stay empty.
__attribute__((visibility("default"))) bt_interface_t bluetoothInterface = {
    sizeof(bt_interface_t),
    tev_init,
    tev_enable,
    tev_disable,
    tev_cleanup,
    tev_get_adapter_properties,
    tev_get_adapter_property,
    tev_set_adapter_property,
    tev_get_remote_device_properties,
    tev_get_remote_device_property,
    tev_set_remote_device_property,
    tev_get_remote_service_record,
    tev_get_remote_services,
    tev_start_discovery,
    tev_cancel_discovery,
    tev_create_bond,
    tev_create_bond_out_of_band,
    tev_remove_bond,
    tev_cancel_bond,
    tev_get_connection_state,
    tev_pin_reply,
    tev_ssp_reply,
    tev_get_profile_interface,
    tev_dut_mode_configure,
    tev_dut_mode_send,
    tev_le_test_mode,
    tev_set_os_callouts,
    tev_read_energy_info,
    tev_dump,
    tev_dump_metrics,
    tev_config_clear,
    tev_interop_database_clear,
    tev_interop_database_add,
    tev_get_avrcp_service,
    tev_obfuscate_address,
    tev_get_metric_id,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};
