#include "guest_process.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "bluetooth/uuid.h"
#include "gatt_element.h"
#include "raw_address.h"
#include "tevbridge/TevBridgeSocket.h"

namespace tev {
namespace sim {
namespace {

constexpr char kMonitor[] = "02:51:b0:00:00:01";

// The n-th number of a callback's text.
int NumberAt(const std::string& text, size_t n) {
  size_t at = text.find('(') + 1;
  for (size_t i = 0; i < n; ++i) at = text.find_first_of(", ", text.find_first_of("0123456789", at));
  return std::atoi(text.c_str() + text.find_first_of("0123456789", at));
}

}  // namespace

GuestSession::GuestSession(const std::string& socketPath) {
  setenv(tev::bridge::kHostSocketVariable, socketPath.c_str(), 1);
}

const btgatt_interface_t* GuestSession::gatt() const {
  return static_cast<const btgatt_interface_t*>(bt()->get_profile_interface(BT_PROFILE_GATT_ID));
}

bool GuestSession::Init() {
  mLogs.Clear();
  mStack.Clear();
  if (bt()->init(mStack.callbacks(), false, false, 0, nullptr, false, nullptr) != BT_STATUS_SUCCESS) return false;
  if (!mLogs.WaitFor("BluetoothTev: Init - BluetoothHost connected")) return false;
  return gatt()->init(mStack.gattCallbacks()) == BT_STATUS_SUCCESS;
}

bool GuestSession::Enable() {
  if (bt()->enable() != BT_STATUS_SUCCESS) return false;
  const std::string state = mStack.WaitFor("adapter_state_changed_cb").text();
  EXPECT_EQ(state, "adapter_state_changed_cb(1)");
  return state == "adapter_state_changed_cb(1)";
}

bool GuestSession::SetAdapterName(const std::string& name) {
  bt_bdname_t value{};
  name.copy(reinterpret_cast<char*>(value.name), sizeof(value.name) - 1);
  bt_property_t property{BT_PROPERTY_BDNAME, static_cast<int>(name.size()), &value};
  const size_t before = mStack.Count("adapter_properties_cb");
  if (bt()->set_adapter_property(&property) != BT_STATUS_SUCCESS) return false;
  return mStack.WaitFor("adapter_properties_cb", before + 1).text().find(name) != std::string::npos;
}

bool GuestSession::ConnectMonitor(int* connId) {
  const btgatt_client_interface_t* client = gatt()->client;
  client->register_client(bluetooth::Uuid::From16Bit(0x1234), false);
  const int clientIf = NumberAt(mStack.WaitFor("register_client_cb").text(), 1);
  RawAddress monitor;
  RawAddress::FromString(kMonitor, monitor);
  if (client->connect(clientIf, monitor, true, 2, false, 1) != BT_STATUS_SUCCESS) return false;
  const std::string opened = mStack.WaitFor("open_cb").text();
  *connId = NumberAt(opened, 0);
  EXPECT_EQ(NumberAt(opened, 1), 0) << opened;
  if (client->search_service(*connId, nullptr) != BT_STATUS_SUCCESS) return false;
  if (NumberAt(mStack.WaitFor("search_complete_cb").text(), 1) != 0) return false;
  // Attribute calls take the handles of the database that follows.
  return !mStack.WaitFor("get_gatt_db_cb").name.empty();
}

int GuestSession::PublishService() {
  const btgatt_server_interface_t* server = gatt()->server;
  server->register_server(bluetooth::Uuid::From16Bit(0x5151), false);
  const int serverIf = NumberAt(mStack.WaitFor("register_server_cb").text(), 1);
  const std::vector<btgatt_db_element_t> service = {
      Element(0xfeed, BTGATT_DB_PRIMARY_SERVICE, 0, 0),
      Element(0xbeef, BTGATT_DB_CHARACTERISTIC, 0x0a, 0x11),  // read, write
      Element(0x2902, BTGATT_DB_DESCRIPTOR, 0, 0x11)};
  if (server->add_service(serverIf, service.data(), service.size()) != BT_STATUS_SUCCESS) return 0;
  // "service_added_cb(status, server_if, count, [{id type handle ...": the service's handle.
  const std::string added = mStack.WaitFor("service_added_cb").text();
  return NumberAt(added, 0) == 0 ? NumberAt(added, 5) : 0;
}

void GuestSession::Cleanup() {
  gatt()->cleanup();
  bt()->cleanup();
}

int RunGuest(const std::string& socketPath, const std::string& adapterName) {
  GuestSession guest(socketPath);
  int connId = 0;
  if (!guest.Init() || !guest.Enable() || !guest.SetAdapterName(adapterName) || !guest.ConnectMonitor(&connId)) {
    return 0;
  }
  RawAddress monitor;
  RawAddress::FromString(kMonitor, monitor);
  guest.gatt()->client->register_for_notification(1, monitor, 2);
  guest.stack().WaitFor("register_for_notification_cb");
  const int handle = guest.PublishService();
  guest.bt()->start_discovery();
  guest.stack().WaitFor("discovery_state_changed_cb");
  return handle;
}

}  // namespace sim
}  // namespace tev
