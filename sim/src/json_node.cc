#include "json_node.h"

#include <cctype>
#include <cstdlib>

namespace tev {
namespace sim {
namespace {

std::string Join(std::initializer_list<const char*> names) {
  std::string text;
  for (const char* name : names) text += std::string(text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

JsonNode::JsonNode(const nlohmann::json& value, std::string path)
    : value_(value), path_(std::move(path)) {}

void JsonNode::Refuse(const std::string& reason) const { throw Refusal{path_, reason}; }

void JsonNode::ExpectObject(std::initializer_list<const char*> known) const {
  if (!value_.is_object()) Refuse("expected an object");
  for (const auto& item : value_.items()) {
    bool found = false;
    for (const char* key : known) found = found || item.key() == key;
    if (!found) {
      JsonNode(item.value(), Child(item.key().c_str())).Refuse("unknown field (known: " + Join(known) + ")");
    }
  }
}

bool JsonNode::Has(const char* key) const { return value_.is_object() && value_.contains(key); }

JsonNode JsonNode::Field(const char* key) const {
  if (!Has(key)) JsonNode(value_, Child(key)).Refuse("missing");
  return JsonNode(value_.at(key), Child(key));
}

std::optional<JsonNode> JsonNode::Optional(const char* key) const {
  if (!Has(key)) return std::nullopt;
  return JsonNode(value_.at(key), Child(key));
}

std::string JsonNode::Child(const char* key) const { return path_.empty() ? key : path_ + "." + key; }

std::vector<JsonNode> JsonNode::Items() const {
  if (!value_.is_array()) Refuse("expected an array");
  std::vector<JsonNode> items;
  for (size_t i = 0; i < value_.size(); ++i) {
    items.emplace_back(value_.at(i), path_ + "[" + std::to_string(i) + "]");
  }
  return items;
}

std::string JsonNode::String() const {
  if (!value_.is_string()) Refuse("expected a string");
  return value_.get<std::string>();
}

bool JsonNode::Bool() const {
  if (!value_.is_boolean()) Refuse("expected true or false");
  return value_.get<bool>();
}

int64_t JsonNode::Integer(int64_t min, int64_t max) const {
  int64_t number = 0;
  const std::string range = "out of range " + std::to_string(min) + ".." + std::to_string(max);
  if (value_.is_number_unsigned()) {
    const uint64_t unsigned_number = value_.get<uint64_t>();
    if (max < 0 || unsigned_number > static_cast<uint64_t>(max)) Refuse(range);
    number = static_cast<int64_t>(unsigned_number);
  } else if (value_.is_number_integer()) {
    number = value_.get<int64_t>();
  } else if (value_.is_string()) {
    const std::string text = value_.get<std::string>();
    char* end = nullptr;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (hex) number = std::strtoll(text.c_str() + 2, &end, 16);
    if (!hex || *end != '\0' || text.size() > 18) Refuse("expected an integer or \"0x...\"");
  } else {
    Refuse("expected an integer");
  }
  if (number < min || number > max) Refuse(range);
  return number;
}

base::TimeDelta JsonNode::Millis(int64_t min, int64_t max) const {
  return base::TimeDelta::FromMilliseconds(Integer(min, max));
}

Address JsonNode::AddressValue() const {
  Address address;
  if (!ParseAddress(String(), &address)) Refuse("not a Bluetooth address (xx:xx:xx:xx:xx:xx)");
  return address;
}

bluetooth::Uuid JsonNode::UuidValue() const {
  bool valid = false;
  bluetooth::Uuid uuid = bluetooth::Uuid::FromString(String(), &valid);
  if (!valid) Refuse("not a UUID (4 or 8 hex digits, or xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx)");
  return uuid;
}

Bytes JsonNode::HexBytes() const {
  const std::string text = String();
  Bytes bytes;
  int pending = -1;
  for (char c : text) {
    if (c == ' ' && pending < 0) continue;
    if (!std::isxdigit(static_cast<unsigned char>(c))) Refuse("expected hexadecimal bytes, such as \"06 4a\"");
    const int digit = std::isdigit(static_cast<unsigned char>(c))
                          ? c - '0'
                          : std::tolower(static_cast<unsigned char>(c)) - 'a' + 10;
    if (pending < 0) {
      pending = digit;
    } else {
      bytes.push_back(static_cast<uint8_t>(pending * 16 + digit));
      pending = -1;
    }
  }
  if (pending >= 0) Refuse("odd number of hexadecimal digits");
  return bytes;
}

int64_t JsonNode::Flags(std::initializer_list<std::pair<const char*, int64_t>> names,
                        int64_t max) const {
  if (!value_.is_array()) return Integer(0, max);
  int64_t bits = 0;
  for (const JsonNode& item : Items()) {
    const std::string name = item.String();
    bool found = false;
    for (const auto& [known, bit] : names) {
      if (name == known) {
        bits |= bit;
        found = true;
      }
    }
    if (!found) {
      std::string list;
      for (const auto& entry : names) list += std::string(list.empty() ? "" : ", ") + entry.first;
      item.Refuse("unknown name \"" + name + "\" (known: " + list + ")");
    }
  }
  return bits;
}

size_t JsonNode::Choice(std::initializer_list<const char*> names) const {
  const std::string text = String();
  size_t index = 0;
  for (const char* name : names) {
    if (text == name) return index;
    ++index;
  }
  Refuse("\"" + text + "\" is not one of: " + Join(names));
}

}  // namespace sim
}  // namespace tev
