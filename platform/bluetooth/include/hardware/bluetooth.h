#ifndef ANDROID_INCLUDE_BLUETOOTH_H
#define ANDROID_INCLUDE_BLUETOOTH_H

#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>
#include <sys/types.h>

#include "avrcp/avrcp.h"
#include "bluetooth/uuid.h"
#include "bt_transport.h"
#include "raw_address.h"

#define BT_HARDWARE_MODULE_ID "bluetooth"
#define BT_STACK_MODULE_ID "bluetooth"

// The name of the data symbol that holds the bt_interface_t.
#define BLUETOOTH_INTERFACE_STRING "bluetoothInterface"

#define BT_PROFILE_HANDSFREE_ID "handsfree"
#define BT_PROFILE_HANDSFREE_CLIENT_ID "handsfree_client"
#define BT_PROFILE_ADVANCED_AUDIO_ID "a2dp"
#define BT_PROFILE_ADVANCED_AUDIO_SINK_ID "a2dp_sink"
#define BT_PROFILE_SOCKETS_ID "socket"
#define BT_PROFILE_HIDHOST_ID "hidhost"
#define BT_PROFILE_HIDDEV_ID "hiddev"
#define BT_PROFILE_PAN_ID "pan"
#define BT_PROFILE_MAP_CLIENT_ID "map_client"
#define BT_PROFILE_SDP_CLIENT_ID "sdp"
#define BT_PROFILE_GATT_ID "gatt"
#define BT_PROFILE_AV_RC_ID "avrcp"
#define BT_PROFILE_AV_RC_CTRL_ID "avrcp_ctrl"
#define BT_PROFILE_HEARING_AID_ID "hearing_aid"
#define BT_PROFILE_HAP_CLIENT_ID "has_client"
#define BT_PROFILE_LE_AUDIO_ID "le_audio"
#define BT_KEYSTORE_ID "bluetooth_keystore"
#define BT_ACTIVITY_ATTRIBUTION_ID "activity_attribution"
#define BT_PROFILE_VC_ID "volume_control"
#define BT_PROFILE_CSIS_CLIENT_ID "csis_client"
#define BT_PROFILE_LE_AUDIO_BROADCASTER_ID "le_audio_broadcaster"

typedef enum { BT_STATE_OFF, BT_STATE_ON } bt_state_t;

typedef enum {
  BT_STATUS_SUCCESS,
  BT_STATUS_FAIL,
  BT_STATUS_NOT_READY,
  BT_STATUS_NOMEM,
  BT_STATUS_BUSY,
  BT_STATUS_DONE,
  BT_STATUS_UNSUPPORTED,
  BT_STATUS_PARM_INVALID,
  BT_STATUS_UNHANDLED,
  BT_STATUS_AUTH_FAILURE,
  BT_STATUS_RMT_DEV_DOWN,
  BT_STATUS_AUTH_REJECTED,
  BT_STATUS_JNI_ENVIRONMENT_ERROR,
  BT_STATUS_JNI_THREAD_ATTACH_ERROR,
  BT_STATUS_WAKELOCK_ERROR
} bt_status_t;

inline std::string bt_status_text(const bt_status_t& status) {
  switch (status) {
    case BT_STATUS_SUCCESS:
      return "success";
    case BT_STATUS_FAIL:
      return "fail";
    case BT_STATUS_NOT_READY:
      return "not_ready";
    case BT_STATUS_NOMEM:
      return "nomem";
    case BT_STATUS_BUSY:
      return "busy";
    case BT_STATUS_DONE:
      return "done";
    case BT_STATUS_UNSUPPORTED:
      return "unsupported";
    case BT_STATUS_PARM_INVALID:
      return "parm_invalid";
    case BT_STATUS_UNHANDLED:
      return "unhandled";
    case BT_STATUS_AUTH_FAILURE:
      return "auth_failure";
    case BT_STATUS_RMT_DEV_DOWN:
      return "rmt_dev_down";
    case BT_STATUS_AUTH_REJECTED:
      return "auth_rejected";
    case BT_STATUS_JNI_ENVIRONMENT_ERROR:
      return "jni_environment_error";
    case BT_STATUS_JNI_THREAD_ATTACH_ERROR:
      return "jni_thread_attach_error";
    case BT_STATUS_WAKELOCK_ERROR:
      return "wakelock_error";
  }
  return "unknown";
}

typedef struct {
  uint8_t pin[16];
} __attribute__((packed)) bt_pin_code_t;

typedef struct {
  int version;
  int sub_ver;
  int manufacturer;
} bt_remote_version_t;

typedef struct {
  uint16_t version_supported;
  uint8_t local_privacy_enabled;
  uint8_t max_adv_instance;
  uint8_t rpa_offload_supported;
  uint8_t max_irk_list_size;
  uint8_t max_adv_filter_supported;
  uint8_t activity_energy_info_supported;
  uint16_t scan_result_storage_size;
  uint16_t total_trackable_advertisers;
  bool extended_scan_support;
  bool debug_logging_supported;
  bool le_2m_phy_supported;
  bool le_coded_phy_supported;
  bool le_extended_advertising_supported;
  bool le_periodic_advertising_supported;
  uint16_t le_maximum_advertising_data_length;
  uint32_t dynamic_audio_buffer_supported;
  bool le_periodic_advertising_sync_transfer_sender_supported;
  bool le_connected_isochronous_stream_central_supported;
  bool le_isochronous_broadcast_supported;
  bool le_periodic_advertising_sync_transfer_recipient_supported;
} bt_local_le_features_t;

typedef struct {
  uint16_t default_buffer_time;
  uint16_t maximum_buffer_time;
  uint16_t minimum_buffer_time;
} bt_dynamic_audio_buffer_type_t;

typedef struct {
  bt_dynamic_audio_buffer_type_t dab_item[32];
} bt_dynamic_audio_buffer_item_t;

typedef enum { BT_SCAN_MODE_NONE, BT_SCAN_MODE_CONNECTABLE, BT_SCAN_MODE_CONNECTABLE_DISCOVERABLE } bt_scan_mode_t;

typedef enum {
  BT_IO_CAP_OUT,     // display only
  BT_IO_CAP_IO,      // display and yes/no
  BT_IO_CAP_IN,      // keyboard only
  BT_IO_CAP_NONE,    // neither input nor output
  BT_IO_CAP_KBDISP,  // keyboard and display
  BT_IO_CAP_MAX,
  BT_IO_CAP_UNKNOWN = 0xFF
} bt_io_cap_t;

typedef enum { BT_DISCOVERY_STOPPED, BT_DISCOVERY_STARTED } bt_discovery_state_t;

typedef enum { BT_ACL_STATE_CONNECTED, BT_ACL_STATE_DISCONNECTED } bt_acl_state_t;

typedef enum { BT_DEVICE_DEVTYPE_BREDR = 0x1, BT_DEVICE_DEVTYPE_BLE, BT_DEVICE_DEVTYPE_DUAL } bt_device_type_t;

typedef struct {
  uint8_t name[249];
} __attribute__((packed)) bt_bdname_t;

typedef struct {
  bluetooth::Uuid uuid;
  uint16_t channel;
  char name[256];
} bt_service_record_t;

// The payload type each property's val points at is given alongside.
typedef enum {
  BT_PROPERTY_BDNAME = 0x1,                    // bt_bdname_t
  BT_PROPERTY_BDADDR,                          // RawAddress
  BT_PROPERTY_UUIDS,                           // bluetooth::Uuid[len / 16]
  BT_PROPERTY_CLASS_OF_DEVICE,                 // uint32_t
  BT_PROPERTY_TYPE_OF_DEVICE,                  // bt_device_type_t
  BT_PROPERTY_SERVICE_RECORD,                  // bt_service_record_t
  BT_PROPERTY_ADAPTER_SCAN_MODE,               // bt_scan_mode_t
  BT_PROPERTY_ADAPTER_BONDED_DEVICES,          // RawAddress[len / 6]
  BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT,    // uint32_t seconds
  BT_PROPERTY_REMOTE_FRIENDLY_NAME,            // bt_bdname_t
  BT_PROPERTY_REMOTE_RSSI,                     // int8_t
  BT_PROPERTY_REMOTE_VERSION_INFO,             // bt_remote_version_t
  BT_PROPERTY_LOCAL_LE_FEATURES,               // bt_local_le_features_t
  BT_PROPERTY_LOCAL_IO_CAPS,                   // bt_io_cap_t
  BT_PROPERTY_LOCAL_IO_CAPS_BLE,               // bt_io_cap_t
  BT_PROPERTY_DYNAMIC_AUDIO_BUFFER,
  BT_PROPERTY_REMOTE_IS_COORDINATED_SET_MEMBER,  // bool

  BT_PROPERTY_REMOTE_DEVICE_TIMESTAMP = 0xFF,
} bt_property_type_t;

typedef struct {
  bt_property_type_t type;
  int len;
  void* val;
} bt_property_t;

typedef struct bt_oob_data_s {
  bool is_valid = false;
  uint8_t address[7];  // 6 address bytes, then the address type
  uint8_t c[16];       // confirmation value
  uint8_t r[16];       // randomizer
  uint8_t device_name[256];
  uint8_t oob_data_length[2];
  uint8_t class_of_device[2];
  uint8_t le_device_role;
  uint8_t sm_tk[16];
  uint8_t le_flags;
  uint8_t le_appearance[2];
} bt_oob_data_t;

typedef enum { BT_BOND_STATE_NONE, BT_BOND_STATE_BONDING, BT_BOND_STATE_BONDED } bt_bond_state_t;

typedef enum {
  BT_SSP_VARIANT_PASSKEY_CONFIRMATION,
  BT_SSP_VARIANT_PASSKEY_ENTRY,
  BT_SSP_VARIANT_CONSENT,
  BT_SSP_VARIANT_PASSKEY_NOTIFICATION
} bt_ssp_variant_t;

#define BT_MAX_NUM_UUIDS 32

// An HCI error code as the controller reports it.
typedef uint8_t bt_hci_error_code_t;

typedef enum { ASSOCIATE_JVM, DISASSOCIATE_JVM } bt_cb_thread_evt;

// Times are in milliseconds.
typedef struct {
  uint8_t status;
  uint8_t ctrl_state;
  uint64_t tx_time;
  uint64_t rx_time;
  uint64_t idle_time;
  uint64_t energy_used;
} __attribute__((packed)) bt_activity_energy_info;

// The array handed to energy_info_cb ends with an entry whose app_uid is -1.
typedef struct {
  int32_t app_uid;
  uint64_t tx_bytes;
  uint64_t rx_bytes;
} __attribute__((packed)) bt_uid_traffic_t;

typedef void (*adapter_state_changed_callback)(bt_state_t state);

typedef void (*adapter_properties_callback)(bt_status_t status, int num_properties, bt_property_t* properties);

typedef void (*remote_device_properties_callback)(bt_status_t status, RawAddress* bd_addr, int num_properties,
                                                  bt_property_t* properties);

typedef void (*device_found_callback)(int num_properties, bt_property_t* properties);

typedef void (*discovery_state_changed_callback)(bt_discovery_state_t state);

typedef void (*pin_request_callback)(RawAddress* remote_bd_addr, bt_bdname_t* bd_name, uint32_t cod,
                                     bool min_16_digit);

typedef void (*ssp_request_callback)(RawAddress* remote_bd_addr, bt_bdname_t* bd_name, uint32_t cod,
                                     bt_ssp_variant_t pairing_variant, uint32_t pass_key);

typedef void (*bond_state_changed_callback)(bt_status_t status, RawAddress* remote_bd_addr, bt_bond_state_t state,
                                            int fail_reason);

typedef void (*address_consolidate_callback)(RawAddress* main_bd_addr, RawAddress* secondary_bd_addr);

typedef void (*le_address_associate_callback)(RawAddress* main_bd_addr, RawAddress* secondary_bd_addr);

typedef void (*acl_state_changed_callback)(bt_status_t status, RawAddress* remote_bd_addr, bt_acl_state_t state,
                                           int transport_link_type, bt_hci_error_code_t hci_reason);

typedef void (*callback_thread_event)(bt_cb_thread_evt evt);

typedef void (*dut_mode_recv_callback)(uint16_t opcode, uint8_t* buf, uint8_t len);

typedef void (*le_test_mode_callback)(bt_status_t status, uint16_t num_packets);

typedef void (*energy_info_callback)(bt_activity_energy_info* energy_info, bt_uid_traffic_t* uid_data);

typedef void (*link_quality_report_callback)(uint64_t timestamp, int report_id, int rssi, int snr,
                                             int retransmission_count, int packets_not_receive_count,
                                             int negative_acknowledgement_count);

typedef void (*generate_local_oob_data_callback)(tBT_TRANSPORT transport, bt_oob_data_t oob_data);

typedef void (*switch_buffer_size_callback)(bool is_low_latency_buffer_size);

typedef void (*switch_codec_callback)(bool is_low_latency_buffer_size);

typedef struct {
  size_t size;
  adapter_state_changed_callback adapter_state_changed_cb;
  adapter_properties_callback adapter_properties_cb;
  remote_device_properties_callback remote_device_properties_cb;
  device_found_callback device_found_cb;
  discovery_state_changed_callback discovery_state_changed_cb;
  pin_request_callback pin_request_cb;
  ssp_request_callback ssp_request_cb;
  bond_state_changed_callback bond_state_changed_cb;
  address_consolidate_callback address_consolidate_cb;
  le_address_associate_callback le_address_associate_cb;
  acl_state_changed_callback acl_state_changed_cb;
  callback_thread_event thread_evt_cb;
  dut_mode_recv_callback dut_mode_recv_cb;
  le_test_mode_callback le_test_mode_cb;
  energy_info_callback energy_info_cb;
  link_quality_report_callback link_quality_report_cb;
  generate_local_oob_data_callback generate_local_oob_data_cb;
  switch_buffer_size_callback switch_buffer_size_cb;
  switch_codec_callback switch_codec_cb;
} bt_callbacks_t;

typedef void (*alarm_cb)(void* data);

// Timers and wake locks the stack borrows from the OS.
typedef struct {
  size_t size;
  bool (*set_wake_alarm)(uint64_t delay_millis, bool should_wake, alarm_cb cb, void* data);
  int (*acquire_wake_lock)(const char* lock_name);
  int (*release_wake_lock)(const char* lock_name);
} bt_os_callouts_t;

// The adapter interface. Unless noted, int results carry bt_status_t values.
typedef struct {
  size_t size;

  int (*init)(bt_callbacks_t* callbacks, bool guest_mode, bool is_common_criteria_mode, int config_compare_result,
              const char** init_flags, bool is_atv, const char* user_data_directory);
  int (*enable)();
  int (*disable)(void);
  void (*cleanup)(void);

  int (*get_adapter_properties)(void);
  int (*get_adapter_property)(bt_property_type_t type);
  int (*set_adapter_property)(const bt_property_t* property);

  int (*get_remote_device_properties)(RawAddress* remote_addr);
  int (*get_remote_device_property)(RawAddress* remote_addr, bt_property_type_t type);
  int (*set_remote_device_property)(RawAddress* remote_addr, const bt_property_t* property);
  int (*get_remote_service_record)(const RawAddress& remote_addr, const bluetooth::Uuid& uuid);
  int (*get_remote_services)(RawAddress* remote_addr, int transport);

  int (*start_discovery)(void);
  int (*cancel_discovery)(void);

  int (*create_bond)(const RawAddress* bd_addr, int transport);
  int (*create_bond_out_of_band)(const RawAddress* bd_addr, int transport, const bt_oob_data_t* p192_data,
                                 const bt_oob_data_t* p256_data);
  int (*remove_bond)(const RawAddress* bd_addr);
  int (*cancel_bond)(const RawAddress* bd_addr);

  // Not a bt_status_t: zero when not connected, non-zero when connected.
  int (*get_connection_state)(const RawAddress* bd_addr);

  int (*pin_reply)(const RawAddress* bd_addr, uint8_t accept, uint8_t pin_len, bt_pin_code_t* pin_code);
  int (*ssp_reply)(const RawAddress* bd_addr, bt_ssp_variant_t variant, uint8_t accept, uint32_t passkey);

  // profile_id is one of the BT_PROFILE_..._ID strings.
  const void* (*get_profile_interface)(const char* profile_id);

  int (*dut_mode_configure)(uint8_t enable);
  int (*dut_mode_send)(uint16_t opcode, uint8_t* buf, uint8_t len);
  int (*le_test_mode)(uint16_t opcode, uint8_t* buf, uint8_t len);

  int (*set_os_callouts)(bt_os_callouts_t* callouts);

  int (*read_energy_info)();

  void (*dump)(int fd, const char** arguments);
  void (*dumpMetrics)(std::string* output);

  int (*config_clear)(void);

  void (*interop_database_clear)(void);
  void (*interop_database_add)(uint16_t feature, const RawAddress* addr, size_t len);

  bluetooth::avrcp::ServiceInterface* (*get_avrcp_service)(void);

  std::string (*obfuscate_address)(const RawAddress& address);

  int (*get_metric_id)(const RawAddress& address);

  int (*set_dynamic_audio_buffer_size)(int codec, int size);

  int (*generate_local_oob_data)(tBT_TRANSPORT transport);

  bool (*allow_low_latency_audio)(bool allowed, const RawAddress& address);

  int (*clear_event_filter)();

  void (*metadata_changed)(const RawAddress& remote_bd_addr, int key, std::vector<uint8_t> value);
} bt_interface_t;

#endif  // ANDROID_INCLUDE_BLUETOOTH_H
