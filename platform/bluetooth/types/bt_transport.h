#pragma once

#include <base/strings/stringprintf.h>

#include <string>

// Numbered as the HAL's int transport parameters are.
typedef uint8_t tBT_TRANSPORT;

#define BT_TRANSPORT_AUTO 0
#define BT_TRANSPORT_BR_EDR 1
#define BT_TRANSPORT_LE 2

inline std::string bt_transport_text(const tBT_TRANSPORT& transport) {
  switch (transport) {
    case BT_TRANSPORT_AUTO:
      return "BT_TRANSPORT_AUTO";
    case BT_TRANSPORT_BR_EDR:
      return "BT_TRANSPORT_BR_EDR";
    case BT_TRANSPORT_LE:
      return "BT_TRANSPORT_LE";
  }
  return base::StringPrintf("UNKNOWN[%hhu]", transport);
}
