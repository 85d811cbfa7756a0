#include "records.h"

#include <utility>

namespace tev {
namespace stress {
namespace {

using tev::mojom::BluetoothProperty;

// Arrays are usually short; now and then long enough to show a cost that grows with them.
size_t arrayLength(Choices& choices) {
  return choices.OneIn(16) ? choices.Below(4096) : choices.Below(6);
}

template <typename Enum>
Enum anyEnum(Choices& choices, uint32_t known) {
  // Mostly a known value, sometimes one this side never heard of.
  return static_cast<Enum>(choices.OneIn(8) ? choices.Any<int32_t>()
                                            : static_cast<int32_t>(choices.Below(known)));
}

tev::mojom::BluetoothPropertyPtr makeProperty(Choices& choices, Shape shape) {
  const bool anything = shape == Shape::kAnything;
  if (anything && choices.OneIn(8)) return nullptr;
  auto property = BluetoothProperty::New();
  switch (choices.Below(13)) {
    case 0:
      property->set_bdname(choices.Text(300));
      break;
    case 1:
      property->set_bdaddr(MakeAddress(choices, shape));
      break;
    case 2: {
      std::vector<bluetooth::Uuid> uuids(arrayLength(choices));
      for (bluetooth::Uuid& uuid : uuids) uuid = MakeUuid(choices);
      property->set_uuids(std::move(uuids));
      break;
    }
    case 3:
      property->set_device_class(choices.Any<uint32_t>());
      break;
    case 4:
      property->set_device_type(choices.Any<int32_t>());
      break;
    case 5: {
      tev::mojom::BluetoothServiceRecordPtr record;
      if (!anything || !choices.OneIn(4)) {
        record = tev::mojom::BluetoothServiceRecord::New();
        record->uuid = MakeUuid(choices);
        record->channel = choices.Any<uint16_t>();
        record->name = choices.Text(300);
      }
      property->set_service_record(std::move(record));
      break;
    }
    case 6:
      property->set_adapter_scan_mode(anyEnum<tev::mojom::BluetoothScanMode>(choices, 3));
      break;
    case 7: {
      std::vector<tev::mojom::BluetoothAddressPtr> bonded(arrayLength(choices));
      for (auto& address : bonded) address = MakeAddress(choices, shape);
      property->set_bonded_devices(std::move(bonded));
      break;
    }
    case 8:
      property->set_discovery_timeout(choices.Any<uint32_t>());
      break;
    case 9:
      property->set_remote_friendly_name(choices.Text(300));
      break;
    case 10:
      property->set_remote_rssi(choices.Any<int8_t>());
      break;
    case 11: {
      tev::mojom::BluetoothRemoteVersionPtr version;
      if (!anything || !choices.OneIn(4)) {
        version = tev::mojom::BluetoothRemoteVersion::New();
        version->version = choices.Any<int32_t>();
        version->sub_ver = choices.Any<int32_t>();
        version->manufacturer = choices.Any<int32_t>();
      }
      property->set_remote_version(std::move(version));
      break;
    }
    default: {
      tev::mojom::BluetoothLocalLEFeaturesPtr features;
      if (!anything || !choices.OneIn(4)) {
        features = tev::mojom::BluetoothLocalLEFeatures::New();
        features->version_supported = choices.Any<uint16_t>();
        features->max_adv_instance = choices.Any<uint8_t>();
        features->extended_scan_support = choices.Bool();
      }
      property->set_local_le_features(std::move(features));
      break;
    }
  }
  return property;
}

}  // namespace

RawAddress PickAddress(Choices& choices) {
  RawAddress address{{0x02, 0x51, 0xb0, 0x00, 0x00, 0x01}};
  if (choices.OneIn(8)) {
    for (uint8_t& byte : address.address) byte = choices.Any<uint8_t>();
  } else {
    address.address[5] = static_cast<uint8_t>(1 + choices.Below(4));
  }
  return address;
}

tev::mojom::BluetoothAddressPtr MakeAddress(Choices& choices, Shape shape) {
  if (choices.OneIn(10)) return nullptr;
  const RawAddress address = PickAddress(choices);
  std::vector<uint8_t> bytes(address.address, address.address + RawAddress::kLength);
  if (shape == Shape::kAnything && choices.OneIn(6)) bytes.resize(choices.Below(13));
  return tev::mojom::BluetoothAddress::New(std::move(bytes));
}

std::vector<tev::mojom::BluetoothPropertyPtr> MakeProperties(Choices& choices, Shape shape) {
  std::vector<tev::mojom::BluetoothPropertyPtr> properties(arrayLength(choices));
  for (auto& property : properties) property = makeProperty(choices, shape);
  return properties;
}

// Mostly a plausible database: services, their characteristics and descriptors in order, with
// handles counting up; sometimes anything at all.
std::vector<tev::mojom::BluetoothGattDBElementPtr> MakeDatabase(Choices& choices, Shape shape) {
  std::vector<tev::mojom::BluetoothGattDBElementPtr> db(arrayLength(choices) * 2);
  const bool plausible = !choices.OneIn(4);
  uint16_t handle = 0;
  for (auto& element : db) {
    if (shape == Shape::kAnything && choices.OneIn(12)) continue;
    element = tev::mojom::BluetoothGattDBElement::New();
    element->uuid = MakeUuid(choices);
    ++handle;
    if (plausible) {
      const uint32_t kind = handle == 1 ? 0 : choices.Below(4);
      element->type = kind == 0   ? tev::mojom::BluetoothGattDBAttributeType::PRIMARY_SERVICE
                      : kind == 3 ? tev::mojom::BluetoothGattDBAttributeType::DESCRIPTOR
                                  : tev::mojom::BluetoothGattDBAttributeType::CHARACTERISTIC;
      element->attribute_handle = handle;
      element->start_handle = handle;
      element->end_handle = static_cast<uint16_t>(handle + 4);
    } else {
      element->type = anyEnum<tev::mojom::BluetoothGattDBAttributeType>(choices, 5);
      element->attribute_handle = choices.Any<uint16_t>();
      element->start_handle = choices.Any<uint16_t>();
      element->end_handle = choices.Any<uint16_t>();
    }
    element->id = choices.Any<uint8_t>();
    element->properties = choices.Any<uint8_t>();
  }
  return db;
}

tev::mojom::BluetoothGattIDPtr MakeGattId(Choices& choices, Shape shape) {
  if (shape == Shape::kAnything && choices.OneIn(8)) return nullptr;
  auto id = tev::mojom::BluetoothGattID::New();
  id->uuid = MakeUuid(choices);
  id->inst_id = choices.Any<uint8_t>();
  id->handle = MakeHandle(choices);
  return id;
}

tev::mojom::BluetoothGattServiceIDPtr MakeServiceId(Choices& choices, Shape shape) {
  if (shape == Shape::kAnything && choices.OneIn(8)) return nullptr;
  auto id = MakeGattId(choices, shape);
  return tev::mojom::BluetoothGattServiceID::New(std::move(id), choices.Bool());
}

std::vector<tev::mojom::BluetoothSdpRecordPtr> MakeSdpRecords(Choices& choices, Shape shape) {
  std::vector<tev::mojom::BluetoothSdpRecordPtr> records(arrayLength(choices));
  for (auto& record : records) {
    if (shape == Shape::kAnything && choices.OneIn(4)) continue;
    record = tev::mojom::BluetoothSdpRecord::New();
    record->uuid = MakeUuid(choices);
    record->service_name = choices.Text(40);
    record->rfcomm_channel_number = choices.Any<int32_t>();
  }
  return records;
}

bluetooth::Uuid MakeUuid(Choices& choices) {
  if (!choices.OneIn(4)) return bluetooth::Uuid::From16Bit(0x1800 + choices.Below(0x800));
  bluetooth::Uuid::UUID128Bit bytes;
  for (uint8_t& byte : bytes) byte = choices.Any<uint8_t>();
  return bluetooth::Uuid::From128BitBE(bytes);
}

std::vector<uint8_t> MakeValue(Choices& choices) {
  return choices.Bytes(choices.OneIn(16) ? 70000 : 24);
}

uint16_t MakeHandle(Choices& choices) {
  return choices.OneIn(4) ? choices.Any<uint16_t>() : static_cast<uint16_t>(choices.Below(24));
}

}  // namespace stress
}  // namespace tev
