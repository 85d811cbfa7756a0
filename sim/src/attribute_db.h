#pragma once

#include <vector>

#include "mojom/bluetooth.mojom.h"
#include "tev/sim/world.h"

namespace tev {
namespace sim {

// One attribute of a peripheral's GATT database.
struct Attribute {
  uint16_t handle = 0;
  tev::mojom::BluetoothGattDBAttributeType type = tev::mojom::BluetoothGattDBAttributeType::PRIMARY_SERVICE;
  bluetooth::Uuid uuid;
  uint8_t properties = 0;
  uint16_t permissions = 0;
  // Of the service that holds it; a service's own handle for a service.
  uint16_t serviceHandle = 0;
  // Of the characteristic that holds a descriptor; a characteristic's own handle.
  uint16_t charHandle = 0;
  // A service's last handle; an attribute's own handle otherwise.
  uint16_t endHandle = 0;
  Bytes value;
  Behaviour behaviour;
};

// A peripheral's GATT database with its live values. Handles are given in order from 1: each
// service, then each of its characteristics followed by that characteristic's descriptors.
class AttributeDb {
 public:
  explicit AttributeDb(const std::vector<Service>& services);

  // As reported by OnGetGattDB.
  std::vector<tev::mojom::BluetoothGattDBElementPtr> Elements() const;

  Attribute* Find(uint16_t handle);
  // The first characteristic with this UUID.
  Attribute* FindCharacteristic(const bluetooth::Uuid& uuid);
  // The configuration descriptor of a characteristic, if it has one.
  Attribute* Cccd(uint16_t char_handle);

  // ATT semantics: permission checks, then the attribute's behaviour.
  tev::mojom::BluetoothGattStatus Read(Attribute& attribute, Bytes* value);
  tev::mojom::BluetoothGattStatus Write(Attribute& attribute, const Bytes& value);
  // Checks only, for a write that is queued to be executed later.
  tev::mojom::BluetoothGattStatus CheckWrite(const Attribute& attribute) const;

  // The value a notification of `characteristic` carries now; a counter advances.
  Bytes NotificationValue(Attribute& characteristic);

 private:
  std::vector<Attribute> attributes_;
};

}  // namespace sim
}  // namespace tev
