// GATT client ids and LE connections: which ids the stack sees, and which client each
// connection's callbacks name.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library_harness.h"

namespace tev {
namespace testing {
namespace {

using ::testing::ElementsAre;

const RawAddress kA({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});
const RawAddress kB({0xc0, 0x01, 0x02, 0x03, 0x04, 0x05});

// Starts with only what the test causes to be recorded.
void start(LibraryHarness& h) {
  h.Start();
  h.FlushCallbacks();
  h.stack().Clear();
}

void fireConnection(LibraryHarness& h, const RawAddress& addr, bool connected) {
  h.host().Fire([addr, connected](tev::mojom::BluetoothInstance* i) {
    i->OnLEConnectionStateChange(BluetoothTevService::toMojoAddress(addr), connected);
  });
}

// The recorded text of open_cb, close_cb and connection_cb.
std::string call(const char* name, int connId, int second, int third, const RawAddress& addr) {
  return std::string(name) + "(" + std::to_string(connId) + ", " + std::to_string(second) + ", " +
         std::to_string(third) + ", " + addr.ToString() + ")";
}

std::string registered(int clientIf, const bluetooth::Uuid& uuid) {
  return "register_client_cb(0, " + std::to_string(clientIf) + ", " + uuid.ToString() + ")";
}

void expectAllOnCallbackThread(const RecordingStack& stack) {
  for (const CallbackRecord& record : stack.Records()) {
    EXPECT_EQ(record.thread, "bt_tev_callback") << record.text();
  }
}

TEST(GattClientIdTest, ClientIdsOnlyGrowAcrossUnregisterAndCleanup) {
  const bluetooth::Uuid app1 = bluetooth::Uuid::From16Bit(0x1801);
  const bluetooth::Uuid app2 = bluetooth::Uuid::From16Bit(0x180d);
  LibraryHarness h;
  start(h);
  const btgatt_client_interface_t* client = h.gatt()->client;
  EXPECT_EQ(client->register_client(app1, false), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->register_client(app2, true), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->unregister_client(1), BT_STATUS_SUCCESS);
  client->register_client(app1, false);
  h.gatt()->cleanup();
  // No table installed: the id is spent all the same, and nobody hears of it.
  client->register_client(app1, false);
  h.gatt()->init(h.stack().gattCallbacks());
  client->register_client(app2, false);
  h.FlushCallbacks();
  EXPECT_THAT(h.stack().Calls(), ElementsAre(registered(1, app1), registered(2, app2),
                                             registered(3, app1), registered(5, app2)));
  expectAllOnCallbackThread(h.stack());
  EXPECT_TRUE(h.logs().Contains("BluetoothTev: gattRegisterClient if=4"));
}

TEST(LeConnectionTest, CallbacksNameTheClientRecordedWhileConnected) {
  LibraryHarness h;
  EXPECT_CALL(h.mock(), ConnectLEDevice(AddressIs(kA))).Times(2);
  EXPECT_CALL(h.mock(), DisconnectLEDevice(AddressIs(kA))).Times(1);
  start(h);
  const btgatt_client_interface_t* client = h.gatt()->client;
  // Not connected yet: client 5 is not remembered, the connection reports the default client.
  EXPECT_EQ(client->connect(5, kA, true, BT_TRANSPORT_LE, false, 1), BT_STATUS_SUCCESS);
  fireConnection(h, kA, true);
  fireConnection(h, kA, true);
  h.stack().WaitFor("open_cb", 2);
  EXPECT_EQ(client->connect(7, kA, true, BT_TRANSPORT_LE, false, 1), BT_STATUS_SUCCESS);
  // The registries wait for the host's event: the id still works after the request.
  EXPECT_EQ(client->disconnect(7, kA, 1), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->search_service(1, nullptr), BT_STATUS_SUCCESS);
  fireConnection(h, kA, false);
  fireConnection(h, kA, false);
  fireConnection(h, kA, true);
  fireConnection(h, kB, true);
  h.Settle();
  EXPECT_THAT(h.stack().Calls(),
              ElementsAre(call("open_cb", 1, 0, 1, kA), call("connection_cb", 1, 1, 1, kA),
                          call("open_cb", 1, 0, 1, kA), call("connection_cb", 1, 1, 1, kA),
                          call("close_cb", 1, 0, 7, kA), call("connection_cb", 1, 1, 0, kA),
                          call("open_cb", 2, 0, 1, kA), call("connection_cb", 2, 1, 1, kA),
                          call("open_cb", 3, 0, 1, kB), call("connection_cb", 3, 1, 1, kB)));
  expectAllOnCallbackThread(h.stack());
  EXPECT_EQ(client->search_service(1, nullptr), BT_STATUS_FAIL);
  EXPECT_TRUE(h.logs().Contains("BluetoothTev: gattConnect if=5 addr=" + kA.ToString()));
  EXPECT_TRUE(h.logs().Contains("BluetoothTev: gattDisconnect if=7 conn_id=1"));
  EXPECT_TRUE(h.logs().Contains("BluetoothTev: OnLEConnectionStateChange addr=" + kA.ToString() +
                                " connected=0"));
}

TEST(LeConnectionTest, ConnectionIdsSurviveCleanupAndZeroOrUnknownNameNothing) {
  LibraryHarness h;
  start(h);
  const btgatt_client_interface_t* client = h.gatt()->client;
  fireConnection(h, kA, true);
  h.stack().WaitFor("open_cb");
  EXPECT_EQ(client->search_service(0, nullptr), BT_STATUS_FAIL);
  EXPECT_EQ(client->get_gatt_db(0), BT_STATUS_FAIL);
  h.gatt()->cleanup();
  h.gatt()->init(h.stack().gattCallbacks());
  EXPECT_EQ(client->get_gatt_db(1), BT_STATUS_FAIL);
  // A device never connected, and the all-zero address of a null record.
  fireConnection(h, kB, false);
  h.host().Fire([](tev::mojom::BluetoothInstance* i) { i->OnLEConnectionStateChange({}, true); });
  fireConnection(h, kA, true);
  h.stack().WaitFor("open_cb", 3);
  // Allocates like a connection and records the client, which the event then reports.
  EXPECT_EQ(h.service()->getOrCreateConnId(kB, 9), 4);
  EXPECT_EQ(h.service()->getOrCreateConnId(kB, 6), 4);
  fireConnection(h, kB, true);
  h.Settle();
  EXPECT_THAT(
      h.stack().Calls("open_cb"),
      ElementsAre(call("open_cb", 1, 0, 1, kA), call("open_cb", 2, 0, 1, RawAddress::kEmpty),
                  call("open_cb", 3, 0, 1, kA), call("open_cb", 4, 0, 9, kB)));
  EXPECT_EQ(h.stack().Count("close_cb"), 0u);
  EXPECT_EQ(h.stack().Count("connection_cb"), 4u);
}

TEST(LeConnectionTest, OnlyInstalledTablesAndSlotsAreCalled) {
  LibraryHarness h(LibraryHarness::Options{{}, false});
  h.stack().client().close_cb = nullptr;
  start(h);
  btgatt_callbacks_t serverOnly = *h.stack().gattCallbacks();
  serverOnly.client = nullptr;
  ASSERT_EQ(h.gatt()->init(&serverOnly), BT_STATUS_SUCCESS);
  EXPECT_EQ(h.gatt()->init(nullptr), BT_STATUS_PARM_INVALID);
  fireConnection(h, kA, true);
  h.Settle();
  ASSERT_EQ(h.gatt()->init(h.stack().gattCallbacks()), BT_STATUS_SUCCESS);
  fireConnection(h, kA, false);
  h.Settle();
  h.gatt()->cleanup();
  fireConnection(h, kB, true);
  h.Settle();
  EXPECT_THAT(h.stack().Calls(),
              ElementsAre(call("connection_cb", 1, 1, 1, kA), call("connection_cb", 1, 1, 0, kA)));
}

}  // namespace
}  // namespace testing
}  // namespace tev
