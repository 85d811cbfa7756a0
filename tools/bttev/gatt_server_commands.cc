// The GATT server table, as the stack calls it to publish services and answer remote clients.
#include <cstring>

#include "base/strings/string_split.h"
#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "script_values.h"
#include "session.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

struct Flag {
  const char* name;
  uint16_t bit;
};

const std::vector<Flag> kProperties = {
    {"broadcast", 0x01}, {"read", 0x02},     {"write_no_response", 0x04}, {"write", 0x08},
    {"notify", 0x10},    {"indicate", 0x20}, {"signed_write", 0x40},      {"extended", 0x80},
};

const std::vector<Flag> kPermissions = {
    {"read", 0x01},         {"read_encrypted", 0x02},  {"read_encrypted_mitm", 0x04},
    {"write", 0x10},        {"write_encrypted", 0x20}, {"write_encrypted_mitm", 0x40},
    {"write_signed", 0x80},
};

// "read|notify" or a number.
bool parseFlags(const std::string& text, const std::vector<Flag>& flags, uint16_t* value) {
  int64_t number = 0;
  if (ParseInteger(text, &number)) {
    if (number < 0 || number > 0xffff) return false;
    *value = static_cast<uint16_t>(number);
    return true;
  }
  uint16_t bits = 0;
  for (const std::string& word : base::SplitString(text, "|", base::TRIM_WHITESPACE, base::SPLIT_WANT_NONEMPTY)) {
    bool known = false;
    for (const Flag& flag : flags) {
      if (word == flag.name) {
        bits |= flag.bit;
        known = true;
      }
    }
    if (!known) return false;
  }
  *value = bits;
  return true;
}

// service:UUID, secondary:UUID, included:UUID, char:UUID[:PROPERTIES[:PERMISSIONS]],
// desc:UUID[:PERMISSIONS].
bool parseElement(const std::string& text, btgatt_db_element_t* element, std::string* error) {
  const std::vector<std::string> parts = base::SplitString(text, ":", base::TRIM_WHITESPACE, base::SPLIT_WANT_ALL);
  std::memset(element, 0, sizeof(*element));
  const std::string kind = parts.empty() ? "" : parts[0];
  size_t maxParts = 2;
  if (kind == "service") {
    element->type = BTGATT_DB_PRIMARY_SERVICE;
  } else if (kind == "secondary") {
    element->type = BTGATT_DB_SECONDARY_SERVICE;
  } else if (kind == "included") {
    element->type = BTGATT_DB_INCLUDED_SERVICE;
  } else if (kind == "char") {
    element->type = BTGATT_DB_CHARACTERISTIC;
    element->properties = 0x02;
    element->permissions = 0x01;
    maxParts = 4;
  } else if (kind == "desc") {
    element->type = BTGATT_DB_DESCRIPTOR;
    element->permissions = 0x11;
    maxParts = 3;
  } else {
    *error = "element '" + text + "' must start with service:, secondary:, included:, char: or desc:";
    return false;
  }
  if (parts.size() < 2 || parts.size() > maxParts || !ParseUuid(parts[1], &element->uuid)) {
    *error = "bad element '" + text + "' (examples: service:180d, char:2a37:read|notify:read, desc:2902:read|write)";
    return false;
  }
  uint16_t properties = element->properties;
  uint16_t permissions = element->permissions;
  if (element->type == BTGATT_DB_CHARACTERISTIC) {
    if (parts.size() > 2 && !parseFlags(parts[2], kProperties, &properties)) {
      *error = "bad properties '" + parts[2] + "' (read, write, write_no_response, notify, indicate, ...)";
      return false;
    }
    if (parts.size() > 3 && !parseFlags(parts[3], kPermissions, &permissions)) {
      *error = "bad permissions '" + parts[3] + "' (read, write, read_encrypted, write_encrypted, ...)";
      return false;
    }
  } else if (element->type == BTGATT_DB_DESCRIPTOR && parts.size() > 2 &&
             !parseFlags(parts[2], kPermissions, &permissions)) {
    *error = "bad permissions '" + parts[2] + "' (read, write, read_encrypted, write_encrypted, ...)";
    return false;
  }
  element->properties = static_cast<uint8_t>(properties);
  element->permissions = permissions;
  return true;
}

std::string addr(const RawAddress& address) { return address.ToString(); }

bool registerServer(Session& session, CommandArgs& args, std::string* error) {
  const bluetooth::Uuid uuid = args.Uuid(0);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args, "server.register_server(" + UuidText(uuid) + ")",
                       [&] { return gatt->server->register_server(uuid, false); });
}

bool unregisterServer(Session& session, CommandArgs& args, std::string* error) {
  const int64_t serverIf = args.Int(0, "server_if");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args,
                       base::StringPrintf("server.unregister_server(%lld)", static_cast<long long>(serverIf)),
                       [&] { return gatt->server->unregister_server(static_cast<int>(serverIf)); });
}

bool connect(Session& session, CommandArgs& args, std::string* error) {
  const int64_t serverIf = args.Int(0, "server_if");
  const RawAddress address = args.Address(1);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("server.connect(%lld, %s, direct)", static_cast<long long>(serverIf), addr(address).c_str()),
      [&] { return gatt->server->connect(static_cast<int>(serverIf), address, true, 2); });
}

bool disconnect(Session& session, CommandArgs& args, std::string* error) {
  const int64_t serverIf = args.Int(0, "server_if");
  const RawAddress address = args.Address(1);
  const int64_t connId = args.Int(2, "conn_id");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("server.disconnect(%lld, %s, %lld)", static_cast<long long>(serverIf), addr(address).c_str(),
                         static_cast<long long>(connId)),
      [&] { return gatt->server->disconnect(static_cast<int>(serverIf), address, static_cast<int>(connId)); });
}

bool addService(Session& session, CommandArgs& args, std::string* error) {
  const int64_t serverIf = args.Int(0, "server_if");
  std::vector<btgatt_db_element_t> elements(args.size() - 1);
  std::string shown;
  for (size_t i = 1; i < args.size() && args.ok(); ++i) {
    std::string reason;
    if (!parseElement(args.token(i).text, &elements[i - 1], &reason)) args.Fail(reason);
    shown += (i > 1 ? " " : "") + args.token(i).text;
  }
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("server.add_service(%lld, [%s])", static_cast<long long>(serverIf), shown.c_str()),
      [&] { return gatt->server->add_service(static_cast<int>(serverIf), elements.data(), elements.size()); });
}

bool stopOrDelete(Session& session, CommandArgs& args, std::string* error, bool stop) {
  const int64_t serverIf = args.Int(0, "server_if");
  const int64_t handle = args.Int(1, "service handle");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  const auto slot = stop ? gatt->server->stop_service : gatt->server->delete_service;
  return CallForStatus(session, args,
                       base::StringPrintf("server.%s(%lld, %lld)", stop ? "stop_service" : "delete_service",
                                          static_cast<long long>(serverIf), static_cast<long long>(handle)),
                       [&] { return slot(static_cast<int>(serverIf), static_cast<int>(handle)); });
}

bool stopService(Session& session, CommandArgs& args, std::string* error) {
  return stopOrDelete(session, args, error, true);
}

bool deleteService(Session& session, CommandArgs& args, std::string* error) {
  return stopOrDelete(session, args, error, false);
}

bool sendIndication(Session& session, CommandArgs& args, std::string* error) {
  const int64_t serverIf = args.Int(0, "server_if");
  const int64_t handle = args.Int(1, "attribute handle");
  const int64_t connId = args.Int(2, "conn_id");
  const int64_t confirm = args.Int(3, "confirm (1 indication, 0 notification)");
  const CommandArgs::Value value = args.PointerValue(4, "the value");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("server.send_indication(%lld, %lld, %lld, %lld, %s)", static_cast<long long>(serverIf),
                         static_cast<long long>(handle), static_cast<long long>(connId),
                         static_cast<long long>(confirm), value.Text().c_str()),
      [&] {
        return gatt->server->send_indication(static_cast<int>(serverIf), static_cast<int>(handle),
                                             static_cast<int>(connId), static_cast<int>(confirm), value.data(),
                                             value.size());
      });
}

bool sendResponse(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const int64_t transId = args.Int(1, "trans_id");
  const int64_t status = args.Int(2, "GATT status");
  const std::vector<uint8_t> value = args.has(3) ? args.Bytes(3, "the value") : std::vector<uint8_t>();
  if (value.size() > BTGATT_MAX_ATTR_LEN) args.Fail(base::StringPrintf("at most %d bytes", BTGATT_MAX_ATTR_LEN));
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  btgatt_response_t response;
  std::memset(&response, 0, sizeof(response));
  response.attr_value.len = static_cast<uint16_t>(value.size());
  if (!value.empty()) std::memcpy(response.attr_value.value, value.data(), value.size());
  return CallForStatus(
      session, args,
      base::StringPrintf("server.send_response(%lld, %lld, %lld, %s)", static_cast<long long>(connId),
                         static_cast<long long>(transId), static_cast<long long>(status), ValueText(value).c_str()),
      [&] {
        return gatt->server->send_response(static_cast<int>(connId), static_cast<int>(transId),
                                           static_cast<int>(status), response);
      });
}

bool setPreferredPhy(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  const int64_t tx = args.Int(1, "tx_phy");
  const int64_t rx = args.Int(2, "rx_phy");
  const int64_t options = args.has(3) ? args.Int(3, "phy_options") : 0;
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("server.set_preferred_phy(%s, %lld, %lld, %lld)", addr(address).c_str(),
                         static_cast<long long>(tx), static_cast<long long>(rx), static_cast<long long>(options)),
      [&] {
        return gatt->server->set_preferred_phy(address, static_cast<uint8_t>(tx), static_cast<uint8_t>(rx),
                                               static_cast<uint16_t>(options));
      });
}

bool readPhy(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args, "server.read_phy(" + addr(address) + ", callback)",
                       [&] { return gatt->server->read_phy(address, ReadPhyCallback(Table::kGattServer)); });
}

}  // namespace

std::vector<CommandEntry> GattServerCommands() {
  const std::string phone = "02:51:d0:00:00:01";
  return {
      {"server", "server", "register", "UUID", "register a server application (register_server_cb gives server_if)", 1,
       1, true, registerServer, "server register 0000bbbb-0000-1000-8000-00805f9b34fb"},
      {"server", "server", "unregister", "SERVER_IF", "unregister a server", 1, 1, true, unregisterServer,
       "server unregister $server"},
      {"server", "server", "connect", "SERVER_IF ADDR", "connect to a remote client (connection_cb)", 2, 2, true,
       connect, "server connect $server " + phone},
      {"server", "server", "disconnect", "SERVER_IF ADDR CONN_ID", "disconnect a remote client", 3, 3, true, disconnect,
       "server disconnect $server " + phone + " $conn"},
      {"server", "server", "add_service", "SERVER_IF [ELEMENT...]",
       "publish a service: service:UUID, then char:UUID[:PROPS[:PERMS]] and desc:UUID[:PERMS] "
       "(service_added_cb gives the handles); no elements passes an empty list",
       1, 64, true, addService,
       "server add_service $server service:180d char:2a37:read|notify:read desc:2902:read|write"},
      {"server", "server", "stop_service", "SERVER_IF SERVICE_HANDLE", "stop a service (service_stopped_cb)", 2, 2,
       true, stopService, "server stop_service $server $service"},
      {"server", "server", "delete_service", "SERVER_IF SERVICE_HANDLE", "delete a service (service_deleted_cb)", 2, 2,
       true, deleteService, "server delete_service $server $service"},
      {"server", "server", "send_indication", "SERVER_IF HANDLE CONN_ID CONFIRM VALUE",
       "indicate (CONFIRM 1) or notify (0) a value (indication_sent_cb)", 5, 5, true, sendIndication,
       "server send_indication $server $char $conn 1 0102"},
      {"server", "server", "send_response", "CONN_ID TRANS_ID STATUS [VALUE]", "answer a remote request", 3, 4, true,
       sendResponse, "server send_response $conn $trans 0 \"hello\""},
      {"server", "server", "set_preferred_phy", "ADDR TX RX [OPTIONS]", "ask for PHYs", 3, 4, true, setPreferredPhy,
       "server set_preferred_phy " + phone + " 2 2 0"},
      {"server", "server", "read_phy", "ADDR", "read the PHY (server.read_phy_cb, inline)", 1, 1, true, readPhy,
       "server read_phy " + phone},
  };
}

}  // namespace bttev
}  // namespace tev
