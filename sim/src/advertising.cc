#include "advertising.h"

namespace tev {
namespace sim {
namespace {

constexpr uint8_t kTypeFlags = 0x01;
constexpr uint8_t kTypeComplete16BitUuids = 0x03;
constexpr uint8_t kTypeComplete128BitUuids = 0x07;
constexpr uint8_t kTypeCompleteName = 0x09;
constexpr uint8_t kTypeManufacturerData = 0xff;

void Append(Bytes* out, uint8_t type, const Bytes& payload) {
  out->push_back(static_cast<uint8_t>(payload.size() + 1));
  out->push_back(type);
  out->insert(out->end(), payload.begin(), payload.end());
}

}  // namespace

Bytes BuildAdvertisingData(const Peripheral& peripheral) {
  const Advertising& adv = peripheral.advertising;
  Bytes out;
  if (adv.flags) Append(&out, kTypeFlags, {*adv.flags});
  Bytes short_uuids;
  Bytes long_uuids;
  for (const bluetooth::Uuid& uuid : adv.serviceUuids) {
    if (uuid.Is16Bit()) {
      // Little-endian on the air.
      short_uuids.push_back(static_cast<uint8_t>(uuid.As16Bit() & 0xff));
      short_uuids.push_back(static_cast<uint8_t>(uuid.As16Bit() >> 8));
    } else {
      const auto le = uuid.To128BitLE();
      long_uuids.insert(long_uuids.end(), le.begin(), le.end());
    }
  }
  if (!short_uuids.empty()) Append(&out, kTypeComplete16BitUuids, short_uuids);
  if (!long_uuids.empty()) Append(&out, kTypeComplete128BitUuids, long_uuids);
  if (adv.includeName && !peripheral.name.empty()) {
    Append(&out, kTypeCompleteName, Bytes(peripheral.name.begin(), peripheral.name.end()));
  }
  if (adv.manufacturer) {
    Bytes payload = {static_cast<uint8_t>(adv.manufacturer->company & 0xff),
                     static_cast<uint8_t>(adv.manufacturer->company >> 8)};
    payload.insert(payload.end(), adv.manufacturer->data.begin(), adv.manufacturer->data.end());
    Append(&out, kTypeManufacturerData, payload);
  }
  return out;
}

}  // namespace sim
}  // namespace tev
