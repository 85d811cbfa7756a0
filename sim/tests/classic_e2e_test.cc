// The classic adapter end to end: the library's adapter commands against the default world's
// adapter and headset, on virtual time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim_fixture.h"

namespace tev {
namespace sim {
namespace {

using Direction = JournalEntry::Direction;
using ::testing::ElementsAre;

constexpr char kBuds[] = "02:51:c0:00:00:01";

TEST(SimClassicTest, PropertiesDiscoveryAndBondingAgainstTheDefaultWorld) {
  SimFixture f;
  f.Start();
  f.Enable();

  f.bt()->get_adapter_properties();
  f.Settle();
  std::vector<std::string> properties = f.Calls("adapter_properties_cb");
  ASSERT_EQ(properties.size(), 8u);
  EXPECT_EQ(properties[0], "adapter_properties_cb(0, 1, [1:\"Quarne Desk\"])");
  EXPECT_EQ(properties[1], "adapter_properties_cb(0, 1, [2:02:51:a0:00:00:01])");
  EXPECT_EQ(properties[6], "adapter_properties_cb(0, 1, [8:])");

  char name[] = "Desk Two";
  bt_property_t set_name{BT_PROPERTY_BDNAME, sizeof(name), name};
  f.bt()->set_adapter_property(&set_name);
  f.Settle();
  EXPECT_EQ(f.Calls("adapter_properties_cb").back(), "adapter_properties_cb(0, 1, [1:\"Desk Two\"])");

  // The headset is found 1.5 s into discovery, which stops by itself after 10.24 s.
  f.bt()->start_discovery();
  f.Advance(1499);
  EXPECT_THAT(f.Calls("discovery_state_changed_cb"), ElementsAre("discovery_state_changed_cb(1)"));
  EXPECT_TRUE(f.Calls("device_found_cb").empty());
  f.Advance(1);
  ASSERT_EQ(f.Calls("device_found_cb").size(), 1u);
  EXPECT_THAT(f.Calls("device_found_cb")[0],
              ::testing::StartsWith("device_found_cb(6, [2:02:51:c0:00:00:01, 1:\"Quarne Buds\", "
                                    "4:04042400, 5:01000000, 11:"));
  f.Advance(10240 - 1500 - 1);
  EXPECT_EQ(f.Calls("discovery_state_changed_cb").size(), 1u);
  f.Advance(1);
  EXPECT_EQ(f.Calls("discovery_state_changed_cb").back(), "discovery_state_changed_cb(0)");

  // Bonding: the link comes up, bonding -> bonded a second later, the bonded list follows.
  RawAddress buds;
  ASSERT_TRUE(RawAddress::FromString(kBuds, buds));
  f.stack().Clear();
  f.bt()->create_bond(&buds, 1);
  f.Advance(999);
  EXPECT_THAT(f.stack().Calls(),
              ElementsAre("acl_state_changed_cb(0, 02:51:c0:00:00:01, 0, 0, 0)",
                          "bond_state_changed_cb(0, 02:51:c0:00:00:01, 1, 0)"));
  f.Advance(1);
  const std::vector<std::string> calls = f.stack().Calls();
  ASSERT_EQ(calls.size(), 6u);
  EXPECT_EQ(calls[2], "bond_state_changed_cb(0, 02:51:c0:00:00:01, 2, 0)");
  EXPECT_THAT(calls[3], ::testing::StartsWith(
                            "remote_device_properties_cb(0, 02:51:c0:00:00:01, 2, [1:\"Quarne Buds\", 3:"));
  EXPECT_EQ(calls[4], "adapter_properties_cb(0, 1, [8:0251c0000001])");
  EXPECT_EQ(calls[5], "acl_state_changed_cb(0, 02:51:c0:00:00:01, 1, 0, 0)");

  // Bonding again is answered at once; removing it empties the list.
  f.stack().Clear();
  f.bt()->create_bond(&buds, 1);
  f.bt()->remove_bond(&buds);
  f.Settle();
  EXPECT_THAT(f.stack().Calls(), ElementsAre("bond_state_changed_cb(0, 02:51:c0:00:00:01, 2, 0)",
                                             "bond_state_changed_cb(0, 02:51:c0:00:00:01, 0, 0)",
                                             "adapter_properties_cb(0, 1, [8:])"));
  for (const auto& record : f.stack().Records()) EXPECT_EQ(record.thread, "bt_tev_callback");
  EXPECT_EQ(f.Journal("CreateBond", Direction::kCallReceived).front(), "addr=02:51:c0:00:00:01 transport=1");
}

TEST(SimClassicTest, InjectedFaultsReachTheStackAsTheHostWouldShowThem) {
  SimFixture f;
  f.Start();
  // A bond that the host fails, and an enable whose reply comes 300 ms late.
  f.host().faults().Set("CreateBond", Fault{9, {}, false, {}, 1});
  Fault late;
  late.delay = base::TimeDelta::FromMilliseconds(300);
  f.host().faults().Set("EnableAdapter", late);

  f.bt()->enable();
  f.Advance(299);
  EXPECT_TRUE(f.Calls("adapter_state_changed_cb").empty());
  f.Advance(1);
  EXPECT_THAT(f.Calls("adapter_state_changed_cb"), ElementsAre("adapter_state_changed_cb(1)"));

  RawAddress buds;
  ASSERT_TRUE(RawAddress::FromString(kBuds, buds));
  f.bt()->create_bond(&buds, 1);
  f.Advance(1000);
  EXPECT_EQ(f.Calls("bond_state_changed_cb").back(), "bond_state_changed_cb(9, 02:51:c0:00:00:01, 0, 0)");

  // Once the BluetoothHost pipe is cut, commands no longer reach the host; a restarted host
  // calls Init again and they do.
  f.host().Sever(Pipe::kBluetoothHost);
  f.Settle();
  f.bt()->start_discovery();
  f.Settle();
  EXPECT_EQ(f.host().journal().Count("StartDiscovery", Direction::kCallReceived), 0u);
  f.host().Restart();
  ASSERT_TRUE(f.host().journal().WaitFor("Init", Direction::kReplyReceived, 2));
  f.bt()->start_discovery();
  f.Settle();
  EXPECT_EQ(f.host().journal().Count("StartDiscovery", Direction::kCallReceived), 1u);
  EXPECT_EQ(f.Calls("discovery_state_changed_cb").back(), "discovery_state_changed_cb(1)");
}

TEST(SimClassicTest, AHostServingAnOlderBridgeIsNeverReached) {
  SimulatedHost::Options options;
  options.bridgeVersion = 19;
  SimFixture f(options);
  f.Start(false);
  ASSERT_TRUE(f.logs().WaitFor("BluetoothTev: version mismatch - Quarne supports v19, we need v20"));
  f.bt()->enable();
  f.Settle();
  EXPECT_TRUE(f.host().journal().Entries().empty());
  EXPECT_TRUE(f.Calls("adapter_state_changed_cb").empty());
}

}  // namespace
}  // namespace sim
}  // namespace tev
