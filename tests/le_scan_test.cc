// LE scanning: scanner registration and filter answers given inline, start and stop sent to the
// host, and found devices delivered as scan results.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "library_harness.h"

namespace tev {
namespace testing {
namespace {

using ::testing::ElementsAre;
using ::testing::InSequence;

// Runs inline, so a plain vector collects the answers.
template <typename... Args>
base::RepeatingCallback<void(Args...)> Collect(std::vector<std::string>* answers) {
  return base::BindRepeating(
      [](std::vector<std::string>* answers, Args... args) {
        std::string text;
        ((text += (text.empty() ? "" : " ") + std::to_string(args)), ...);
        answers->push_back(text);
      },
      answers);
}

void Found(LibraryHarness& h, const RawAddress& address, int32_t rssi, std::vector<uint8_t> eir) {
  h.host().Fire([address, rssi, eir](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEDeviceFound(BluetoothTevService::toMojoAddress(address), rssi, eir);
  });
}

TEST(LeScanTest, ScannerIdsWrapAtEightBitsAndFiltersAreAcceptedInline) {
  LibraryHarness h;
  h.Start();
  BleScannerInterface* scanner = h.gatt()->scanner;
  std::vector<std::string> ids;
  for (int i = 0; i < 256; ++i) {
    scanner->RegisterScanner(bluetooth::Uuid::kEmpty, Collect<uint8_t, uint8_t>(&ids));
  }
  ASSERT_EQ(ids.size(), 256u);
  EXPECT_EQ(ids[0], "1 0");
  EXPECT_EQ(ids[1], "2 0");
  EXPECT_EQ(ids[254], "255 0");
  EXPECT_EQ(ids[255], "0 0");
  EXPECT_TRUE(h.logs().Contains("BluetoothTev: RegisterScanner id=256"));
  // Unregistering frees nothing: the next id keeps counting.
  scanner->Unregister(0);
  scanner->RegisterScanner(bluetooth::Uuid::kEmpty, Collect<uint8_t, uint8_t>(&ids));
  EXPECT_EQ(ids.back(), "1 0");

  std::vector<std::string> answers;
  scanner->ScanFilterParamSetup(1, 2, 0, nullptr, Collect<uint8_t, uint8_t, uint8_t>(&answers));
  scanner->ScanFilterAdd(0, {}, Collect<uint8_t, uint8_t, uint8_t, uint8_t>(&answers));
  scanner->ScanFilterClear(0, Collect<uint8_t, uint8_t, uint8_t, uint8_t>(&answers));
  scanner->ScanFilterEnable(true, Collect<uint8_t, uint8_t>(&answers));
  scanner->ScanFilterEnable(false, Collect<uint8_t, uint8_t>(&answers));
  scanner->SetScanParameters(1, 16, 16, Collect<uint8_t>(&answers));
  scanner->BatchscanConfigStorage(1, 0, 0, 0, Collect<uint8_t>(&answers));
  scanner->BatchscanEnable(0, 16, 16, 0, 0, Collect<uint8_t>(&answers));
  scanner->BatchscanDisable(Collect<uint8_t>(&answers));
  EXPECT_THAT(answers,
              ElementsAre("0 2 0", "0 0 0 0", "0 0 0 0", "1 0", "0 0", "0", "0", "0", "0"));
  h.Settle();
  EXPECT_TRUE(h.stack().Calls("scan_result_cb").empty());
}

TEST(LeScanTest, EveryStartAndStopReachesTheHostInOrder) {
  LibraryHarness h;
  {
    InSequence order;
    EXPECT_CALL(h.mock(), StartLEScan()).Times(2);
    EXPECT_CALL(h.mock(), StopLEScan());
  }
  h.Start();
  h.gatt()->scanner->Scan(true);
  h.gatt()->scanner->Scan(true);
  h.gatt()->scanner->Scan(false);
  h.Settle();
  const std::vector<std::string> lines = h.logs().Messages();
  const auto stop = std::find(lines.begin(), lines.end(), "BluetoothTev: Scan start=0");
  ASSERT_NE(stop, lines.end());
  ASSERT_NE(stop + 1, lines.end());
  EXPECT_EQ(*(stop + 1), "BluetoothTev: startLEScan start=0");
}

TEST(LeScanTest, FoundDevicesBecomeScanResultsWithFixedFieldsAndNarrowedRssi) {
  LibraryHarness h;
  h.Start();
  h.stack().WaitFor("thread_evt_cb");
  const RawAddress first({0x11, 0x22, 0x33, 0x44, 0x55, 0x66});
  const RawAddress second({0xc0, 0xff, 0xee, 0x00, 0x00, 0x01});
  Found(h, first, -60, {0x02, 0x01, 0x06});
  Found(h, second, 200, {});
  h.Settle();
  // Without a scanner table found devices are dropped.
  h.gatt()->cleanup();
  Found(h, first, -40, {0x02});
  h.Settle();
  h.gatt()->init(h.stack().gattCallbacks());

  const std::vector<CallbackRecord> records = h.stack().Records();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[1].text(), "scan_result_cb(19, 0, " + first.ToString() +
                                   ", 1, 0, 255, 127, -60, 0, 020106, " + first.ToString() + ")");
  EXPECT_EQ(records[2].text(), "scan_result_cb(19, 0, " + second.ToString() +
                                   ", 1, 0, 255, 127, -56, 0, , " + second.ToString() + ")");
  EXPECT_EQ(records[1].thread, "bt_tev_callback");
  EXPECT_EQ(records[2].thread, "bt_tev_callback");
}

}  // namespace
}  // namespace testing
}  // namespace tev
