#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "callback_event.h"

namespace tev {
namespace bttev {

// Turns the HAL's records into the named values that transcripts print and scripts match.

Field NumberField(const std::string& name, int64_t value, const std::string& label = "");
Field TextField(const std::string& name, const std::string& value);
// "null" for a null pointer.
Field AddressField(const std::string& name, const RawAddress* address);
Field UuidField(const std::string& name, const bluetooth::Uuid& uuid);
Field BytesField(const std::string& name, const uint8_t* bytes, size_t length);

// "180d" for a UUID built on the Bluetooth base, the 36-character form otherwise.
std::string UuidText(const bluetooth::Uuid& uuid);
std::string HexText(const uint8_t* bytes, size_t length);
// As values are written in commands: hex, or "-" for none.
std::string ValueText(const std::vector<uint8_t>& bytes);

// Labels of the HAL's enumerations.
std::string StatusLabel(int status);
std::string PropertyTypeName(int type);

// One field per property value, named after its type ("bdname", "uuid", "bonded" ...);
// list properties give one field per element.
void AppendProperties(int count, const bt_property_t* properties, std::vector<Field>* fields);

// One field per element, "<kind>:<uuid>" = attribute handle ("char:2a37=3").
void AppendDbElements(const btgatt_db_element_t* elements, size_t count, std::vector<Field>* fields);

// The complete or shortened local name carried in advertising data, if any.
std::string AdvertisedName(const std::vector<uint8_t>& data);

}  // namespace bttev
}  // namespace tev
