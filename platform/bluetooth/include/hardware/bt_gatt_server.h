#ifndef ANDROID_INCLUDE_BT_GATT_SERVER_H
#define ANDROID_INCLUDE_BT_GATT_SERVER_H

#include <raw_address.h>
#include <stdint.h>

#include "bt_gatt_types.h"

// Only ever included by bt_gatt.h, after bt_gatt_client.h, which supplies
// BTGATT_MAX_ATTR_LEN, btgatt_db_element_t, bt_status_t and base::Callback.

__BEGIN_DECLS

typedef struct {
  uint8_t value[BTGATT_MAX_ATTR_LEN];
  uint16_t handle;
  uint16_t offset;
  uint16_t len;
  uint8_t auth_req;
} btgatt_value_t;

typedef union {
  btgatt_value_t attr_value;
  uint16_t handle;
} btgatt_response_t;

typedef void (*register_server_callback)(int status, int server_if, const bluetooth::Uuid& app_uuid);

typedef void (*connection_callback)(int conn_id, int server_if, int connected, const RawAddress& bda);

typedef void (*service_added_callback)(int status, int server_if, const btgatt_db_element_t* service,
                                       size_t service_count);

typedef void (*service_stopped_callback)(int status, int server_if, int srvc_handle);

typedef void (*service_deleted_callback)(int status, int server_if, int srvc_handle);

typedef void (*request_read_callback)(int conn_id, int trans_id, const RawAddress& bda, int attr_handle, int offset,
                                      bool is_long);

typedef void (*request_write_callback)(int conn_id, int trans_id, const RawAddress& bda, int attr_handle, int offset,
                                       bool need_rsp, bool is_prep, const uint8_t* value, size_t length);

typedef void (*request_exec_write_callback)(int conn_id, int trans_id, const RawAddress& bda, int exec_write);

typedef void (*response_confirmation_callback)(int status, int handle);

typedef void (*indication_sent_callback)(int conn_id, int status);

// Also declared, identically, by bt_gatt_client.h.
typedef void (*congestion_callback)(int conn_id, bool congested);
typedef void (*phy_updated_callback)(int conn_id, uint8_t tx_phy, uint8_t rx_phy, uint8_t status);
typedef void (*conn_updated_callback)(int conn_id, uint16_t interval, uint16_t latency, uint16_t timeout,
                                      uint8_t status);

typedef void (*mtu_changed_callback)(int conn_id, int mtu);

typedef struct {
  register_server_callback register_server_cb;
  connection_callback connection_cb;
  service_added_callback service_added_cb;
  service_stopped_callback service_stopped_cb;
  service_deleted_callback service_deleted_cb;
  request_read_callback request_read_characteristic_cb;
  request_read_callback request_read_descriptor_cb;
  request_write_callback request_write_characteristic_cb;
  request_write_callback request_write_descriptor_cb;
  request_exec_write_callback request_exec_write_cb;
  response_confirmation_callback response_confirmation_cb;
  indication_sent_callback indication_sent_cb;
  congestion_callback congestion_cb;
  mtu_changed_callback mtu_changed_cb;
  phy_updated_callback phy_updated_cb;
  conn_updated_callback conn_updated_cb;
} btgatt_server_callbacks_t;

typedef struct {
  bt_status_t (*register_server)(const bluetooth::Uuid& uuid, bool eatt_support);
  bt_status_t (*unregister_server)(int server_if);

  bt_status_t (*connect)(int server_if, const RawAddress& bd_addr, bool is_direct, int transport);
  bt_status_t (*disconnect)(int server_if, const RawAddress& bd_addr, int conn_id);

  bt_status_t (*add_service)(int server_if, const btgatt_db_element_t* service, size_t service_count);
  bt_status_t (*stop_service)(int server_if, int service_handle);
  bt_status_t (*delete_service)(int server_if, int service_handle);

  bt_status_t (*send_indication)(int server_if, int attribute_handle, int conn_id, int confirm, const uint8_t* value,
                                 size_t length);
  bt_status_t (*send_response)(int conn_id, int trans_id, int status, const btgatt_response_t& response);

  bt_status_t (*set_preferred_phy)(const RawAddress& bd_addr, uint8_t tx_phy, uint8_t rx_phy, uint16_t phy_options);
  bt_status_t (*read_phy)(const RawAddress& bd_addr,
                          base::Callback<void(uint8_t tx_phy, uint8_t rx_phy, uint8_t status)> cb);
} btgatt_server_interface_t;

__END_DECLS

#endif  // ANDROID_INCLUDE_BT_GATT_SERVER_H
