// The GATT client end to end: connection, discovery, reads, writes, prepared writes,
// notifications and RSSI against the default world's heart-rate monitor, on virtual time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim_fixture.h"

namespace tev {
namespace sim {
namespace {

using Direction = JournalEntry::Direction;
using ::testing::ElementsAre;

// Its database: 1 Heart Rate service, 2 measurement (notify), 3 its configuration, 4 body
// sensor location (read "01"), 5 control point (write), 6 Battery service, 7 level, 8 config.
constexpr char kMonitor[] = "02:51:b0:00:00:01";

class SimGattClientTest : public ::testing::Test {
 protected:
  void SetUp() override {
    f.Start();
    f.Enable();
    ASSERT_TRUE(RawAddress::FromString(kMonitor, monitor));
    client = f.gatt()->client;
    client->register_client(bluetooth::Uuid::From16Bit(0x1234), false);
    client->connect(1, monitor, true, 2, false, 1);
    f.Advance(29);
    ASSERT_TRUE(f.Calls("open_cb").empty());
    f.Advance(1);
    ASSERT_THAT(f.Calls("open_cb"), ElementsAre("open_cb(1, 0, 1, 02:51:b0:00:00:01)"));
    client->search_service(1, nullptr);
    f.Advance(50);
    f.stack().Clear();
  }

  SimFixture f;
  RawAddress monitor;
  const btgatt_client_interface_t* client = nullptr;
};

TEST_F(SimGattClientTest, DiscoveryReadsAndWritesAgainstStoredValues) {
  // What SetUp's connection and search produced, in the journal.
  EXPECT_THAT(f.Journal("OnMTUReceived", Direction::kEventSent), ElementsAre("addr=02:51:b0:00:00:01 mtu=185"));
  EXPECT_THAT(f.Journal("OnGetGattDB", Direction::kEventSent),
              ElementsAre("addr=02:51:b0:00:00:01 elements=8"));

  client->get_gatt_db(1);
  f.Settle();
  ASSERT_EQ(f.Calls("get_gatt_db_cb").size(), 1u);
  EXPECT_THAT(f.Calls("get_gatt_db_cb")[0],
              ::testing::StartsWith("get_gatt_db_cb(1, 8, [{1 0 1 1 5 0 0000180d-"));
  EXPECT_THAT(f.Calls("get_gatt_db_cb")[0], ::testing::HasSubstr("{4 3 4 0 0 2 00002a38-"));
  f.stack().Clear();

  const uint8_t control[] = {0x02};
  client->read_characteristic(1, 4, 0);
  client->write_characteristic(1, 5, 2, 0, control, sizeof(control));
  client->write_characteristic(1, 4, 2, 0, control, sizeof(control));
  client->read_characteristic(1, 5, 0);
  f.Settle();
  EXPECT_THAT(f.stack().Calls(), ElementsAre("read_characteristic_cb(1, 0, 4, 1, 0, 0, 01)",
                                             "write_characteristic_cb(1, 0, 5, 0, null)",
                                             "write_characteristic_cb(1, 3, 4, 0, null)",
                                             "read_characteristic_cb(1, 2, 5, 0, 0, 2, )"));

  // Two prepared parts and the execution; then the configuration descriptor round trip.
  const uint8_t part1[] = {0xaa}, part2[] = {0xbb}, on[] = {0x01, 0x00};
  f.stack().Clear();
  client->write_characteristic(1, 5, 3, 0, part1, 1);
  client->write_characteristic(1, 5, 3, 0, part2, 1);
  client->execute_write(1, 1);
  client->write_descriptor(1, 3, 0, on, sizeof(on));
  client->read_descriptor(1, 3, 0);
  f.Settle();
  EXPECT_THAT(f.stack().Calls(), ElementsAre("write_characteristic_cb(1, 0, 5, 0, null)",
                                             "write_characteristic_cb(1, 0, 5, 0, null)",
                                             "execute_write_cb(1, 0)",
                                             "write_descriptor_cb(1, 0, 3, 0, null)",
                                             "read_descriptor_cb(1, 0, 3, 2, 0, 0, 0100)"));
  EXPECT_THAT(f.Journal("WriteGattCharacteristic", Direction::kCallReceived)[3],
              ::testing::HasSubstr("value=bb prepare=1"));

  // A host-side failure of one read, injected once.
  f.host().faults().Set("ReadGattCharacteristic", Fault{0x0e, {}, false, {}, 1});
  client->read_characteristic(1, 4, 0);
  client->read_characteristic(1, 4, 0);
  f.Settle();
  EXPECT_THAT(f.Calls("read_characteristic_cb"),
              ElementsAre("read_characteristic_cb(1, 14, 4, 0, 0, 14, )",
                          "read_characteristic_cb(1, 0, 4, 1, 0, 0, 01)"));

  client->read_remote_rssi(1, monitor);
  f.Settle();
  ASSERT_EQ(f.Calls("read_remote_rssi_cb").size(), 1u);
  const std::string answer = f.Calls("read_remote_rssi_cb")[0];
  const int rssi = std::stoi(answer.substr(answer.find(kMonitor) + sizeof(kMonitor) + 1));
  EXPECT_GE(rssi, -65);
  EXPECT_LE(rssi, -59);
}

TEST_F(SimGattClientTest, NotificationsFlowOnlyWhileSubscribedAndConnected) {
  client->register_for_notification(1, monitor, 2);
  f.Settle();
  EXPECT_THAT(f.Calls("register_for_notification_cb"), ElementsAre("register_for_notification_cb(1, 1, 0, 2)"));
  f.Advance(3000);
  EXPECT_THAT(f.Calls("notify_cb"), ElementsAre("notify_cb(1, 02:51:b0:00:00:01, 2, 2, 1, 0648)",
                                                "notify_cb(1, 02:51:b0:00:00:01, 2, 2, 1, 064a)",
                                                "notify_cb(1, 02:51:b0:00:00:01, 2, 2, 1, 064d)"));

  client->deregister_for_notification(1, monitor, 2);
  f.Advance(3000);
  EXPECT_EQ(f.Calls("notify_cb").size(), 3u);

  // The body sensor location cannot notify; the measurement resumes where its values left off.
  client->register_for_notification(1, monitor, 4);
  client->register_for_notification(1, monitor, 2);
  f.Advance(1000);
  EXPECT_THAT(f.Calls("register_for_notification_cb"),
              ElementsAre("register_for_notification_cb(1, 1, 0, 2)", "register_for_notification_cb(1, 0, 0, 2)",
                          "register_for_notification_cb(1, 0, 6, 4)", "register_for_notification_cb(1, 1, 0, 2)"));
  EXPECT_EQ(f.Calls("notify_cb").back(), "notify_cb(1, 02:51:b0:00:00:01, 2, 2, 1, 064b)");

  client->disconnect(1, monitor, 1);
  f.Advance(10);
  EXPECT_THAT(f.Calls("close_cb"), ElementsAre("close_cb(1, 0, 1, 02:51:b0:00:00:01)"));
  f.Advance(5000);
  EXPECT_EQ(f.Calls("notify_cb").size(), 4u);
}

}  // namespace
}  // namespace sim
}  // namespace tev
