// The adapter half of the language: bt_interface_t calls, as the stack makes them.
#include <unistd.h>

#include <cstring>

#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "partial_tables.h"
#include "session.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

const std::vector<std::string> kPropertyNames = {"",
                                                 "bdname",
                                                 "bdaddr",
                                                 "uuids",
                                                 "class_of_device",
                                                 "type_of_device",
                                                 "service_record",
                                                 "scan_mode",
                                                 "bonded_devices",
                                                 "discoverable_timeout",
                                                 "friendly_name",
                                                 "rssi",
                                                 "version",
                                                 "le_features"};

const std::vector<std::string> kTransports = {"auto", "bredr", "le"};

bool init(Session& session, CommandArgs& args, std::string* error) {
  bt_callbacks_t* tables = nullptr;
  std::string shown = "callbacks";
  if (args.IsNull(0)) {
    shown = "null";
  } else {
    std::vector<std::string> without;
    if (!WithoutSlots(args, 0, &without, error)) return false;
    tables = without.empty() ? AdapterCallbacks() : AdapterTablesWithout(without, error);
    if (!tables) return false;
    for (const std::string& slot : without) shown += " without " + slot;
  }
  ContractChecker::Lifecycle lifecycle(session.checker(), TableGroup::kAdapter, ContractChecker::Step::kInit);
  return CallForStatus(session, args, "init(" + shown + ")",
                       [&] { return session.bt()->init(tables, false, false, 0, nullptr, false, nullptr); });
}

bool cleanup(Session& session, CommandArgs&, std::string*) {
  ContractChecker::Lifecycle lifecycle(session.checker(), TableGroup::kAdapter, ContractChecker::Step::kCleanup);
  session.CallVoid("cleanup()", [&] { session.bt()->cleanup(); });
  return true;
}

bool enable(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "enable()", [&] { return session.bt()->enable(); });
}

bool disable(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "disable()", [&] { return session.bt()->disable(); });
}

bool getAdapterProperties(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "get_adapter_properties()",
                       [&] { return session.bt()->get_adapter_properties(); });
}

bool getAdapterProperty(Session& session, CommandArgs& args, std::string* error) {
  const int64_t type = args.Choice(0, "property type", kPropertyNames);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args,
                       base::StringPrintf("get_adapter_property(%lld %s)", static_cast<long long>(type),
                                          PropertyTypeName(static_cast<int>(type)).c_str()),
                       [&] { return session.bt()->get_adapter_property(static_cast<bt_property_type_t>(type)); });
}

bool setProperty(Session& session, CommandArgs& args, bt_property_type_t type, std::vector<uint8_t> value,
                 const std::string& shown) {
  bt_property_t property{type, static_cast<int>(value.size()), value.empty() ? nullptr : value.data()};
  return CallForStatus(session, args, base::StringPrintf("set_adapter_property(%d, %s)", type, shown.c_str()),
                       [&] { return session.bt()->set_adapter_property(&property); });
}

std::vector<uint8_t> u32Bytes(uint32_t value) {
  std::vector<uint8_t> bytes(sizeof(value));
  std::memcpy(bytes.data(), &value, sizeof(value));
  return bytes;
}

bool setName(Session& session, CommandArgs& args, std::string*) {
  const std::string name = args.token(0).text;
  std::vector<uint8_t> value(name.begin(), name.end());
  value.push_back('\0');
  return setProperty(session, args, BT_PROPERTY_BDNAME, std::move(value), "\"" + name + "\"");
}

bool setScanMode(Session& session, CommandArgs& args, std::string* error) {
  const int64_t mode = args.Choice(0, "scan mode", {"none", "connectable", "discoverable"});
  if (!args.ok()) return (*error = args.error(), false);
  return setProperty(session, args, BT_PROPERTY_ADAPTER_SCAN_MODE, u32Bytes(static_cast<uint32_t>(mode)),
                     std::to_string(mode));
}

bool setDiscoverableTimeout(Session& session, CommandArgs& args, std::string* error) {
  const int64_t seconds = args.Int(0, "timeout in seconds");
  if (!args.ok()) return (*error = args.error(), false);
  return setProperty(session, args, BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT, u32Bytes(static_cast<uint32_t>(seconds)),
                     std::to_string(seconds));
}

bool setAdapterProperty(Session& session, CommandArgs& args, std::string* error) {
  if (args.IsNull(0)) {
    return CallForStatus(session, args, "set_adapter_property(null)",
                         [&] { return session.bt()->set_adapter_property(nullptr); });
  }
  const int64_t type = args.Choice(0, "property type", kPropertyNames);
  std::vector<uint8_t> value = args.Bytes(1, "the value");
  if (!args.ok()) return (*error = args.error(), false);
  const std::string shown = args.token(1).text;
  return setProperty(session, args, static_cast<bt_property_type_t>(type), std::move(value), shown);
}

bool getRemoteDeviceProperties(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  RawAddress* address = args.AddressOrNull(0, &storage);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args, "get_remote_device_properties(" + AddressText(address) + ")",
                       [&] { return session.bt()->get_remote_device_properties(address); });
}

bool getRemoteDeviceProperty(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  RawAddress* address = args.AddressOrNull(0, &storage);
  const int64_t type = args.Choice(1, "property type", kPropertyNames);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(
      session, args,
      base::StringPrintf("get_remote_device_property(%s, %lld)", AddressText(address).c_str(),
                         static_cast<long long>(type)),
      [&] { return session.bt()->get_remote_device_property(address, static_cast<bt_property_type_t>(type)); });
}

bool startDiscovery(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "start_discovery()", [&] { return session.bt()->start_discovery(); });
}

bool cancelDiscovery(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "cancel_discovery()", [&] { return session.bt()->cancel_discovery(); });
}

bool createBond(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  const RawAddress* address = args.AddressOrNull(0, &storage);
  const int64_t transport = args.has(1) ? args.Choice(1, "transport", kTransports) : 0;
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(
      session, args,
      base::StringPrintf("create_bond(%s, %lld)", AddressText(address).c_str(), static_cast<long long>(transport)),
      [&] { return session.bt()->create_bond(address, static_cast<int>(transport)); });
}

bool removeBond(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  const RawAddress* address = args.AddressOrNull(0, &storage);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args, "remove_bond(" + AddressText(address) + ")",
                       [&] { return session.bt()->remove_bond(address); });
}

bool cancelBond(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  const RawAddress* address = args.AddressOrNull(0, &storage);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args, "cancel_bond(" + AddressText(address) + ")",
                       [&] { return session.bt()->cancel_bond(address); });
}

bool getConnectionState(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  const RawAddress* address = args.AddressOrNull(0, &storage);
  if (!args.ok()) return (*error = args.error(), false);
  args.Returned(session.CallValue("get_connection_state(" + AddressText(address) + ")",
                                  [&] { return session.bt()->get_connection_state(address); }),
                false);
  return true;
}

bool dump(Session& session, CommandArgs& args, std::string* error) {
  int fds[2];
  if (pipe(fds) != 0) return (*error = "cannot make a pipe for dump", false);
  session.CallVoid("dump(fd)", [&] { session.bt()->dump(fds[1], nullptr); });
  close(fds[1]);
  std::string text;
  char buffer[256];
  ssize_t n = 0;
  while ((n = read(fds[0], buffer, sizeof(buffer))) > 0) text.append(buffer, static_cast<size_t>(n));
  close(fds[0]);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  session.transcript().Note("dump: " + text);
  args.ReturnedText(text);
  return true;
}

}  // namespace

std::vector<CommandEntry> AdapterCommands() {
  constexpr size_t kMany = 64;
  return {
      {"bt", "", "init", "[null | --without SLOT...]",
       "init with complete callback tables (or none, or some slots left null); the HAL associates its callback "
       "thread",
       0, kMany, true, init, "init --without adapter_state_changed_cb"},
      {"bt", "", "cleanup", "", "cleanup: the callback thread disassociates and stops", 0, 0, false, cleanup,
       "cleanup"},
      {"bt", "", "enable", "", "enable the adapter (adapter_state_changed_cb follows)", 0, 0, true, enable, "enable"},
      {"bt", "", "disable", "", "disable the adapter", 0, 0, true, disable, "disable"},
      {"bt", "", "get_adapter_properties", "", "ask for the adapter's properties (adapter_properties_cb follow)", 0, 0,
       true, getAdapterProperties, "get_adapter_properties"},
      {"bt", "", "get_adapter_property", "TYPE",
       "ask for one property: bdname, bdaddr, uuids, class_of_device, scan_mode, bonded_devices, ... or a number", 1, 1,
       true, getAdapterProperty, "get_adapter_property bdname"},
      {"bt", "", "set_name", "NAME", "set the adapter's name", 1, 1, true, setName, "set_name \"Pixel Guest\""},
      {"bt", "", "set_scan_mode", "none|connectable|discoverable", "set the adapter's scan mode", 1, 1, true,
       setScanMode, "set_scan_mode discoverable"},
      {"bt", "", "set_discoverable_timeout", "SECONDS", "set the discoverable time-out", 1, 1, true,
       setDiscoverableTimeout, "set_discoverable_timeout 120"},
      {"bt", "", "set_adapter_property", "TYPE VALUE | null", "set any property to raw bytes, or pass no property", 1,
       2, true, setAdapterProperty, "set_adapter_property scan_mode 02000000"},
      {"bt", "", "get_remote_device_properties", "ADDR|null", "ask for a device's properties", 1, 1, true,
       getRemoteDeviceProperties, "get_remote_device_properties 02:51:c0:00:00:01"},
      {"bt", "", "get_remote_device_property", "ADDR|null TYPE", "ask for one property of a device", 2, 2, true,
       getRemoteDeviceProperty, "get_remote_device_property 02:51:c0:00:00:01 bdname"},
      {"bt", "", "start_discovery", "", "start discovering classic devices (device_found_cb follow)", 0, 0, true,
       startDiscovery, "start_discovery"},
      {"bt", "", "cancel_discovery", "", "stop discovering", 0, 0, true, cancelDiscovery, "cancel_discovery"},
      {"bt", "", "create_bond", "ADDR|null [auto|bredr|le]", "bond with a device (bond_state_changed_cb follow)", 1, 2,
       true, createBond, "create_bond 02:51:c0:00:00:01 bredr"},
      {"bt", "", "remove_bond", "ADDR|null", "forget a bond", 1, 1, true, removeBond, "remove_bond 02:51:c0:00:00:01"},
      {"bt", "", "cancel_bond", "ADDR|null", "cancel a bonding in progress", 1, 1, true, cancelBond,
       "cancel_bond 02:51:c0:00:00:01"},
      {"bt", "", "get_connection_state", "ADDR|null", "the HAL's answer, not a status", 1, 1, true, getConnectionState,
       "get_connection_state 02:51:c0:00:00:01 returns 0"},
      {"bt", "", "dump", "", "the HAL's diagnostic dump; 'returns' checks its text", 0, 0, true, dump,
       "dump returns \"BluetoothTev: Mojo bridge to Quarne OS\"", true},
  };
}

}  // namespace bttev
}  // namespace tev
