#ifndef ANDROID_INCLUDE_BT_GATT_CLIENT_H
#define ANDROID_INCLUDE_BT_GATT_CLIENT_H

#include <bluetooth/uuid.h>
#include <raw_address.h>
#include <stdint.h>

#include "bt_common_types.h"
#include "bt_gatt_types.h"

__BEGIN_DECLS

// The largest attribute value the HAL carries.
#define BTGATT_MAX_ATTR_LEN 600

typedef enum {
  BT_GATTC_COMMAND_SUCCESS = 0,
  BT_GATTC_COMMAND_STARTED,
  BT_GATTC_COMMAND_BUSY,
  BT_GATTC_COMMAND_STORED,
  BT_GATTC_NO_RESOURCES,
  BT_GATTC_MODE_UNSUPPORTED,
  BT_GATTC_ILLEGAL_VALUE,
  BT_GATTC_INCORRECT_STATE,
  BT_GATTC_UNKNOWN_ADDR,
  BT_GATTC_DEVICE_TIMEOUT,
  BT_GATTC_INVALID_CONTROLLER_OUTPUT,
  BT_GATTC_SECURITY_ERROR,
  BT_GATTC_DELAYED_ENCRYPTION_CHECK,
  BT_GATTC_ERR_PROCESSING
} btgattc_error_t;

typedef struct {
  uint8_t value[BTGATT_MAX_ATTR_LEN];
  uint16_t len;
} btgatt_unformatted_value_t;

typedef struct {
  uint16_t handle;
  btgatt_unformatted_value_t value;
  uint16_t value_type;
  uint8_t status;
} btgatt_read_params_t;

typedef struct {
  btgatt_srvc_id_t srvc_id;
  btgatt_gatt_id_t char_id;
  btgatt_gatt_id_t descr_id;
  uint8_t status;
} btgatt_write_params_t;

typedef struct {
  uint8_t value[BTGATT_MAX_ATTR_LEN];
  RawAddress bda;
  uint16_t handle;
  uint16_t len;
  uint8_t is_notify;
} btgatt_notify_params_t;

typedef struct {
  RawAddress* bda1;
  bluetooth::Uuid* uuid1;
  uint16_t u1;
  uint16_t u2;
  uint16_t u3;
  uint16_t u4;
  uint16_t u5;
} btgatt_test_params_t;

typedef void (*register_client_callback)(int status, int client_if, const bluetooth::Uuid& app_uuid);

typedef void (*connect_callback)(int conn_id, int status, int client_if, const RawAddress& bda);

typedef void (*disconnect_callback)(int conn_id, int status, int client_if, const RawAddress& bda);

typedef void (*search_complete_callback)(int conn_id, int status);

typedef void (*register_for_notification_callback)(int conn_id, int registered, int status, uint16_t handle);

typedef void (*notify_callback)(int conn_id, const btgatt_notify_params_t& p_data);

typedef void (*read_characteristic_callback)(int conn_id, int status, btgatt_read_params_t* p_data);

typedef void (*write_characteristic_callback)(int conn_id, int status, uint16_t handle, uint16_t len,
                                              const uint8_t* value);

typedef void (*read_descriptor_callback)(int conn_id, int status, const btgatt_read_params_t& p_data);

typedef void (*write_descriptor_callback)(int conn_id, int status, uint16_t handle, uint16_t len,
                                          const uint8_t* value);

typedef void (*execute_write_callback)(int conn_id, int status);

typedef void (*read_remote_rssi_callback)(int client_if, const RawAddress& bda, int rssi, int status);

typedef void (*configure_mtu_callback)(int conn_id, int status, int mtu);

// Also declared, identically, by bt_gatt_server.h.
typedef void (*congestion_callback)(int conn_id, bool congested);
typedef void (*phy_updated_callback)(int conn_id, uint8_t tx_phy, uint8_t rx_phy, uint8_t status);
typedef void (*conn_updated_callback)(int conn_id, uint16_t interval, uint16_t latency, uint16_t timeout,
                                      uint8_t status);

typedef void (*get_gatt_db_callback)(int conn_id, const btgatt_db_element_t* db, int count);

typedef void (*services_removed_callback)(int conn_id, uint16_t start_handle, uint16_t end_handle);

typedef void (*services_added_callback)(int conn_id, const btgatt_db_element_t& added, int added_count);

typedef void (*service_changed_callback)(int conn_id);

typedef struct {
  register_client_callback register_client_cb;
  connect_callback open_cb;
  disconnect_callback close_cb;
  search_complete_callback search_complete_cb;
  register_for_notification_callback register_for_notification_cb;
  notify_callback notify_cb;
  read_characteristic_callback read_characteristic_cb;
  write_characteristic_callback write_characteristic_cb;
  read_descriptor_callback read_descriptor_cb;
  write_descriptor_callback write_descriptor_cb;
  execute_write_callback execute_write_cb;
  read_remote_rssi_callback read_remote_rssi_cb;
  configure_mtu_callback configure_mtu_cb;
  congestion_callback congestion_cb;
  get_gatt_db_callback get_gatt_db_cb;
  services_removed_callback services_removed_cb;
  services_added_callback services_added_cb;
  phy_updated_callback phy_updated_cb;
  conn_updated_callback conn_updated_cb;
  service_changed_callback service_changed_cb;
} btgatt_client_callbacks_t;

typedef struct {
  bt_status_t (*register_client)(const bluetooth::Uuid& uuid, bool eatt_support);
  bt_status_t (*unregister_client)(int client_if);

  bt_status_t (*connect)(int client_if, const RawAddress& bd_addr, bool is_direct, int transport, bool opportunistic,
                         int initiating_phys);
  bt_status_t (*disconnect)(int client_if, const RawAddress& bd_addr, int conn_id);

  bt_status_t (*refresh)(int client_if, const RawAddress& bd_addr);

  // A null filter_uuid discovers every service.
  bt_status_t (*search_service)(int conn_id, const bluetooth::Uuid* filter_uuid);
  void (*btif_gattc_discover_service_by_uuid)(int conn_id, const bluetooth::Uuid& uuid);

  bt_status_t (*read_characteristic)(int conn_id, uint16_t handle, int auth_req);
  bt_status_t (*read_using_characteristic_uuid)(int conn_id, const bluetooth::Uuid& uuid, uint16_t s_handle,
                                                uint16_t e_handle, int auth_req);
  bt_status_t (*write_characteristic)(int conn_id, uint16_t handle, int write_type, int auth_req,
                                      const uint8_t* value, size_t length);
  bt_status_t (*read_descriptor)(int conn_id, uint16_t handle, int auth_req);
  bt_status_t (*write_descriptor)(int conn_id, uint16_t handle, int auth_req, const uint8_t* value, size_t length);
  bt_status_t (*execute_write)(int conn_id, int execute);

  bt_status_t (*register_for_notification)(int client_if, const RawAddress& bd_addr, uint16_t handle);
  bt_status_t (*deregister_for_notification)(int client_if, const RawAddress& bd_addr, uint16_t handle);

  bt_status_t (*read_remote_rssi)(int client_if, const RawAddress& bd_addr);

  int (*get_device_type)(const RawAddress& bd_addr);

  bt_status_t (*configure_mtu)(int conn_id, int mtu);
  bt_status_t (*conn_parameter_update)(const RawAddress& bd_addr, int min_interval, int max_interval, int latency,
                                       int timeout, uint16_t min_ce_len, uint16_t max_ce_len);
  bt_status_t (*set_preferred_phy)(const RawAddress& bd_addr, uint8_t tx_phy, uint8_t rx_phy, uint16_t phy_options);
  bt_status_t (*read_phy)(const RawAddress& bd_addr,
                          base::Callback<void(uint8_t tx_phy, uint8_t rx_phy, uint8_t status)> cb);

  bt_status_t (*test_command)(int command, const btgatt_test_params_t& params);

  bt_status_t (*get_gatt_db)(int conn_id);
} btgatt_client_interface_t;

__END_DECLS

#endif  // ANDROID_INCLUDE_BT_GATT_CLIENT_H
