// One whole GATT client session next to a scan, made through the tables as the stack makes it:
// each step uses the ids and handles that the callbacks before it reported.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "library_harness.h"

namespace tev {
namespace testing {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using tev::mojom::BluetoothGattStatus;
using Bytes = std::vector<uint8_t>;
using Instance = tev::mojom::BluetoothInstance;
using Type = tev::mojom::BluetoothGattDBAttributeType;

const RawAddress kDevice({0x0a, 0x0b, 0x0c, 0x01, 0x02, 0x03});
const bluetooth::Uuid kHeartRate = bluetooth::Uuid::From16Bit(0x180d);
const bluetooth::Uuid kMeasurement = bluetooth::Uuid::From16Bit(0x2a37);
const bluetooth::Uuid kConfig = bluetooth::Uuid::From16Bit(0x2902);
constexpr auto kSuccess = BluetoothGattStatus::SUCCESS;

tev::mojom::BluetoothAddressPtr device() { return BluetoothTevService::toMojoAddress(kDevice); }

MATCHER_P2(GattIdIs, uuid, handle, "") {
  return !arg.is_null() && arg->uuid == uuid && arg->handle == handle;
}

MATCHER_P(ValueIs, bytes, "") {
  return !arg.is_null() && arg->status == kSuccess && arg->value == bytes;
}

// A heart-rate service at 1 holding its measurement at 2 and the measurement's configuration
// descriptor at 3.
void sendDatabase(Instance* instance) {
  std::vector<tev::mojom::BluetoothGattDBElementPtr> db;
  db.push_back(
      tev::mojom::BluetoothGattDBElement::New(0, kHeartRate, Type::PRIMARY_SERVICE, 1, 1, 3, 0));
  db.push_back(tev::mojom::BluetoothGattDBElement::New(0, kMeasurement, Type::CHARACTERISTIC, 2, 2,
                                                       3, 0x10));
  db.push_back(tev::mojom::BluetoothGattDBElement::New(0, kConfig, Type::DESCRIPTOR, 3, 3, 3, 0));
  instance->OnGetGattDB(device(), std::move(db));
}

TEST(GattClientFlowTest, ScanConnectDiscoverReadWriteSubscribeAndReceive) {
  LibraryHarness h;
  EXPECT_CALL(h.mock(), StartLEScan());
  EXPECT_CALL(h.mock(), ConnectLEDevice(AddressIs(kDevice))).WillOnce([&h](const auto&) {
    h.host().Fire([](Instance* i) { i->OnLEConnectionStateChange(device(), true); });
  });
  EXPECT_CALL(h.mock(), SearchService(AddressIs(kDevice))).WillOnce([&h](const auto&) {
    h.host().Fire([](Instance* i) { i->OnSearchComplete(device(), kSuccess); });
  });
  // Asked for by the library itself once the search is complete.
  EXPECT_CALL(h.mock(), GetGattDB(AddressIs(kDevice))).WillOnce([&h](const auto&) {
    h.host().Fire(sendDatabase);
  });
  EXPECT_CALL(h.mock(), ReadGattCharacteristic(_, _, GattIdIs(kMeasurement, 2), _))
      .WillOnce([](const auto&, const auto&, const auto&, const auto& reply) {
        reply.Run(tev::mojom::BluetoothGattValue::New(kSuccess, Bytes{0x06, 0x48}));
      });
  EXPECT_CALL(h.mock(), WriteGattDescriptor(_, _, _, GattIdIs(kConfig, 3), ValueIs(Bytes{1, 0}), _))
      .WillOnce(ReplyWith(kSuccess));
  EXPECT_CALL(h.mock(), RegisterForGattNotification(_, _, GattIdIs(kMeasurement, 2), _))
      .WillOnce(ReplyWith(kSuccess));
  h.Start();
  const btgatt_interface_t* gatt = h.gatt();
  gatt->client->register_client(bluetooth::Uuid::From16Bit(0x1234), false);
  gatt->scanner->Scan(true);
  h.host().Fire([](Instance* i) { i->OnLEDeviceFound(device(), -48, {0x02, 0x01, 0x06}); });
  h.stack().WaitFor("scan_result_cb");
  gatt->client->connect(1, kDevice, true, 2, false, 1);
  const int conn = std::stoi(h.stack().WaitFor("open_cb").args);
  ASSERT_EQ(gatt->client->search_service(conn, nullptr), BT_STATUS_SUCCESS);
  h.stack().WaitFor("get_gatt_db_cb");
  ASSERT_EQ(gatt->client->read_characteristic(conn, 2, 0), BT_STATUS_SUCCESS);
  const uint8_t enable[] = {0x01, 0x00};
  ASSERT_EQ(gatt->client->write_descriptor(conn, 3, 0, enable, 2), BT_STATUS_SUCCESS);
  ASSERT_EQ(gatt->client->register_for_notification(1, kDevice, 2), BT_STATUS_SUCCESS);
  h.Settle();
  for (uint8_t beat : {0x48, 0x49}) {
    h.host().Fire([beat](Instance* i) {
      i->OnGattNotify(device(),
                      tev::mojom::BluetoothGattServiceID::New(
                          tev::mojom::BluetoothGattID::New(kHeartRate, 1, 1), true),
                      tev::mojom::BluetoothGattID::New(kMeasurement, 2, 2), true, {0x06, beat});
    });
  }
  h.Settle();

  const std::string address = kDevice.ToString();
  EXPECT_THAT(
      h.stack().Calls(),
      ElementsAre(
          "thread_evt_cb(0)",
          "register_client_cb(0, 1, " + bluetooth::Uuid::From16Bit(0x1234).ToString() + ")",
          "scan_result_cb(19, 0, " + address + ", 1, 0, 255, 127, -48, 0, 020106, " + address + ")",
          "open_cb(1, 0, 1, " + address + ")", "connection_cb(1, 1, 1, " + address + ")",
          "search_complete_cb(1, 0)", ::testing::StartsWith("get_gatt_db_cb(1, 3, "),
          "read_characteristic_cb(1, 0, 2, 2, 0, 0, 0648)", "write_descriptor_cb(1, 0, 3, 0, null)",
          "register_for_notification_cb(1, 1, 0, 2)",
          "notify_cb(1, " + address + ", 2, 2, 1, 0648)",
          "notify_cb(1, " + address + ", 2, 2, 1, 0649)"));
  for (const CallbackRecord& record : h.stack().Records()) {
    EXPECT_EQ(record.thread, "bt_tev_callback") << record.text();
  }
}

}  // namespace
}  // namespace testing
}  // namespace tev
