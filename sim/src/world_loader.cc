#include "tev/sim/world_loader.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

#include "advertising.h"
#include "format.h"
#include "json_node.h"

namespace tev {
namespace sim {
namespace {

using Node = JsonNode;
using Kind = Behaviour::Kind;

constexpr int64_t kMaxMillis = 24 * 3600 * 1000;

const std::initializer_list<std::pair<const char*, int64_t>> kPropertyNames = {
    {"broadcast", kPropBroadcast},      {"read", kPropRead},
    {"write_no_response", kPropWriteNoResponse}, {"write", kPropWrite},
    {"notify", kPropNotify},            {"indicate", kPropIndicate},
    {"signed_write", kPropSignedWrite}, {"extended", kPropExtended}};

const std::initializer_list<std::pair<const char*, int64_t>> kPermissionNames = {
    {"read", kPermRead},
    {"read_encrypted", kPermReadEncrypted},
    {"write", kPermWrite},
    {"write_encrypted", kPermWriteEncrypted}};

template <typename T, typename Read>
void ReadOptional(const Node& object, const char* key, T* out, Read read) {
  if (std::optional<Node> field = object.Optional(key)) *out = read(*field);
}

int8_t ReadRssi(const Node& node) { return static_cast<int8_t>(node.Integer(-127, 20)); }

std::vector<bluetooth::Uuid> ReadUuids(const Node& node) {
  std::vector<bluetooth::Uuid> uuids;
  for (const Node& item : node.Items()) uuids.push_back(item.UuidValue());
  return uuids;
}

// "value" in hexadecimal or "text" as UTF-8; at most one of them.
Bytes ReadValue(const Node& object, bool required) {
  if (object.Has("value") && object.Has("text")) object.Field("text").Refuse("give either value or text, not both");
  if (std::optional<Node> value = object.Optional("value")) return value->HexBytes();
  if (std::optional<Node> text = object.Optional("text")) {
    const std::string string = text->String();
    return Bytes(string.begin(), string.end());
  }
  if (required) object.Field("value");
  return {};
}

Behaviour ReadBehaviour(const Node& object, Kind fallback) {
  Behaviour behaviour;
  behaviour.kind = fallback;
  if (std::optional<Node> kind = object.Optional("behaviour")) {
    behaviour.kind = static_cast<Kind>(kind->Choice({"static", "counter", "stores_writes", "fails"}));
  }
  if (behaviour.kind == Kind::kFails) {
    behaviour.failStatus = static_cast<int32_t>(object.Field("status").Integer(1, 0xffff));
  } else if (object.Has("status")) {
    object.Field("status").Refuse("only a behaviour of \"fails\" takes a status");
  }
  return behaviour;
}

LeFeatures ReadLeFeatures(const Node& node) {
  node.ExpectObject({"version_supported", "local_privacy_enabled", "max_adv_instance",
                     "rpa_offload_supported", "max_irk_list_size", "max_adv_filter_supported",
                     "activity_energy_info_supported", "scan_result_storage_size",
                     "total_trackable_advertisers", "extended_scan_support",
                     "debug_logging_supported"});
  LeFeatures f;
  auto u8 = [](const Node& n) { return static_cast<uint8_t>(n.Integer(0, 0xff)); };
  auto u16 = [](const Node& n) { return static_cast<uint16_t>(n.Integer(0, 0xffff)); };
  auto flag = [](const Node& n) { return n.Bool(); };
  ReadOptional(node, "version_supported", &f.versionSupported, u16);
  ReadOptional(node, "local_privacy_enabled", &f.localPrivacyEnabled, u8);
  ReadOptional(node, "max_adv_instance", &f.maxAdvInstance, u8);
  ReadOptional(node, "rpa_offload_supported", &f.rpaOffloadSupported, u8);
  ReadOptional(node, "max_irk_list_size", &f.maxIrkListSize, u8);
  ReadOptional(node, "max_adv_filter_supported", &f.maxAdvFilterSupported, u8);
  ReadOptional(node, "activity_energy_info_supported", &f.activityEnergyInfoSupported, u8);
  ReadOptional(node, "scan_result_storage_size", &f.scanResultStorageSize, u16);
  ReadOptional(node, "total_trackable_advertisers", &f.totalTrackableAdvertisers, u16);
  ReadOptional(node, "extended_scan_support", &f.extendedScanSupport, flag);
  ReadOptional(node, "debug_logging_supported", &f.debugLoggingSupported, flag);
  return f;
}

Adapter ReadAdapter(const Node& node) {
  node.ExpectObject({"name", "address", "class", "scan_mode", "discoverable_timeout", "enabled",
                     "uuids", "le_features", "bonded", "discovery_duration_ms"});
  Adapter a;
  ReadOptional(node, "name", &a.name, [](const Node& n) { return n.String(); });
  ReadOptional(node, "address", &a.address, [](const Node& n) { return n.AddressValue(); });
  ReadOptional(node, "class", &a.classOfDevice,
               [](const Node& n) { return static_cast<uint32_t>(n.Integer(0, 0xffffff)); });
  ReadOptional(node, "scan_mode", &a.scanMode, [](const Node& n) {
    return static_cast<int32_t>(n.Choice({"none", "connectable", "connectable_discoverable"}));
  });
  ReadOptional(node, "discoverable_timeout", &a.discoverableTimeout,
               [](const Node& n) { return static_cast<uint32_t>(n.Integer(0, 3600)); });
  ReadOptional(node, "enabled", &a.enabled, [](const Node& n) { return n.Bool(); });
  ReadOptional(node, "uuids", &a.uuids, ReadUuids);
  ReadOptional(node, "le_features", &a.leFeatures, ReadLeFeatures);
  if (std::optional<Node> bonded = node.Optional("bonded")) {
    for (const Node& item : bonded->Items()) a.bonded.push_back(item.AddressValue());
  }
  ReadOptional(node, "discovery_duration_ms", &a.discoveryDuration,
               [](const Node& n) { return n.Millis(1, kMaxMillis); });
  return a;
}

ClassicDevice ReadClassicDevice(const Node& node, size_t index) {
  node.ExpectObject({"address", "name", "class", "uuids", "rssi", "bonding_succeeds", "found_after_ms"});
  ClassicDevice d;
  d.address = node.Field("address").AddressValue();
  d.foundAfter = base::TimeDelta::FromMilliseconds(1000 * static_cast<int64_t>(index + 1));
  ReadOptional(node, "name", &d.name, [](const Node& n) { return n.String(); });
  ReadOptional(node, "class", &d.classOfDevice,
               [](const Node& n) { return static_cast<uint32_t>(n.Integer(0, 0xffffff)); });
  ReadOptional(node, "uuids", &d.uuids, ReadUuids);
  ReadOptional(node, "rssi", &d.rssi, ReadRssi);
  ReadOptional(node, "bonding_succeeds", &d.bondingSucceeds, [](const Node& n) { return n.Bool(); });
  ReadOptional(node, "found_after_ms", &d.foundAfter,
               [](const Node& n) { return n.Millis(0, kMaxMillis); });
  return d;
}

Descriptor ReadDescriptor(const Node& node) {
  node.ExpectObject({"uuid", "permissions", "value", "text", "behaviour", "status"});
  Descriptor d;
  d.uuid = node.Field("uuid").UuidValue();
  ReadOptional(node, "permissions", &d.permissions,
               [](const Node& n) { return static_cast<uint16_t>(n.Flags(kPermissionNames, 0xffff)); });
  d.value = ReadValue(node, false);
  d.behaviour = ReadBehaviour(node, Kind::kStoresWrites);
  return d;
}

Characteristic ReadCharacteristic(const Node& node) {
  node.ExpectObject({"uuid", "properties", "permissions", "value", "text", "behaviour", "status",
                     "descriptors"});
  Characteristic c;
  c.uuid = node.Field("uuid").UuidValue();
  ReadOptional(node, "properties", &c.properties,
               [](const Node& n) { return static_cast<uint8_t>(n.Flags(kPropertyNames, 0xff)); });
  const bool writable = c.properties & (kPropWrite | kPropWriteNoResponse);
  c.permissions = static_cast<uint16_t>(((c.properties & kPropRead) ? kPermRead : 0) |
                                        (writable ? kPermWrite : 0));
  ReadOptional(node, "permissions", &c.permissions,
               [](const Node& n) { return static_cast<uint16_t>(n.Flags(kPermissionNames, 0xffff)); });
  c.value = ReadValue(node, false);
  c.behaviour = ReadBehaviour(node, writable ? Kind::kStoresWrites : Kind::kStatic);
  if (std::optional<Node> descriptors = node.Optional("descriptors")) {
    for (const Node& item : descriptors->Items()) c.descriptors.push_back(ReadDescriptor(item));
  }
  // A characteristic that notifies or indicates always has its configuration descriptor.
  const bluetooth::Uuid cccd = bluetooth::Uuid::From16Bit(kCccdUuid16);
  bool has_cccd = false;
  for (const Descriptor& d : c.descriptors) has_cccd = has_cccd || d.uuid == cccd;
  if ((c.properties & (kPropNotify | kPropIndicate)) && !has_cccd) {
    c.descriptors.push_back(Descriptor{cccd, kPermRead | kPermWrite, {0x00, 0x00}, {}});
    c.descriptors.back().behaviour.kind = Kind::kStoresWrites;
  }
  return c;
}

Service ReadService(const Node& node) {
  node.ExpectObject({"uuid", "primary", "characteristics"});
  Service s;
  s.uuid = node.Field("uuid").UuidValue();
  ReadOptional(node, "primary", &s.primary, [](const Node& n) { return n.Bool(); });
  if (std::optional<Node> characteristics = node.Optional("characteristics")) {
    for (const Node& item : characteristics->Items()) s.characteristics.push_back(ReadCharacteristic(item));
  }
  return s;
}

const Characteristic* FindCharacteristic(const Peripheral& p, const bluetooth::Uuid& uuid) {
  for (const Service& s : p.services) {
    for (const Characteristic& c : s.characteristics) {
      if (c.uuid == uuid) return &c;
    }
  }
  return nullptr;
}

NotificationSource ReadNotification(const Node& node, const Peripheral& p) {
  node.ExpectObject({"characteristic", "interval_ms", "values"});
  NotificationSource n;
  const Node target = node.Field("characteristic");
  n.characteristic = target.UuidValue();
  const Characteristic* c = FindCharacteristic(p, n.characteristic);
  if (!c) target.Refuse("no such characteristic in this peripheral's gatt");
  if (!(c->properties & (kPropNotify | kPropIndicate))) {
    target.Refuse("the characteristic neither notifies nor indicates");
  }
  ReadOptional(node, "interval_ms", &n.interval, [](const Node& v) { return v.Millis(1, kMaxMillis); });
  if (std::optional<Node> values = node.Optional("values")) {
    for (const Node& item : values->Items()) n.values.push_back(item.HexBytes());
  }
  return n;
}

Advertising ReadAdvertising(const Node& node) {
  node.ExpectObject({"interval_ms", "flags", "include_name", "service_uuids", "manufacturer"});
  Advertising a;
  ReadOptional(node, "interval_ms", &a.interval, [](const Node& n) { return n.Millis(20, 10240); });
  if (std::optional<Node> flags = node.Optional("flags")) {
    a.flags = static_cast<uint8_t>(flags->Integer(0, 0xff));
  }
  ReadOptional(node, "include_name", &a.includeName, [](const Node& n) { return n.Bool(); });
  ReadOptional(node, "service_uuids", &a.serviceUuids, ReadUuids);
  if (std::optional<Node> manufacturer = node.Optional("manufacturer")) {
    manufacturer->ExpectObject({"company", "data"});
    ManufacturerData m;
    m.company = static_cast<uint16_t>(manufacturer->Field("company").Integer(0, 0xffff));
    ReadOptional(*manufacturer, "data", &m.data, [](const Node& n) { return n.HexBytes(); });
    a.manufacturer = m;
  }
  return a;
}

Peripheral ReadPeripheral(const Node& node) {
  node.ExpectObject({"address", "name", "rssi", "bonding_succeeds", "mtu", "advertising", "gatt",
                     "notifications"});
  Peripheral p;
  p.address = node.Field("address").AddressValue();
  ReadOptional(node, "name", &p.name, [](const Node& n) { return n.String(); });
  ReadOptional(node, "rssi", &p.rssi, ReadRssi);
  ReadOptional(node, "bonding_succeeds", &p.bondingSucceeds, [](const Node& n) { return n.Bool(); });
  ReadOptional(node, "mtu", &p.mtu, [](const Node& n) { return static_cast<uint16_t>(n.Integer(23, 517)); });
  ReadOptional(node, "advertising", &p.advertising, ReadAdvertising);
  if (std::optional<Node> gatt = node.Optional("gatt")) {
    for (const Node& item : gatt->Items()) p.services.push_back(ReadService(item));
  }
  if (std::optional<Node> notifications = node.Optional("notifications")) {
    for (const Node& item : notifications->Items()) p.notifications.push_back(ReadNotification(item, p));
  }
  const size_t length = BuildAdvertisingData(p).size();
  if (length > kMaxAdvertisingBytes) {
    const std::string reason = "advertising data would be " + std::to_string(length) +
                               " bytes; a legacy advertisement holds " +
                               std::to_string(kMaxAdvertisingBytes);
    if (std::optional<Node> advertising = node.Optional("advertising")) advertising->Refuse(reason);
    node.Refuse(reason);
  }
  return p;
}

std::optional<bluetooth::Uuid> ReadTarget(const Node& node, const char* key) {
  std::optional<Node> target = node.Optional(key);
  if (!target || (target->IsString() && target->String() == "any")) return std::nullopt;
  return target->UuidValue();
}

ScriptStep ReadStep(const Node& node) {
  using StepKind = ScriptStep::Kind;
  if (!node.IsObject()) node.Refuse("expected an object");
  ScriptStep step;
  step.kind = static_cast<StepKind>(node.Field("op").Choice(
      {"read", "write", "prepare_write", "execute_write", "subscribe", "wait", "disconnect"}));
  switch (step.kind) {
    case StepKind::kRead:
      node.ExpectObject({"op", "characteristic", "descriptor", "offset", "long"});
      ReadOptional(node, "long", &step.isLong, [](const Node& n) { return n.Bool(); });
      break;
    case StepKind::kWrite:
    case StepKind::kPrepareWrite:
      node.ExpectObject({"op", "characteristic", "descriptor", "offset", "value", "text"});
      step.value = ReadValue(node, true);
      break;
    case StepKind::kExecuteWrite:
      node.ExpectObject({"op", "execute"});
      ReadOptional(node, "execute", &step.execute, [](const Node& n) { return n.Bool(); });
      break;
    case StepKind::kSubscribe:
      node.ExpectObject({"op", "characteristic", "indications"});
      ReadOptional(node, "indications", &step.indications, [](const Node& n) { return n.Bool(); });
      break;
    case StepKind::kWait:
      node.ExpectObject({"op", "ms"});
      step.wait = node.Field("ms").Millis(0, kMaxMillis);
      break;
    case StepKind::kDisconnect:
      node.ExpectObject({"op"});
      break;
  }
  step.characteristic = ReadTarget(node, "characteristic");
  step.descriptor = ReadTarget(node, "descriptor");
  ReadOptional(node, "offset", &step.offset,
               [](const Node& n) { return static_cast<int32_t>(n.Integer(0, 512)); });
  return step;
}

RemoteCentral ReadCentral(const Node& node) {
  node.ExpectObject({"address", "name", "rssi", "connect_after_ms", "step_ms", "script"});
  RemoteCentral c;
  c.address = node.Field("address").AddressValue();
  ReadOptional(node, "name", &c.name, [](const Node& n) { return n.String(); });
  ReadOptional(node, "rssi", &c.rssi, ReadRssi);
  ReadOptional(node, "connect_after_ms", &c.connectAfter,
               [](const Node& n) { return n.Millis(0, kMaxMillis); });
  ReadOptional(node, "step_ms", &c.stepInterval, [](const Node& n) { return n.Millis(0, kMaxMillis); });
  if (std::optional<Node> script = node.Optional("script")) {
    for (const Node& item : script->Items()) c.script.push_back(ReadStep(item));
  }
  return c;
}

Timing ReadTiming(const Node& node) {
  node.ExpectObject({"le_connect_ms", "le_disconnect_ms", "service_search_ms", "bond_ms",
                     "rssi_variation_db"});
  Timing t;
  auto millis = [](const Node& n) { return n.Millis(0, kMaxMillis); };
  ReadOptional(node, "le_connect_ms", &t.leConnect, millis);
  ReadOptional(node, "le_disconnect_ms", &t.leDisconnect, millis);
  ReadOptional(node, "service_search_ms", &t.serviceSearch, millis);
  ReadOptional(node, "bond_ms", &t.bond, millis);
  ReadOptional(node, "rssi_variation_db", &t.rssiVariation,
               [](const Node& n) { return static_cast<int>(n.Integer(0, 30)); });
  return t;
}

template <typename Device>
void ReadDevices(const Node& root, const char* key, std::vector<Device>* out,
                 Device (*read)(const Node&)) {
  if (std::optional<Node> list = root.Optional(key)) {
    for (const Node& item : list->Items()) out->push_back(read(item));
  }
}

// Every device needs an address of its own, and none may be the adapter's.
void CheckAddresses(const Node& root, const World& world) {
  std::map<Address, std::string> owners = {{world.adapter.address, "adapter"}};
  auto claim = [&](const char* list, size_t index, const Address& address) {
    const std::string owner = std::string(list) + "[" + std::to_string(index) + "]";
    auto [it, fresh] = owners.emplace(address, owner);
    if (!fresh) {
      root.Field(list).Items()[index].Field("address").Refuse(
          "address " + AddressToString(address) + " is already used by " + it->second);
    }
  };
  for (size_t i = 0; i < world.classicDevices.size(); ++i) claim("classic_devices", i, world.classicDevices[i].address);
  for (size_t i = 0; i < world.peripherals.size(); ++i) claim("le_peripherals", i, world.peripherals[i].address);
  for (size_t i = 0; i < world.centrals.size(); ++i) claim("remote_centrals", i, world.centrals[i].address);
}

World ReadWorld(const Node& root) {
  root.ExpectObject({"description", "adapter", "classic_devices", "le_peripherals",
                     "remote_centrals", "timing"});
  World world;
  if (std::optional<Node> description = root.Optional("description")) description->String();
  ReadOptional(root, "adapter", &world.adapter, ReadAdapter);
  if (std::optional<Node> list = root.Optional("classic_devices")) {
    const std::vector<Node> items = list->Items();
    for (size_t i = 0; i < items.size(); ++i) world.classicDevices.push_back(ReadClassicDevice(items[i], i));
  }
  ReadDevices(root, "le_peripherals", &world.peripherals, &ReadPeripheral);
  ReadDevices(root, "remote_centrals", &world.centrals, &ReadCentral);
  ReadOptional(root, "timing", &world.timing, ReadTiming);
  CheckAddresses(root, world);
  return world;
}

// nlohmann's messages start with "[json.exception.parse_error.101] ".
std::string WithoutExceptionTag(const std::string& what) {
  const size_t end = what.find("] ");
  return what.rfind("[json.exception", 0) == 0 && end != std::string::npos ? what.substr(end + 2) : what;
}

}  // namespace

std::string WorldError::ToString() const {
  return file + ": " + (field.empty() ? "" : field + ": ") + reason;
}

bool ParseWorld(const std::string& text, const std::string& source, World* world,
                WorldError* error) {
  nlohmann::json json;
  try {
    json = nlohmann::json::parse(text);
  } catch (const nlohmann::json::exception& e) {
    *error = WorldError{source, "", "not valid JSON: " + WithoutExceptionTag(e.what())};
    return false;
  }
  try {
    *world = ReadWorld(Node(json, ""));
  } catch (const Refusal& refusal) {
    *error = WorldError{source, refusal.field, refusal.reason};
    return false;
  }
  return true;
}

bool LoadWorldFile(const std::string& path, World* world, WorldError* error) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    *error = WorldError{path, "", std::string("cannot be read: ") + std::strerror(errno)};
    return false;
  }
  std::ostringstream text;
  text << file.rdbuf();
  return ParseWorld(text.str(), path, world, error);
}

}  // namespace sim
}  // namespace tev
