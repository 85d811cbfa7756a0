// The GATT server end to end: a service published by the Android side gets a contiguous block
// of handles, and the default world's remote central connects and runs its script against it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "sim_fixture.h"
#include "gatt_element.h"

namespace tev {
namespace sim {
namespace {

using Direction = JournalEntry::Direction;
using ::testing::ElementsAre;

constexpr char kPhone[] = "02:51:d0:00:00:01";

btgatt_response_t Response(const std::vector<uint8_t>& value) {
  btgatt_response_t response{};
  std::copy(value.begin(), value.end(), response.attr_value.value);
  response.attr_value.len = static_cast<uint16_t>(value.size());
  return response;
}

TEST(SimGattServerTest, PublishedServiceServesTheRemoteCentralsScript) {
  SimFixture f;
  f.Start();
  f.Enable();
  const btgatt_server_interface_t* server = f.gatt()->server;
  server->register_server(bluetooth::Uuid::From16Bit(0x5151), false);
  const std::vector<btgatt_db_element_t> service = {
      Element(0xfeed, BTGATT_DB_PRIMARY_SERVICE, 0, 0),
      Element(0xbeef, BTGATT_DB_CHARACTERISTIC, 0x2a, 0x11),  // read, write, indicate
      Element(0x2902, BTGATT_DB_DESCRIPTOR, 0, 0x11)};
  server->add_service(1, service.data(), service.size());
  f.Settle();
  EXPECT_THAT(f.Journal("AddService", Direction::kReplySent), ElementsAre("handle=1"));
  EXPECT_THAT(f.Journal("AddCharacteristic", Direction::kReplySent), ElementsAre("handle=2"));
  EXPECT_THAT(f.Journal("AddDescriptor", Direction::kReplySent), ElementsAre("handle=3"));
  ASSERT_EQ(f.Calls("service_added_cb").size(), 1u);
  EXPECT_THAT(f.Calls("service_added_cb")[0], ::testing::StartsWith("service_added_cb(0, 1, 3, [{0 0 1 1 3 0 "));

  // The phone connects half a second after the service started, then steps every 200 ms, each
  // step once the previous one was answered.
  f.Advance(499);
  EXPECT_TRUE(f.Calls("connection_cb").empty());
  f.Advance(1);
  EXPECT_THAT(f.Calls("connection_cb"), ElementsAre("connection_cb(1, 1, 1, 02:51:d0:00:00:01)"));

  f.Advance(200);
  EXPECT_THAT(f.Calls("request_read_characteristic_cb"),
              ElementsAre("request_read_characteristic_cb(1, 1, 02:51:d0:00:00:01, 2, 0, 0)"));
  f.Advance(1000);
  EXPECT_EQ(f.host().journal().Count("RequestGattWrite", Direction::kEventSent), 0u);
  server->send_response(1, 1, 0, Response({0x68, 0x69}));
  f.Settle();
  EXPECT_THAT(f.Journal("RequestGattRead", Direction::kReplyReceived),
              ElementsAre("addr=02:51:d0:00:00:01 status=0 value=6869"));

  const std::vector<std::string> expected_requests = {
      "request_write_characteristic_cb(1, 2, 02:51:d0:00:00:01, 2, 0, 1, 0, 01)",
      "request_write_characteristic_cb(1, 3, 02:51:d0:00:00:01, 2, 0, 1, 1, 5175)",
      "request_write_characteristic_cb(1, 4, 02:51:d0:00:00:01, 2, 2, 1, 1, 6172)",
      "request_exec_write_cb(1, 5, 02:51:d0:00:00:01, 1)",
      "request_write_descriptor_cb(1, 6, 02:51:d0:00:00:01, 3, 0, 1, 0, 0200)"};
  for (int trans_id = 2; trans_id <= 6; ++trans_id) {
    f.stack().Clear();
    f.Advance(200);
    ASSERT_EQ(f.stack().Calls().size(), 1u) << "trans_id " << trans_id;
    EXPECT_EQ(f.stack().Calls()[0], expected_requests[trans_id - 2]);
    server->send_response(1, trans_id, 0, Response({}));
  }
  f.Settle();
  EXPECT_EQ(f.host().journal().Count("RequestGattWrite", Direction::kReplyReceived), 4u);
  EXPECT_THAT(f.Journal("RequestGattExecuteWrite", Direction::kReplyReceived),
              ElementsAre("addr=02:51:d0:00:00:01 status=0"));

  // Subscribed: the Android side indicates, the host confirms; after five seconds the phone leaves.
  const uint8_t value[] = {0x2a};
  server->send_indication(1, 2, 1, 1, value, sizeof(value));
  f.Settle();
  EXPECT_THAT(f.Calls("indication_sent_cb"), ElementsAre("indication_sent_cb(1, 0)"));
  EXPECT_THAT(f.Journal("SendIndication", Direction::kCallReceived),
              ElementsAre("handle=2 addr=02:51:d0:00:00:01 confirm=1 value=2a"));
  f.Advance(200 + 5000);
  EXPECT_EQ(f.Calls("connection_cb").back(), "connection_cb(1, 1, 0, 02:51:d0:00:00:01)");
  server->send_indication(1, 2, 1, 1, value, sizeof(value));
  f.Settle();
  EXPECT_EQ(f.Calls("indication_sent_cb").size(), 1u);

  // Deleting frees the block: the next service gets the same handles.
  server->delete_service(1, 1);
  server->add_service(1, service.data(), service.size());
  f.Settle();
  EXPECT_THAT(f.Journal("AddService", Direction::kReplySent), ElementsAre("handle=1", "handle=1"));
  (void)kPhone;
}

TEST(SimGattServerTest, RefusedServiceAndLostReply) {
  SimFixture f;
  f.Start();
  f.Enable();
  const btgatt_server_interface_t* server = f.gatt()->server;
  server->register_server(bluetooth::Uuid::From16Bit(0x5151), false);
  const std::vector<btgatt_db_element_t> service = {Element(0xfeed, BTGATT_DB_PRIMARY_SERVICE, 0, 0),
                                                    Element(0xbeef, BTGATT_DB_CHARACTERISTIC, 0x02, 0x01)};
  f.host().faults().Set("AddService", Fault{-1, {}, false, {}, 1});
  server->add_service(1, service.data(), service.size());
  f.Settle();
  EXPECT_THAT(f.Calls("service_added_cb")[0], ::testing::StartsWith("service_added_cb(1, 1, 2, "));
  EXPECT_EQ(f.host().journal().Count("AddCharacteristic", Direction::kCallReceived), 0u);

  // A lost reply: the host started the service, so the phone connects, but the Android side
  // never hears that its service was added.
  Fault lost;
  lost.never = true;
  f.host().faults().Set("StartService", lost);
  server->add_service(1, service.data(), service.size());
  f.Advance(500);
  EXPECT_EQ(f.Calls("service_added_cb").size(), 1u);
  EXPECT_THAT(f.Calls("connection_cb"), ElementsAre("connection_cb(1, 1, 1, 02:51:d0:00:00:01)"));
  EXPECT_EQ(f.host().journal().Count("StartService reply withheld", Direction::kNote), 1u);
}

}  // namespace
}  // namespace sim
}  // namespace tev
