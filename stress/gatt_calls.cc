// The GATT client and server tables' entries, as random calls. Each call makes at most one
// choice inside its argument list (whose evaluation order is unspecified).
#include <vector>

#include "hal_calls.h"
#include "records.h"

namespace tev {
namespace stress {
namespace {

using PhyCallback = base::Callback<void(uint8_t, uint8_t, uint8_t)>;

int connId(Choices& c, CheckingStack& stack) { return PickId(c, stack.RecentConnId()); }

uint16_t handle(Choices& c, CheckingStack& stack) {
  return c.Bool() ? static_cast<uint16_t>(stack.RecentHandle()) : MakeHandle(c);
}

// A value to send, with the length the stack states: mostly honest, sometimes a null pointer
// with or without a length (the library reads a null value as empty).
struct Value {
  std::vector<uint8_t> bytes;
  const uint8_t* data = nullptr;
  size_t length = 0;
};

Value makeValue(Choices& c) {
  Value value;
  value.bytes = MakeValue(c);
  if (c.OneIn(6)) {
    value.length = c.Below(8);
    return value;
  }
  value.data = value.bytes.empty() ? nullptr : value.bytes.data();
  value.length = value.bytes.size();
  return value;
}

// A service as an application describes it: the service first, then characteristics and their
// descriptors; sometimes elements of any type in any order.
std::vector<btgatt_db_element_t> makeService(Choices& c) {
  std::vector<btgatt_db_element_t> elements(c.Below(9));
  const bool plausible = !c.OneIn(4);
  for (size_t i = 0; i < elements.size(); ++i) {
    btgatt_db_element_t& element = elements[i];
    element.uuid = MakeUuid(c);
    if (plausible) {
      element.type = i == 0 ? BTGATT_DB_PRIMARY_SERVICE
                            : (c.OneIn(3) ? BTGATT_DB_DESCRIPTOR : BTGATT_DB_CHARACTERISTIC);
    } else {
      element.type = static_cast<bt_gatt_db_attribute_type_t>(c.Below(5));
    }
    element.properties = c.Any<uint8_t>();
    element.permissions = c.Any<uint16_t>();
    element.attribute_handle = c.Any<uint16_t>();
  }
  return elements;
}

void readPhy(Choices& c, CheckingStack& stack,
             bt_status_t (*readPhy)(const RawAddress&, PhyCallback)) {
  const RawAddress address = PickAddress(c);
  if (c.OneIn(4)) {
    readPhy(address, PhyCallback());
    return;
  }
  CheckingStack::ImmediateAnswer answer(stack, "read_phy");
  readPhy(address, answer.Callback<uint8_t, uint8_t, uint8_t>());
}

}  // namespace

const std::vector<HalEntry>& GattClientEntries() {
  static const std::vector<HalEntry> entries = {
      {"client.register_client",
       [](Choices& c, CheckingStack&) { Gatt().client->register_client(MakeUuid(c), true); }},
      {"client.unregister_client",
       [](Choices& c, CheckingStack& s) {
         Gatt().client->unregister_client(PickId(c, s.RecentClientIf()));
       }},
      {"client.connect",
       [](Choices& c, CheckingStack& s) {
         const int clientIf = PickId(c, s.RecentClientIf());
         const RawAddress address = PickAddress(c);
         const bool direct = c.Bool();
         const int transport = static_cast<int>(c.Below(3));
         Gatt().client->connect(clientIf, address, direct, transport, c.Bool(), 1);
       }},
      {"client.disconnect",
       [](Choices& c, CheckingStack& s) {
         const int clientIf = PickId(c, s.RecentClientIf());
         const RawAddress address = PickAddress(c);
         Gatt().client->disconnect(clientIf, address, connId(c, s));
       }},
      {"client.refresh",
       [](Choices& c, CheckingStack& s) {
         const int clientIf = PickId(c, s.RecentClientIf());
         Gatt().client->refresh(clientIf, PickAddress(c));
       }},
      {"client.search_service",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         const bluetooth::Uuid filter = MakeUuid(c);
         Gatt().client->search_service(conn, c.Bool() ? nullptr : &filter);
       }},
      {"client.discover_service_by_uuid",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         Gatt().client->btif_gattc_discover_service_by_uuid(conn, MakeUuid(c));
       }},
      {"client.read_characteristic",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         Gatt().client->read_characteristic(conn, handle(c, s), 0);
       }},
      {"client.read_using_characteristic_uuid",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         const bluetooth::Uuid uuid = MakeUuid(c);
         Gatt().client->read_using_characteristic_uuid(conn, uuid, 1, c.Any<uint16_t>(), 0);
       }},
      {"client.write_characteristic",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         const uint16_t target = handle(c, s);
         const int type = static_cast<int>(c.Below(4));
         const Value value = makeValue(c);
         Gatt().client->write_characteristic(conn, target, type, 0, value.data, value.length);
       }},
      {"client.read_descriptor",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         Gatt().client->read_descriptor(conn, handle(c, s), 0);
       }},
      {"client.write_descriptor",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         const uint16_t target = handle(c, s);
         const Value value = makeValue(c);
         Gatt().client->write_descriptor(conn, target, 0, value.data, value.length);
       }},
      {"client.execute_write",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         Gatt().client->execute_write(conn, static_cast<int>(c.Below(3)));
       }},
      {"client.register_for_notification",
       [](Choices& c, CheckingStack& s) {
         const int clientIf = PickId(c, s.RecentClientIf());
         const RawAddress address = PickAddress(c);
         Gatt().client->register_for_notification(clientIf, address, handle(c, s));
       }},
      {"client.deregister_for_notification",
       [](Choices& c, CheckingStack& s) {
         const int clientIf = PickId(c, s.RecentClientIf());
         const RawAddress address = PickAddress(c);
         Gatt().client->deregister_for_notification(clientIf, address, handle(c, s));
       }},
      {"client.read_remote_rssi",
       [](Choices& c, CheckingStack& s) {
         const int clientIf = PickId(c, s.RecentClientIf());
         Gatt().client->read_remote_rssi(clientIf, PickAddress(c));
       }},
      {"client.get_device_type",
       [](Choices& c, CheckingStack&) { Gatt().client->get_device_type(PickAddress(c)); }},
      {"client.configure_mtu",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         Gatt().client->configure_mtu(conn, c.Any<int32_t>());
       }},
      {"client.conn_parameter_update",
       [](Choices& c, CheckingStack&) {
         Gatt().client->conn_parameter_update(PickAddress(c), 6, 12, 0, 500, 0, 0);
       }},
      {"client.set_preferred_phy",
       [](Choices& c, CheckingStack&) {
         Gatt().client->set_preferred_phy(PickAddress(c), 1, 1, 0);
       }},
      {"client.read_phy",
       [](Choices& c, CheckingStack& s) { readPhy(c, s, Gatt().client->read_phy); }},
      {"client.test_command",
       [](Choices& c, CheckingStack&) {
         const btgatt_test_params_t params{};
         Gatt().client->test_command(c.Any<int32_t>(), params);
       }},
      {"client.get_gatt_db",
       [](Choices& c, CheckingStack& s) { Gatt().client->get_gatt_db(connId(c, s)); }},
  };
  return entries;
}

const std::vector<HalEntry>& GattServerEntries() {
  static const std::vector<HalEntry> entries = {
      {"server.register_server",
       [](Choices& c, CheckingStack&) { Gatt().server->register_server(MakeUuid(c), false); }},
      {"server.unregister_server",
       [](Choices& c, CheckingStack& s) {
         Gatt().server->unregister_server(PickId(c, s.RecentServerIf()));
       }},
      {"server.connect",
       [](Choices& c, CheckingStack& s) {
         const int serverIf = PickId(c, s.RecentServerIf());
         const RawAddress address = PickAddress(c);
         Gatt().server->connect(serverIf, address, c.Bool(), 2);
       }},
      {"server.disconnect",
       [](Choices& c, CheckingStack& s) {
         const int serverIf = PickId(c, s.RecentServerIf());
         const RawAddress address = PickAddress(c);
         Gatt().server->disconnect(serverIf, address, connId(c, s));
       }},
      {"server.add_service",
       [](Choices& c, CheckingStack& s) {
         const int serverIf = PickId(c, s.RecentServerIf());
         const std::vector<btgatt_db_element_t> elements = makeService(c);
         if (c.OneIn(8)) {
           Gatt().server->add_service(serverIf, nullptr, elements.size());
           return;
         }
         Gatt().server->add_service(serverIf, elements.empty() ? nullptr : elements.data(),
                                    elements.size());
       }},
      {"server.stop_service",
       [](Choices& c, CheckingStack& s) {
         const int serverIf = PickId(c, s.RecentServerIf());
         Gatt().server->stop_service(serverIf, handle(c, s));
       }},
      {"server.delete_service",
       [](Choices& c, CheckingStack& s) {
         const int serverIf = PickId(c, s.RecentServerIf());
         Gatt().server->delete_service(serverIf, handle(c, s));
       }},
      {"server.send_indication",
       [](Choices& c, CheckingStack& s) {
         const int serverIf = PickId(c, s.RecentServerIf());
         const uint16_t attribute = handle(c, s);
         const int conn = connId(c, s);
         const int confirm = static_cast<int>(c.Below(2));
         const Value value = makeValue(c);
         Gatt().server->send_indication(serverIf, attribute, conn, confirm, value.data,
                                        value.length);
       }},
      {"server.send_response",
       [](Choices& c, CheckingStack& s) {
         const int conn = connId(c, s);
         const int transId = PickId(c, s.RecentTransId());
         const int status = c.Bool() ? 0 : static_cast<int>(c.Below(0x102));
         btgatt_response_t response{};
         response.attr_value.handle = handle(c, s);
         // The stack's word for the length, which may claim more than the array holds.
         response.attr_value.len = c.Any<uint16_t>();
         for (uint8_t& byte : response.attr_value.value) byte = 0x5a;
         Gatt().server->send_response(conn, transId, status, response);
       }},
      {"server.set_preferred_phy",
       [](Choices& c, CheckingStack&) {
         Gatt().server->set_preferred_phy(PickAddress(c), 2, 2, 0);
       }},
      {"server.read_phy",
       [](Choices& c, CheckingStack& s) { readPhy(c, s, Gatt().server->read_phy); }},
  };
  return entries;
}

}  // namespace stress
}  // namespace tev
