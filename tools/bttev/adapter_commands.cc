// The adapter half of the language: bt_interface_t calls, as the stack makes them.
#include <unistd.h>

#include <cstring>

#include "base/strings/stringprintf.h"
#include "callback_tables.h"
#include "command_table.h"
#include "record_fields.h"
#include "session.h"

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

bool init(Session& session, CommandArgs& args, std::string*) {
  // Installed before the call: the callback thread may call back before init returns.
  session.SetInstalled(Table::kAdapter, true);
  return CallForStatus(session, args, "init(callbacks)", [&] {
    return session.bt()->init(AdapterCallbacks(), false, false, 0, nullptr, false, nullptr);
  });
}

bool cleanup(Session& session, CommandArgs&, std::string*) {
  session.CallVoid("cleanup()", [&] { session.bt()->cleanup(); });
  session.SetInstalled(Table::kAdapter, false);
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
  const int64_t type = args.Choice(0, "property type", kPropertyNames);
  std::vector<uint8_t> value = args.Bytes(1, "the value");
  if (!args.ok()) return (*error = args.error(), false);
  const std::string shown = args.token(1).text;
  return setProperty(session, args, static_cast<bt_property_type_t>(type), std::move(value), shown);
}

bool getRemoteDeviceProperties(Session& session, CommandArgs& args, std::string* error) {
  RawAddress address = args.Address(0);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args, "get_remote_device_properties(" + address.ToString() + ")",
                       [&] { return session.bt()->get_remote_device_properties(&address); });
}

bool getRemoteDeviceProperty(Session& session, CommandArgs& args, std::string* error) {
  RawAddress address = args.Address(0);
  const int64_t type = args.Choice(1, "property type", kPropertyNames);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(
      session, args,
      base::StringPrintf("get_remote_device_property(%s, %lld)", address.ToString().c_str(),
                         static_cast<long long>(type)),
      [&] { return session.bt()->get_remote_device_property(&address, static_cast<bt_property_type_t>(type)); });
}

bool startDiscovery(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "start_discovery()", [&] { return session.bt()->start_discovery(); });
}

bool cancelDiscovery(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "cancel_discovery()", [&] { return session.bt()->cancel_discovery(); });
}

bool createBond(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  const int64_t transport = args.has(1) ? args.Choice(1, "transport", kTransports) : 0;
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(
      session, args,
      base::StringPrintf("create_bond(%s, %lld)", address.ToString().c_str(), static_cast<long long>(transport)),
      [&] { return session.bt()->create_bond(&address, static_cast<int>(transport)); });
}

bool removeBond(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args, "remove_bond(" + address.ToString() + ")",
                       [&] { return session.bt()->remove_bond(&address); });
}

bool cancelBond(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args, "cancel_bond(" + address.ToString() + ")",
                       [&] { return session.bt()->cancel_bond(&address); });
}

bool getConnectionState(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  if (!args.ok()) return (*error = args.error(), false);
  args.Returned(session.CallValue("get_connection_state(" + address.ToString() + ")",
                                  [&] { return session.bt()->get_connection_state(&address); }),
                false);
  return true;
}

bool dump(Session& session, CommandArgs&, std::string* error) {
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
  return true;
}

}  // namespace

std::vector<CommandEntry> AdapterCommands() {
  return {
      {"bt", "", "init", "", "init with complete callback tables; the HAL associates its callback thread", 0, 0, true,
       init},
      {"bt", "", "cleanup", "", "cleanup: the callback thread disassociates and stops", 0, 0, false, cleanup},
      {"bt", "", "enable", "", "enable the adapter (adapter_state_changed_cb follows)", 0, 0, true, enable},
      {"bt", "", "disable", "", "disable the adapter", 0, 0, true, disable},
      {"bt", "", "get_adapter_properties", "", "ask for the adapter's properties (adapter_properties_cb follow)", 0, 0,
       true, getAdapterProperties},
      {"bt", "", "get_adapter_property", "TYPE",
       "ask for one property: bdname, bdaddr, uuids, class_of_device, scan_mode, bonded_devices, ... or a number", 1, 1,
       true, getAdapterProperty},
      {"bt", "", "set_name", "NAME", "set the adapter's name", 1, 1, true, setName},
      {"bt", "", "set_scan_mode", "none|connectable|discoverable", "set the adapter's scan mode", 1, 1, true,
       setScanMode},
      {"bt", "", "set_discoverable_timeout", "SECONDS", "set the discoverable time-out", 1, 1, true,
       setDiscoverableTimeout},
      {"bt", "", "set_adapter_property", "TYPE VALUE", "set any property to raw bytes", 2, 2, true, setAdapterProperty},
      {"bt", "", "get_remote_device_properties", "ADDR", "ask for a device's properties", 1, 1, true,
       getRemoteDeviceProperties},
      {"bt", "", "get_remote_device_property", "ADDR TYPE", "ask for one property of a device", 2, 2, true,
       getRemoteDeviceProperty},
      {"bt", "", "start_discovery", "", "start discovering classic devices (device_found_cb follow)", 0, 0, true,
       startDiscovery},
      {"bt", "", "cancel_discovery", "", "stop discovering", 0, 0, true, cancelDiscovery},
      {"bt", "", "create_bond", "ADDR [auto|bredr|le]", "bond with a device (bond_state_changed_cb follow)", 1, 2, true,
       createBond},
      {"bt", "", "remove_bond", "ADDR", "forget a bond", 1, 1, true, removeBond},
      {"bt", "", "cancel_bond", "ADDR", "cancel a bonding in progress", 1, 1, true, cancelBond},
      {"bt", "", "get_connection_state", "ADDR", "the HAL's answer, not a status", 1, 1, true, getConnectionState},
      {"bt", "", "dump", "", "the HAL's diagnostic dump", 0, 0, false, dump},
  };
}

}  // namespace bttev
}  // namespace tev
