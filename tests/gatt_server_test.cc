// The GATT server bridge beyond single calls: replies parked under transaction ids until the
// stack answers them, on the answering thread, or until a clean-up drops them; and one whole
// exchange from publication to indication.
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
using tev::mojom::BluetoothGattDBAttributeType;
using tev::mojom::BluetoothGattStatus;
using Bytes = std::vector<uint8_t>;
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

void Connect(LibraryHarness& h) {
  h.host().Fire(
      [](tev::mojom::BluetoothInstance* i) { i->OnLEConnectionStateChange(Device(), true); });
  h.Settle();
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
  EXPECT_CALL(h.mock(), AddService(ServiceIdIs(U(0x180d), true), 3, _)).WillOnce(ReplyWith(20));
  EXPECT_CALL(h.mock(), AddCharacteristic(20, U(0x2a37), 0x12, 1, _)).WillOnce(ReplyWith(21));
  EXPECT_CALL(h.mock(), AddDescriptor(20, U(0x2902), 0x11, _)).WillOnce(ReplyWith(22));
  EXPECT_CALL(h.mock(), StartService(20, _)).WillOnce(ReplyWith(BluetoothGattStatus::SUCCESS));
  EXPECT_CALL(h.mock(), SendIndication(21, AddressIs(kDevice), true, pulse, _))
      .WillOnce(ReplyWith(BluetoothGattStatus::SUCCESS));
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
