// What the library promises of the properties it hands over: the layout of each type, as it
// converts the host's records. The values inside are the host's, passed through unchecked.
#include <cstring>

#include "base/strings/stringprintf.h"
#include "call_report.h"

namespace tev {
namespace testing {
namespace {

// Payload size each fixed-size property type has; 0 for the variable ones.
size_t fixedSize(int type) {
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

bool knownType(int type) {
  return (type >= BT_PROPERTY_BDNAME && type <= BT_PROPERTY_REMOTE_IS_COORDINATED_SET_MEMBER) ||
         type == BT_PROPERTY_REMOTE_DEVICE_TIMESTAMP;
}

// The problem of one property, or empty.
std::string checkProperty(const bt_property_t& property) {
  if (!knownType(property.type)) return "unknown property type";
  if (property.len < 0) return base::StringPrintf("negative length %d", property.len);
  if (property.len > 0 && !property.val) {
    return base::StringPrintf("length %d but no value", property.len);
  }
  const size_t length = static_cast<size_t>(property.len);
  const auto* bytes = static_cast<const uint8_t*>(property.val);
  const size_t fixed = fixedSize(property.type);
  if (fixed && length != fixed) {
    return base::StringPrintf("length %zu, the type needs %zu", length, fixed);
  }
  switch (property.type) {
    case BT_PROPERTY_BDNAME:
    case BT_PROPERTY_REMOTE_FRIENDLY_NAME:
      if (length > sizeof(bt_bdname_t)) {
        return base::StringPrintf("name of %zu bytes, at most %zu", length, sizeof(bt_bdname_t));
      }
      if (length > 0 && !std::memchr(bytes, '\0', length)) return "name without a terminating NUL";
      return "";
    case BT_PROPERTY_UUIDS:
      return length % 16 ? "length is not a multiple of 16" : "";
    case BT_PROPERTY_ADAPTER_BONDED_DEVICES:
      return length % RawAddress::kLength ? "length is not a multiple of 6" : "";
    case BT_PROPERTY_LOCAL_LE_FEATURES:
      return length > sizeof(bt_local_le_features_t)
                 ? base::StringPrintf("length %zu, at most %zu", length,
                                      sizeof(bt_local_le_features_t))
                 : "";
    default:
      return "";
  }
}

}  // namespace

void CheckProperties(int count, const bt_property_t* properties,
                     std::vector<std::string>* problems) {
  if (count < 0) {
    problems->push_back(base::StringPrintf("negative property count %d", count));
    return;
  }
  if (count > 0 && !properties) {
    problems->push_back(base::StringPrintf("%d properties but no array", count));
    return;
  }
  for (int i = 0; i < count; ++i) {
    const std::string problem = checkProperty(properties[i]);
    if (!problem.empty()) {
      problems->push_back(base::StringPrintf("property %d (type %d): ", i, properties[i].type) +
                          problem);
    }
  }
}

}  // namespace testing
}  // namespace tev
