// GATT client attribute operations: handles resolved into the host's ids, the values and statuses
// that come back, subscriptions, and one whole client session next to a scan.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "base/strings/stringprintf.h"
#include "library_harness.h"

namespace tev {
namespace testing {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using tev::mojom::BluetoothGattStatus;
using Bytes = std::vector<uint8_t>;
using Type = tev::mojom::BluetoothGattDBAttributeType;

const RawAddress kDevice({0x0a, 0x0b, 0x0c, 0x01, 0x02, 0x03});
const bluetooth::Uuid kHeartRate = bluetooth::Uuid::From16Bit(0x180d);
const bluetooth::Uuid kMeasurement = bluetooth::Uuid::From16Bit(0x2a37);
const bluetooth::Uuid kConfig = bluetooth::Uuid::From16Bit(0x2902);
const bluetooth::Uuid kBattery = bluetooth::Uuid::From16Bit(0x180f);
const bluetooth::Uuid kLevel = bluetooth::Uuid::From16Bit(0x2a19);
const bluetooth::Uuid kFormat = bluetooth::Uuid::From16Bit(0x2904);
const BluetoothGattStatus kFailure = BluetoothGattStatus::FAILURE;  // 0x101

MATCHER_P3(GattIdIs, uuid, inst_id, handle, "") {
  return !arg.is_null() && arg->uuid == uuid && arg->inst_id == inst_id && arg->handle == handle;
}

MATCHER_P4(ServiceIdIs, uuid, inst_id, handle, primary, "") {
  return !arg.is_null() && arg->is_primary == primary && !arg->id.is_null() &&
         arg->id->uuid == uuid && arg->id->inst_id == inst_id && arg->id->handle == handle;
}

MATCHER_P(ValueIs, bytes, "") {
  return !arg.is_null() && arg->status == BluetoothGattStatus::SUCCESS && arg->value == bytes;
}

Bytes Pattern(size_t length) {
  Bytes bytes(length);
  for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<uint8_t>(i * 7);
  return bytes;
}

std::string Hex(const Bytes& bytes, size_t length) {
  std::string text;
  for (size_t i = 0; i < length; ++i) base::StringAppendF(&text, "%02x", bytes[i]);
  return text;
}

auto ReadReply(BluetoothGattStatus status, Bytes bytes) {
  return [status, bytes](const auto&... args) {
    const auto& reply = std::get<sizeof...(args) - 1>(std::tie(args...));
    reply.Run(tev::mojom::BluetoothGattValue::New(status, bytes));
  };
}

auto StatusReply(BluetoothGattStatus status) {
  return [status](const auto&... args) {
    std::get<sizeof...(args) - 1>(std::tie(args...)).Run(status);
  };
}

void ExpectEveryCallbackOnTheCallbackThread(LibraryHarness& h) {
  for (const CallbackRecord& record : h.stack().Records()) {
    EXPECT_EQ(record.thread, "bt_tev_callback") << record.text();
  }
}

// Connects kDevice and hands the library its database: a characteristic at 0xf0 listed before any
// service; a primary service at 1 holding a characteristic at 2 and its descriptor at 3; a
// secondary service at 0x100 holding a characteristic at 0x101 and its descriptor at 0x102.
// Returns the connection id the stack was given.
int ConnectWithDatabase(LibraryHarness& h) {
  h.host().Fire([](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEConnectionStateChange(BluetoothTevService::toMojoAddress(kDevice), true);
    std::vector<tev::mojom::BluetoothGattDBElementPtr> db;
    auto add = [&db](const bluetooth::Uuid& uuid, Type type, uint16_t handle) {
      db.push_back(
          tev::mojom::BluetoothGattDBElement::New(0, uuid, type, handle, handle, handle, 0));
    };
    add(kLevel, Type::CHARACTERISTIC, 0x00f0);
    add(kHeartRate, Type::PRIMARY_SERVICE, 0x0001);
    add(kMeasurement, Type::CHARACTERISTIC, 0x0002);
    add(kConfig, Type::DESCRIPTOR, 0x0003);
    add(kBattery, Type::SECONDARY_SERVICE, 0x0100);
    add(kLevel, Type::CHARACTERISTIC, 0x0101);
    add(kFormat, Type::DESCRIPTOR, 0x0102);
    instance->OnGetGattDB(BluetoothTevService::toMojoAddress(kDevice), std::move(db));
  });
  h.stack().WaitFor("get_gatt_db_cb");
  return std::stoi(h.stack().WaitFor("open_cb").args);
}

TEST(GattAttributesTest, HandlesResolveToTheHostIdsAndWritesCarryTheirFlags) {
  LibraryHarness h;
  const uint8_t value[] = {0x01, 0x00, 0x09};
  const auto heartRate = ServiceIdIs(kHeartRate, 1, 0x0001, true);
  const auto battery = ServiceIdIs(kBattery, 0, 0x0100, false);
  {
    InSequence order;
    EXPECT_CALL(h.mock(), ReadGattCharacteristic(AddressIs(kDevice), heartRate,
                                                 GattIdIs(kMeasurement, 2, 0x0002), _));
    // A characteristic read naming a descriptor is sent with the descriptor's own ids.
    EXPECT_CALL(h.mock(), ReadGattCharacteristic(AddressIs(kDevice), heartRate,
                                                 GattIdIs(kConfig, 3, 0x0003), _));
    EXPECT_CALL(h.mock(),
                ReadGattDescriptor(AddressIs(kDevice), battery, GattIdIs(kLevel, 1, 0x0101),
                                   GattIdIs(kFormat, 2, 0x0102), _));
    EXPECT_CALL(h.mock(),
                WriteGattDescriptor(AddressIs(kDevice), battery, GattIdIs(kLevel, 1, 0x0101),
                                    GattIdIs(kFormat, 2, 0x0102), ValueIs(Bytes{0x01, 0x00}), _));
    const auto measurement = GattIdIs(kMeasurement, 2, 0x0002);
    EXPECT_CALL(h.mock(), WriteGattCharacteristic(_, heartRate, measurement,
                                                  ValueIs(Bytes{0x01, 0x00, 0x09}), true, _));
    EXPECT_CALL(h.mock(), WriteGattCharacteristic(_, _, measurement, ValueIs(Bytes{}), false, _));
    EXPECT_CALL(h.mock(), WriteGattCharacteristic(_, _, measurement, ValueIs(Bytes{9}), false, _));
    EXPECT_CALL(h.mock(), ExecuteWrite(AddressIs(kDevice), true, _));
    EXPECT_CALL(h.mock(), ExecuteWrite(AddressIs(kDevice), false, _));
  }
  h.Start();
  const int conn = ConnectWithDatabase(h);
  const btgatt_client_interface_t* client = h.gatt()->client;
  EXPECT_EQ(client->read_characteristic(conn, 0x0002, 0), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->read_characteristic(conn, 0x0003, 0), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->read_descriptor(conn, 0x0102, 0), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->write_descriptor(conn, 0x0102, 0, value, 2), BT_STATUS_SUCCESS);
  // Only write type 3 prepares; an empty write sends an empty value.
  EXPECT_EQ(client->write_characteristic(conn, 0x0002, 3, 0, value, 3), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->write_characteristic(conn, 0x0002, 1, 0, nullptr, 0), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->write_characteristic(conn, 0x0002, 2, 0, value + 2, 1), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->execute_write(conn, 7), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->execute_write(conn, 0), BT_STATUS_SUCCESS);

  // Refused without a line: descriptor operations on a characteristic, unknown connections, an
  // uncached handle outside a characteristic read, an attribute whose service is not cached.
  EXPECT_EQ(client->read_descriptor(conn, 0x0002, 0), BT_STATUS_FAIL);
  EXPECT_EQ(client->write_descriptor(conn, 0x0101, 0, value, 2), BT_STATUS_FAIL);
  EXPECT_EQ(client->read_characteristic(conn + 1, 0x0002, 0), BT_STATUS_FAIL);
  EXPECT_EQ(client->execute_write(conn + 1, 1), BT_STATUS_FAIL);
  EXPECT_EQ(client->write_characteristic(conn, 0x0050, 1, 0, value, 2), BT_STATUS_FAIL);
  EXPECT_EQ(client->read_characteristic(conn, 0x00f0, 0), BT_STATUS_FAIL);
  EXPECT_FALSE(h.logs().Contains("not found in DB"));
  EXPECT_EQ(client->read_characteristic(conn, 0x0050, 0), BT_STATUS_FAIL);
  EXPECT_TRUE(h.logs().Contains(logging::LOG_ERROR,
                                "BluetoothTev: gattReadCharacteristic handle 80 not found in DB"));
  h.Settle();
}

TEST(GattAttributesTest, ReadsCutValuesAndStatusesWhileWritesPassStatusesOn) {
  LibraryHarness h;
  const Bytes bytes = Pattern(700);
  EXPECT_CALL(h.mock(), ReadGattCharacteristic(_, _, _, _))
      .WillOnce(ReadReply(kFailure, {}))
      .WillOnce(ReadReply(BluetoothGattStatus::SUCCESS, Bytes(bytes.begin(), bytes.begin() + 600)))
      .WillOnce(ReadReply(BluetoothGattStatus::SUCCESS, bytes));
  EXPECT_CALL(h.mock(), ReadGattDescriptor(_, _, _, _, _))
      .WillOnce(ReadReply(kFailure, Bytes(bytes.begin(), bytes.begin() + 601)));
  EXPECT_CALL(h.mock(), WriteGattCharacteristic(_, _, _, _, _, _)).WillOnce(StatusReply(kFailure));
  EXPECT_CALL(h.mock(), WriteGattDescriptor(_, _, _, _, _, _))
      .WillOnce(StatusReply(BluetoothGattStatus::SUCCESS));
  EXPECT_CALL(h.mock(), ExecuteWrite(_, _, _)).WillOnce(StatusReply(kFailure));
  h.Start();
  const int conn = ConnectWithDatabase(h);
  h.stack().Clear();
  const btgatt_client_interface_t* client = h.gatt()->client;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(client->read_characteristic(conn, 0x0002, 0), 0);
  ASSERT_EQ(client->read_descriptor(conn, 0x0003, 0), 0);
  ASSERT_EQ(client->write_characteristic(conn, 0x0002, 1, 0, bytes.data(), 4), 0);
  ASSERT_EQ(client->write_descriptor(conn, 0x0003, 0, bytes.data(), 2), 0);
  ASSERT_EQ(client->execute_write(conn, 1), 0);
  h.Settle();

  // The recording stack reads every record it is handed, so under AddressSanitizer this also
  // checks that each lives through its callback and is freed after it.
  const std::string full = Hex(bytes, 600);
  EXPECT_THAT(h.stack().Calls(),
              ElementsAre("read_characteristic_cb(1, 1, 2, 0, 0, 1, )",
                          "read_characteristic_cb(1, 0, 2, 600, 0, 0, " + full + ")",
                          "read_characteristic_cb(1, 0, 2, 600, 0, 0, " + full + ")",
                          "read_descriptor_cb(1, 1, 3, 600, 0, 1, " + full + ")",
                          "write_characteristic_cb(1, 257, 2, 0, null)",
                          "write_descriptor_cb(1, 0, 3, 0, null)", "execute_write_cb(1, 257)"));
  ExpectEveryCallbackOnTheCallbackThread(h);
}

TEST(GattNotificationRegistrationTest, NeedsTheCachedDatabaseAndReportsTheHostsAnswer) {
  LibraryHarness h;
  {
    InSequence order;
    EXPECT_CALL(h.mock(), RegisterForGattNotification(AddressIs(kDevice),
                                                      ServiceIdIs(kBattery, 0, 0x0100, false),
                                                      GattIdIs(kLevel, 1, 0x0101), _))
        .WillOnce(StatusReply(BluetoothGattStatus::SUCCESS))
        .WillOnce(StatusReply(kFailure));
    EXPECT_CALL(h.mock(), DeregisterForGattNotification(AddressIs(kDevice), _,
                                                        GattIdIs(kLevel, 1, 0x0101), _))
        .WillOnce(StatusReply(BluetoothGattStatus::SUCCESS));
  }
  h.Start();
  const btgatt_client_interface_t* client = h.gatt()->client;
  // Before discovery there is nothing to resolve the handle with.
  EXPECT_EQ(client->register_for_notification(1, kDevice, 0x0101), BT_STATUS_FAIL);
  const int conn = ConnectWithDatabase(h);
  EXPECT_EQ(client->register_for_notification(1, kDevice, 0x0101), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->register_for_notification(1, kDevice, 0x0101), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->deregister_for_notification(1, kDevice, 0x0101), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->register_for_notification(1, kDevice, 0x00f0), BT_STATUS_FAIL);
  h.Settle();
  EXPECT_THAT(h.stack().Calls("register_for_notification_cb"),
              ElementsAre("register_for_notification_cb(1, 1, 0, 257)",
                          "register_for_notification_cb(1, 0, 257, 257)",
                          "register_for_notification_cb(1, 0, 0, 257)"));
  EXPECT_EQ(h.logs().Count("BluetoothTev: gattRegisterForNotification handle=257"), 3u);

  // A service change drops the device's database, so the handle no longer resolves.
  h.host().Fire([](tev::mojom::BluetoothInstance* instance) {
    instance->OnServiceChanged(BluetoothTevService::toMojoAddress(kDevice));
  });
  EXPECT_EQ(h.stack().WaitFor("services_removed_cb").text(), "services_removed_cb(1, 1, 65535)");
  EXPECT_EQ(client->register_for_notification(1, kDevice, 0x0101), BT_STATUS_FAIL);
  EXPECT_EQ(client->read_characteristic(conn, 0x0002, 0), BT_STATUS_FAIL);
  ExpectEveryCallbackOnTheCallbackThread(h);
}

TEST(GattClientFlowTest, ScanConnectDiscoverReadWriteSubscribeAndReceive) {
  LibraryHarness h;
  EXPECT_CALL(h.mock(), StartLEScan());
  EXPECT_CALL(h.mock(), ConnectLEDevice(AddressIs(kDevice)));
  EXPECT_CALL(h.mock(), ReadGattCharacteristic(_, _, _, _))
      .WillOnce(ReadReply(BluetoothGattStatus::SUCCESS, {0x06, 0x48}));
  EXPECT_CALL(h.mock(), WriteGattDescriptor(_, _, _, _, ValueIs(Bytes{0x01, 0x00}), _))
      .WillOnce(StatusReply(BluetoothGattStatus::SUCCESS));
  EXPECT_CALL(h.mock(), RegisterForGattNotification(_, _, GattIdIs(kMeasurement, 2, 0x0002), _))
      .WillOnce(StatusReply(BluetoothGattStatus::SUCCESS));
  h.Start();
  const btgatt_interface_t* gatt = h.gatt();
  gatt->client->register_client(bluetooth::Uuid::From16Bit(0x1234), false);
  gatt->scanner->Scan(true);
  h.host().Fire([](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEDeviceFound(BluetoothTevService::toMojoAddress(kDevice), -48, {0x02, 0x01, 0x06});
  });
  h.stack().WaitFor("scan_result_cb");
  gatt->client->connect(1, kDevice, true, 2, false, 1);
  const int conn = ConnectWithDatabase(h);
  ASSERT_EQ(gatt->client->read_characteristic(conn, 0x0002, 0), BT_STATUS_SUCCESS);
  const uint8_t enable[] = {0x01, 0x00};
  ASSERT_EQ(gatt->client->write_descriptor(conn, 0x0003, 0, enable, 2), BT_STATUS_SUCCESS);
  ASSERT_EQ(gatt->client->register_for_notification(1, kDevice, 0x0002), BT_STATUS_SUCCESS);
  h.Settle();
  for (uint8_t beat : {0x48, 0x49}) {
    h.host().Fire([beat](tev::mojom::BluetoothInstance* instance) {
      instance->OnGattNotify(BluetoothTevService::toMojoAddress(kDevice),
                             tev::mojom::BluetoothGattServiceID::New(
                                 tev::mojom::BluetoothGattID::New(kHeartRate, 1, 1), true),
                             tev::mojom::BluetoothGattID::New(kMeasurement, 2, 2), true,
                             {0x06, beat});
    });
  }
  h.Settle();

  const std::string device = kDevice.ToString();
  EXPECT_THAT(
      h.stack().Calls(),
      ElementsAre(
          "thread_evt_cb(0)",
          "register_client_cb(0, 1, " + bluetooth::Uuid::From16Bit(0x1234).ToString() + ")",
          "scan_result_cb(19, 0, " + device + ", 1, 0, 255, 127, -48, 0, 020106, " + device + ")",
          "open_cb(1, 0, 1, " + device + ")", "connection_cb(1, 1, 1, " + device + ")",
          ::testing::StartsWith("get_gatt_db_cb(1, 7, "),
          "read_characteristic_cb(1, 0, 2, 2, 0, 0, 0648)", "write_descriptor_cb(1, 0, 3, 0, null)",
          "register_for_notification_cb(1, 1, 0, 2)", "notify_cb(1, " + device + ", 2, 2, 1, 0648)",
          "notify_cb(1, " + device + ", 2, 2, 1, 0649)"));
  ExpectEveryCallbackOnTheCallbackThread(h);
}

}  // namespace
}  // namespace testing
}  // namespace tev
