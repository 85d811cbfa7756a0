// GATT client events (notifications, MTU, service change), remote RSSI, and the calls answered
// without the host.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/strings/stringprintf.h"
#include "library_harness.h"
#include "tev/testing/thread_name.h"

namespace tev {
namespace testing {
namespace {

using ::testing::_;
using ::testing::ElementsAre;

const RawAddress kConnected({0x0a, 0x0b, 0x0c, 0x01, 0x02, 0x03});
const RawAddress kStranger({0x0a, 0x0b, 0x0c, 0x09, 0x09, 0x09});

void Connect(LibraryHarness& h, const RawAddress& address) {
  h.host().Fire([address](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEConnectionStateChange(BluetoothTevService::toMojoAddress(address), true);
  });
  h.stack().WaitFor("connection_cb");
}

void Notify(LibraryHarness& h, const RawAddress& address, bool is_notify,
            std::vector<uint8_t> value) {
  h.host().Fire([address, is_notify, value](tev::mojom::BluetoothInstance* instance) {
    // The instance id disagrees with the handle on purpose: only the handle counts.
    instance->OnGattNotify(
        BluetoothTevService::toMojoAddress(address),
        tev::mojom::BluetoothGattServiceID::New(
            tev::mojom::BluetoothGattID::New(bluetooth::Uuid::kEmpty, 1, 1), true),
        tev::mojom::BluetoothGattID::New(bluetooth::Uuid::kEmpty, 7, 0x0123), is_notify, value);
  });
}

void ExpectEveryCallbackOnTheCallbackThread(LibraryHarness& h) {
  for (const CallbackRecord& record : h.stack().Records()) {
    EXPECT_EQ(record.thread, "bt_tev_callback") << record.text();
  }
}

TEST(GattNotificationsTest, ValuesAreCutTo600BytesAndStrangersAreIgnored) {
  LibraryHarness h;
  h.Start();
  Connect(h, kConnected);
  h.stack().Clear();
  std::vector<uint8_t> value(700);
  for (size_t i = 0; i < value.size(); ++i) value[i] = static_cast<uint8_t>(i % 251);
  Notify(h, kConnected, true, {});
  Notify(h, kStranger, true, {0x01});
  Notify(h, kConnected, false, std::vector<uint8_t>(value.begin(), value.begin() + 600));
  Notify(h, kConnected, true, value);
  h.Settle();

  std::string hex;
  for (size_t i = 0; i < 600; ++i) hex += base::StringPrintf("%02x", value[i]);
  const std::string device = kConnected.ToString();
  EXPECT_THAT(h.stack().Calls(),
              ElementsAre("notify_cb(1, " + device + ", 291, 0, 1, )",
                          "notify_cb(1, " + device + ", 291, 600, 0, " + hex + ")",
                          "notify_cb(1, " + device + ", 291, 600, 1, " + hex + ")"));
  ExpectEveryCallbackOnTheCallbackThread(h);
}

TEST(GattNotificationsTest, MtuReachesTheClientThenTheServerAndRequestsAreAnswered512) {
  LibraryHarness h;
  h.Start();
  Connect(h, kConnected);
  h.stack().Clear();
  EXPECT_EQ(h.gatt()->client->configure_mtu(1, 23), BT_STATUS_SUCCESS);
  for (const RawAddress& address : {kStranger, kConnected}) {
    h.host().Fire([address](tev::mojom::BluetoothInstance* instance) {
      instance->OnMTUReceived(BluetoothTevService::toMojoAddress(address), 185);
      instance->OnServiceChanged(BluetoothTevService::toMojoAddress(address));
    });
  }
  h.Settle();
  EXPECT_THAT(h.stack().Calls(),
              ElementsAre("configure_mtu_cb(1, 0, 512)", "configure_mtu_cb(1, 0, 185)",
                          "mtu_changed_cb(1, 185)", "services_removed_cb(1, 1, 65535)"));
  EXPECT_TRUE(
      h.logs().Contains("BluetoothTev: OnMTUReceived addr=" + kStranger.ToString() + " mtu=185"));
  EXPECT_TRUE(h.logs().Contains("BluetoothTev: OnServiceChanged addr=" + kStranger.ToString()));
  ExpectEveryCallbackOnTheCallbackThread(h);
}

TEST(GattNotificationsTest, RssiIsReadForAnyDeviceAndAnsweredToTheAskingClient) {
  LibraryHarness h;
  EXPECT_CALL(h.mock(), ReadRemoteRssi(AddressIs(kStranger), _))
      .WillOnce([](const auto&, const auto& reply) {
        reply.Run(-70);
      });
  h.Start();
  EXPECT_EQ(h.gatt()->client->read_remote_rssi(5, kStranger), BT_STATUS_SUCCESS);
  CallbackRecord rssi = h.stack().WaitFor("read_remote_rssi_cb");
  EXPECT_EQ(rssi.text(), "read_remote_rssi_cb(5, " + kStranger.ToString() + ", -70, 0)");
  EXPECT_EQ(rssi.thread, "bt_tev_callback");
}

TEST(GattNotificationsTest, CallsTheHostCannotCarryAreAnsweredHere) {
  LibraryHarness h;
  h.Start();
  const btgatt_client_interface_t* client = h.gatt()->client;
  EXPECT_EQ(client->get_device_type(kStranger), BT_DEVICE_DEVTYPE_BLE);
  EXPECT_EQ(client->conn_parameter_update(kStranger, 6, 12, 0, 500, 0, 0), BT_STATUS_SUCCESS);
  EXPECT_EQ(client->set_preferred_phy(kStranger, 2, 2, 0), BT_STATUS_SUCCESS);
  btgatt_test_params_t params{};
  EXPECT_EQ(client->test_command(1, params), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(client->read_using_characteristic_uuid(1, bluetooth::Uuid::kEmpty, 1, 0xffff, 0),
            BT_STATUS_UNSUPPORTED);
  client->btif_gattc_discover_service_by_uuid(1, bluetooth::Uuid::kEmpty);

  // The PHY answer runs inline, before the call returns.
  std::string answer;
  EXPECT_EQ(client->read_phy(kStranger,
                             base::BindRepeating(
                                 [](std::string* answer, uint8_t tx, uint8_t rx, uint8_t status) {
                                   *answer = base::StringPrintf("%u %u %u ", tx, rx, status) +
                                             CurrentThreadName();
                                 },
                                 &answer)),
            BT_STATUS_SUCCESS);
  EXPECT_EQ(answer, "1 1 0 " + CurrentThreadName());
}

}  // namespace
}  // namespace testing
}  // namespace tev
