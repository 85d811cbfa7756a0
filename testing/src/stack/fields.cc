#include "tev/testing/stack/fields.h"

#include <cstring>
#include <initializer_list>

#include "base/strings/stringprintf.h"
#include "call_report.h"

namespace tev {
namespace testing {
namespace {

std::string boundedText(const uint8_t* bytes, size_t capacity) {
  if (!bytes) return "";
  const void* nul = std::memchr(bytes, '\0', capacity);
  const size_t length =
      nul ? static_cast<size_t>(static_cast<const uint8_t*>(nul) - bytes) : capacity;
  return std::string(reinterpret_cast<const char*>(bytes), length);
}

uint32_t readU32(const uint8_t* bytes) {
  uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

// The name of an enumerator counted from 0, or empty.
std::string nameOf(int64_t value, std::initializer_list<const char*> names) {
  return value >= 0 && static_cast<size_t>(value) < names.size() ? names.begin()[value] : "";
}

void appendProperty(const bt_property_t& property, std::vector<Field>* fields) {
  const auto* bytes = static_cast<const uint8_t*>(property.val);
  const size_t length = property.len > 0 && bytes ? static_cast<size_t>(property.len) : 0;
  const std::string name = PropertyTypeName(property.type);
  switch (property.type) {
    case BT_PROPERTY_BDNAME:
    case BT_PROPERTY_REMOTE_FRIENDLY_NAME:
      fields->push_back(TextField(name, boundedText(bytes, length)));
      return;
    case BT_PROPERTY_BDADDR:
      if (length == RawAddress::kLength) {
        fields->push_back(AddressField(name, static_cast<const RawAddress*>(property.val)));
        return;
      }
      break;
    case BT_PROPERTY_UUIDS:
      for (size_t offset = 0; offset + 16 <= length; offset += 16) {
        fields->push_back(UuidField("uuid", bluetooth::Uuid::From128BitBE(bytes + offset)));
      }
      return;
    case BT_PROPERTY_ADAPTER_BONDED_DEVICES:
      for (size_t offset = 0; offset + RawAddress::kLength <= length;
           offset += RawAddress::kLength) {
        RawAddress address;
        address.FromOctets(bytes + offset);
        fields->push_back(AddressField("bonded", &address));
      }
      return;
    case BT_PROPERTY_CLASS_OF_DEVICE:
    case BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT:
      if (length == 4) {
        fields->push_back(NumberField(name, readU32(bytes)));
        return;
      }
      break;
    case BT_PROPERTY_TYPE_OF_DEVICE:
      if (length == 4) {
        fields->push_back(NumberField(name, readU32(bytes),
                                      nameOf(readU32(bytes), {"", "bredr", "ble", "dual"})));
        return;
      }
      break;
    case BT_PROPERTY_ADAPTER_SCAN_MODE:
      if (length == 4) {
        fields->push_back(NumberField(
            name, readU32(bytes), nameOf(readU32(bytes), {"none", "connectable", "discoverable"})));
        return;
      }
      break;
    case BT_PROPERTY_REMOTE_RSSI:
      if (length == 1) {
        fields->push_back(NumberField(name, static_cast<int8_t>(bytes[0])));
        return;
      }
      break;
    case BT_PROPERTY_SERVICE_RECORD:
      if (length == sizeof(bt_service_record_t)) {
        const auto* record = static_cast<const bt_service_record_t*>(property.val);
        fields->push_back(UuidField("service_uuid", record->uuid));
        fields->push_back(NumberField("channel", record->channel));
        fields->push_back(TextField(
            "service_name",
            boundedText(reinterpret_cast<const uint8_t*>(record->name), sizeof(record->name))));
        return;
      }
      break;
    default:
      break;
  }
  fields->push_back(BytesField(name, bytes, length));
}

std::string elementKind(int type) {
  const std::string kind = nameOf(type, {"service", "secondary", "included", "char", "desc"});
  return kind.empty() ? "type" + std::to_string(type) : kind;
}

}  // namespace

Field NumberField(const std::string& name, int64_t value, const std::string& label) {
  return Field{name, std::to_string(value), FieldKind::kNumber, label};
}

Field TextField(const std::string& name, const std::string& value) {
  return Field{name, value, FieldKind::kText, ""};
}

Field AddressField(const std::string& name, const RawAddress* address) {
  return Field{name, address ? address->ToString() : "null", FieldKind::kAddress, ""};
}

Field UuidField(const std::string& name, const bluetooth::Uuid& uuid) {
  return Field{name, UuidText(uuid), FieldKind::kUuid, ""};
}

Field BytesField(const std::string& name, const uint8_t* bytes, size_t length) {
  return Field{name, HexText(bytes, length), FieldKind::kBytes, ""};
}

std::string UuidText(const bluetooth::Uuid& uuid) {
  if (uuid.Is16Bit()) return base::StringPrintf("%04x", uuid.As16Bit());
  return uuid.ToString();
}

std::string HexText(const uint8_t* bytes, size_t length) {
  static constexpr char kDigits[] = "0123456789abcdef";
  if (!bytes) return "";
  std::string text(length * 2, '0');
  for (size_t i = 0; i < length; ++i) {
    text[2 * i] = kDigits[bytes[i] >> 4];
    text[2 * i + 1] = kDigits[bytes[i] & 0xf];
  }
  return text;
}

std::string ValueText(const std::vector<uint8_t>& bytes) {
  return bytes.empty() ? "-" : HexText(bytes.data(), bytes.size());
}

std::string StatusLabel(int status) {
  if (status < BT_STATUS_SUCCESS || status > BT_STATUS_WAKELOCK_ERROR) return "";
  return bt_status_text(static_cast<bt_status_t>(status));
}

std::string PropertyTypeName(int type) {
  const std::string name =
      nameOf(type, {"", "bdname", "bdaddr", "uuids", "class_of_device", "type_of_device",
                    "service_record", "scan_mode", "bonded_devices", "discoverable_timeout",
                    "friendly_name", "rssi", "version", "le_features"});
  return name.empty() ? "property" + std::to_string(type) : name;
}

int32_t ElementType(const btgatt_db_element_t& element) {
  int32_t type;
  static_assert(sizeof(element.type) == sizeof(type), "the HAL's type field is 32 bits");
  std::memcpy(&type, &element.type, sizeof(type));
  return type;
}

void AppendProperties(int count, const bt_property_t* properties, std::vector<Field>* fields) {
  for (int i = 0; properties && i < count; ++i) appendProperty(properties[i], fields);
}

void AppendDbElements(const btgatt_db_element_t* elements, size_t count,
                      std::vector<Field>* fields) {
  for (size_t i = 0; elements && i < count; ++i) {
    const btgatt_db_element_t& element = elements[i];
    fields->push_back(NumberField(elementKind(ElementType(element)) + ":" + UuidText(element.uuid),
                                  element.attribute_handle));
  }
}

std::string AdvertisedName(const std::vector<uint8_t>& data) {
  constexpr uint8_t kShortenedName = 0x08;
  constexpr uint8_t kCompleteName = 0x09;
  size_t offset = 0;
  while (offset < data.size()) {
    const size_t length = data[offset];
    if (length == 0 || offset + 1 + length > data.size()) return "";
    const uint8_t type = data[offset + 1];
    if (type == kShortenedName || type == kCompleteName) {
      return std::string(reinterpret_cast<const char*>(&data[offset + 2]), length - 1);
    }
    offset += 1 + length;
  }
  return "";
}

}  // namespace testing
}  // namespace tev
