#pragma once

#include <hardware/bt_gatt.h>

#include <cstdint>

#include "bluetooth/uuid.h"

namespace tev {
namespace sim {

// One element of a service the stack publishes, with a 16-bit UUID.
inline btgatt_db_element_t Element(uint16_t uuid, bt_gatt_db_attribute_type_t type, uint8_t properties,
                                   uint16_t permissions) {
  btgatt_db_element_t element{};
  element.uuid = bluetooth::Uuid::From16Bit(uuid);
  element.type = type;
  element.properties = properties;
  element.permissions = permissions;
  return element;
}

}  // namespace sim
}  // namespace tev
