#include "host_event_args.h"

#include "base/strings/string_split.h"
#include "script_values.h"

namespace tev {
namespace bttev {
namespace {

namespace mojom = tev::mojom;

const std::vector<std::string> kElementTypes = {"service", "secondary", "included", "char", "desc"};

std::vector<std::string> split(const std::string& text, const char* separators) {
  return base::SplitString(text, separators, base::TRIM_WHITESPACE, base::SPLIT_WANT_ALL);
}

bool parseNumbers(const std::vector<std::string>& parts, size_t from, std::vector<int64_t>* values) {
  for (size_t i = from; i < parts.size(); ++i) {
    int64_t value = 0;
    if (!ParseInteger(parts[i], &value)) return false;
    values->push_back(value);
  }
  return true;
}

mojom::BluetoothAddressPtr toMojo(const RawAddress& address) {
  return mojom::BluetoothAddress::New(std::vector<uint8_t>(address.address, address.address + 6));
}

}  // namespace

HostEventArgs::HostEventArgs(const std::vector<Token>& words) {
  for (const Token& token : words) {
    const size_t eq = token.text.find('=');
    summary_ += (summary_.empty() ? "" : " ") + token.text;
    if (eq == std::string::npos || eq == 0) {
      fail("expected KEY=VALUE, not '" + token.text + "'");
      continue;
    }
    words_.push_back(Word{token.text.substr(0, eq), token.text.substr(eq + 1), token.quoted});
  }
}

void HostEventArgs::fail(const std::string& reason) {
  if (error_.empty()) error_ = reason;
}

std::vector<const HostEventArgs::Word*> HostEventArgs::all(const std::string& key) {
  read_.insert(key);
  std::vector<const Word*> found;
  for (const Word& word : words_) {
    if (word.key == key) found.push_back(&word);
  }
  return found;
}

const HostEventArgs::Word* HostEventArgs::one(const std::string& key) {
  const std::vector<const Word*> found = all(key);
  if (found.size() > 1) fail(key + "= is given twice");
  return found.empty() ? nullptr : found.front();
}

mojom::BluetoothAddressPtr HostEventArgs::Address(const std::string& key) {
  const Word* word = one(key);
  if (!word || word->value == "null") return nullptr;
  RawAddress address;
  if (!ParseAddress(word->value, &address)) fail(key + "= takes an address or null, not '" + word->value + "'");
  return toMojo(address);
}

int64_t HostEventArgs::Int(const std::string& key, int64_t fallback) {
  const Word* word = one(key);
  int64_t value = fallback;
  if (word && !ParseInteger(word->value, &value)) fail(key + "= takes a number, not '" + word->value + "'");
  return value;
}

std::vector<uint8_t> HostEventArgs::Bytes(const std::string& key) {
  const Word* word = one(key);
  std::vector<uint8_t> bytes;
  if (word && !ParseBytes(word->value, word->quoted, &bytes)) {
    fail(key + "= takes hex bytes, \"text\" or -, not '" + word->value + "'");
  }
  return bytes;
}

bluetooth::Uuid HostEventArgs::Uuid(const std::string& key) {
  const Word* word = one(key);
  bluetooth::Uuid uuid = bluetooth::Uuid::kEmpty;
  if (word && !ParseUuid(word->value, &uuid)) fail(key + "= takes a UUID, not '" + word->value + "'");
  return uuid;
}

mojom::BluetoothGattIDPtr HostEventArgs::GattId(const std::string& key) {
  const Word* word = one(key);
  auto id = mojom::BluetoothGattID::New();
  if (!word) return id;
  const std::vector<std::string> parts = split(word->value, "@");
  int64_t handle = 0;
  if (parts.size() != 2 || !ParseUuid(parts[0], &id->uuid) || !ParseInteger(parts[1], &handle)) {
    fail(key + "= takes UUID@HANDLE, not '" + word->value + "'");
  }
  id->handle = static_cast<uint16_t>(handle);
  return id;
}

mojom::BluetoothPropertyPtr HostEventArgs::property(const Word& word) {
  const size_t colon = word.value.find(':');
  const std::string kind = word.value.substr(0, colon);
  const std::string text = colon == std::string::npos ? "" : word.value.substr(colon + 1);
  const std::vector<std::string> parts = split(text, ",");
  std::vector<int64_t> numbers;
  const bool numeric = parseNumbers(parts, 0, &numbers);
  const int64_t number = numbers.empty() ? 0 : numbers[0];
  if (kind == "bdname") return mojom::BluetoothProperty::NewBdname(text);
  if (kind == "friendly_name") return mojom::BluetoothProperty::NewRemoteFriendlyName(text);
  if (kind == "bdaddr" || kind == "bonded_devices") {
    std::vector<mojom::BluetoothAddressPtr> addresses;
    for (const std::string& part : parts) {
      RawAddress address;
      if (part == "null") {
        addresses.push_back(nullptr);
      } else if (ParseAddress(part, &address)) {
        addresses.push_back(toMojo(address));
      } else if (!part.empty()) {
        fail("bad address '" + part + "' in prop=" + word.value);
      }
    }
    if (kind == "bonded_devices") return mojom::BluetoothProperty::NewBondedDevices(std::move(addresses));
    return mojom::BluetoothProperty::NewBdaddr(addresses.empty() ? nullptr : std::move(addresses[0]));
  }
  if (kind == "uuids") {
    std::vector<bluetooth::Uuid> uuids;
    for (const std::string& part : parts) {
      bluetooth::Uuid uuid;
      if (!part.empty() && !ParseUuid(part, &uuid)) fail("bad UUID '" + part + "' in prop=" + word.value);
      if (!part.empty()) uuids.push_back(uuid);
    }
    return mojom::BluetoothProperty::NewUuids(std::move(uuids));
  }
  if (kind == "service_record") {
    bluetooth::Uuid uuid;
    int64_t channel = 0;
    if (parts.size() < 2 || !ParseUuid(parts[0], &uuid) || !ParseInteger(parts[1], &channel)) {
      fail("prop=service_record:UUID,CHANNEL[,NAME], not '" + word.value + "'");
    }
    return mojom::BluetoothProperty::NewServiceRecord(
        mojom::BluetoothServiceRecord::New(uuid, static_cast<uint16_t>(channel), parts.size() > 2 ? parts[2] : ""));
  }
  if (!numeric || numbers.empty()) {
    fail("bad property '" + word.value + "' (bdname:TEXT, bdaddr:ADDR, uuids:U,U, class_of_device:N, ...)");
    return mojom::BluetoothProperty::NewDeviceClass(0);
  }
  if (kind == "class_of_device") return mojom::BluetoothProperty::NewDeviceClass(static_cast<uint32_t>(number));
  if (kind == "type_of_device") return mojom::BluetoothProperty::NewDeviceType(static_cast<int32_t>(number));
  if (kind == "scan_mode") {
    return mojom::BluetoothProperty::NewAdapterScanMode(static_cast<mojom::BluetoothScanMode>(number));
  }
  if (kind == "discoverable_timeout") {
    return mojom::BluetoothProperty::NewDiscoveryTimeout(static_cast<uint32_t>(number));
  }
  if (kind == "rssi") return mojom::BluetoothProperty::NewRemoteRssi(static_cast<int8_t>(number));
  if (kind == "version" && numbers.size() == 3) {
    return mojom::BluetoothProperty::NewRemoteVersion(mojom::BluetoothRemoteVersion::New(
        static_cast<int32_t>(numbers[0]), static_cast<int32_t>(numbers[1]), static_cast<int32_t>(numbers[2])));
  }
  if (kind == "le_features" && numbers.size() == 11) {
    return mojom::BluetoothProperty::NewLocalLeFeatures(mojom::BluetoothLocalLEFeatures::New(
        static_cast<uint16_t>(numbers[0]), static_cast<uint8_t>(numbers[1]), static_cast<uint8_t>(numbers[2]),
        static_cast<uint8_t>(numbers[3]), static_cast<uint8_t>(numbers[4]), static_cast<uint8_t>(numbers[5]),
        static_cast<uint8_t>(numbers[6]), static_cast<uint16_t>(numbers[7]), static_cast<uint16_t>(numbers[8]),
        numbers[9] != 0, numbers[10] != 0));
  }
  fail("bad property '" + word.value + "' (version takes 3 numbers, le_features 11)");
  return mojom::BluetoothProperty::NewDeviceClass(0);
}

std::vector<mojom::BluetoothPropertyPtr> HostEventArgs::Properties() {
  std::vector<mojom::BluetoothPropertyPtr> properties;
  for (const Word* word : all("prop")) properties.push_back(property(*word));
  return properties;
}

std::vector<mojom::BluetoothGattDBElementPtr> HostEventArgs::Elements() {
  std::vector<mojom::BluetoothGattDBElementPtr> elements;
  for (const Word* word : all("element")) {
    const std::vector<std::string> parts = split(word->value, ":");
    auto element = mojom::BluetoothGattDBElement::New();
    int64_t type = 0;
    std::vector<int64_t> numbers;
    bool ok = parts.size() >= 3 && parts.size() <= 7 && ParseUuid(parts[1], &element->uuid) &&
              parseNumbers(parts, 2, &numbers);
    if (ok && !ParseInteger(parts[0], &type)) {
      type = -1;
      for (size_t i = 0; i < kElementTypes.size(); ++i) {
        if (parts[0] == kElementTypes[i]) type = static_cast<int64_t>(i);
      }
      ok = type >= 0;
    }
    if (!ok) {
      fail(
          "element=TYPE:UUID:HANDLE[:START:END[:PROPERTIES[:ID]]] with TYPE service, secondary, included, char, "
          "desc or a number, not '" +
          word->value + "'");
      continue;
    }
    numbers.resize(5, 0);
    element->type = static_cast<mojom::BluetoothGattDBAttributeType>(type);
    element->attribute_handle = static_cast<uint16_t>(numbers[0]);
    element->start_handle = static_cast<uint16_t>(numbers[1]);
    element->end_handle = static_cast<uint16_t>(numbers[2]);
    element->properties = static_cast<uint8_t>(numbers[3]);
    element->id = static_cast<uint8_t>(numbers[4]);
    elements.push_back(std::move(element));
  }
  return elements;
}

std::vector<mojom::BluetoothSdpRecordPtr> HostEventArgs::SdpRecords() {
  std::vector<mojom::BluetoothSdpRecordPtr> records;
  for (const Word* word : all("record")) {
    const std::vector<std::string> parts = split(word->value, ":");
    bluetooth::Uuid uuid;
    std::vector<int64_t> numbers;
    const std::vector<std::string> numberParts(parts.begin() + std::min<size_t>(1, parts.size()),
                                               parts.begin() + std::min<size_t>(4, parts.size()));
    if (parts.size() < 4 || parts.size() > 5 || !ParseUuid(parts[0], &uuid) ||
        !parseNumbers(numberParts, 0, &numbers)) {
      fail("record=UUID:CHANNEL:PSM:VERSION[:NAME], not '" + word->value + "'");
      continue;
    }
    records.push_back(mojom::BluetoothSdpRecord::New(uuid, parts.size() > 4 ? parts[4] : "",
                                                     static_cast<int32_t>(numbers[0]), static_cast<int32_t>(numbers[1]),
                                                     static_cast<int32_t>(numbers[2])));
  }
  return records;
}

bool HostEventArgs::Finish(std::string* error) {
  for (const Word& word : words_) {
    if (!read_.count(word.key)) fail("this event takes no " + word.key + "=");
  }
  if (error_.empty()) return true;
  *error = error_;
  return false;
}

}  // namespace bttev
}  // namespace tev
