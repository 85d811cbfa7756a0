#ifndef ANDROID_INCLUDE_BT_GATT_TYPES_H
#define ANDROID_INCLUDE_BT_GATT_TYPES_H

#include <stdbool.h>
#include <stdint.h>

#include <bluetooth/uuid.h>

__BEGIN_DECLS

#define BTGATT_SERVICE_TYPE_PRIMARY 0
#define BTGATT_SERVICE_TYPE_SECONDARY 1

// A GATT attribute: its type and which instance of that type.
typedef struct {
  bluetooth::Uuid uuid;
  uint8_t inst_id;
} btgatt_gatt_id_t;

typedef struct {
  btgatt_gatt_id_t id;
  uint8_t is_primary;
} btgatt_srvc_id_t;

typedef enum { GATT_TRANSPORT_AUTO, GATT_TRANSPORT_BREDR, GATT_TRANSPORT_LE } btgatt_transport_t;

__END_DECLS

#endif  // ANDROID_INCLUDE_BT_GATT_TYPES_H
