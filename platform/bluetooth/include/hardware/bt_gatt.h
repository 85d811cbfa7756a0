#ifndef ANDROID_INCLUDE_BT_GATT_H
#define ANDROID_INCLUDE_BT_GATT_H

#include <stdint.h>

#include "ble_advertiser.h"
#include "ble_scanner.h"
#include "bt_gatt_client.h"
#include "bt_gatt_server.h"

__BEGIN_DECLS

typedef struct {
  size_t size;
  const btgatt_client_callbacks_t* client;
  const btgatt_server_callbacks_t* server;
  const btgatt_scanner_callbacks_t* scanner;
} btgatt_callbacks_t;

// The GATT profile interface, handed out for BT_PROFILE_GATT_ID.
typedef struct {
  size_t size;
  bt_status_t (*init)(const btgatt_callbacks_t* callbacks);
  void (*cleanup)(void);
  const btgatt_client_interface_t* client;
  const btgatt_server_interface_t* server;
  BleScannerInterface* scanner;
  BleAdvertiserInterface* advertiser;
} btgatt_interface_t;

__END_DECLS

#endif  // ANDROID_INCLUDE_BT_GATT_H
