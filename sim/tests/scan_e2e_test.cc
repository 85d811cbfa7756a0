// LE scanning end to end: each peripheral of the default world reported at its advertising
// interval, with its advertising data and a varying RSSI, until the scan stops.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "sim_fixture.h"

namespace tev {
namespace sim {
namespace {

// "scan_result_cb(19, 0, <addr>, ..." to the address.
std::string AddressOf(const std::string& call) { return call.substr(22, 17); }

std::map<std::string, int> CountByAddress(const std::vector<std::string>& calls) {
  std::map<std::string, int> counts;
  for (const std::string& call : calls) ++counts[AddressOf(call)];
  return counts;
}

TEST(SimScanTest, PeripheralsAdvertiseAtTheirIntervalsUntilTheScanStops) {
  SimFixture f;
  f.Start();
  f.Enable();
  BleScannerInterface* scanner = f.gatt()->scanner;

  scanner->Scan(true);
  f.Advance(1000);
  std::vector<std::string> results = f.Calls("scan_result_cb");
  // The monitor advertises every 250 ms, the tag every second.
  EXPECT_THAT(CountByAddress(results),
              ::testing::ElementsAre(::testing::Pair("02:51:b0:00:00:01", 4), ::testing::Pair("02:51:b0:00:00:02", 1)));
  for (const std::string& call : results) {
    if (AddressOf(call) != "02:51:b0:00:00:01") continue;
    // Legacy, connectable: flags, the Heart Rate UUID, the name "Pulse HR".
    EXPECT_THAT(call, ::testing::StartsWith("scan_result_cb(19, 0, 02:51:b0:00:00:01, 1, 0, 255, 127, -"));
    EXPECT_THAT(call, ::testing::EndsWith(
                          ", 0, 02010603030d18090950756c7365204852, 02:51:b0:00:00:01)"));
    const int rssi = std::stoi(call.substr(call.find("127, ") + 5));
    EXPECT_GE(rssi, -65);
    EXPECT_LE(rssi, -59);
  }

  // A connected peripheral stops advertising.
  RawAddress monitor;
  ASSERT_TRUE(RawAddress::FromString("02:51:b0:00:00:01", monitor));
  f.gatt()->client->connect(1, monitor, true, 2, false, 1);
  f.Advance(30);
  f.stack().Clear();
  f.Advance(2000);
  EXPECT_THAT(CountByAddress(f.Calls("scan_result_cb")),
              ::testing::ElementsAre(::testing::Pair("02:51:b0:00:00:02", 2)));

  scanner->Scan(false);
  f.Settle();
  f.stack().Clear();
  f.Advance(5000);
  EXPECT_TRUE(f.Calls("scan_result_cb").empty());
  EXPECT_EQ(f.host().journal().Count("StopLEScan", JournalEntry::Direction::kCallReceived), 1u);
}

}  // namespace
}  // namespace sim
}  // namespace tev
