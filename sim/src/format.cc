#include "format.h"

#include "base/strings/stringprintf.h"

namespace tev {
namespace sim {

tev::mojom::BluetoothAddressPtr ToMojo(const Address& address) {
  return tev::mojom::BluetoothAddress::New(std::vector<uint8_t>(address.begin(), address.end()));
}

std::optional<Address> FromMojo(const tev::mojom::BluetoothAddressPtr& address) {
  if (address.is_null() || address->address.size() != 6) return std::nullopt;
  Address result;
  std::copy(address->address.begin(), address->address.end(), result.begin());
  return result;
}

std::string AddrText(const Address& address) { return "addr=" + AddressToString(address); }

std::string AddrText(const tev::mojom::BluetoothAddressPtr& address) {
  if (address.is_null()) return "addr=null";
  std::optional<Address> parsed = FromMojo(address);
  if (!parsed) return "addr=<" + std::to_string(address->address.size()) + " bytes>";
  return AddrText(*parsed);
}

std::string UuidText(const bluetooth::Uuid& uuid) {
  if (uuid.Is16Bit()) return base::StringPrintf("%04x", uuid.As16Bit());
  return uuid.ToString();
}

std::string HexText(const std::vector<uint8_t>& bytes, size_t limit) {
  std::string text;
  for (size_t i = 0; i < bytes.size() && i < limit; ++i) base::StringAppendF(&text, "%02x", bytes[i]);
  if (bytes.size() > limit) base::StringAppendF(&text, "...(%zu bytes)", bytes.size());
  return text.empty() ? "-" : text;
}

std::string GattIdText(const tev::mojom::BluetoothGattIDPtr& id) {
  if (id.is_null()) return "null";
  return UuidText(id->uuid) + "@" + std::to_string(id->handle);
}

std::string ServiceIdText(const tev::mojom::BluetoothGattServiceIDPtr& id) {
  if (id.is_null()) return "null";
  return GattIdText(id->id) + (id->is_primary ? "" : "(secondary)");
}

std::string PropertyText(const tev::mojom::BluetoothPropertyPtr& property) {
  using Tag = tev::mojom::BluetoothProperty::Tag;
  if (property.is_null()) return "null";
  switch (property->which()) {
    case Tag::BDNAME:
      return "name=\"" + property->get_bdname() + "\"";
    case Tag::BDADDR:
      return "bdaddr=" + AddrText(property->get_bdaddr()).substr(5);
    case Tag::UUIDS: {
      std::string text = "uuids=[";
      for (size_t i = 0; i < property->get_uuids().size(); ++i) {
        text += (i ? " " : "") + UuidText(property->get_uuids()[i]);
      }
      return text + "]";
    }
    case Tag::DEVICE_CLASS:
      return base::StringPrintf("class=0x%06x", property->get_device_class());
    case Tag::DEVICE_TYPE:
      return "type=" + std::to_string(property->get_device_type());
    case Tag::SERVICE_RECORD:
      return "service_record";
    case Tag::ADAPTER_SCAN_MODE:
      return "scan_mode=" + std::to_string(static_cast<int>(property->get_adapter_scan_mode()));
    case Tag::BONDED_DEVICES: {
      std::string text = "bonded=[";
      for (size_t i = 0; i < property->get_bonded_devices().size(); ++i) {
        text += (i ? " " : "") + AddrText(property->get_bonded_devices()[i]).substr(5);
      }
      return text + "]";
    }
    case Tag::DISCOVERY_TIMEOUT:
      return "discoverable_timeout=" + std::to_string(property->get_discovery_timeout());
    case Tag::REMOTE_FRIENDLY_NAME:
      return "friendly_name=\"" + property->get_remote_friendly_name() + "\"";
    case Tag::REMOTE_RSSI:
      return "rssi=" + std::to_string(property->get_remote_rssi());
    case Tag::REMOTE_VERSION:
      return "remote_version";
    case Tag::LOCAL_LE_FEATURES:
      return "le_features";
  }
  return "?";
}

std::string PropertiesText(const std::vector<tev::mojom::BluetoothPropertyPtr>& properties) {
  std::string text;
  for (size_t i = 0; i < properties.size(); ++i) text += (i ? " " : "") + PropertyText(properties[i]);
  return text.empty() ? "none" : text;
}

}  // namespace sim
}  // namespace tev
