// The client slots a stack calls rarely: discovery and reads by UUID, connection parameters,
// preferred PHYs and the test command.
#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "session.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

std::string addr(const RawAddress& address) { return address.ToString(); }

bool discoverByUuid(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const bluetooth::Uuid uuid = args.Uuid(1);
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  session.CallVoid(base::StringPrintf("client.btif_gattc_discover_service_by_uuid(%lld, %s)",
                                      static_cast<long long>(connId), UuidText(uuid).c_str()),
                   [&] { gatt->client->btif_gattc_discover_service_by_uuid(static_cast<int>(connId), uuid); });
  return true;
}

bool readByUuid(Session& session, CommandArgs& args, std::string* error) {
  const int64_t connId = args.Int(0, "conn_id");
  const bluetooth::Uuid uuid = args.Uuid(1);
  const int64_t start = args.has(2) ? args.Int(2, "start handle") : 1;
  const int64_t end = args.has(3) ? args.Int(3, "end handle") : 0xffff;
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.read_using_characteristic_uuid(%lld, %s, %lld, %lld)", static_cast<long long>(connId),
                         UuidText(uuid).c_str(), static_cast<long long>(start), static_cast<long long>(end)),
      [&] {
        return gatt->client->read_using_characteristic_uuid(
            static_cast<int>(connId), uuid, static_cast<uint16_t>(start), static_cast<uint16_t>(end), 0);
      });
}

bool connParameterUpdate(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  int64_t values[6] = {0, 0, 0, 0, 0, 0};
  const char* names[6] = {"min_interval", "max_interval", "latency", "timeout", "min_ce_len", "max_ce_len"};
  for (size_t i = 0; i < 6; ++i) {
    if (i < 4 || args.has(i + 1)) values[i] = args.Int(i + 1, names[i]);
  }
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.conn_parameter_update(%s, %lld, %lld, %lld, %lld, %lld, %lld)", addr(address).c_str(),
                         static_cast<long long>(values[0]), static_cast<long long>(values[1]),
                         static_cast<long long>(values[2]), static_cast<long long>(values[3]),
                         static_cast<long long>(values[4]), static_cast<long long>(values[5])),
      [&] {
        return gatt->client->conn_parameter_update(address, static_cast<int>(values[0]), static_cast<int>(values[1]),
                                                   static_cast<int>(values[2]), static_cast<int>(values[3]),
                                                   static_cast<uint16_t>(values[4]), static_cast<uint16_t>(values[5]));
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
      base::StringPrintf("client.set_preferred_phy(%s, %lld, %lld, %lld)", addr(address).c_str(),
                         static_cast<long long>(tx), static_cast<long long>(rx), static_cast<long long>(options)),
      [&] {
        return gatt->client->set_preferred_phy(address, static_cast<uint8_t>(tx), static_cast<uint8_t>(rx),
                                               static_cast<uint16_t>(options));
      });
}

bool testCommand(Session& session, CommandArgs& args, std::string* error) {
  const int64_t command = args.Int(0, "command");
  RawAddress address;
  bluetooth::Uuid uuid = bluetooth::Uuid::kEmpty;
  btgatt_test_params_t params{};
  if (args.has(1) && !args.IsNull(1)) params.bda1 = &(address = args.Address(1));
  if (args.has(2) && !args.IsNull(2)) params.uuid1 = &(uuid = args.Uuid(2));
  uint16_t* numbers[5] = {&params.u1, &params.u2, &params.u3, &params.u4, &params.u5};
  for (size_t i = 0; i < 5 && args.has(i + 3); ++i) *numbers[i] = static_cast<uint16_t>(args.Int(i + 3, "u1..u5"));
  const btgatt_interface_t* gatt = GattTableFor(session, args, error);
  if (!gatt) return false;
  return CallForStatus(
      session, args,
      base::StringPrintf("client.test_command(%lld, {%s, %s, %u, %u, %u, %u, %u})", static_cast<long long>(command),
                         AddressText(params.bda1).c_str(), params.uuid1 ? UuidText(uuid).c_str() : "null", params.u1,
                         params.u2, params.u3, params.u4, params.u5),
      [&] { return gatt->client->test_command(static_cast<int>(command), params); });
}

}  // namespace

std::vector<CommandEntry> GattClientExtraCommands() {
  const std::string hr = "02:51:b0:00:00:01";
  return {
      {"client", "client", "discover_by_uuid", "CONN_ID UUID", "btif_gattc_discover_service_by_uuid (no result)", 2, 2,
       false, discoverByUuid, "client discover_by_uuid $conn 180d"},
      {"client", "client", "read_by_uuid", "CONN_ID UUID [START END]", "read_using_characteristic_uuid", 2, 4, true,
       readByUuid, "client read_by_uuid $conn 2a38 1 0xffff"},
      {"client", "client", "conn_parameter_update", "ADDR MIN MAX LATENCY TIMEOUT [MIN_CE MAX_CE]",
       "ask for new connection parameters", 5, 7, true, connParameterUpdate,
       "client conn_parameter_update " + hr + " 24 40 0 500"},
      {"client", "client", "set_preferred_phy", "ADDR TX RX [OPTIONS]", "ask for PHYs", 3, 4, true, setPreferredPhy,
       "client set_preferred_phy " + hr + " 2 2 0"},
      {"client", "client", "test_command", "COMMAND [ADDR|null [UUID|null [U1..U5]]]", "the client's test command", 1,
       8, true, testCommand, "client test_command 1 " + hr + " null 0 0 0 0 0"},
  };
}

}  // namespace bttev
}  // namespace tev
