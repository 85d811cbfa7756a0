#include "argument_checks.h"

#include <cstring>

#include "base/strings/stringprintf.h"

namespace tev {
namespace bttev {
namespace {

// Payload size each fixed-size property type must have; 0 for the variable ones.
size_t fixedPropertySize(int type) {
  switch (type) {
    case BT_PROPERTY_BDADDR:
      return RawAddress::kLength;
    case BT_PROPERTY_CLASS_OF_DEVICE:
    case BT_PROPERTY_TYPE_OF_DEVICE:
    case BT_PROPERTY_ADAPTER_SCAN_MODE:
    case BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT:
      return 4;
    case BT_PROPERTY_REMOTE_RSSI:
      return 1;
    case BT_PROPERTY_REMOTE_VERSION_INFO:
      return sizeof(bt_remote_version_t);
    case BT_PROPERTY_SERVICE_RECORD:
      return sizeof(bt_service_record_t);
  }
  return 0;
}

bool knownPropertyType(int type) {
  return (type >= BT_PROPERTY_BDNAME && type <= BT_PROPERTY_REMOTE_IS_COORDINATED_SET_MEMBER) ||
         type == BT_PROPERTY_REMOTE_DEVICE_TIMESTAMP;
}

void checkProperty(int index, const bt_property_t& property, Problems* problems) {
  const std::string where = base::StringPrintf("property %d (type %d)", index, property.type);
  if (!knownPropertyType(property.type)) {
    problems->push_back(where + ": unknown property type");
    return;
  }
  if (property.len < 0) {
    problems->push_back(where + base::StringPrintf(": negative length %d", property.len));
    return;
  }
  if (property.len > 0 && !property.val) {
    problems->push_back(where + base::StringPrintf(": length %d but no value", property.len));
    return;
  }
  const size_t length = static_cast<size_t>(property.len);
  const auto* bytes = static_cast<const uint8_t*>(property.val);
  const size_t fixed = fixedPropertySize(property.type);
  if (fixed && length != fixed) {
    problems->push_back(where + base::StringPrintf(": length %zu, the type needs %zu", length, fixed));
    return;
  }
  switch (property.type) {
    case BT_PROPERTY_BDNAME:
    case BT_PROPERTY_REMOTE_FRIENDLY_NAME:
      if (length > sizeof(bt_bdname_t)) {
        problems->push_back(where +
                            base::StringPrintf(": name of %zu bytes, at most %zu", length, sizeof(bt_bdname_t)));
      } else if (length > 0 && !std::memchr(bytes, '\0', length)) {
        problems->push_back(where + ": name without a terminating NUL");
      }
      break;
    case BT_PROPERTY_UUIDS:
      if (length % 16) problems->push_back(where + ": length is not a multiple of 16");
      break;
    case BT_PROPERTY_ADAPTER_BONDED_DEVICES:
      if (length % RawAddress::kLength) problems->push_back(where + ": length is not a multiple of 6");
      break;
    case BT_PROPERTY_TYPE_OF_DEVICE: {
      uint32_t type = 0;
      std::memcpy(&type, bytes, sizeof(type));
      CheckRange("device type", type, BT_DEVICE_DEVTYPE_BREDR, BT_DEVICE_DEVTYPE_DUAL, problems);
      break;
    }
    case BT_PROPERTY_ADAPTER_SCAN_MODE: {
      uint32_t mode = 0;
      std::memcpy(&mode, bytes, sizeof(mode));
      CheckRange("scan mode", mode, BT_SCAN_MODE_NONE, BT_SCAN_MODE_CONNECTABLE_DISCOVERABLE, problems);
      break;
    }
    case BT_PROPERTY_LOCAL_LE_FEATURES:
      if (length > sizeof(bt_local_le_features_t)) {
        problems->push_back(where +
                            base::StringPrintf(": length %zu, at most %zu", length, sizeof(bt_local_le_features_t)));
      }
      break;
    default:
      break;
  }
}

}  // namespace

void CheckRange(const char* what, int64_t value, int64_t low, int64_t high, Problems* problems) {
  if (value < low || value > high) {
    problems->push_back(base::StringPrintf("%s %lld outside [%lld, %lld]", what, static_cast<long long>(value),
                                           static_cast<long long>(low), static_cast<long long>(high)));
  }
}

void CheckStatus(int status, Problems* problems) {
  CheckRange("status", status, BT_STATUS_SUCCESS, BT_STATUS_WAKELOCK_ERROR, problems);
}

void CheckAddressPresent(const char* what, const RawAddress* address, Problems* problems) {
  if (!address) problems->push_back(std::string(what) + " is null");
}

void CheckProperties(int count, const bt_property_t* properties, Problems* problems) {
  if (count < 0) {
    problems->push_back(base::StringPrintf("negative property count %d", count));
    return;
  }
  if (count > 0 && !properties) {
    problems->push_back(base::StringPrintf("%d properties but no array", count));
    return;
  }
  for (int i = 0; i < count; ++i) checkProperty(i, properties[i], problems);
}

void CheckHasAddressProperty(int count, const bt_property_t* properties, Problems* problems) {
  for (int i = 0; properties && i < count; ++i) {
    if (properties[i].type == BT_PROPERTY_BDADDR) return;
  }
  problems->push_back("no BT_PROPERTY_BDADDR: the device cannot be identified");
}

void CheckDbElements(const btgatt_db_element_t* elements, int64_t count, bool published, Problems* problems) {
  if (count < 0) {
    problems->push_back(base::StringPrintf("negative element count %lld", static_cast<long long>(count)));
    return;
  }
  if (count > 0 && !elements) {
    problems->push_back(base::StringPrintf("%lld elements but no array", static_cast<long long>(count)));
    return;
  }
  for (int64_t i = 0; i < count; ++i) {
    const int type = elements[i].type;
    if (type < BTGATT_DB_PRIMARY_SERVICE || type > BTGATT_DB_DESCRIPTOR) {
      problems->push_back(base::StringPrintf("element %lld has unknown type %d", static_cast<long long>(i), type));
    }
  }
  if (!published || count == 0) return;
  const btgatt_db_element_t& service = elements[0];
  if (service.type != BTGATT_DB_PRIMARY_SERVICE && service.type != BTGATT_DB_SECONDARY_SERVICE) {
    problems->push_back("the first element is not a service");
  }
  if (service.attribute_handle == 0 || service.start_handle > service.end_handle) {
    problems->push_back(base::StringPrintf("service range %u-%u (handle %u) is not usable", service.start_handle,
                                           service.end_handle, service.attribute_handle));
    return;
  }
  for (int64_t i = 1; i < count; ++i) {
    const btgatt_db_element_t& element = elements[i];
    if (element.type != BTGATT_DB_CHARACTERISTIC && element.type != BTGATT_DB_DESCRIPTOR) continue;
    if (element.attribute_handle <= service.start_handle || element.attribute_handle > service.end_handle) {
      problems->push_back(base::StringPrintf("element %lld handle %u outside the service's %u-%u",
                                             static_cast<long long>(i), element.attribute_handle, service.start_handle,
                                             service.end_handle));
    }
  }
}

void CheckValue(size_t length, const void* value, Problems* problems) {
  if (length > BTGATT_MAX_ATTR_LEN) {
    problems->push_back(base::StringPrintf("value of %zu bytes, at most %d", length, BTGATT_MAX_ATTR_LEN));
  }
  if (length > 0 && !value) problems->push_back(base::StringPrintf("length %zu but no value", length));
}

void CheckAdvertisingData(uint16_t eventType, const std::vector<uint8_t>& data, Problems* problems) {
  constexpr uint16_t kLegacyBit = 0x10;
  constexpr size_t kLegacyMaximum = 31;
  if ((eventType & kLegacyBit) && data.size() > kLegacyMaximum) {
    problems->push_back(
        base::StringPrintf("legacy advertising data of %zu bytes, at most %zu", data.size(), kLegacyMaximum));
  }
  size_t offset = 0;
  while (offset < data.size()) {
    const size_t length = data[offset];
    if (length == 0) break;  // The rest is padding.
    if (offset + 1 + length > data.size()) {
      problems->push_back(base::StringPrintf("AD structure at byte %zu runs past the data", offset));
      return;
    }
    offset += 1 + length;
  }
}

}  // namespace bttev
}  // namespace tev
