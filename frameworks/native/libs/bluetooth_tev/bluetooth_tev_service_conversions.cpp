// Conversions between the host's address and property records and the HAL's.
#include <algorithm>
#include <cstring>

#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

using tev::mojom::BluetoothProperty;

// Bytes of a fixed-size HAL record, so that every buffer is sized once and then filled.
template <typename Record>
std::vector<uint8_t> recordBytes(const Record& record) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
  return std::vector<uint8_t>(bytes, bytes + sizeof(Record));
}

template <typename Value>
std::vector<uint8_t> valueBytes(Value value) {
  return recordBytes(value);
}

// A bt_bdname_t: at most 248 characters, then NUL padding.
std::vector<uint8_t> nameBytes(const std::string& name) {
  bt_bdname_t record{};
  std::memcpy(record.name, name.data(), std::min(name.size(), sizeof(record.name) - 1));
  return recordBytes(record);
}

// A null nested record (service record, remote version, LE features) reads as all zeros, as a
// null address does.
std::vector<uint8_t> serviceRecordBytes(const tev::mojom::BluetoothServiceRecordPtr& source) {
  bt_service_record_t record{};
  if (source.is_null()) return recordBytes(record);
  record.uuid = source->uuid;
  record.channel = source->channel;
  std::memcpy(record.name, source->name.data(),
              std::min(source->name.size(), sizeof(record.name) - 1));
  return recordBytes(record);
}

std::vector<uint8_t> addressListBytes(
    const std::vector<mojo::StructPtr<tev::mojom::BluetoothAddress>>& addresses) {
  std::vector<uint8_t> bytes(addresses.size() * sizeof(RawAddress));
  for (size_t i = 0; i < addresses.size(); ++i) {
    const RawAddress address = BluetoothTevService::toRawAddress(addresses[i]);
    std::memcpy(bytes.data() + i * sizeof(RawAddress), address.address, sizeof(RawAddress));
  }
  return bytes;
}

std::vector<uint8_t> uuidListBytes(const std::vector<bluetooth::Uuid>& uuids) {
  std::vector<uint8_t> bytes(uuids.size() * sizeof(bluetooth::Uuid));
  for (size_t i = 0; i < uuids.size(); ++i) {
    std::memcpy(bytes.data() + i * sizeof(bluetooth::Uuid), uuids[i].To128BitBE().data(),
                sizeof(bluetooth::Uuid));
  }
  return bytes;
}

std::vector<uint8_t> remoteVersionBytes(const tev::mojom::BluetoothRemoteVersionPtr& source) {
  bt_remote_version_t version{};
  if (source.is_null()) return recordBytes(version);
  version.version = source->version;
  version.sub_ver = source->sub_ver;
  version.manufacturer = source->manufacturer;
  return recordBytes(version);
}

// The leading 14 bytes come from the host; the features it does not report stay zero.
std::vector<uint8_t> leFeaturesBytes(const tev::mojom::BluetoothLocalLEFeaturesPtr& record) {
  bt_local_le_features_t features{};
  if (record.is_null()) return recordBytes(features);
  const tev::mojom::BluetoothLocalLEFeatures& source = *record;
  features.version_supported = source.version_supported;
  features.local_privacy_enabled = source.local_privacy_enabled;
  features.max_adv_instance = source.max_adv_instance;
  features.rpa_offload_supported = source.rpa_offload_supported;
  features.max_irk_list_size = source.max_irk_list_size;
  features.max_adv_filter_supported = source.max_adv_filter_supported;
  features.activity_energy_info_supported = source.activity_energy_info_supported;
  features.scan_result_storage_size = source.scan_result_storage_size;
  features.total_trackable_advertisers = source.total_trackable_advertisers;
  features.extended_scan_support = source.extended_scan_support;
  features.debug_logging_supported = source.debug_logging_supported;
  return recordBytes(features);
}

// False for a tag this side does not know.
bool convertOne(const BluetoothProperty& property, bt_property_type_t* type,
                std::vector<uint8_t>* bytes) {
  switch (property.which()) {
    case BluetoothProperty::Tag::BDNAME:
      *type = BT_PROPERTY_BDNAME;
      *bytes = nameBytes(property.get_bdname());
      return true;
    case BluetoothProperty::Tag::BDADDR:
      *type = BT_PROPERTY_BDADDR;
      *bytes = valueBytes(BluetoothTevService::toRawAddress(property.get_bdaddr()));
      return true;
    case BluetoothProperty::Tag::UUIDS:
      *type = BT_PROPERTY_UUIDS;
      *bytes = uuidListBytes(property.get_uuids());
      return true;
    case BluetoothProperty::Tag::DEVICE_CLASS:
      *type = BT_PROPERTY_CLASS_OF_DEVICE;
      *bytes = valueBytes(property.get_device_class());
      return true;
    case BluetoothProperty::Tag::DEVICE_TYPE:
      *type = BT_PROPERTY_TYPE_OF_DEVICE;
      *bytes = valueBytes(property.get_device_type());
      return true;
    case BluetoothProperty::Tag::SERVICE_RECORD:
      *type = BT_PROPERTY_SERVICE_RECORD;
      *bytes = serviceRecordBytes(property.get_service_record());
      return true;
    case BluetoothProperty::Tag::ADAPTER_SCAN_MODE:
      *type = BT_PROPERTY_ADAPTER_SCAN_MODE;
      *bytes = valueBytes(static_cast<int32_t>(property.get_adapter_scan_mode()));
      return true;
    case BluetoothProperty::Tag::BONDED_DEVICES:
      *type = BT_PROPERTY_ADAPTER_BONDED_DEVICES;
      *bytes = addressListBytes(property.get_bonded_devices());
      return true;
    case BluetoothProperty::Tag::DISCOVERY_TIMEOUT:
      *type = BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT;
      *bytes = valueBytes(property.get_discovery_timeout());
      return true;
    case BluetoothProperty::Tag::REMOTE_FRIENDLY_NAME:
      *type = BT_PROPERTY_REMOTE_FRIENDLY_NAME;
      *bytes = nameBytes(property.get_remote_friendly_name());
      return true;
    case BluetoothProperty::Tag::REMOTE_RSSI:
      *type = BT_PROPERTY_REMOTE_RSSI;
      *bytes = valueBytes(property.get_remote_rssi());
      return true;
    case BluetoothProperty::Tag::REMOTE_VERSION:
      *type = BT_PROPERTY_REMOTE_VERSION_INFO;
      *bytes = remoteVersionBytes(property.get_remote_version());
      return true;
    case BluetoothProperty::Tag::LOCAL_LE_FEATURES:
      *type = BT_PROPERTY_LOCAL_LE_FEATURES;
      *bytes = leFeaturesBytes(property.get_local_le_features());
      return true;
  }
  return false;
}

}  // namespace

RawAddress BluetoothTevService::toRawAddress(
    const mojo::StructPtr<tev::mojom::BluetoothAddress>& address) {
  if (address.is_null()) return RawAddress::kEmpty;
  RawAddress result = RawAddress::kEmpty;
  // The host always sends 6 bytes; fewer are read as zero rather than past the end.
  std::memcpy(result.address, address->address.data(),
              std::min(address->address.size(), sizeof(result.address)));
  return result;
}

mojo::StructPtr<tev::mojom::BluetoothAddress> BluetoothTevService::toMojoAddress(
    const RawAddress& address) {
  auto record = tev::mojom::BluetoothAddress::New();
  std::memcpy(record->address.data(), address.address, sizeof(address.address));
  return record;
}

void BluetoothTevService::convertProperties(
    const std::vector<mojo::StructPtr<tev::mojom::BluetoothProperty>>& properties,
    std::vector<bt_property_t>* out, std::vector<std::vector<uint8_t>>* storage) {
  out->clear();
  storage->clear();
  storage->reserve(properties.size());
  for (const auto& property : properties) {
    bt_property_type_t type;
    std::vector<uint8_t> bytes;
    if (property.is_null() || !convertOne(*property, &type, &bytes)) {
      LOG(WARNING) << "BluetoothTev: unknown property union tag, skipping";
      continue;
    }
    storage->push_back(std::move(bytes));
    std::vector<uint8_t>& held = storage->back();
    bt_property_t converted;
    converted.type = type;
    converted.len = static_cast<int>(held.size());
    converted.val = held.empty() ? nullptr : held.data();
    out->push_back(converted);
  }
}

}  // namespace tev
