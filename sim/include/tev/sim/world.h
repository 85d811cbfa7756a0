#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/time/time.h"
#include "bluetooth/uuid.h"

namespace tev {
namespace sim {

// Byte 0 is the first byte of the written form, as on the bridge.
using Address = std::array<uint8_t, 6>;
using Bytes = std::vector<uint8_t>;

std::string AddressToString(const Address& address);
// "xx:xx:xx:xx:xx:xx", hexadecimal digits of either case.
bool ParseAddress(const std::string& text, Address* address);

// Characteristic property bits, as carried in the GATT database.
constexpr uint8_t kPropBroadcast = 0x01;
constexpr uint8_t kPropRead = 0x02;
constexpr uint8_t kPropWriteNoResponse = 0x04;
constexpr uint8_t kPropWrite = 0x08;
constexpr uint8_t kPropNotify = 0x10;
constexpr uint8_t kPropIndicate = 0x20;
constexpr uint8_t kPropSignedWrite = 0x40;
constexpr uint8_t kPropExtended = 0x80;

// Attribute permission bits, as the Android side publishes them.
constexpr uint16_t kPermRead = 0x01;
constexpr uint16_t kPermReadEncrypted = 0x02;
constexpr uint16_t kPermWrite = 0x10;
constexpr uint16_t kPermWriteEncrypted = 0x20;

// The Client Characteristic Configuration descriptor.
constexpr uint16_t kCccdUuid16 = 0x2902;

struct LeFeatures {
  uint16_t versionSupported = 0x0501;
  uint8_t localPrivacyEnabled = 1;
  uint8_t maxAdvInstance = 4;
  uint8_t rpaOffloadSupported = 0;
  uint8_t maxIrkListSize = 8;
  uint8_t maxAdvFilterSupported = 16;
  uint8_t activityEnergyInfoSupported = 0;
  uint16_t scanResultStorageSize = 0;
  uint16_t totalTrackableAdvertisers = 0;
  bool extendedScanSupport = false;
  bool debugLoggingSupported = false;
};

struct Adapter {
  std::string name = "Quarne";
  Address address = {0x02, 0x51, 0x00, 0x00, 0x00, 0x01};
  uint32_t classOfDevice = 0x00010c;
  // The bridge's scan mode numbering: 0 none, 1 connectable, 2 connectable and discoverable.
  int32_t scanMode = 1;
  uint32_t discoverableTimeout = 120;
  bool enabled = false;
  std::vector<bluetooth::Uuid> uuids;
  LeFeatures leFeatures;
  std::vector<Address> bonded;
  base::TimeDelta discoveryDuration = base::TimeDelta::FromMilliseconds(10240);
};

struct ClassicDevice {
  Address address{};
  std::string name;
  uint32_t classOfDevice = 0;
  std::vector<bluetooth::Uuid> uuids;
  int8_t rssi = -60;
  bool bondingSucceeds = true;
  // Since discovery started.
  base::TimeDelta foundAfter;
};

// What an attribute does with reads and writes.
struct Behaviour {
  enum class Kind {
    kStatic,        // reads give the initial value; writes are accepted and forgotten
    kCounter,       // the value is a little-endian counter, incremented after each read or notification
    kStoresWrites,  // writes replace the value
    kFails,         // every read and write is answered with failStatus
  };
  Kind kind = Kind::kStatic;
  int32_t failStatus = 0;
};

struct Descriptor {
  bluetooth::Uuid uuid;
  uint16_t permissions = kPermRead | kPermWrite;
  Bytes value;
  Behaviour behaviour;
};

struct Characteristic {
  bluetooth::Uuid uuid;
  uint8_t properties = kPropRead;
  uint16_t permissions = kPermRead;
  Bytes value;
  Behaviour behaviour;
  std::vector<Descriptor> descriptors;
};

struct Service {
  bluetooth::Uuid uuid;
  bool primary = true;
  std::vector<Characteristic> characteristics;
};

// Sends a characteristic's value to subscribers every `interval`: the listed values in turn,
// or the characteristic's own value when none are listed.
struct NotificationSource {
  bluetooth::Uuid characteristic;
  base::TimeDelta interval = base::TimeDelta::FromSeconds(1);
  std::vector<Bytes> values;
};

struct ManufacturerData {
  uint16_t company = 0;
  Bytes data;
};

struct Advertising {
  base::TimeDelta interval = base::TimeDelta::FromMilliseconds(100);
  std::optional<uint8_t> flags = 0x06;
  bool includeName = true;
  std::vector<bluetooth::Uuid> serviceUuids;
  std::optional<ManufacturerData> manufacturer;
};

struct Peripheral {
  Address address{};
  std::string name;
  int8_t rssi = -60;
  bool bondingSucceeds = true;
  // Reported once connected; 0 reports none.
  uint16_t mtu = 0;
  Advertising advertising;
  std::vector<Service> services;
  std::vector<NotificationSource> notifications;
};

// One request of a remote central to the services the Android side publishes. A target left
// unset means the first published characteristic that allows the operation.
struct ScriptStep {
  enum class Kind { kRead, kWrite, kPrepareWrite, kExecuteWrite, kSubscribe, kWait, kDisconnect };
  Kind kind = Kind::kRead;
  std::optional<bluetooth::Uuid> characteristic;
  std::optional<bluetooth::Uuid> descriptor;
  int32_t offset = 0;
  bool isLong = false;
  Bytes value;
  bool execute = true;
  bool indications = true;
  base::TimeDelta wait;
};

struct RemoteCentral {
  Address address{};
  std::string name;
  int8_t rssi = -60;
  // Counted from the first StartService of the Android side.
  base::TimeDelta connectAfter = base::TimeDelta::FromMilliseconds(500);
  // Between one step's answer and the next step.
  base::TimeDelta stepInterval = base::TimeDelta::FromMilliseconds(100);
  std::vector<ScriptStep> script;
};

struct Timing {
  base::TimeDelta leConnect = base::TimeDelta::FromMilliseconds(30);
  base::TimeDelta leDisconnect = base::TimeDelta::FromMilliseconds(10);
  base::TimeDelta serviceSearch = base::TimeDelta::FromMilliseconds(50);
  base::TimeDelta bond = base::TimeDelta::FromMilliseconds(1000);
  // Reported RSSI values vary by up to this many dB either way.
  int rssiVariation = 3;
};

struct World {
  Adapter adapter;
  std::vector<ClassicDevice> classicDevices;
  std::vector<Peripheral> peripherals;
  std::vector<RemoteCentral> centrals;
  Timing timing;
};

}  // namespace sim
}  // namespace tev
