// The stack calls into this library through these tables and classes, so
// every size, offset, slot and enumerator below is fixed by the platform.

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <base/callback.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using ::testing::ElementsAre;

#define EXPECT_LAYOUT(type, size, align)                \
  static_assert(sizeof(type) == (size), #type " size"); \
  static_assert(alignof(type) == (align), #type " alignment")

#define EXPECT_OFFSET(type, member, offset) static_assert(offsetof(type, member) == (offset), #type "::" #member)

// Itanium C++ ABI: a pointer to a virtual member function carries the byte
// offset of its vtable entry. x86-64 adds 1 to mark it virtual; AArch64
// keeps the offset bare and marks the low bit of the this-adjustment.
struct MemberPointerBits {
  uintptr_t ptr;
  ptrdiff_t adj;
};

template <typename Pmf>
MemberPointerBits BitsOf(Pmf pmf) {
  static_assert(sizeof(Pmf) == sizeof(MemberPointerBits), "not an Itanium member function pointer");
  MemberPointerBits bits;
  std::memcpy(&bits, &pmf, sizeof(bits));
  return bits;
}

constexpr size_t kNotVirtual = ~size_t{0};

template <typename Pmf>
size_t VtableIndex(Pmf pmf) {
  const MemberPointerBits bits = BitsOf(pmf);
#if defined(__aarch64__)
  if ((bits.adj & 1) == 0) return kNotVirtual;
  return bits.ptr / sizeof(void*);
#else
  if ((bits.ptr & 1) == 0) return kNotVirtual;
  return (bits.ptr - 1) / sizeof(void*);
#endif
}

// Calls vtable entry `index` of `object` as a method taking Args, the way a
// caller compiled against the platform's own headers would.
template <typename Class, typename... Args>
void CallSlot(Class& object, size_t index, Args... args) {
  using Pmf = void (Class::*)(Args...);
#if defined(__aarch64__)
  const MemberPointerBits bits{index * sizeof(void*), 1};
#else
  const MemberPointerBits bits{1 + index * sizeof(void*), 0};
#endif
  Pmf pmf;
  std::memcpy(&pmf, &bits, sizeof(pmf));
  (object.*pmf)(std::forward<Args>(args)...);
}

TEST(HalMacros, IdentifyModulesAndProfiles) {
  EXPECT_STREQ(BT_HARDWARE_MODULE_ID, "bluetooth");
  EXPECT_STREQ(BT_STACK_MODULE_ID, "bluetooth");
  EXPECT_STREQ(BLUETOOTH_INTERFACE_STRING, "bluetoothInterface");
  EXPECT_EQ(BT_MAX_NUM_UUIDS, 32);

  EXPECT_STREQ(BT_PROFILE_HANDSFREE_ID, "handsfree");
  EXPECT_STREQ(BT_PROFILE_HANDSFREE_CLIENT_ID, "handsfree_client");
  EXPECT_STREQ(BT_PROFILE_ADVANCED_AUDIO_ID, "a2dp");
  EXPECT_STREQ(BT_PROFILE_ADVANCED_AUDIO_SINK_ID, "a2dp_sink");
  EXPECT_STREQ(BT_PROFILE_SOCKETS_ID, "socket");
  EXPECT_STREQ(BT_PROFILE_HIDHOST_ID, "hidhost");
  EXPECT_STREQ(BT_PROFILE_HIDDEV_ID, "hiddev");
  EXPECT_STREQ(BT_PROFILE_PAN_ID, "pan");
  EXPECT_STREQ(BT_PROFILE_MAP_CLIENT_ID, "map_client");
  EXPECT_STREQ(BT_PROFILE_SDP_CLIENT_ID, "sdp");
  EXPECT_STREQ(BT_PROFILE_GATT_ID, "gatt");
  EXPECT_STREQ(BT_PROFILE_AV_RC_ID, "avrcp");
  EXPECT_STREQ(BT_PROFILE_AV_RC_CTRL_ID, "avrcp_ctrl");
  EXPECT_STREQ(BT_PROFILE_HEARING_AID_ID, "hearing_aid");
  EXPECT_STREQ(BT_PROFILE_HAP_CLIENT_ID, "has_client");
  EXPECT_STREQ(BT_PROFILE_LE_AUDIO_ID, "le_audio");
  EXPECT_STREQ(BT_KEYSTORE_ID, "bluetooth_keystore");
  EXPECT_STREQ(BT_ACTIVITY_ATTRIBUTION_ID, "activity_attribution");
  EXPECT_STREQ(BT_PROFILE_VC_ID, "volume_control");
  EXPECT_STREQ(BT_PROFILE_CSIS_CLIENT_ID, "csis_client");
  EXPECT_STREQ(BT_PROFILE_LE_AUDIO_BROADCASTER_ID, "le_audio_broadcaster");
}

TEST(HalMacros, NumbersTransportsAndLimits) {
  EXPECT_EQ(BTGATT_MAX_ATTR_LEN, 600);
  EXPECT_EQ(BTGATT_SERVICE_TYPE_PRIMARY, 0);
  EXPECT_EQ(BTGATT_SERVICE_TYPE_SECONDARY, 1);
  EXPECT_EQ(BT_TRANSPORT_AUTO, 0);
  EXPECT_EQ(BT_TRANSPORT_BR_EDR, 1);
  EXPECT_EQ(BT_TRANSPORT_LE, 2);
  EXPECT_EQ(BD_ADDR_LEN, 6);
  static_assert(std::is_same_v<tBT_TRANSPORT, uint8_t>);
  static_assert(std::is_same_v<bt_hci_error_code_t, uint8_t>);
}

TEST(HalEnums, AreFourBytesWide) {
  EXPECT_LAYOUT(bt_status_t, 4, 4);
  EXPECT_LAYOUT(bt_state_t, 4, 4);
  EXPECT_LAYOUT(bt_property_type_t, 4, 4);
  EXPECT_LAYOUT(bt_io_cap_t, 4, 4);
  EXPECT_LAYOUT(bt_acl_state_t, 4, 4);
  EXPECT_LAYOUT(bt_gatt_db_attribute_type_t, 4, 4);
  EXPECT_LAYOUT(btgattc_error_t, 4, 4);
}

TEST(HalEnums, AdapterValues) {
  static_assert(BT_STATUS_SUCCESS == 0 && BT_STATUS_FAIL == 1 && BT_STATUS_NOT_READY == 2 && BT_STATUS_NOMEM == 3 &&
                BT_STATUS_BUSY == 4 && BT_STATUS_DONE == 5 && BT_STATUS_UNSUPPORTED == 6 &&
                BT_STATUS_PARM_INVALID == 7 && BT_STATUS_UNHANDLED == 8 && BT_STATUS_AUTH_FAILURE == 9 &&
                BT_STATUS_RMT_DEV_DOWN == 10 && BT_STATUS_AUTH_REJECTED == 11 &&
                BT_STATUS_JNI_ENVIRONMENT_ERROR == 12 && BT_STATUS_JNI_THREAD_ATTACH_ERROR == 13 &&
                BT_STATUS_WAKELOCK_ERROR == 14);
  static_assert(BT_STATE_OFF == 0 && BT_STATE_ON == 1);
  static_assert(BT_SCAN_MODE_NONE == 0 && BT_SCAN_MODE_CONNECTABLE == 1 &&
                BT_SCAN_MODE_CONNECTABLE_DISCOVERABLE == 2);
  static_assert(BT_IO_CAP_OUT == 0 && BT_IO_CAP_IO == 1 && BT_IO_CAP_IN == 2 && BT_IO_CAP_NONE == 3 &&
                BT_IO_CAP_KBDISP == 4 && BT_IO_CAP_MAX == 5 && BT_IO_CAP_UNKNOWN == 0xFF);
  static_assert(BT_DISCOVERY_STOPPED == 0 && BT_DISCOVERY_STARTED == 1);
  static_assert(BT_ACL_STATE_CONNECTED == 0 && BT_ACL_STATE_DISCONNECTED == 1);
  static_assert(BT_DEVICE_DEVTYPE_BREDR == 1 && BT_DEVICE_DEVTYPE_BLE == 2 && BT_DEVICE_DEVTYPE_DUAL == 3);
  static_assert(BT_BOND_STATE_NONE == 0 && BT_BOND_STATE_BONDING == 1 && BT_BOND_STATE_BONDED == 2);
  static_assert(BT_SSP_VARIANT_PASSKEY_CONFIRMATION == 0 && BT_SSP_VARIANT_PASSKEY_ENTRY == 1 &&
                BT_SSP_VARIANT_CONSENT == 2 && BT_SSP_VARIANT_PASSKEY_NOTIFICATION == 3);
  static_assert(ASSOCIATE_JVM == 0 && DISASSOCIATE_JVM == 1);
}

TEST(HalEnums, PropertyTypes) {
  static_assert(BT_PROPERTY_BDNAME == 1 && BT_PROPERTY_BDADDR == 2 && BT_PROPERTY_UUIDS == 3 &&
                BT_PROPERTY_CLASS_OF_DEVICE == 4 && BT_PROPERTY_TYPE_OF_DEVICE == 5 &&
                BT_PROPERTY_SERVICE_RECORD == 6 && BT_PROPERTY_ADAPTER_SCAN_MODE == 7 &&
                BT_PROPERTY_ADAPTER_BONDED_DEVICES == 8 && BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT == 9 &&
                BT_PROPERTY_REMOTE_FRIENDLY_NAME == 10 && BT_PROPERTY_REMOTE_RSSI == 11 &&
                BT_PROPERTY_REMOTE_VERSION_INFO == 12 && BT_PROPERTY_LOCAL_LE_FEATURES == 13 &&
                BT_PROPERTY_LOCAL_IO_CAPS == 14 && BT_PROPERTY_LOCAL_IO_CAPS_BLE == 15 &&
                BT_PROPERTY_DYNAMIC_AUDIO_BUFFER == 16 && BT_PROPERTY_REMOTE_IS_COORDINATED_SET_MEMBER == 17 &&
                BT_PROPERTY_REMOTE_DEVICE_TIMESTAMP == 0xFF);
}

TEST(HalEnums, GattValues) {
  static_assert(BTGATT_DB_PRIMARY_SERVICE == 0 && BTGATT_DB_SECONDARY_SERVICE == 1 &&
                BTGATT_DB_INCLUDED_SERVICE == 2 && BTGATT_DB_CHARACTERISTIC == 3 && BTGATT_DB_DESCRIPTOR == 4);
  static_assert(GATT_TRANSPORT_AUTO == 0 && GATT_TRANSPORT_BREDR == 1 && GATT_TRANSPORT_LE == 2);
  static_assert(BT_GATTC_COMMAND_SUCCESS == 0 && BT_GATTC_COMMAND_STARTED == 1 && BT_GATTC_COMMAND_BUSY == 2 &&
                BT_GATTC_COMMAND_STORED == 3 && BT_GATTC_NO_RESOURCES == 4 && BT_GATTC_MODE_UNSUPPORTED == 5 &&
                BT_GATTC_ILLEGAL_VALUE == 6 && BT_GATTC_INCORRECT_STATE == 7 && BT_GATTC_UNKNOWN_ADDR == 8 &&
                BT_GATTC_DEVICE_TIMEOUT == 9 && BT_GATTC_INVALID_CONTROLLER_OUTPUT == 10 &&
                BT_GATTC_SECURITY_ERROR == 11 && BT_GATTC_DELAYED_ENCRYPTION_CHECK == 12 &&
                BT_GATTC_ERR_PROCESSING == 13);
}

TEST(HalTextHelpers, NameStatusesAndTransports) {
  EXPECT_EQ(bt_status_text(BT_STATUS_SUCCESS), "success");
  EXPECT_EQ(bt_status_text(BT_STATUS_PARM_INVALID), "parm_invalid");
  EXPECT_EQ(bt_status_text(BT_STATUS_WAKELOCK_ERROR), "wakelock_error");
  EXPECT_EQ(bt_transport_text(BT_TRANSPORT_LE), "BT_TRANSPORT_LE");
  EXPECT_EQ(bt_transport_text(7), "UNKNOWN[7]");
}

TEST(HalRecords, SharedTypes) {
  EXPECT_LAYOUT(RawAddress, 6, 1);
  EXPECT_LAYOUT(bluetooth::Uuid, 16, 1);
  // Both cross the tables in registers, which needs trivial copies.
  static_assert(std::is_trivially_copyable_v<RawAddress> && std::is_final_v<RawAddress>);
  static_assert(std::is_trivially_copyable_v<bluetooth::Uuid> && std::is_final_v<bluetooth::Uuid>);
}

TEST(HalRecords, AdapterRecords) {
  EXPECT_LAYOUT(bt_bdname_t, 249, 1);
  EXPECT_LAYOUT(bt_pin_code_t, 16, 1);
  EXPECT_LAYOUT(bt_remote_version_t, 12, 4);
  EXPECT_LAYOUT(bt_dynamic_audio_buffer_type_t, 6, 2);
  EXPECT_LAYOUT(bt_dynamic_audio_buffer_item_t, 192, 2);

  EXPECT_LAYOUT(bt_property_t, 16, 8);
  EXPECT_OFFSET(bt_property_t, len, 4);
  EXPECT_OFFSET(bt_property_t, val, 8);

  EXPECT_LAYOUT(bt_service_record_t, 274, 2);
  EXPECT_OFFSET(bt_service_record_t, channel, 16);
  EXPECT_OFFSET(bt_service_record_t, name, 18);

  EXPECT_LAYOUT(bt_activity_energy_info, 34, 1);
  EXPECT_OFFSET(bt_activity_energy_info, tx_time, 2);
  EXPECT_OFFSET(bt_activity_energy_info, rx_time, 10);
  EXPECT_OFFSET(bt_activity_energy_info, idle_time, 18);
  EXPECT_OFFSET(bt_activity_energy_info, energy_used, 26);

  EXPECT_LAYOUT(bt_uid_traffic_t, 20, 1);
  EXPECT_OFFSET(bt_uid_traffic_t, tx_bytes, 4);
  EXPECT_OFFSET(bt_uid_traffic_t, rx_bytes, 12);
}

TEST(HalRecords, OutOfBandData) {
  EXPECT_LAYOUT(bt_oob_data_t, 320, 1);
  EXPECT_OFFSET(bt_oob_data_t, address, 1);
  EXPECT_OFFSET(bt_oob_data_t, c, 8);
  EXPECT_OFFSET(bt_oob_data_t, r, 24);
  EXPECT_OFFSET(bt_oob_data_t, device_name, 40);
  EXPECT_OFFSET(bt_oob_data_t, oob_data_length, 296);
  EXPECT_OFFSET(bt_oob_data_t, class_of_device, 298);
  EXPECT_OFFSET(bt_oob_data_t, le_device_role, 300);
  EXPECT_OFFSET(bt_oob_data_t, sm_tk, 301);
  EXPECT_OFFSET(bt_oob_data_t, le_flags, 317);
  EXPECT_OFFSET(bt_oob_data_t, le_appearance, 318);
  EXPECT_FALSE(bt_oob_data_t{}.is_valid);
}

TEST(HalRecords, LocalLeFeatures) {
  EXPECT_LAYOUT(bt_local_le_features_t, 28, 4);
  EXPECT_OFFSET(bt_local_le_features_t, local_privacy_enabled, 2);
  EXPECT_OFFSET(bt_local_le_features_t, activity_energy_info_supported, 7);
  EXPECT_OFFSET(bt_local_le_features_t, scan_result_storage_size, 8);
  EXPECT_OFFSET(bt_local_le_features_t, total_trackable_advertisers, 10);
  EXPECT_OFFSET(bt_local_le_features_t, extended_scan_support, 12);
  EXPECT_OFFSET(bt_local_le_features_t, le_periodic_advertising_supported, 17);
  EXPECT_OFFSET(bt_local_le_features_t, le_maximum_advertising_data_length, 18);
  EXPECT_OFFSET(bt_local_le_features_t, dynamic_audio_buffer_supported, 20);
  EXPECT_OFFSET(bt_local_le_features_t, le_periodic_advertising_sync_transfer_sender_supported, 24);
  EXPECT_OFFSET(bt_local_le_features_t, le_periodic_advertising_sync_transfer_recipient_supported, 27);
}

TEST(HalRecords, GattValues) {
  EXPECT_LAYOUT(btgatt_gatt_id_t, 17, 1);
  EXPECT_LAYOUT(btgatt_srvc_id_t, 18, 1);
  EXPECT_OFFSET(btgatt_srvc_id_t, is_primary, 17);

  EXPECT_LAYOUT(btgatt_unformatted_value_t, 602, 2);
  EXPECT_OFFSET(btgatt_unformatted_value_t, len, 600);

  EXPECT_LAYOUT(btgatt_read_params_t, 608, 2);
  EXPECT_OFFSET(btgatt_read_params_t, value, 2);
  EXPECT_OFFSET(btgatt_read_params_t, value_type, 604);
  EXPECT_OFFSET(btgatt_read_params_t, status, 606);

  EXPECT_LAYOUT(btgatt_write_params_t, 53, 1);
  EXPECT_OFFSET(btgatt_write_params_t, char_id, 18);
  EXPECT_OFFSET(btgatt_write_params_t, descr_id, 35);
  EXPECT_OFFSET(btgatt_write_params_t, status, 52);

  EXPECT_LAYOUT(btgatt_notify_params_t, 612, 2);
  EXPECT_OFFSET(btgatt_notify_params_t, bda, 600);
  EXPECT_OFFSET(btgatt_notify_params_t, handle, 606);
  EXPECT_OFFSET(btgatt_notify_params_t, len, 608);
  EXPECT_OFFSET(btgatt_notify_params_t, is_notify, 610);

  EXPECT_LAYOUT(btgatt_test_params_t, 32, 8);
  EXPECT_OFFSET(btgatt_test_params_t, uuid1, 8);
  EXPECT_OFFSET(btgatt_test_params_t, u1, 16);
  EXPECT_OFFSET(btgatt_test_params_t, u5, 24);

  EXPECT_LAYOUT(btgatt_value_t, 608, 2);
  EXPECT_OFFSET(btgatt_value_t, handle, 600);
  EXPECT_OFFSET(btgatt_value_t, offset, 602);
  EXPECT_OFFSET(btgatt_value_t, len, 604);
  EXPECT_OFFSET(btgatt_value_t, auth_req, 606);

  static_assert(std::is_union_v<btgatt_response_t>);
  EXPECT_LAYOUT(btgatt_response_t, 608, 2);
  EXPECT_OFFSET(btgatt_response_t, attr_value, 0);
  EXPECT_OFFSET(btgatt_response_t, handle, 0);
}

TEST(HalRecords, GattDatabaseElement) {
  EXPECT_LAYOUT(btgatt_db_element_t, 36, 4);
  EXPECT_OFFSET(btgatt_db_element_t, uuid, 2);
  EXPECT_OFFSET(btgatt_db_element_t, type, 20);
  EXPECT_OFFSET(btgatt_db_element_t, attribute_handle, 24);
  EXPECT_OFFSET(btgatt_db_element_t, start_handle, 26);
  EXPECT_OFFSET(btgatt_db_element_t, end_handle, 28);
  EXPECT_OFFSET(btgatt_db_element_t, properties, 30);
  EXPECT_OFFSET(btgatt_db_element_t, extended_properties, 32);
  EXPECT_OFFSET(btgatt_db_element_t, permissions, 34);
}

TEST(HalRecords, ScanningRecords) {
  EXPECT_LAYOUT(btgatt_track_adv_info_t, 48, 8);
  EXPECT_OFFSET(btgatt_track_adv_info_t, tx_power, 5);
  EXPECT_OFFSET(btgatt_track_adv_info_t, rssi_value, 6);
  EXPECT_OFFSET(btgatt_track_adv_info_t, time_stamp, 8);
  EXPECT_OFFSET(btgatt_track_adv_info_t, bd_addr, 10);
  EXPECT_OFFSET(btgatt_track_adv_info_t, adv_pkt_len, 16);
  EXPECT_OFFSET(btgatt_track_adv_info_t, p_adv_pkt_data, 24);
  EXPECT_OFFSET(btgatt_track_adv_info_t, scan_rsp_len, 32);
  EXPECT_OFFSET(btgatt_track_adv_info_t, p_scan_rsp_data, 40);

  EXPECT_LAYOUT(btgatt_filt_param_setup_t, 16, 2);
  EXPECT_OFFSET(btgatt_filt_param_setup_t, list_logic_type, 2);
  EXPECT_OFFSET(btgatt_filt_param_setup_t, filt_logic_type, 4);
  EXPECT_OFFSET(btgatt_filt_param_setup_t, dely_mode, 7);
  EXPECT_OFFSET(btgatt_filt_param_setup_t, found_timeout, 8);
  EXPECT_OFFSET(btgatt_filt_param_setup_t, lost_timeout, 10);
  EXPECT_OFFSET(btgatt_filt_param_setup_t, found_timeout_cnt, 12);
  EXPECT_OFFSET(btgatt_filt_param_setup_t, num_of_tracking_entries, 14);

  // The two records holding vectors assume a 24-byte std::vector.
  static_assert(sizeof(std::vector<uint8_t>) == 24);

  EXPECT_LAYOUT(ApcfCommand, 136, 8);
  EXPECT_OFFSET(ApcfCommand, address, 1);
  EXPECT_OFFSET(ApcfCommand, addr_type, 7);
  EXPECT_OFFSET(ApcfCommand, uuid, 8);
  EXPECT_OFFSET(ApcfCommand, uuid_mask, 24);
  EXPECT_OFFSET(ApcfCommand, name, 40);
  EXPECT_OFFSET(ApcfCommand, company, 64);
  EXPECT_OFFSET(ApcfCommand, company_mask, 66);
  EXPECT_OFFSET(ApcfCommand, ad_type, 68);
  EXPECT_OFFSET(ApcfCommand, data, 72);
  EXPECT_OFFSET(ApcfCommand, data_mask, 96);
  EXPECT_OFFSET(ApcfCommand, irk, 120);

  EXPECT_LAYOUT(AdvertisingTrackInfo, 80, 8);
  EXPECT_OFFSET(AdvertisingTrackInfo, advertiser_address, 4);
  EXPECT_OFFSET(AdvertisingTrackInfo, advertiser_address_type, 10);
  EXPECT_OFFSET(AdvertisingTrackInfo, tx_power, 11);
  EXPECT_OFFSET(AdvertisingTrackInfo, rssi, 12);
  EXPECT_OFFSET(AdvertisingTrackInfo, time_stamp, 14);
  EXPECT_OFFSET(AdvertisingTrackInfo, adv_packet_len, 16);
  EXPECT_OFFSET(AdvertisingTrackInfo, adv_packet, 24);
  EXPECT_OFFSET(AdvertisingTrackInfo, scan_response_len, 48);
  EXPECT_OFFSET(AdvertisingTrackInfo, scan_response, 56);
}

TEST(HalRecords, AdvertisingParameters) {
  EXPECT_LAYOUT(AdvertiseParameters, 20, 4);
  EXPECT_OFFSET(AdvertiseParameters, min_interval, 4);
  EXPECT_OFFSET(AdvertiseParameters, max_interval, 8);
  EXPECT_OFFSET(AdvertiseParameters, channel_map, 12);
  EXPECT_OFFSET(AdvertiseParameters, tx_power, 13);
  EXPECT_OFFSET(AdvertiseParameters, primary_advertising_phy, 14);
  EXPECT_OFFSET(AdvertiseParameters, secondary_advertising_phy, 15);
  EXPECT_OFFSET(AdvertiseParameters, scan_request_notification_enable, 16);
  EXPECT_OFFSET(AdvertiseParameters, own_address_type, 17);
  static_assert(std::is_same_v<decltype(AdvertiseParameters::own_address_type), int8_t>);

  EXPECT_LAYOUT(PeriodicAdvertisingParameters, 8, 2);
  EXPECT_OFFSET(PeriodicAdvertisingParameters, min_interval, 2);
  EXPECT_OFFSET(PeriodicAdvertisingParameters, max_interval, 4);
  EXPECT_OFFSET(PeriodicAdvertisingParameters, periodic_advertising_properties, 6);
}

TEST(HalTables, AdapterInterfaceHasFortySlots) {
  EXPECT_LAYOUT(bt_interface_t, 328, 8);
  EXPECT_OFFSET(bt_interface_t, init, 8);
  EXPECT_OFFSET(bt_interface_t, enable, 16);
  EXPECT_OFFSET(bt_interface_t, disable, 24);
  EXPECT_OFFSET(bt_interface_t, cleanup, 32);
  EXPECT_OFFSET(bt_interface_t, get_adapter_properties, 40);
  EXPECT_OFFSET(bt_interface_t, get_adapter_property, 48);
  EXPECT_OFFSET(bt_interface_t, set_adapter_property, 56);
  EXPECT_OFFSET(bt_interface_t, get_remote_device_properties, 64);
  EXPECT_OFFSET(bt_interface_t, get_remote_device_property, 72);
  EXPECT_OFFSET(bt_interface_t, set_remote_device_property, 80);
  EXPECT_OFFSET(bt_interface_t, get_remote_service_record, 88);
  EXPECT_OFFSET(bt_interface_t, get_remote_services, 96);
  EXPECT_OFFSET(bt_interface_t, start_discovery, 104);
  EXPECT_OFFSET(bt_interface_t, cancel_discovery, 112);
  EXPECT_OFFSET(bt_interface_t, create_bond, 120);
  EXPECT_OFFSET(bt_interface_t, create_bond_out_of_band, 128);
  EXPECT_OFFSET(bt_interface_t, remove_bond, 136);
  EXPECT_OFFSET(bt_interface_t, cancel_bond, 144);
  EXPECT_OFFSET(bt_interface_t, get_connection_state, 152);
  EXPECT_OFFSET(bt_interface_t, pin_reply, 160);
  EXPECT_OFFSET(bt_interface_t, ssp_reply, 168);
  EXPECT_OFFSET(bt_interface_t, get_profile_interface, 176);
  EXPECT_OFFSET(bt_interface_t, dut_mode_configure, 184);
  EXPECT_OFFSET(bt_interface_t, dut_mode_send, 192);
  EXPECT_OFFSET(bt_interface_t, le_test_mode, 200);
  EXPECT_OFFSET(bt_interface_t, set_os_callouts, 208);
  EXPECT_OFFSET(bt_interface_t, read_energy_info, 216);
  EXPECT_OFFSET(bt_interface_t, dump, 224);
  EXPECT_OFFSET(bt_interface_t, dumpMetrics, 232);
  EXPECT_OFFSET(bt_interface_t, config_clear, 240);
  EXPECT_OFFSET(bt_interface_t, interop_database_clear, 248);
  EXPECT_OFFSET(bt_interface_t, interop_database_add, 256);
  EXPECT_OFFSET(bt_interface_t, get_avrcp_service, 264);
  EXPECT_OFFSET(bt_interface_t, obfuscate_address, 272);
  EXPECT_OFFSET(bt_interface_t, get_metric_id, 280);
  EXPECT_OFFSET(bt_interface_t, set_dynamic_audio_buffer_size, 288);
  EXPECT_OFFSET(bt_interface_t, generate_local_oob_data, 296);
  EXPECT_OFFSET(bt_interface_t, allow_low_latency_audio, 304);
  EXPECT_OFFSET(bt_interface_t, clear_event_filter, 312);
  EXPECT_OFFSET(bt_interface_t, metadata_changed, 320);
}

// The slots whose argument passing differs from the obvious reading.
TEST(HalTables, AdapterSlotSignatures) {
  static_assert(std::is_same_v<decltype(bt_interface_t::get_remote_service_record),
                               int (*)(const RawAddress&, const bluetooth::Uuid&)>);
  static_assert(std::is_same_v<decltype(bt_interface_t::get_remote_services), int (*)(RawAddress*, int)>);
  static_assert(std::is_same_v<decltype(bt_interface_t::get_profile_interface), const void* (*)(const char*)>);
  static_assert(std::is_same_v<decltype(bt_interface_t::dumpMetrics), void (*)(std::string*)>);
  static_assert(
      std::is_same_v<decltype(bt_interface_t::get_avrcp_service), bluetooth::avrcp::ServiceInterface* (*)()>);
  static_assert(std::is_same_v<decltype(bt_interface_t::obfuscate_address), std::string (*)(const RawAddress&)>);
  static_assert(std::is_same_v<decltype(bt_interface_t::generate_local_oob_data), int (*)(uint8_t)>);
  static_assert(
      std::is_same_v<decltype(bt_interface_t::allow_low_latency_audio), bool (*)(bool, const RawAddress&)>);
  static_assert(std::is_same_v<decltype(bt_interface_t::metadata_changed),
                               void (*)(const RawAddress&, int, std::vector<uint8_t>)>);
}

TEST(HalTables, AdapterCallbacks) {
  EXPECT_LAYOUT(bt_callbacks_t, 160, 8);
  EXPECT_OFFSET(bt_callbacks_t, adapter_state_changed_cb, 8);
  EXPECT_OFFSET(bt_callbacks_t, adapter_properties_cb, 16);
  EXPECT_OFFSET(bt_callbacks_t, remote_device_properties_cb, 24);
  EXPECT_OFFSET(bt_callbacks_t, device_found_cb, 32);
  EXPECT_OFFSET(bt_callbacks_t, discovery_state_changed_cb, 40);
  EXPECT_OFFSET(bt_callbacks_t, pin_request_cb, 48);
  EXPECT_OFFSET(bt_callbacks_t, ssp_request_cb, 56);
  EXPECT_OFFSET(bt_callbacks_t, bond_state_changed_cb, 64);
  EXPECT_OFFSET(bt_callbacks_t, address_consolidate_cb, 72);
  EXPECT_OFFSET(bt_callbacks_t, le_address_associate_cb, 80);
  EXPECT_OFFSET(bt_callbacks_t, acl_state_changed_cb, 88);
  EXPECT_OFFSET(bt_callbacks_t, thread_evt_cb, 96);
  EXPECT_OFFSET(bt_callbacks_t, dut_mode_recv_cb, 104);
  EXPECT_OFFSET(bt_callbacks_t, le_test_mode_cb, 112);
  EXPECT_OFFSET(bt_callbacks_t, energy_info_cb, 120);
  EXPECT_OFFSET(bt_callbacks_t, link_quality_report_cb, 128);
  EXPECT_OFFSET(bt_callbacks_t, generate_local_oob_data_cb, 136);
  EXPECT_OFFSET(bt_callbacks_t, switch_buffer_size_cb, 144);
  EXPECT_OFFSET(bt_callbacks_t, switch_codec_cb, 152);

  static_assert(std::is_same_v<acl_state_changed_callback,
                               void (*)(bt_status_t, RawAddress*, bt_acl_state_t, int, bt_hci_error_code_t)>);
  static_assert(std::is_same_v<generate_local_oob_data_callback, void (*)(tBT_TRANSPORT, bt_oob_data_t)>);

  EXPECT_LAYOUT(bt_os_callouts_t, 32, 8);
  EXPECT_OFFSET(bt_os_callouts_t, set_wake_alarm, 8);
  EXPECT_OFFSET(bt_os_callouts_t, acquire_wake_lock, 16);
  EXPECT_OFFSET(bt_os_callouts_t, release_wake_lock, 24);
}

TEST(HalTables, GattInterface) {
  EXPECT_LAYOUT(btgatt_interface_t, 56, 8);
  EXPECT_OFFSET(btgatt_interface_t, init, 8);
  EXPECT_OFFSET(btgatt_interface_t, cleanup, 16);
  EXPECT_OFFSET(btgatt_interface_t, client, 24);
  EXPECT_OFFSET(btgatt_interface_t, server, 32);
  EXPECT_OFFSET(btgatt_interface_t, scanner, 40);
  EXPECT_OFFSET(btgatt_interface_t, advertiser, 48);

  EXPECT_LAYOUT(btgatt_callbacks_t, 32, 8);
  EXPECT_OFFSET(btgatt_callbacks_t, client, 8);
  EXPECT_OFFSET(btgatt_callbacks_t, server, 16);
  EXPECT_OFFSET(btgatt_callbacks_t, scanner, 24);
}

TEST(HalTables, GattClientInterface) {
  EXPECT_LAYOUT(btgatt_client_interface_t, 184, 8);
  EXPECT_OFFSET(btgatt_client_interface_t, register_client, 0);
  EXPECT_OFFSET(btgatt_client_interface_t, unregister_client, 8);
  EXPECT_OFFSET(btgatt_client_interface_t, connect, 16);
  EXPECT_OFFSET(btgatt_client_interface_t, disconnect, 24);
  EXPECT_OFFSET(btgatt_client_interface_t, refresh, 32);
  EXPECT_OFFSET(btgatt_client_interface_t, search_service, 40);
  EXPECT_OFFSET(btgatt_client_interface_t, btif_gattc_discover_service_by_uuid, 48);
  EXPECT_OFFSET(btgatt_client_interface_t, read_characteristic, 56);
  EXPECT_OFFSET(btgatt_client_interface_t, read_using_characteristic_uuid, 64);
  EXPECT_OFFSET(btgatt_client_interface_t, write_characteristic, 72);
  EXPECT_OFFSET(btgatt_client_interface_t, read_descriptor, 80);
  EXPECT_OFFSET(btgatt_client_interface_t, write_descriptor, 88);
  EXPECT_OFFSET(btgatt_client_interface_t, execute_write, 96);
  EXPECT_OFFSET(btgatt_client_interface_t, register_for_notification, 104);
  EXPECT_OFFSET(btgatt_client_interface_t, deregister_for_notification, 112);
  EXPECT_OFFSET(btgatt_client_interface_t, read_remote_rssi, 120);
  EXPECT_OFFSET(btgatt_client_interface_t, get_device_type, 128);
  EXPECT_OFFSET(btgatt_client_interface_t, configure_mtu, 136);
  EXPECT_OFFSET(btgatt_client_interface_t, conn_parameter_update, 144);
  EXPECT_OFFSET(btgatt_client_interface_t, set_preferred_phy, 152);
  EXPECT_OFFSET(btgatt_client_interface_t, read_phy, 160);
  EXPECT_OFFSET(btgatt_client_interface_t, test_command, 168);
  EXPECT_OFFSET(btgatt_client_interface_t, get_gatt_db, 176);

  static_assert(std::is_same_v<decltype(btgatt_client_interface_t::btif_gattc_discover_service_by_uuid),
                               void (*)(int, const bluetooth::Uuid&)>);
  static_assert(std::is_same_v<decltype(btgatt_client_interface_t::get_device_type), int (*)(const RawAddress&)>);
  static_assert(std::is_same_v<decltype(btgatt_client_interface_t::read_phy),
                               bt_status_t (*)(const RawAddress&, base::Callback<void(uint8_t, uint8_t, uint8_t)>)>);
}

TEST(HalTables, GattClientCallbacks) {
  EXPECT_LAYOUT(btgatt_client_callbacks_t, 160, 8);
  EXPECT_OFFSET(btgatt_client_callbacks_t, register_client_cb, 0);
  EXPECT_OFFSET(btgatt_client_callbacks_t, open_cb, 8);
  EXPECT_OFFSET(btgatt_client_callbacks_t, close_cb, 16);
  EXPECT_OFFSET(btgatt_client_callbacks_t, search_complete_cb, 24);
  EXPECT_OFFSET(btgatt_client_callbacks_t, register_for_notification_cb, 32);
  EXPECT_OFFSET(btgatt_client_callbacks_t, notify_cb, 40);
  EXPECT_OFFSET(btgatt_client_callbacks_t, read_characteristic_cb, 48);
  EXPECT_OFFSET(btgatt_client_callbacks_t, write_characteristic_cb, 56);
  EXPECT_OFFSET(btgatt_client_callbacks_t, read_descriptor_cb, 64);
  EXPECT_OFFSET(btgatt_client_callbacks_t, write_descriptor_cb, 72);
  EXPECT_OFFSET(btgatt_client_callbacks_t, execute_write_cb, 80);
  EXPECT_OFFSET(btgatt_client_callbacks_t, read_remote_rssi_cb, 88);
  EXPECT_OFFSET(btgatt_client_callbacks_t, configure_mtu_cb, 96);
  EXPECT_OFFSET(btgatt_client_callbacks_t, congestion_cb, 104);
  EXPECT_OFFSET(btgatt_client_callbacks_t, get_gatt_db_cb, 112);
  EXPECT_OFFSET(btgatt_client_callbacks_t, services_removed_cb, 120);
  EXPECT_OFFSET(btgatt_client_callbacks_t, services_added_cb, 128);
  EXPECT_OFFSET(btgatt_client_callbacks_t, phy_updated_cb, 136);
  EXPECT_OFFSET(btgatt_client_callbacks_t, conn_updated_cb, 144);
  EXPECT_OFFSET(btgatt_client_callbacks_t, service_changed_cb, 152);

  // Characteristic reads hand over a pointer, descriptor reads a reference.
  static_assert(std::is_same_v<read_characteristic_callback, void (*)(int, int, btgatt_read_params_t*)>);
  static_assert(std::is_same_v<read_descriptor_callback, void (*)(int, int, const btgatt_read_params_t&)>);
}

TEST(HalTables, GattServerInterfaceAndCallbacks) {
  EXPECT_LAYOUT(btgatt_server_interface_t, 88, 8);
  EXPECT_OFFSET(btgatt_server_interface_t, register_server, 0);
  EXPECT_OFFSET(btgatt_server_interface_t, unregister_server, 8);
  EXPECT_OFFSET(btgatt_server_interface_t, connect, 16);
  EXPECT_OFFSET(btgatt_server_interface_t, disconnect, 24);
  EXPECT_OFFSET(btgatt_server_interface_t, add_service, 32);
  EXPECT_OFFSET(btgatt_server_interface_t, stop_service, 40);
  EXPECT_OFFSET(btgatt_server_interface_t, delete_service, 48);
  EXPECT_OFFSET(btgatt_server_interface_t, send_indication, 56);
  EXPECT_OFFSET(btgatt_server_interface_t, send_response, 64);
  EXPECT_OFFSET(btgatt_server_interface_t, set_preferred_phy, 72);
  EXPECT_OFFSET(btgatt_server_interface_t, read_phy, 80);

  EXPECT_LAYOUT(btgatt_server_callbacks_t, 128, 8);
  EXPECT_OFFSET(btgatt_server_callbacks_t, register_server_cb, 0);
  EXPECT_OFFSET(btgatt_server_callbacks_t, connection_cb, 8);
  EXPECT_OFFSET(btgatt_server_callbacks_t, service_added_cb, 16);
  EXPECT_OFFSET(btgatt_server_callbacks_t, service_stopped_cb, 24);
  EXPECT_OFFSET(btgatt_server_callbacks_t, service_deleted_cb, 32);
  EXPECT_OFFSET(btgatt_server_callbacks_t, request_read_characteristic_cb, 40);
  EXPECT_OFFSET(btgatt_server_callbacks_t, request_read_descriptor_cb, 48);
  EXPECT_OFFSET(btgatt_server_callbacks_t, request_write_characteristic_cb, 56);
  EXPECT_OFFSET(btgatt_server_callbacks_t, request_write_descriptor_cb, 64);
  EXPECT_OFFSET(btgatt_server_callbacks_t, request_exec_write_cb, 72);
  EXPECT_OFFSET(btgatt_server_callbacks_t, response_confirmation_cb, 80);
  EXPECT_OFFSET(btgatt_server_callbacks_t, indication_sent_cb, 88);
  EXPECT_OFFSET(btgatt_server_callbacks_t, congestion_cb, 96);
  EXPECT_OFFSET(btgatt_server_callbacks_t, mtu_changed_cb, 104);
  EXPECT_OFFSET(btgatt_server_callbacks_t, phy_updated_cb, 112);
  EXPECT_OFFSET(btgatt_server_callbacks_t, conn_updated_cb, 120);
}

TEST(HalTables, ScannerCallbacks) {
  EXPECT_LAYOUT(btgatt_scanner_callbacks_t, 32, 8);
  EXPECT_OFFSET(btgatt_scanner_callbacks_t, batchscan_reports_cb, 8);
  EXPECT_OFFSET(btgatt_scanner_callbacks_t, batchscan_threshold_cb, 16);
  EXPECT_OFFSET(btgatt_scanner_callbacks_t, track_adv_event_cb, 24);
}

class RecordingScanner : public BleScannerInterface {
 public:
  std::vector<std::string> calls;

  void RegisterScanner(const bluetooth::Uuid&, RegisterCallback) override { calls.push_back("RegisterScanner"); }
  void Unregister(int) override { calls.push_back("Unregister"); }
  void Scan(bool) override { calls.push_back("Scan"); }
  void ScanFilterParamSetup(uint8_t, uint8_t, uint8_t, std::unique_ptr<btgatt_filt_param_setup_t>,
                            FilterParamSetupCallback) override {
    calls.push_back("ScanFilterParamSetup");
  }
  void ScanFilterAdd(int, std::vector<ApcfCommand>, FilterConfigCallback) override {
    calls.push_back("ScanFilterAdd");
  }
  void ScanFilterClear(int, FilterConfigCallback) override { calls.push_back("ScanFilterClear"); }
  void ScanFilterEnable(bool, EnableCallback) override { calls.push_back("ScanFilterEnable"); }
  void SetScanParameters(int, int, int, Callback) override { calls.push_back("SetScanParameters"); }
  void BatchscanConfigStorage(int, int, int, int, Callback) override { calls.push_back("BatchscanConfigStorage"); }
  void BatchscanEnable(int, int, int, int, int, Callback) override { calls.push_back("BatchscanEnable"); }
  void BatchscanDisable(Callback) override { calls.push_back("BatchscanDisable"); }
  void BatchscanReadReports(int, int) override { calls.push_back("BatchscanReadReports"); }
  void StartSync(uint8_t, RawAddress, uint16_t, uint16_t, int) override { calls.push_back("StartSync"); }
  void StopSync(uint16_t) override { calls.push_back("StopSync"); }
  void RegisterCallbacks(ScanningCallbacks*) override { calls.push_back("RegisterCallbacks"); }
  void CancelCreateSync(uint8_t, RawAddress) override { calls.push_back("CancelCreateSync"); }
  void TransferSync(RawAddress, uint16_t, uint16_t, int) override { calls.push_back("TransferSync"); }
  void TransferSetInfo(RawAddress, uint16_t, uint8_t, int) override { calls.push_back("TransferSetInfo"); }
  void SyncTxParameters(RawAddress, uint8_t, uint16_t, uint16_t, int) override {
    calls.push_back("SyncTxParameters");
  }
};

TEST(HalVtables, BleScannerInterfaceSlotsRunTheirMethods) {
  using S = BleScannerInterface;
  static_assert(sizeof(S) == sizeof(void*), "only the vtable pointer");
  RecordingScanner recorder;
  S& scanner = recorder;
  const bluetooth::Uuid uuid = bluetooth::Uuid::From16Bit(0x180d);
  const RawAddress address{};

  CallSlot<S, const bluetooth::Uuid&, S::RegisterCallback>(scanner, 2, uuid, {});
  CallSlot<S, int>(scanner, 3, 1);
  CallSlot<S, bool>(scanner, 4, true);
  CallSlot<S, uint8_t, uint8_t, uint8_t, std::unique_ptr<btgatt_filt_param_setup_t>, S::FilterParamSetupCallback>(
      scanner, 5, 1, 2, 3, nullptr, {});
  CallSlot<S, int, std::vector<ApcfCommand>, S::FilterConfigCallback>(scanner, 6, 1, {}, {});
  CallSlot<S, int, S::FilterConfigCallback>(scanner, 7, 1, {});
  CallSlot<S, bool, S::EnableCallback>(scanner, 8, true, {});
  CallSlot<S, int, int, int, S::Callback>(scanner, 9, 1, 2, 3, {});
  CallSlot<S, int, int, int, int, S::Callback>(scanner, 10, 1, 2, 3, 4, {});
  CallSlot<S, int, int, int, int, int, S::Callback>(scanner, 11, 1, 2, 3, 4, 5, {});
  CallSlot<S, S::Callback>(scanner, 12, {});
  CallSlot<S, int, int>(scanner, 13, 1, 2);
  CallSlot<S, uint8_t, RawAddress, uint16_t, uint16_t, int>(scanner, 14, 1, address, 2, 3, 4);
  CallSlot<S, uint16_t>(scanner, 15, 1);
  CallSlot<S, ScanningCallbacks*>(scanner, 16, nullptr);
  CallSlot<S, uint8_t, RawAddress>(scanner, 17, 1, address);
  CallSlot<S, RawAddress, uint16_t, uint16_t, int>(scanner, 18, address, 1, 2, 3);
  CallSlot<S, RawAddress, uint16_t, uint8_t, int>(scanner, 19, address, 1, 2, 3);
  CallSlot<S, RawAddress, uint8_t, uint16_t, uint16_t, int>(scanner, 20, address, 1, 2, 3, 4);

  EXPECT_THAT(recorder.calls,
              ElementsAre("RegisterScanner", "Unregister", "Scan", "ScanFilterParamSetup", "ScanFilterAdd",
                          "ScanFilterClear", "ScanFilterEnable", "SetScanParameters", "BatchscanConfigStorage",
                          "BatchscanEnable", "BatchscanDisable", "BatchscanReadReports", "StartSync", "StopSync",
                          "RegisterCallbacks", "CancelCreateSync", "TransferSync", "TransferSetInfo",
                          "SyncTxParameters"));
}

class RecordingAdvertiser : public BleAdvertiserInterface {
 public:
  std::vector<std::string> calls;

  void RegisterAdvertiser(IdStatusCallback) override { calls.push_back("RegisterAdvertiser"); }
  void GetOwnAddress(uint8_t, GetAddressCallback) override { calls.push_back("GetOwnAddress"); }
  void SetParameters(uint8_t, AdvertiseParameters, ParametersCallback) override { calls.push_back("SetParameters"); }
  void SetData(int, bool, std::vector<uint8_t>, StatusCallback) override { calls.push_back("SetData"); }
  void Enable(uint8_t, bool, StatusCallback, uint16_t, uint8_t, StatusCallback) override {
    calls.push_back("Enable");
  }
  void Unregister(uint8_t) override { calls.push_back("Unregister"); }
  void StartAdvertising(uint8_t, StatusCallback, AdvertiseParameters, std::vector<uint8_t>, std::vector<uint8_t>, int,
                        StatusCallback) override {
    calls.push_back("StartAdvertising");
  }
  void StartAdvertisingSet(int, IdTxPowerStatusCallback, AdvertiseParameters, std::vector<uint8_t>,
                           std::vector<uint8_t>, PeriodicAdvertisingParameters, std::vector<uint8_t>, uint16_t,
                           uint8_t, IdStatusCallback) override {
    calls.push_back("StartAdvertisingSet");
  }
  void SetPeriodicAdvertisingParameters(int, PeriodicAdvertisingParameters, StatusCallback) override {
    calls.push_back("SetPeriodicAdvertisingParameters");
  }
  void SetPeriodicAdvertisingData(int, std::vector<uint8_t>, StatusCallback) override {
    calls.push_back("SetPeriodicAdvertisingData");
  }
  void SetPeriodicAdvertisingEnable(int, bool, StatusCallback) override {
    calls.push_back("SetPeriodicAdvertisingEnable");
  }
  void RegisterCallbacks(AdvertisingCallbacks*) override { calls.push_back("RegisterCallbacks"); }
};

TEST(HalVtables, BleAdvertiserInterfaceSlotsRunTheirMethods) {
  using A = BleAdvertiserInterface;
  static_assert(sizeof(A) == sizeof(void*), "only the vtable pointer");
  RecordingAdvertiser recorder;
  A& advertiser = recorder;
  const AdvertiseParameters params{};
  const PeriodicAdvertisingParameters periodic{};
  using Bytes = std::vector<uint8_t>;

  CallSlot<A, A::IdStatusCallback>(advertiser, 2, {});
  CallSlot<A, uint8_t, A::GetAddressCallback>(advertiser, 3, 1, {});
  CallSlot<A, uint8_t, AdvertiseParameters, A::ParametersCallback>(advertiser, 4, 1, params, {});
  CallSlot<A, int, bool, Bytes, A::StatusCallback>(advertiser, 5, 1, true, {}, {});
  CallSlot<A, uint8_t, bool, A::StatusCallback, uint16_t, uint8_t, A::StatusCallback>(advertiser, 6, 1, true, {}, 2,
                                                                                       3, {});
  CallSlot<A, uint8_t>(advertiser, 7, 1);
  CallSlot<A, uint8_t, A::StatusCallback, AdvertiseParameters, Bytes, Bytes, int, A::StatusCallback>(
      advertiser, 8, 1, {}, params, {}, {}, 2, {});
  CallSlot<A, int, A::IdTxPowerStatusCallback, AdvertiseParameters, Bytes, Bytes, PeriodicAdvertisingParameters,
           Bytes, uint16_t, uint8_t, A::IdStatusCallback>(advertiser, 9, 1, {}, params, {}, {}, periodic, {}, 2, 3,
                                                          {});
  CallSlot<A, int, PeriodicAdvertisingParameters, A::StatusCallback>(advertiser, 10, 1, periodic, {});
  CallSlot<A, int, Bytes, A::StatusCallback>(advertiser, 11, 1, {}, {});
  CallSlot<A, int, bool, A::StatusCallback>(advertiser, 12, 1, true, {});
  CallSlot<A, AdvertisingCallbacks*>(advertiser, 13, nullptr);

  EXPECT_THAT(recorder.calls,
              ElementsAre("RegisterAdvertiser", "GetOwnAddress", "SetParameters", "SetData", "Enable", "Unregister",
                          "StartAdvertising", "StartAdvertisingSet", "SetPeriodicAdvertisingParameters",
                          "SetPeriodicAdvertisingData", "SetPeriodicAdvertisingEnable", "RegisterCallbacks"));
}

// The library calls these; the indices are those the compiler will use.
TEST(HalVtables, ScanningCallbacksOrder) {
  using C = ScanningCallbacks;
  EXPECT_EQ(VtableIndex(&C::OnScannerRegistered), 2u);
  EXPECT_EQ(VtableIndex(&C::OnSetScannerParameterComplete), 3u);
  EXPECT_EQ(VtableIndex(&C::OnScanResult), 4u);
  EXPECT_EQ(VtableIndex(&C::OnTrackAdvFoundLost), 5u);
  EXPECT_EQ(VtableIndex(&C::OnBatchScanReports), 6u);
  EXPECT_EQ(VtableIndex(&C::OnBatchScanThresholdCrossed), 7u);
  EXPECT_EQ(VtableIndex(&C::OnPeriodicSyncStarted), 8u);
  EXPECT_EQ(VtableIndex(&C::OnPeriodicSyncReport), 9u);
  EXPECT_EQ(VtableIndex(&C::OnPeriodicSyncLost), 10u);
  EXPECT_EQ(VtableIndex(&C::OnPeriodicSyncTransferred), 11u);
  // The UUID travels by value, the tracking record through a hidden pointer.
  static_assert(std::is_same_v<decltype(&C::OnScannerRegistered), void (C::*)(bluetooth::Uuid, uint8_t, uint8_t)>);
  static_assert(std::is_same_v<decltype(&C::OnTrackAdvFoundLost), void (C::*)(AdvertisingTrackInfo)>);
}

TEST(HalVtables, AdvertisingCallbacksOrder) {
  using C = AdvertisingCallbacks;
  EXPECT_EQ(VtableIndex(&C::OnAdvertisingSetStarted), 2u);
  EXPECT_EQ(VtableIndex(&C::OnAdvertisingEnabled), 3u);
  EXPECT_EQ(VtableIndex(&C::OnAdvertisingDataSet), 4u);
  EXPECT_EQ(VtableIndex(&C::OnScanResponseDataSet), 5u);
  EXPECT_EQ(VtableIndex(&C::OnAdvertisingParametersUpdated), 6u);
  EXPECT_EQ(VtableIndex(&C::OnPeriodicAdvertisingParametersUpdated), 7u);
  EXPECT_EQ(VtableIndex(&C::OnPeriodicAdvertisingDataSet), 8u);
  EXPECT_EQ(VtableIndex(&C::OnPeriodicAdvertisingEnabled), 9u);
  EXPECT_EQ(VtableIndex(&C::OnOwnAddressRead), 10u);
}

// Methods fill slots 0 to 6, so the protected destructor takes 7 and 8.
TEST(HalVtables, AvrcpServiceInterfaceOrder) {
  using C = bluetooth::avrcp::ServiceInterface;
  EXPECT_EQ(VtableIndex(&C::Init), 0u);
  EXPECT_EQ(VtableIndex(&C::RegisterBipServer), 1u);
  EXPECT_EQ(VtableIndex(&C::UnregisterBipServer), 2u);
  EXPECT_EQ(VtableIndex(&C::ConnectDevice), 3u);
  EXPECT_EQ(VtableIndex(&C::DisconnectDevice), 4u);
  EXPECT_EQ(VtableIndex(&C::SetBipClientStatus), 5u);
  EXPECT_EQ(VtableIndex(&C::Cleanup), 6u);
  static_assert(std::has_virtual_destructor_v<C>);
  static_assert(!std::is_destructible_v<C>, "the destructor is protected");
}

}  // namespace
