#include "call_report.h"

#include <algorithm>
#include <cstring>

#include "base/strings/stringprintf.h"
#include "tev/testing/stack/fields.h"

namespace tev {
namespace testing {
namespace {

std::string propertyText(const bt_property_t& property) {
  const auto* bytes = static_cast<const uint8_t*>(property.val);
  const size_t length = property.len > 0 && bytes ? static_cast<size_t>(property.len) : 0;
  const std::string text = std::to_string(property.type) + ":";
  if (property.type == BT_PROPERTY_BDNAME || property.type == BT_PROPERTY_REMOTE_FRIENDLY_NAME) {
    const void* nul = std::memchr(bytes, '\0', length);
    const size_t end = nul ? static_cast<size_t>(static_cast<const uint8_t*>(nul) - bytes) : length;
    return text + "\"" + std::string(reinterpret_cast<const char*>(bytes), end) + "\"";
  }
  if (property.type == BT_PROPERTY_BDADDR && length == RawAddress::kLength) {
    return text + static_cast<const RawAddress*>(property.val)->ToString();
  }
  return text + HexText(bytes, length);
}

}  // namespace

std::string ElementText(const btgatt_db_element_t& e) {
  return base::StringPrintf("{%u %d %u %u %u %u %s}", e.id, ElementType(e), e.attribute_handle,
                            e.start_handle, e.end_handle, e.properties, e.uuid.ToString().c_str());
}

CallReport::CallReport(Table table, const char* slot) {
  event_.table = table;
  event_.slot = slot;
}

CallReport& CallReport::Num(const char* name, int64_t value, const char* label) {
  event_.fields.push_back(NumberField(name, value, label));
  return Text(std::to_string(value));
}

CallReport& CallReport::Nums(std::initializer_list<std::pair<const char*, int64_t>> numbers) {
  for (const auto& [name, value] : numbers) Num(name, value);
  return *this;
}

CallReport& CallReport::Status(const char* name, int64_t status) {
  event_.fields.push_back(NumberField(name, status, StatusLabel(static_cast<int>(status))));
  return Text(std::to_string(status));
}

CallReport& CallReport::Addr(const char* name, const RawAddress* address) {
  if (!address) Problem(std::string(name) + " is null");
  event_.fields.push_back(AddressField(name, address));
  return Text(event_.fields.back().value);
}

CallReport& CallReport::Uuid(const char* name, const bluetooth::Uuid& uuid) {
  event_.fields.push_back(UuidField(name, uuid));
  return Text(uuid.ToString());
}

CallReport& CallReport::Bytes(const char* name, const uint8_t* bytes, size_t length, bool inText) {
  if (length > 0 && !bytes) {
    Problem(base::StringPrintf("%s: length %zu but no value", name, length));
  }
  event_.fields.push_back(BytesField(name, bytes, length));
  return inText ? Text(event_.fields.back().value) : *this;
}

CallReport& CallReport::Value(const char* name, const uint8_t* bytes, size_t length, bool inText) {
  constexpr size_t kMax = BTGATT_MAX_ATTR_LEN;
  if (length > kMax) {
    Problem(base::StringPrintf("%s of %zu bytes, at most %zu", name, length, kMax));
  }
  return Bytes(name, bytes, std::min(length, kMax), inText);
}

CallReport& CallReport::Properties(int count, const bt_property_t* properties) {
  CheckProperties(count, properties, &event_.problems);
  AppendProperties(count, properties, &event_.fields);
  std::string text = "[";
  for (int i = 0; properties && i < count; ++i) {
    text += (i ? ", " : "") + propertyText(properties[i]);
  }
  return Text(text + "]");
}

CallReport& CallReport::Elements(const btgatt_db_element_t* elements, int64_t count) {
  if (count < 0) {
    Problem(base::StringPrintf("negative element count %lld", static_cast<long long>(count)));
  }
  if (count > 0 && !elements) {
    Problem(base::StringPrintf("%lld elements but no array", static_cast<long long>(count)));
  }
  const size_t valid = elements && count > 0 ? static_cast<size_t>(count) : 0;
  AppendDbElements(elements, valid, &event_.fields);
  std::string text = "[";
  for (size_t i = 0; i < valid; ++i) text += (i ? ", " : "") + ElementText(elements[i]);
  return Text(text + "]");
}

CallReport& CallReport::Range(const char* what, int64_t value, int64_t low, int64_t high) {
  if (value >= low && value <= high) return *this;
  return Problem(base::StringPrintf("%s %lld outside [%lld, %lld]", what,
                                    static_cast<long long>(value), static_cast<long long>(low),
                                    static_cast<long long>(high)));
}

CallReport& CallReport::Problem(const std::string& what) {
  event_.problems.push_back(what);
  return *this;
}

CallReport& CallReport::Text(const std::string& piece) {
  if (pieces_++) event_.args += ", ";
  event_.args += piece;
  return *this;
}

CallReport& CallReport::Only(Field field) {
  event_.fields.push_back(std::move(field));
  return *this;
}

CallReport& CallReport::Inline() {
  event_.inlineResult = true;
  return *this;
}

void CallReport::Send() { Deliver(std::move(event_)); }

}  // namespace testing
}  // namespace tev
