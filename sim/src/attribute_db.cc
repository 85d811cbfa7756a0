#include "attribute_db.h"

namespace tev {
namespace sim {
namespace {

using Status = tev::mojom::BluetoothGattStatus;
using Type = tev::mojom::BluetoothGattDBAttributeType;
using Kind = Behaviour::Kind;

bool IsService(const Attribute& a) {
  return a.type == Type::PRIMARY_SERVICE || a.type == Type::SECONDARY_SERVICE;
}

// A counter is its value read as a little-endian number of the value's width (at least one
// byte), wrapping at that width.
void Increment(Bytes* value) {
  if (value->empty()) value->push_back(0);
  for (uint8_t& byte : *value) {
    if (++byte != 0) return;
  }
}

}  // namespace

AttributeDb::AttributeDb(const std::vector<Service>& services) {
  uint16_t next = 1;
  for (const Service& service : services) {
    const size_t service_index = attributes_.size();
    Attribute s;
    s.handle = s.serviceHandle = s.endHandle = next++;
    s.type = service.primary ? Type::PRIMARY_SERVICE : Type::SECONDARY_SERVICE;
    s.uuid = service.uuid;
    attributes_.push_back(s);
    for (const Characteristic& characteristic : service.characteristics) {
      Attribute c;
      c.handle = c.charHandle = c.endHandle = next++;
      c.serviceHandle = s.handle;
      c.type = Type::CHARACTERISTIC;
      c.uuid = characteristic.uuid;
      c.properties = characteristic.properties;
      c.permissions = characteristic.permissions;
      c.value = characteristic.value;
      c.behaviour = characteristic.behaviour;
      attributes_.push_back(c);
      for (const Descriptor& descriptor : characteristic.descriptors) {
        Attribute d;
        d.handle = d.endHandle = next++;
        d.serviceHandle = s.handle;
        d.charHandle = c.handle;
        d.type = Type::DESCRIPTOR;
        d.uuid = descriptor.uuid;
        d.permissions = descriptor.permissions;
        d.value = descriptor.value;
        d.behaviour = descriptor.behaviour;
        attributes_.push_back(d);
      }
    }
    attributes_[service_index].endHandle = static_cast<uint16_t>(next - 1);
  }
}

std::vector<tev::mojom::BluetoothGattDBElementPtr> AttributeDb::Elements() const {
  std::vector<tev::mojom::BluetoothGattDBElementPtr> elements;
  for (const Attribute& a : attributes_) {
    elements.push_back(tev::mojom::BluetoothGattDBElement::New(
        static_cast<uint8_t>(a.handle), a.uuid, a.type, a.handle, IsService(a) ? a.handle : 0,
        IsService(a) ? a.endHandle : 0, a.properties));
  }
  return elements;
}

Attribute* AttributeDb::Find(uint16_t handle) {
  for (Attribute& a : attributes_) {
    if (a.handle == handle) return &a;
  }
  return nullptr;
}

Attribute* AttributeDb::FindCharacteristic(const bluetooth::Uuid& uuid) {
  for (Attribute& a : attributes_) {
    if (a.type == Type::CHARACTERISTIC && a.uuid == uuid) return &a;
  }
  return nullptr;
}

Attribute* AttributeDb::Cccd(uint16_t char_handle) {
  const bluetooth::Uuid cccd = bluetooth::Uuid::From16Bit(kCccdUuid16);
  for (Attribute& a : attributes_) {
    if (a.type == Type::DESCRIPTOR && a.charHandle == char_handle && a.uuid == cccd) return &a;
  }
  return nullptr;
}

Status AttributeDb::Read(Attribute& a, Bytes* value) {
  if (!IsService(a)) {
    const bool readable = a.type == Type::CHARACTERISTIC ? (a.properties & kPropRead) != 0
                                                         : (a.permissions & kPermRead) != 0;
    if (!readable) return Status::READ_NOT_PERMITTED;
    if (a.behaviour.kind == Kind::kFails) return static_cast<Status>(a.behaviour.failStatus);
  }
  *value = a.value;
  if (a.behaviour.kind == Kind::kCounter) Increment(&a.value);
  return Status::SUCCESS;
}

Status AttributeDb::CheckWrite(const Attribute& a) const {
  if (IsService(a)) return Status::WRITE_NOT_PERMITTED;
  const bool writable = a.type == Type::CHARACTERISTIC
                            ? (a.properties & (kPropWrite | kPropWriteNoResponse)) != 0
                            : (a.permissions & kPermWrite) != 0;
  if (!writable) return Status::WRITE_NOT_PERMITTED;
  if (a.behaviour.kind == Kind::kFails) return static_cast<Status>(a.behaviour.failStatus);
  return Status::SUCCESS;
}

Status AttributeDb::Write(Attribute& a, const Bytes& value) {
  const Status status = CheckWrite(a);
  if (status != Status::SUCCESS) return status;
  if (a.behaviour.kind != Kind::kStatic) a.value = value;
  return Status::SUCCESS;
}

Bytes AttributeDb::NotificationValue(Attribute& characteristic) {
  Bytes value = characteristic.value;
  if (characteristic.behaviour.kind == Kind::kCounter) Increment(&characteristic.value);
  return value;
}

}  // namespace sim
}  // namespace tev
