// The GATT server bridge: server ids, the add-service chain on the host, and remote requests
// parked under transaction ids until the stack answers them.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/bind.h"
#include "base/strings/stringprintf.h"
#include "library_harness.h"
#include "tev/testing/future.h"
#include "tev/testing/thread_name.h"

namespace tev {
namespace testing {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using tev::mojom::BluetoothGattDBAttributeType;
using tev::mojom::BluetoothGattStatus;
using Bytes = std::vector<uint8_t>;
using HandleReply = base::RepeatingCallback<void(int32_t)>;
constexpr auto kChar = BluetoothGattDBAttributeType::CHARACTERISTIC;
constexpr auto kDesc = BluetoothGattDBAttributeType::DESCRIPTOR;

const RawAddress kDevice({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});
const std::string kDev = kDevice.ToString();

MATCHER_P2(ServiceIdIs, uuid, primary, "") {
  return !arg.is_null() && !arg->id.is_null() && arg->id->uuid == uuid && arg->id->inst_id == 0 &&
         arg->id->handle == 0 && arg->is_primary == primary;
}

bluetooth::Uuid U(uint16_t value) { return bluetooth::Uuid::From16Bit(value); }
tev::mojom::BluetoothAddressPtr Device() { return BluetoothTevService::toMojoAddress(kDevice); }

btgatt_db_element_t Element(int type, uint16_t uuid, uint8_t props = 0, uint16_t perms = 0) {
  btgatt_db_element_t element{};
  element.type = static_cast<bt_gatt_db_attribute_type_t>(type);
  element.uuid = U(uuid);
  element.properties = props;
  element.permissions = perms;
  return element;
}

// An element as RecordingStack prints it: {id type handle start end properties uuid}.
std::string Text(int type, int handle, int start, int end, int props, uint16_t uuid) {
  return base::StringPrintf("{0 %d %d %d %d %d %s}", type, handle, start, end, props,
                            U(uuid).ToString().c_str());
}

btgatt_response_t Response(const Bytes& value, uint16_t len) {
  btgatt_response_t response{};
  std::copy(value.begin(), value.end(), response.attr_value.value);
  response.attr_value.len = len;
  return response;
}

// A mock action that answers a host call: its reply is always the last argument.
template <typename T>
auto Reply(T value) {
  return [value](auto&&... args) {
    std::get<sizeof...(args) - 1>(std::forward_as_tuple(args...)).Run(value);
  };
}

void Connect(LibraryHarness& h) {
  h.host().Fire(
      [](tev::mojom::BluetoothInstance* i) { i->OnLEConnectionStateChange(Device(), true); });
  h.Settle();
}

TEST(GattServerRegistrationTest, IdsNeverRepeatAndLinksGoToTheHostByAddress) {
  LibraryHarness h;
  EXPECT_CALL(h.mock(), ConnectLEDevice(AddressIs(kDevice)));
  EXPECT_CALL(h.mock(), DisconnectLEDevice(AddressIs(kDevice)));
  h.Start();
  const btgatt_server_interface_t* server = h.gatt()->server;
  for (int i = 0; i < 4; ++i) {
    server->register_server(U(0x1800), false);
    if (i == 1) server->unregister_server(2);
  }
  h.Settle();  // A registration still queued when the table is cleaned up is never answered.
  h.gatt()->cleanup();
  h.gatt()->init(h.stack().gattCallbacks());
  server->register_server(U(0x1800), false);
  EXPECT_EQ(h.stack().WaitFor("register_server_cb", 5).thread, "bt_tev_callback");
  auto reg = [](int id) {
    return base::StringPrintf("register_server_cb(0, %d, %s)", id, U(0x1800).ToString().c_str());
  };
  EXPECT_THAT(h.stack().Calls("register_server_cb"),
              ElementsAre(reg(1), reg(2), reg(3), reg(4), reg(5)));
  EXPECT_EQ(server->connect(9, kDevice, true, BT_TRANSPORT_LE), BT_STATUS_SUCCESS);
  EXPECT_EQ(server->disconnect(9, kDevice, 4), BT_STATUS_SUCCESS);
  h.Settle();
}

// Handle replies are answered by the test, so a host call issued before the previous reply
// reaches the Future while it still holds a value, which fails the test.
TEST(GattPublicationTest, ElementsAreAddedOneAtATimeAndTheirHandlesWrittenBack) {
  LibraryHarness h;
  Future<HandleReply> pending;
  auto park = [&pending](auto&&... args) {  // The reply is always the last argument.
    pending.SetValue(std::get<sizeof...(args) - 1>(std::forward_as_tuple(args...)));
  };
  {
    InSequence order;
    EXPECT_CALL(h.mock(), AddService(ServiceIdIs(U(0x180d), true), 5, _)).WillOnce(park);
    EXPECT_CALL(h.mock(), AddCharacteristic(100, U(0x2a37), 0x10, 1, _)).WillOnce(park);
    EXPECT_CALL(h.mock(), AddDescriptor(100, U(0x2902), 0x11, _)).WillOnce(park);
    EXPECT_CALL(h.mock(), AddCharacteristic(100, U(0x2a38), 0x02, 1, _)).WillOnce(park);
    EXPECT_CALL(h.mock(), StartService(100, _)).WillOnce(Reply(BluetoothGattStatus::SUCCESS));
  }
  h.Start();
  btgatt_db_element_t included = Element(BTGATT_DB_INCLUDED_SERVICE, 0x180f);
  included.attribute_handle = 5;
  included.start_handle = 6;
  included.end_handle = 7;
  std::vector<btgatt_db_element_t> list = {Element(BTGATT_DB_PRIMARY_SERVICE, 0x180d),
                                           Element(BTGATT_DB_CHARACTERISTIC, 0x2a37, 0x10, 1),
                                           Element(BTGATT_DB_DESCRIPTOR, 0x2902, 0, 0x11), included,
                                           Element(BTGATT_DB_CHARACTERISTIC, 0x2a38, 0x02, 1)};
  EXPECT_EQ(h.gatt()->server->add_service(3, list.data(), list.size()), BT_STATUS_SUCCESS);
  list.clear();
  for (int32_t handle : {100, 102, 103, 105}) {
    HandleReply reply = pending.Take();
    h.FlushIpc();
    h.host().FlushHost();
    h.host().RunOnHost(base::BindOnce([](HandleReply reply, int32_t handle) { reply.Run(handle); },
                                      reply, handle));
  }
  CallbackRecord added = h.stack().WaitFor("service_added_cb");
  EXPECT_EQ(added.thread, "bt_tev_callback");
  EXPECT_EQ(added.args, "0, 3, 5, [" + Text(0, 100, 100, 104, 0, 0x180d) + ", " +
                            Text(3, 102, 0, 0, 16, 0x2a37) + ", " + Text(4, 103, 0, 0, 0, 0x2902) +
                            ", " + Text(2, 5, 6, 7, 0, 0x180f) + ", " +
                            Text(3, 105, 0, 0, 2, 0x2a38) + "]");
  EXPECT_EQ(h.gatt()->server->add_service(3, nullptr, 0), BT_STATUS_PARM_INVALID);
}

TEST(GattPublicationTest, EveryFailureReportsStatusOneWithTheHandlesWrittenSoFar) {
  LibraryHarness h;
  EXPECT_CALL(h.mock(), AddCharacteristic(_, _, _, _, _)).Times(0);
  EXPECT_CALL(h.mock(), StartService(_, _)).Times(0);
  EXPECT_CALL(h.mock(), AddService(ServiceIdIs(U(0x1801), false), 2, _)).WillOnce(Reply(-1));
  EXPECT_CALL(h.mock(), AddService(ServiceIdIs(U(0x1802), true), 1, _)).WillOnce(Reply(60));
  EXPECT_CALL(h.mock(), StartService(60, _))
      .WillOnce(Reply(BluetoothGattStatus::INSUFFICIENT_RESOURCES));
  EXPECT_CALL(h.mock(), AddService(ServiceIdIs(U(0x1803), true), 2, _)).WillOnce(Reply(70));
  EXPECT_CALL(h.mock(), AddCharacteristic(70, U(0x2a01), 2, 1, _)).WillOnce(Reply(-3));
  EXPECT_CALL(h.mock(), DeleteService(60, _)).WillOnce(Reply(BluetoothGattStatus(0x85)));
  h.Start();
  const btgatt_server_interface_t* server = h.gatt()->server;
  btgatt_db_element_t refused[] = {Element(BTGATT_DB_SECONDARY_SERVICE, 0x1801),
                                   Element(BTGATT_DB_CHARACTERISTIC, 0x2a00)};
  refused[0].attribute_handle = 9;
  server->add_service(4, refused, 2);
  h.stack().WaitFor("service_added_cb");
  btgatt_db_element_t alone = Element(BTGATT_DB_PRIMARY_SERVICE, 0x1802);
  server->add_service(4, &alone, 1);
  h.stack().WaitFor("service_added_cb", 2);
  btgatt_db_element_t broken[] = {Element(BTGATT_DB_PRIMARY_SERVICE, 0x1803),
                                  Element(BTGATT_DB_CHARACTERISTIC, 0x2a01, 2, 1)};
  server->add_service(4, broken, 2);
  h.stack().WaitFor("service_added_cb", 3);
  server->delete_service(4, 60);
  h.stack().WaitFor("service_deleted_cb");
  EXPECT_THAT(h.stack().Calls(),
              ::testing::IsSupersetOf(
                  {"service_added_cb(1, 4, 2, [" + Text(1, 9, 0, 0, 0, 0x1801) + ", " +
                       Text(3, 0, 0, 0, 0, 0x2a00) + "])",
                   "service_added_cb(1, 4, 1, [" + Text(0, 60, 60, 60, 0, 0x1802) + "])",
                   "service_added_cb(1, 4, 2, [" + Text(0, 70, 70, 0, 0, 0x1803) + ", " +
                       Text(3, 0, 0, 0, 2, 0x2a01) + "])",
                   std::string("service_deleted_cb(1, 4, 60)")}));
  EXPECT_TRUE(h.logs().Contains(logging::LOG_ERROR, "BluetoothTev: AddService failed"));
}

TEST(GattResponseTest, RepliesRunOnceOnTheAnsweringThreadWithBoundedValues) {
  LibraryHarness h;
  h.Start();
  Connect(h);
  std::vector<std::string> heard;  // The replies run on this thread only.
  auto note = [&heard](BluetoothGattStatus status, const std::string& tail) {
    heard.push_back(CurrentThreadName() + " " + std::to_string(static_cast<int>(status)) + tail);
  };
  h.RunOnIpc([&] {
    for (int i = 0; i < 3; ++i) {
      h.service()->RequestGattRead(Device(), 1, 0, false, kChar,
                                   base::BindRepeating([&](BluetoothGattStatus s, const Bytes& v) {
                                     note(s, " " + std::to_string(v.size()));
                                   }));
    }
    h.service()->RequestGattWrite(Device(), 2, 0, {}, kChar, true,
                                  base::BindRepeating([&](BluetoothGattStatus s) { note(s, ""); }));
  });
  const btgatt_server_interface_t* server = h.gatt()->server;
  EXPECT_EQ(server->send_response(1, 1, 0, Response({1, 2, 3}, 0)), BT_STATUS_SUCCESS);
  EXPECT_EQ(server->send_response(1, 2, 0x0d, Response({1, 2, 3}, 3)), BT_STATUS_SUCCESS);
  EXPECT_EQ(server->send_response(1, 3, 0, Response({}, 700)), BT_STATUS_SUCCESS);
  EXPECT_EQ(server->send_response(1, 4, 0x0d, Response({}, 700)), BT_STATUS_SUCCESS);
  EXPECT_EQ(server->send_response(1, 4, 0, Response({}, 0)), BT_STATUS_FAIL);
  EXPECT_EQ(server->send_response(1, 99, 0, Response({}, 0)), BT_STATUS_FAIL);
  const std::string me = CurrentThreadName();
  EXPECT_THAT(heard, ElementsAre(me + " 0 0", me + " 13 0", me + " 0 600", me + " 13"));
  EXPECT_TRUE(h.logs().Contains("BluetoothTev: gattSendResponse trans_id=2 status=13"));
  for (const char* id : {"4", "99"}) {
    EXPECT_TRUE(
        h.logs().Contains(logging::LOG_WARNING,
                          std::string("BluetoothTev: gattSendResponse - unknown trans_id ") + id));
  }
}

TEST(GattResponseTest, WithoutServerCallbacksRequestsWaitUntilCleanupDropsThemUnrun) {
  LibraryHarness h(LibraryHarness::Options{{}, false});
  h.Start();
  Connect(h);
  Future<BluetoothGattStatus, const Bytes&> read;
  h.host().Fire([read = read.GetCallback()](tev::mojom::BluetoothInstance* i) {
    i->RequestGattRead(Device(), 1, 0, false, kChar, read);
  });
  auto held = std::make_shared<int>(0);
  std::weak_ptr<int> watch = held;
  h.RunOnIpc([&] {
    h.service()->RequestGattWrite(
        Device(), 1, 0, {7}, kChar, false,
        base::BindRepeating([](std::shared_ptr<int>, BluetoothGattStatus) { ADD_FAILURE(); },
                            std::move(held)));
  });
  h.Settle();
  EXPECT_FALSE(read.IsReady());
  EXPECT_FALSE(watch.expired()) << "a parked reply lives until it is answered or dropped";
  h.gatt()->cleanup();
  EXPECT_TRUE(watch.expired()) << "cleanup releases the parked replies";
  for (int transId = 1; transId <= 2; ++transId) {
    EXPECT_EQ(h.gatt()->server->send_response(1, transId, 0, Response({}, 0)), BT_STATUS_FAIL);
  }
  h.Settle();
  EXPECT_FALSE(read.IsReady()) << "the host hears nothing for a dropped request";
  EXPECT_TRUE(h.stack().Calls("request_read_characteristic_cb").empty());
}

// The host's side of a whole exchange: a request from a device with no connection id is
// refused at once without using up an id; the others are answered through send_response.
TEST(GattServerFlowTest, PublishAnswerReadWriteAndExecuteThenIndicate) {
  LibraryHarness h;
  const Bytes pulse = {0x06, 0x48};
  EXPECT_CALL(h.mock(), AddService(ServiceIdIs(U(0x180d), true), 3, _)).WillOnce(Reply(20));
  EXPECT_CALL(h.mock(), AddCharacteristic(20, U(0x2a37), 0x12, 1, _)).WillOnce(Reply(21));
  EXPECT_CALL(h.mock(), AddDescriptor(20, U(0x2902), 0x11, _)).WillOnce(Reply(22));
  EXPECT_CALL(h.mock(), StartService(20, _)).WillOnce(Reply(BluetoothGattStatus::SUCCESS));
  EXPECT_CALL(h.mock(), SendIndication(21, AddressIs(kDevice), true, pulse, _))
      .WillOnce(Reply(BluetoothGattStatus::SUCCESS));
  h.Start();
  const btgatt_server_interface_t* server = h.gatt()->server;
  server->register_server(U(0x1234), false);
  btgatt_db_element_t list[] = {Element(BTGATT_DB_PRIMARY_SERVICE, 0x180d),
                                Element(BTGATT_DB_CHARACTERISTIC, 0x2a37, 0x12, 1),
                                Element(BTGATT_DB_DESCRIPTOR, 0x2902, 0, 0x11)};
  server->add_service(1, list, 3);
  h.stack().WaitFor("service_added_cb");
  Connect(h);

  Future<BluetoothGattStatus, const Bytes&> read, strangerRead;
  Future<BluetoothGattStatus> write, execute, strangerWrite;
  h.host().Fire([r = read.GetCallback(), w = write.GetCallback(), e = execute.GetCallback(),
                 sr = strangerRead.GetCallback(),
                 sw = strangerWrite.GetCallback()](tev::mojom::BluetoothInstance* i) {
    i->RequestGattRead(nullptr, 21, 0, false, kChar, sr);
    i->RequestGattRead(Device(), 21, 0, false, kChar, r);
    i->RequestGattWrite(nullptr, 22, 0, {1}, kDesc, false, sw);
    i->RequestGattWrite(Device(), 22, 0, {0x01, 0x00}, kDesc, true, w);
    i->RequestGattExecuteWrite(Device(), true, e);
  });
  EXPECT_EQ(strangerRead.Take(), std::make_tuple(BluetoothGattStatus::FAILURE, Bytes()));
  EXPECT_EQ(strangerWrite.Take(), BluetoothGattStatus::FAILURE);
  EXPECT_EQ(h.stack().WaitFor("request_exec_write_cb").thread, "bt_tev_callback");
  EXPECT_EQ(server->send_response(1, 1, 0, Response(pulse, 2)), BT_STATUS_SUCCESS);
  EXPECT_EQ(server->send_response(1, 2, 0, Response({}, 0)), BT_STATUS_SUCCESS);
  EXPECT_EQ(server->send_response(1, 3, 0, Response({}, 0)), BT_STATUS_SUCCESS);
  EXPECT_EQ(read.Take(), std::make_tuple(BluetoothGattStatus::SUCCESS, pulse));
  EXPECT_EQ(write.Take(), BluetoothGattStatus::SUCCESS);
  EXPECT_EQ(execute.Take(), BluetoothGattStatus::SUCCESS);

  EXPECT_EQ(server->send_indication(1, 21, 1, 1, pulse.data(), pulse.size()), BT_STATUS_SUCCESS);
  EXPECT_EQ(server->send_indication(1, 21, 9, 1, pulse.data(), pulse.size()), BT_STATUS_FAIL);
  EXPECT_EQ(h.stack().WaitFor("indication_sent_cb").thread, "bt_tev_callback");
  EXPECT_THAT(
      h.stack().Calls(),
      ElementsAre("thread_evt_cb(0)", "register_server_cb(0, 1, " + U(0x1234).ToString() + ")",
                  "service_added_cb(0, 1, 3, [" + Text(0, 20, 20, 22, 0, 0x180d) + ", " +
                      Text(3, 21, 0, 0, 18, 0x2a37) + ", " + Text(4, 22, 0, 0, 0, 0x2902) + "])",
                  "open_cb(1, 0, 1, " + kDev + ")", "connection_cb(1, 1, 1, " + kDev + ")",
                  "request_read_characteristic_cb(1, 1, " + kDev + ", 21, 0, 0)",
                  "request_write_descriptor_cb(1, 2, " + kDev + ", 22, 0, 1, 1, 0100)",
                  "request_exec_write_cb(1, 3, " + kDev + ", 1)", "indication_sent_cb(1, 0)"));
}

}  // namespace
}  // namespace testing
}  // namespace tev
