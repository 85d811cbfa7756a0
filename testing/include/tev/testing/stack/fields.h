#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tev/testing/stack/callback_event.h"

namespace tev {
namespace testing {

// The named values that transcripts print and scripts match.

Field NumberField(const std::string& name, int64_t value, const std::string& label = "");
Field TextField(const std::string& name, const std::string& value);
// "null" for a null pointer.
Field AddressField(const std::string& name, const RawAddress* address);
Field UuidField(const std::string& name, const bluetooth::Uuid& uuid);
Field BytesField(const std::string& name, const uint8_t* bytes, size_t length);

// "180d" for a UUID built on the Bluetooth base, the 36-character form otherwise.
std::string UuidText(const bluetooth::Uuid& uuid);
// Lower-case hex; empty for none.
std::string HexText(const uint8_t* bytes, size_t length);
// As values are written in commands: hex, or "-" for none.
std::string ValueText(const std::vector<uint8_t>& bytes);

// Labels of the HAL's enumerations.
std::string StatusLabel(int status);
std::string PropertyTypeName(int type);
// An element's type as the 32-bit value it holds: the library passes the host's value on
// unchanged, which the HAL's enumeration may not be able to name, so it is read as bytes.
int32_t ElementType(const btgatt_db_element_t& element);

}  // namespace testing
}  // namespace tev
