// The GATT profile's init and cleanup and its client table, as the stack calls them.
#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "partial_tables.h"
#include "session.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

// The transport and PHY the stack asks for on an LE connection.
constexpr int kTransportLe = 2;
constexpr int kPhyLe1m = 1;

const std::vector<std::string> kWriteTypes = {"", "no_response", "default", "prepare"};

std::string addr(const RawAddress& address) { return address.ToString(); }

bool gattInit(Session& session, CommandArgs& args, std::string* error) {
  const btgatt_callbacks_t* tables = nullptr;
  std::string shown = "callbacks";
  if (args.IsNull(0)) {
    shown = "null";
  } else {
    std::vector<std::string> without;
    if (!WithoutSlots(args, 0, &without, error)) return false;
    tables = without.empty() ? GattCallbacks() : GattTablesWithout(without, error);
    if (!tables) return false;
    for (const std::string& slot : without) shown += " without " + slot;
  }
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  ContractChecker::Lifecycle lifecycle(session.checker(), TableGroup::kGatt, ContractChecker::Step::kInit);
  return CallForStatus(session, args, "gatt.init(" + shown + ")", [&] { return gatt->init(tables); });
}

bool gattCleanup(Session& session, CommandArgs& args, std::string* error) {
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  ContractChecker::Lifecycle lifecycle(session.checker(), TableGroup::kGatt, ContractChecker::Step::kCleanup);
  session.CallVoid("gatt.cleanup()", [&] { gatt->cleanup(); });
  return true;
}

bool registerClient(Session& session, CommandArgs& args, std::string* error) {
  const bluetooth::Uuid uuid = args.Uuid(0);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args, "client.register_client(" + UuidText(uuid) + ")",
                       [&] { return gatt->client->register_client(uuid, false); });
}

bool unregisterClient(Session& session, CommandArgs& args, std::string* error) {
  const int64_t clientIf = args.Int(0, "client_if");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args,
                       base::StringPrintf("client.unregister_client(%lld)", static_cast<long long>(clientIf)),
                       [&] { return gatt->client->unregister_client(static_cast<int>(clientIf)); });
}

bool connect(Session& session, CommandArgs& args, std::string* error) {
  const int64_t clientIf = args.Int(0, "client_if");
  const RawAddress address = args.Address(1);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.connect(%lld, %s, direct)", static_cast<long long>(clientIf), addr(address).c_str()),
      [&] { return gatt->client->connect(static_cast<int>(clientIf), address, true, kTransportLe, false, kPhyLe1m); });
}

bool disconnect(Session& session, CommandArgs& args, std::string* error) {
  const int64_t clientIf = args.Int(0, "client_if");
  const RawAddress address = args.Address(1);
  const int64_t connId = args.Int(2, "conn_id");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.disconnect(%lld, %s, %lld)", static_cast<long long>(clientIf), addr(address).c_str(),
                         static_cast<long long>(connId)),
      [&] { return gatt->client->disconnect(static_cast<int>(clientIf), address, static_cast<int>(connId)); });
}

bool refresh(Session& session, CommandArgs& args, std::string* error) {
  const int64_t clientIf = args.Int(0, "client_if");
  const RawAddress address = args.Address(1);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.refresh(%lld, %s)", static_cast<long long>(clientIf), addr(address).c_str()),
      [&] { return gatt->client->refresh(static_cast<int>(clientIf), address); });
}

bool search(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const bool filtered = args.has(1);
  const bluetooth::Uuid filter = filtered ? args.Uuid(1) : bluetooth::Uuid::kEmpty;
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.search_service(%lld, %s)", static_cast<long long>(connId),
                         filtered ? UuidText(filter).c_str() : "all"),
      [&] { return gatt->client->search_service(static_cast<int>(connId), filtered ? &filter : nullptr); });
}

bool getGattDb(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args, base::StringPrintf("client.get_gatt_db(%lld)", static_cast<long long>(connId)),
                       [&] { return gatt->client->get_gatt_db(static_cast<int>(connId)); });
}

// Characteristics and descriptors are read alike: conn_id, handle, no authentication.
using ReadSlot = bt_status_t (*btgatt_client_interface_t::*)(int, uint16_t, int);

bool readAttribute(Session& session, CommandArgs& args, std::string* error, const char* name, ReadSlot slot) {
  const int64_t connId = args.Int(0, "conn_id");
  const int64_t handle = args.Int(1, "handle");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.%s(%lld, %lld)", name, static_cast<long long>(connId), static_cast<long long>(handle)),
      [&] { return (gatt->client->*slot)(static_cast<int>(connId), static_cast<uint16_t>(handle), 0); });
}

bool readCharacteristic(Session& session, CommandArgs& args, std::string* error) {
  return readAttribute(session, args, error, "read_characteristic", &btgatt_client_interface_t::read_characteristic);
}

bool writeCharacteristic(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const int64_t handle = args.Int(1, "handle");
  const CommandArgs::Value value = args.PointerValue(2, "the value");
  const int64_t writeType = args.has(3) ? args.Choice(3, "write type", kWriteTypes) : 2;
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.write_characteristic(%lld, %lld, type %lld, %s)", static_cast<long long>(connId),
                         static_cast<long long>(handle), static_cast<long long>(writeType), value.Text().c_str()),
      [&] {
        return gatt->client->write_characteristic(static_cast<int>(connId), static_cast<uint16_t>(handle),
                                                  static_cast<int>(writeType), 0, value.data(), value.size());
      });
}

bool readDescriptor(Session& session, CommandArgs& args, std::string* error) {
  return readAttribute(session, args, error, "read_descriptor", &btgatt_client_interface_t::read_descriptor);
}

bool writeDescriptor(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const int64_t handle = args.Int(1, "handle");
  const CommandArgs::Value value = args.PointerValue(2, "the value");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args,
                       base::StringPrintf("client.write_descriptor(%lld, %lld, %s)", static_cast<long long>(connId),
                                          static_cast<long long>(handle), value.Text().c_str()),
                       [&] {
                         return gatt->client->write_descriptor(static_cast<int>(connId), static_cast<uint16_t>(handle),
                                                               0, value.data(), value.size());
                       });
}

bool executeWrite(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const int64_t execute = args.Int(1, "execute (1) or cancel (0)");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.execute_write(%lld, %lld)", static_cast<long long>(connId),
                         static_cast<long long>(execute)),
      [&] { return gatt->client->execute_write(static_cast<int>(connId), static_cast<int>(execute)); });
}

bool notification(Session& session, CommandArgs& args, std::string* error, bool subscribe) {
  const int64_t clientIf = args.Int(0, "client_if");
  const RawAddress address = args.Address(1);
  const int64_t handle = args.Int(2, "handle");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  const char* verb = subscribe ? "register_for_notification" : "deregister_for_notification";
  const auto slot = subscribe ? gatt->client->register_for_notification : gatt->client->deregister_for_notification;
  return CallForStatus(session, args,
                       base::StringPrintf("client.%s(%lld, %s, %lld)", verb, static_cast<long long>(clientIf),
                                          addr(address).c_str(), static_cast<long long>(handle)),
                       [&] { return slot(static_cast<int>(clientIf), address, static_cast<uint16_t>(handle)); });
}

bool registerNotification(Session& session, CommandArgs& args, std::string* error) {
  return notification(session, args, error, true);
}

bool deregisterNotification(Session& session, CommandArgs& args, std::string* error) {
  return notification(session, args, error, false);
}

bool readRssi(Session& session, CommandArgs& args, std::string* error) {
  const int64_t clientIf = args.Int(0, "client_if");
  const RawAddress address = args.Address(1);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.read_remote_rssi(%lld, %s)", static_cast<long long>(clientIf), addr(address).c_str()),
      [&] { return gatt->client->read_remote_rssi(static_cast<int>(clientIf), address); });
}

bool configureMtu(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const int64_t mtu = args.Int(1, "mtu");
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args,
                       base::StringPrintf("client.configure_mtu(%lld, %lld)", static_cast<long long>(connId),
                                          static_cast<long long>(mtu)),
                       [&] { return gatt->client->configure_mtu(static_cast<int>(connId), static_cast<int>(mtu)); });
}

bool readPhy(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(session, args, "client.read_phy(" + addr(address) + ", callback)",
                       [&] { return gatt->client->read_phy(address, ReadPhyCallback(Table::kGattClient)); });
}

bool deviceType(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  args.Returned(session.CallValue("client.get_device_type(" + addr(address) + ")",
                                  [&] { return gatt->client->get_device_type(address); }),
                false);
  return true;
}

}  // namespace

std::vector<CommandEntry> GattClientCommands() {
  constexpr size_t kMany = 64;
  const std::string hr = "02:51:b0:00:00:01";
  return {
      {"gatt", "gatt", "init", "[null | --without TABLE|TABLE.SLOT...]",
       "get_profile_interface(\"gatt\"), then its init with complete callback tables (or none, or with tables or "
       "slots left null)",
       0, kMany, true, gattInit, "gatt init --without scanner --without client.notify_cb"},
      {"gatt", "gatt", "cleanup", "", "the GATT table's cleanup", 0, 0, false, gattCleanup, "gatt cleanup"},
      {"client", "client", "register", "UUID", "register a client application (register_client_cb gives client_if)", 1,
       1, true, registerClient, "client register 0000aaaa-0000-1000-8000-00805f9b34fb"},
      {"client", "client", "unregister", "CLIENT_IF", "unregister a client", 1, 1, true, unregisterClient,
       "client unregister $client"},
      {"client", "client", "connect", "CLIENT_IF ADDR", "direct LE connection (open_cb gives conn_id)", 2, 2, true,
       connect, "client connect $client " + hr},
      {"client", "client", "disconnect", "CLIENT_IF ADDR CONN_ID", "disconnect (close_cb follows)", 3, 3, true,
       disconnect, "client disconnect $client " + hr + " $conn"},
      {"client", "client", "refresh", "CLIENT_IF ADDR", "forget the device's cached database", 2, 2, true, refresh,
       "client refresh $client " + hr},
      {"client", "client", "search", "CONN_ID [UUID]", "discover services (search_complete_cb, get_gatt_db_cb)", 1, 2,
       true, search, "client search $conn 180d"},
      {"client", "client", "get_gatt_db", "CONN_ID", "ask for the database again (get_gatt_db_cb)", 1, 1, true,
       getGattDb, "client get_gatt_db $conn"},
      {"client", "client", "read", "CONN_ID HANDLE", "read a characteristic (read_characteristic_cb)", 2, 2, true,
       readCharacteristic, "client read $conn $location"},
      {"client", "client", "write", "CONN_ID HANDLE VALUE [no_response|default|prepare]",
       "write a characteristic (write_characteristic_cb)", 3, 4, true, writeCharacteristic,
       "client write $conn $control 01 default"},
      {"client", "client", "read_descriptor", "CONN_ID HANDLE", "read a descriptor (read_descriptor_cb)", 2, 2, true,
       readDescriptor, "client read_descriptor $conn $cccd"},
      {"client", "client", "write_descriptor", "CONN_ID HANDLE VALUE", "write a descriptor (write_descriptor_cb)", 3, 3,
       true, writeDescriptor, "client write_descriptor $conn $cccd 0100"},
      {"client", "client", "execute_write", "CONN_ID 1|0", "execute or cancel prepared writes (execute_write_cb)", 2, 2,
       true, executeWrite, "client execute_write $conn 1"},
      {"client", "client", "register_notification", "CLIENT_IF ADDR HANDLE",
       "subscribe to a characteristic (register_for_notification_cb, then notify_cb)", 3, 3, true, registerNotification,
       "client register_notification $client " + hr + " $measurement"},
      {"client", "client", "deregister_notification", "CLIENT_IF ADDR HANDLE", "unsubscribe", 3, 3, true,
       deregisterNotification, "client deregister_notification $client " + hr + " $measurement"},
      {"client", "client", "read_rssi", "CLIENT_IF ADDR", "read the link's RSSI (read_remote_rssi_cb)", 2, 2, true,
       readRssi, "client read_rssi $client " + hr},
      {"client", "client", "configure_mtu", "CONN_ID MTU", "ask for an MTU (configure_mtu_cb)", 2, 2, true,
       configureMtu, "client configure_mtu $conn 247"},
      {"client", "client", "read_phy", "ADDR", "read the PHY (client.read_phy_cb, inline)", 1, 1, true, readPhy,
       "client read_phy " + hr},
      {"client", "client", "device_type", "ADDR", "get_device_type: the HAL's answer, not a status", 1, 1, true,
       deviceType, "client device_type " + hr + " returns 2"},
  };
}

}  // namespace bttev
}  // namespace tev
