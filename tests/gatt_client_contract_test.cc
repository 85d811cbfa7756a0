// The GATT client's contract with the stack and the host, one row per call or event: the status
// it returns, every line it logs, every callback it makes and every host call it leads to. It
// covers the GATT table's entry, client ids and LE connections, discovery and the database
// cache, attribute operations, notifications, RSSI, MTU and service change, the calls answered
// without the host, and LE scanning.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "base/strings/stringprintf.h"
#include "gatt_rows.h"
#include "tev/testing/stack/stack_tables.h"

namespace tev {
namespace testing {
namespace {

using ::testing::_;
using ::testing::InSequence;
using tev::mojom::BluetoothGattStatus;
using Bytes = std::vector<uint8_t>;
using Instance = tev::mojom::BluetoothInstance;
using Mock = MockBluetoothHost;
using Step = ContractRow::Step;

const RawAddress kDevice({0x0a, 0x0b, 0x0c, 0x01, 0x02, 0x03});
const RawAddress kOther({0xc0, 0x01, 0x02, 0x03, 0x04, 0x05});
const std::string kA = kDevice.ToString();
const std::string kB = kOther.ToString();
const bluetooth::Uuid kApp = bluetooth::Uuid::From16Bit(0x1234);
const uint8_t kValue[] = {0x01, 0x00, 0x09};
constexpr auto kFailure = BluetoothGattStatus::FAILURE;  // 0x101
constexpr auto kSuccess = BluetoothGattStatus::SUCCESS;

const btgatt_client_interface_t* client() { return GattTable()->client; }
BleScannerInterface* scanner() { return GattTable()->scanner; }

Bytes pattern(size_t length) {
  Bytes bytes(length);
  for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<uint8_t>(i * 7);
  return bytes;
}

std::string hex(const Bytes& bytes, size_t length) {
  std::string text;
  for (size_t i = 0; i < length; ++i) base::StringAppendF(&text, "%02x", bytes[i]);
  return text;
}

auto addressChange(const RawAddress& from, const RawAddress& to) {
  return
      [from, to](Instance* i) { i->OnLEDeviceAddressChange(MojoAddress(from), MojoAddress(to)); };
}

// One element of a remote database.
struct Attr {
  int type;
  uint16_t handle;
  uint16_t uuid;
  uint16_t start;
  uint16_t end;
  uint8_t properties;
};

// A characteristic listed before any service; a primary service holding a characteristic and its
// descriptor; a secondary service holding the same; two elements of types the HAL does not name.
const std::vector<Attr> kDatabase = {
    {3, 0x00f0, 0x2a19, 0, 0, 0x02},        {0, 0x0001, 0x180d, 1, 3, 0},
    {3, 0x0002, 0x2a37, 2, 3, 0x10},        {4, 0x0003, 0x2902, 3, 3, 0},
    {1, 0x0100, 0x180f, 0x100, 0x102, 0},   {3, 0x0101, 0x2a19, 0x101, 0x102, 0x12},
    {4, 0x0102, 0x2904, 0x102, 0x102, 0},   {7, 0x0200, 0x9999, 0, 0, 0},
    {9, 0x0201, 0x9998, 0x201, 0x201, 0x01}};

auto database(const RawAddress& address, std::vector<Attr> attrs) {
  return [address, attrs](Instance* i) {
    std::vector<tev::mojom::BluetoothGattDBElementPtr> db;
    for (const Attr& a : attrs) {
      // The host's own element id is not the HAL's.
      db.push_back(tev::mojom::BluetoothGattDBElement::New(
          0x7f, Uuid16(a.uuid), static_cast<tev::mojom::BluetoothGattDBAttributeType>(a.type),
          a.handle, a.start, a.end, a.properties));
    }
    i->OnGetGattDB(MojoAddress(address), std::move(db));
  };
}

// The HAL's elements as RecordingStack writes them: the id is the handle.
std::string elements(const std::vector<Attr>& attrs) {
  std::string text;
  for (const Attr& a : attrs) {
    base::StringAppendF(&text, "%s{%u %d %u %u %u %u %s}", text.empty() ? "" : ", ", a.handle,
                        a.type, a.handle, a.start, a.end, a.properties,
                        Uuid16(a.uuid).ToString().c_str());
  }
  return "[" + text + "]";
}

// The handle is 0x123; the instance id disagrees with it, and only the handle counts.
auto notification(const RawAddress& address, bool isNotify, Bytes value) {
  return [address, isNotify, value](Instance* i) {
    i->OnGattNotify(MojoAddress(address),
                    tev::mojom::BluetoothGattServiceID::New(
                        tev::mojom::BluetoothGattID::New(Uuid16(0x180d), 1, 1), true),
                    tev::mojom::BluetoothGattID::New(Uuid16(0x2a37), 7, 0x0123), isNotify, value);
  };
}

const Step kConnected = HostFires(LeConnection(kDevice, true));
const Step kDiscovered = Steps({kConnected, HostFires(database(kDevice, kDatabase))});

void gattCleanup(LibraryHarness&) { GattTable()->cleanup(); }
void gattInit(LibraryHarness& h) { GattTable()->init(h.stack().gattCallbacks()); }
void registerClient(LibraryHarness&) { client()->register_client(kApp, false); }

void gattInitServerOnly(LibraryHarness& h) { GattInitWithout(h, &btgatt_callbacks_t::client); }

// gattConnect for `clientIf`, which only a device already connected records.
Step connectFor(int clientIf) {
  return [clientIf](LibraryHarness& h) {
    EXPECT_CALL(h.mock(), ConnectLEDevice(AddressIs(kDevice)));
    client()->connect(clientIf, kDevice, true, 2, false, 1);
  };
}

LibraryHarness::Options withoutGatt() {
  LibraryHarness::Options options;
  options.initGatt = false;
  return options;
}

MATCHER_P3(GattIdIs, uuid16, instance, handle, "") {
  return !arg.is_null() && arg->uuid == Uuid16(uuid16) && arg->inst_id == instance &&
         arg->handle == handle;
}

MATCHER_P4(ServiceIdIs, uuid16, instance, handle, primary, "") {
  return !arg.is_null() && arg->is_primary == primary && !arg->id.is_null() &&
         arg->id->uuid == Uuid16(uuid16) && arg->id->inst_id == instance &&
         arg->id->handle == handle;
}

MATCHER_P(ValueIs, bytes, "") {
  return !arg.is_null() && arg->status == BluetoothGattStatus::SUCCESS && arg->value == bytes;
}

// Ids of the cached database's attributes, as the host must be handed them.
const auto kHeartRate = ServiceIdIs(0x180d, 1, 0x0001, true);
const auto kMeasurement = GattIdIs(0x2a37, 2, 0x0002);
const auto kBattery = ServiceIdIs(0x180f, 0, 0x0100, false);
const auto kLevel = GattIdIs(0x2a19, 1, 0x0101);
const auto kFormat = GattIdIs(0x2904, 2, 0x0102);

auto readAnswer(BluetoothGattStatus status, Bytes value) {
  return [status, value](const auto&... args) {
    std::get<sizeof...(args) - 1>(std::tie(args...))
        .Run(tev::mojom::BluetoothGattValue::New(status, value));
  };
}

Step characteristicRead(BluetoothGattStatus status, Bytes value) {
  return HostExpects([status, value](Mock& m) {
    EXPECT_CALL(m, ReadGattCharacteristic(AddressIs(kDevice), kHeartRate, kMeasurement, _))
        .WillOnce(readAnswer(status, value));
  });
}

std::string connectionLine(const RawAddress& address, int connected) {
  return "BluetoothTev: OnLEConnectionStateChange addr=" + address.ToString() +
         " connected=" + std::to_string(connected);
}

class GattClientContractTest : public ::testing::TestWithParam<ContractRow> {};

TEST_P(GattClientContractTest, DoesExactlyWhatTheRowSays) {
  CheckContractRow(WithOnlyExpectedHostCalls(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Table, GattClientContractTest,
    ::testing::Values(
        Row("profile_gatt_is_the_gatt_table")
            .Act([](LibraryHarness& h) {
              return h.bt()->get_profile_interface("gatt") == GattTable();
            })
            .Returns(true)
            .Logs({Info("BluetoothTev: getProfileInterface(gatt)")}),
        Row("profile_names_are_case_sensitive")
            .Act([](LibraryHarness& h) { return !h.bt()->get_profile_interface("GATT"); })
            .Returns(true)
            .Logs({Info("BluetoothTev: getProfileInterface(GATT)"),
                   Info("BluetoothTev: profile GATT not supported")}),
        Row("profile_without_a_name")
            .Act([](LibraryHarness& h) { return !h.bt()->get_profile_interface(nullptr); })
            .Returns(true),
        Row("init_gatt")
            .With(withoutGatt())
            .Act([](LibraryHarness& h) { return GattTable()->init(h.stack().gattCallbacks()); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: initGatt")}),
        Row("init_gatt_without_callbacks")
            .With(withoutGatt())
            .Act([](LibraryHarness&) { return GattTable()->init(nullptr); })
            .Returns(BT_STATUS_PARM_INVALID)
            .Logs({Info("BluetoothTev: initGatt")}),
        Row("cleanup_gatt")
            .Act(Does([] { GattTable()->cleanup(); }))
            .Logs({Info("BluetoothTev: cleanupGatt")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Clients, GattClientContractTest,
    ::testing::Values(
        Row("register_client")
            .Act([](LibraryHarness&) { return client()->register_client(kApp, true); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterClient if=1")})
            .Calls({CallText("register_client_cb", 0, 1, kApp.ToString())}),
        Row("client_ids_only_grow")
            .Prepare(Steps({registerClient, [](LibraryHarness&) { client()->unregister_client(1); },
                            gattCleanup, registerClient, gattInit}))
            .Act([](LibraryHarness&) { return client()->register_client(kApp, false); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterClient if=3")})
            .Calls({CallText("register_client_cb", 0, 3, kApp.ToString())}),
        Row("register_client_without_its_slot")
            .Arrange([](LibraryHarness& h) { h.stack().client().register_client_cb = nullptr; })
            .Act([](LibraryHarness&) { return client()->register_client(kApp, false); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterClient if=1")}),
        Row("unregister_client")
            .Act([](LibraryHarness&) { return client()->unregister_client(4); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattUnregisterClient if=4")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Connections, GattClientContractTest,
    ::testing::Values(
        Row("connect")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, ConnectLEDevice(AddressIs(kDevice)));
            }))
            .Act([](LibraryHarness&) { return client()->connect(5, kDevice, true, 2, false, 1); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattConnect if=5 addr=" + kA)}),
        Row("disconnect")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, DisconnectLEDevice(AddressIs(kDevice)));
            }))
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return client()->disconnect(7, kDevice, 1); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattDisconnect if=7 conn_id=1")}),
        Row("refresh")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->refresh(1, kDevice); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRefresh")}),
        Row("refresh_drops_the_database")
            .Prepare(Steps({kDiscovered, [](LibraryHarness&) { client()->refresh(1, kDevice); }}))
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 2, 0); })
            .Returns(BT_STATUS_FAIL)
            .Logs({Error("BluetoothTev: gattReadCharacteristic handle 2 not found in DB")}),
        Row("device_connects_for_the_default_client")
            .Prepare(connectFor(5))
            .Act(HostSends(LeConnection(kDevice, true)))
            .Logs({Info(connectionLine(kDevice, 1))})
            .Calls({CallText("open_cb", 1, 0, 1, kA), CallText("connection_cb", 1, 1, 1, kA)}),
        Row("device_connects_again_for_the_client_that_asked")
            .Prepare(Steps({kConnected, connectFor(5)}))
            .Act(HostSends(LeConnection(kDevice, true)))
            .Logs({Info(connectionLine(kDevice, 1))})
            .Calls({CallText("open_cb", 1, 0, 5, kA), CallText("connection_cb", 1, 1, 1, kA)}),
        Row("second_device_gets_the_next_id")
            .Prepare(kConnected)
            .Act(HostSends(LeConnection(kOther, true)))
            .Logs({Info(connectionLine(kOther, 1))})
            .Calls({CallText("open_cb", 2, 0, 1, kB), CallText("connection_cb", 2, 1, 1, kB)}),
        Row("device_reconnecting_gets_a_new_id")
            .Prepare(Steps({kConnected, HostFires(LeConnection(kDevice, false))}))
            .Act(HostSends(LeConnection(kDevice, true)))
            .Logs({Info(connectionLine(kDevice, 1))})
            .Calls({CallText("open_cb", 2, 0, 1, kA), CallText("connection_cb", 2, 1, 1, kA)}),
        Row("connection_ids_continue_after_gatt_cleanup")
            .Prepare(Steps({kConnected, gattCleanup, gattInit}))
            .Act(HostSends(LeConnection(kDevice, true)))
            .Logs({Info(connectionLine(kDevice, 1))})
            .Calls({CallText("open_cb", 2, 0, 1, kA), CallText("connection_cb", 2, 1, 1, kA)}),
        Row("device_connects_under_an_id_the_registry_made")
            .Prepare([](LibraryHarness& h) { h.service()->getOrCreateConnId(kOther, 9); })
            .Act(HostSends(LeConnection(kOther, true)))
            .Logs({Info(connectionLine(kOther, 1))})
            .Calls({CallText("open_cb", 1, 0, 9, kB), CallText("connection_cb", 1, 1, 1, kB)}),
        Row("device_disconnects")
            .Prepare(kConnected)
            .Act(HostSends(LeConnection(kDevice, false)))
            .Logs({Info(connectionLine(kDevice, 0))})
            .Calls({CallText("close_cb", 1, 0, 1, kA), CallText("connection_cb", 1, 1, 0, kA)}),
        Row("device_disconnects_from_the_client_that_connected_it")
            .Prepare(Steps({kConnected, connectFor(7)}))
            .Act(HostSends(LeConnection(kDevice, false)))
            .Logs({Info(connectionLine(kDevice, 0))})
            .Calls({CallText("close_cb", 1, 0, 7, kA), CallText("connection_cb", 1, 1, 0, kA)}),
        Row("unknown_device_disconnects")
            .Act(HostSends(LeConnection(kDevice, false)))
            .Logs({Info(connectionLine(kDevice, 0))}),
        Row("connection_without_a_client_table")
            .Prepare(gattInitServerOnly)
            .Act(HostSends(LeConnection(kDevice, true)))
            .Logs({Info(connectionLine(kDevice, 1))})
            .Calls({CallText("connection_cb", 1, 1, 1, kA)}),
        Row("connection_without_the_open_slot")
            .Arrange([](LibraryHarness& h) { h.stack().client().open_cb = nullptr; })
            .Act(HostSends(LeConnection(kDevice, true)))
            .Logs({Info(connectionLine(kDevice, 1))})
            .Calls({CallText("connection_cb", 1, 1, 1, kA)}),
        Row("disconnection_without_the_server_slot")
            .Arrange([](LibraryHarness& h) { h.stack().server().connection_cb = nullptr; })
            .Prepare(kConnected)
            .Act(HostSends(LeConnection(kDevice, false)))
            .Logs({Info(connectionLine(kDevice, 0))})
            .Calls({CallText("close_cb", 1, 0, 1, kA)}),
        Row("connection_after_gatt_cleanup")
            .Prepare(gattCleanup)
            .Act(HostSends(LeConnection(kDevice, true)))
            .Logs({Info(connectionLine(kDevice, 1))}),
        Row("address_change")
            .Prepare(kConnected)
            .Act(HostSends(addressChange(kDevice, kOther)))
            .Logs({Info("BluetoothTev: OnLEDeviceAddressChange " + kA + " -> " + kB)}),
        Row("database_follows_its_device_to_a_new_address")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m,
                          ReadGattCharacteristic(AddressIs(kOther), kHeartRate, kMeasurement, _));
            }))
            .Prepare(Steps({kDiscovered, HostFires(addressChange(kDevice, kOther))}))
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 2, 0); })
            .Returns(BT_STATUS_SUCCESS),
        Row("device_disconnects_under_its_new_address")
            .Prepare(Steps({kConnected, HostFires(addressChange(kDevice, kOther))}))
            .Act(HostSends(LeConnection(kOther, false)))
            .Logs({Info(connectionLine(kOther, 0))})
            .Calls({CallText("close_cb", 1, 0, 1, kB), CallText("connection_cb", 1, 1, 0, kB)})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Discovery, GattClientContractTest,
    ::testing::Values(
        Row("search_service")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, SearchService(AddressIs(kDevice)));
            }))
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return client()->search_service(1, &kApp); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattSearchService conn_id=1")}),
        Row("search_service_of_an_unknown_connection")
            .Act([](LibraryHarness&) { return client()->search_service(1, nullptr); })
            .Returns(BT_STATUS_FAIL),
        Row("search_service_after_disconnection")
            .Prepare(Steps({kConnected, HostFires(LeConnection(kDevice, false))}))
            .Act([](LibraryHarness&) { return client()->search_service(1, nullptr); })
            .Returns(BT_STATUS_FAIL),
        Row("get_gatt_db")
            .Arrange(HostExpects([](Mock& m) { EXPECT_CALL(m, GetGattDB(AddressIs(kDevice))); }))
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return client()->get_gatt_db(1); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattGetGattDb conn_id=1")}),
        Row("get_gatt_db_of_an_unknown_connection")
            .Act([](LibraryHarness&) { return client()->get_gatt_db(1); })
            .Returns(BT_STATUS_FAIL),
        Row("search_complete_fetches_the_database")
            .Arrange([](LibraryHarness& h) {
              EXPECT_CALL(h.mock(), GetGattDB(AddressIs(kDevice))).WillOnce([&h](const auto&) {
                h.host().Fire(database(kDevice, {kDatabase[1]}));
              });
            })
            .Prepare(kConnected)
            .Act(HostSends([](Instance* i) {
              i->OnSearchComplete(MojoAddress(kDevice), kFailure);
            }))
            .Logs({Info("BluetoothTev: OnSearchComplete addr=" + kA + " status=257"),
                   Info("BluetoothTev: OnGetGattDB addr=" + kA + " elements=1")})
            .Calls({CallText("search_complete_cb", 1, 257),
                    CallText("get_gatt_db_cb", 1, 1, elements({kDatabase[1]}))}),
        Row("search_complete_without_its_slot")
            .Arrange(
                Steps({HostExpects([](Mock& m) { EXPECT_CALL(m, GetGattDB(AddressIs(kDevice))); }),
                       [](LibraryHarness& h) { h.stack().client().search_complete_cb = nullptr; }}))
            .Prepare(kConnected)
            .Act(HostSends([](Instance* i) {
              i->OnSearchComplete(MojoAddress(kDevice), kSuccess);
            }))
            .Logs({Info("BluetoothTev: OnSearchComplete addr=" + kA + " status=0")}),
        Row("search_complete_of_an_unknown_device")
            .Act(HostSends([](Instance* i) {
              i->OnSearchComplete(MojoAddress(kDevice), kSuccess);
            }))
            .Logs({Info("BluetoothTev: OnSearchComplete addr=" + kA + " status=0")}),
        Row("database")
            .Prepare(kConnected)
            .Act(HostSends(database(kDevice, kDatabase)))
            .Logs({Info("BluetoothTev: OnGetGattDB addr=" + kA + " elements=9")})
            .Calls({CallText("get_gatt_db_cb", 1, 9, elements(kDatabase))}),
        Row("empty_database")
            .Prepare(kConnected)
            .Act(HostSends(database(kDevice, {})))
            .Logs({Info("BluetoothTev: OnGetGattDB addr=" + kA + " elements=0")})
            .Calls({"get_gatt_db_cb(1, 0, [])"}),
        Row("database_of_an_unknown_device")
            .Act(HostSends(database(kDevice, kDatabase)))
            .Logs({Info("BluetoothTev: OnGetGattDB addr=" + kA + " elements=9")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Attributes, GattClientContractTest,
    ::testing::Values(
        Row("read_characteristic")
            .Arrange(characteristicRead(kSuccess, {0x06, 0x48}))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 2, 0); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"read_characteristic_cb(1, 0, 2, 2, 0, 0, 0648)"}),
        Row("read_characteristic_failed_with_a_long_value")
            .Arrange(characteristicRead(kFailure, pattern(601)))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 2, 0); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"read_characteristic_cb(1, 1, 2, 600, 0, 1, " + hex(pattern(601), 600) + ")"}),
        Row("read_characteristic_without_its_slot")
            .Arrange(Steps({characteristicRead(kSuccess, {0x06}),
                            [](LibraryHarness& h) {
                              h.stack().client().read_characteristic_cb = nullptr;
                            }}))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 2, 0); })
            .Returns(BT_STATUS_SUCCESS),
        Row("read_characteristic_naming_a_descriptor")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, ReadGattCharacteristic(AddressIs(kDevice), kHeartRate,
                                                    GattIdIs(0x2902, 3, 0x0003), _))
                  .WillOnce(readAnswer(kSuccess, {}));
            }))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 3, 0); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"read_characteristic_cb(1, 0, 3, 0, 0, 0, )"}),
        Row("read_characteristic_of_an_unknown_connection")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_characteristic(2, 2, 0); })
            .Returns(BT_STATUS_FAIL),
        Row("read_characteristic_of_an_uncached_handle")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 0x50, 0); })
            .Returns(BT_STATUS_FAIL)
            .Logs({Error("BluetoothTev: gattReadCharacteristic handle 80 not found in DB")}),
        Row("read_characteristic_before_discovery")
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 2, 0); })
            .Returns(BT_STATUS_FAIL)
            .Logs({Error("BluetoothTev: gattReadCharacteristic handle 2 not found in DB")}),
        Row("read_characteristic_outside_any_service")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_characteristic(1, 0xf0, 0); })
            .Returns(BT_STATUS_FAIL),
        Row("read_descriptor")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, ReadGattDescriptor(AddressIs(kDevice), kBattery, kLevel, kFormat, _))
                  .WillOnce(readAnswer(kFailure, pattern(601)));
            }))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_descriptor(1, 0x102, 0); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"read_descriptor_cb(1, 1, 258, 600, 0, 1, " + hex(pattern(601), 600) + ")"}),
        Row("read_descriptor_naming_a_characteristic")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_descriptor(1, 0x101, 0); })
            .Returns(BT_STATUS_FAIL),
        Row("read_descriptor_of_an_unknown_connection")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->read_descriptor(2, 0x102, 0); })
            .Returns(BT_STATUS_FAIL),
        Row("prepared_write")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, WriteGattCharacteristic(AddressIs(kDevice), kHeartRate, kMeasurement,
                                                     ValueIs(Bytes{1, 0, 9}), true, _))
                  .WillOnce(ReplyWith(kFailure));
            }))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->write_characteristic(1, 2, 3, 0, kValue, 3);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"write_characteristic_cb(1, 257, 2, 0, null)"}),
        Row("empty_write_without_response")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m,
                          WriteGattCharacteristic(_, _, kMeasurement, ValueIs(Bytes{}), false, _))
                  .WillOnce(ReplyWith(kSuccess));
            }))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->write_characteristic(1, 2, 1, 0, nullptr, 0);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"write_characteristic_cb(1, 0, 2, 0, null)"}),
        Row("write_of_an_uncached_handle")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->write_characteristic(1, 0x50, 1, 0, kValue, 2);
            })
            .Returns(BT_STATUS_FAIL),
        Row("write_of_an_unknown_connection")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->write_characteristic(2, 2, 1, 0, kValue, 2);
            })
            .Returns(BT_STATUS_FAIL),
        Row("write_descriptor")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, WriteGattDescriptor(AddressIs(kDevice), kBattery, kLevel, kFormat,
                                                 ValueIs(Bytes{1, 0}), _))
                  .WillOnce(ReplyWith(kFailure));
            }))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->write_descriptor(1, 0x102, 0, kValue, 2); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"write_descriptor_cb(1, 257, 258, 0, null)"}),
        Row("write_descriptor_naming_a_characteristic")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) { return client()->write_descriptor(1, 0x101, 0, kValue, 2); })
            .Returns(BT_STATUS_FAIL),
        Row("execute_write")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, ExecuteWrite(AddressIs(kDevice), true, _))
                  .WillOnce(ReplyWith(kFailure));
            }))
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return client()->execute_write(1, 7); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"execute_write_cb(1, 257)"}),
        Row("cancel_prepared_writes")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, ExecuteWrite(AddressIs(kDevice), false, _))
                  .WillOnce(ReplyWith(kSuccess));
            }))
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return client()->execute_write(1, 0); })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"execute_write_cb(1, 0)"}),
        Row("execute_write_of_an_unknown_connection")
            .Act([](LibraryHarness&) { return client()->execute_write(1, 1); })
            .Returns(BT_STATUS_FAIL)),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Subscriptions, GattClientContractTest,
    ::testing::Values(
        Row("register_for_notification")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, RegisterForGattNotification(AddressIs(kDevice), kBattery, kLevel, _))
                  .WillOnce(ReplyWith(kSuccess));
            }))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->register_for_notification(3, kDevice, 0x101);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterForNotification handle=257")})
            .Calls({"register_for_notification_cb(1, 1, 0, 257)"}),
        Row("register_for_notification_refused")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, RegisterForGattNotification(_, _, kLevel, _))
                  .WillOnce(ReplyWith(BluetoothGattStatus::INSUFFICIENT_AUTHENTICATION));
            }))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->register_for_notification(3, kDevice, 0x101);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterForNotification handle=257")})
            .Calls({"register_for_notification_cb(1, 0, 5, 257)"}),
        Row("register_for_notification_without_its_slot")
            .Arrange(Steps({HostExpects([](Mock& m) {
                              EXPECT_CALL(m, RegisterForGattNotification(_, _, kLevel, _))
                                  .WillOnce(ReplyWith(kSuccess));
                            }),
                            [](LibraryHarness& h) {
                              h.stack().client().register_for_notification_cb = nullptr;
                            }}))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->register_for_notification(3, kDevice, 0x101);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattRegisterForNotification handle=257")}),
        Row("register_for_notification_of_an_uncached_handle")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->register_for_notification(3, kDevice, 0x50);
            })
            .Returns(BT_STATUS_FAIL)
            .Logs({Info("BluetoothTev: gattRegisterForNotification handle=80")}),
        Row("register_for_notification_outside_any_service")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->register_for_notification(3, kDevice, 0xf0);
            })
            .Returns(BT_STATUS_FAIL)
            .Logs({Info("BluetoothTev: gattRegisterForNotification handle=240")}),
        Row("register_for_notification_before_discovery")
            .Prepare(kConnected)
            .Act([](LibraryHarness&) {
              return client()->register_for_notification(3, kDevice, 0x101);
            })
            .Returns(BT_STATUS_FAIL)
            .Logs({Info("BluetoothTev: gattRegisterForNotification handle=257")}),
        Row("deregister_for_notification")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, DeregisterForGattNotification(AddressIs(kDevice), kBattery, kLevel, _))
                  .WillOnce(ReplyWith(kSuccess));
            }))
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->deregister_for_notification(3, kDevice, 0x101);
            })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattDeregisterForNotification handle=257")})
            .Calls({"register_for_notification_cb(1, 0, 0, 257)"}),
        Row("deregister_for_notification_of_an_uncached_handle")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->deregister_for_notification(3, kDevice, 0x50);
            })
            .Returns(BT_STATUS_FAIL)
            .Logs({Info("BluetoothTev: gattDeregisterForNotification handle=80")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    Events, GattClientContractTest,
    ::testing::Values(
        Row("read_remote_rssi")
            .Arrange(HostExpects([](Mock& m) {
              EXPECT_CALL(m, ReadRemoteRssi(AddressIs(kOther), _)).WillOnce(ReplyWith(-70));
            }))
            .Act([](LibraryHarness&) { return client()->read_remote_rssi(5, kOther); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattReadRemoteRssi")})
            .Calls({CallText("read_remote_rssi_cb", 5, kB, -70, 0)}),
        Row("configure_mtu")
            .Prepare(kConnected)
            .Act([](LibraryHarness&) { return client()->configure_mtu(1, 23); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattConfigureMtu conn_id=1 mtu=23")})
            .Calls({"configure_mtu_cb(1, 0, 512)"}),
        Row("configure_mtu_of_an_unknown_connection")
            .Act([](LibraryHarness&) { return client()->configure_mtu(9, 185); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattConfigureMtu conn_id=9 mtu=185")})
            .Calls({"configure_mtu_cb(9, 0, 512)"}),
        Row("configure_mtu_without_its_slot")
            .Arrange([](LibraryHarness& h) { h.stack().client().configure_mtu_cb = nullptr; })
            .Act([](LibraryHarness&) { return client()->configure_mtu(1, 23); })
            .Returns(BT_STATUS_SUCCESS)
            .Logs({Info("BluetoothTev: gattConfigureMtu conn_id=1 mtu=23")}),
        Row("notification_cut_at_600_bytes")
            .Prepare(kConnected)
            .Act(HostSends(notification(kDevice, true, pattern(700))))
            .Calls({CallText("notify_cb", 1, kA, 291, 600, 1, hex(pattern(700), 600))}),
        Row("empty_indication")
            .Prepare(kConnected)
            .Act(HostSends(notification(kDevice, false, {})))
            .Calls({CallText("notify_cb", 1, kA, 291, 0, 0, "")}),
        Row("notification_from_an_unknown_device")
            .Prepare(kConnected)
            .Act(HostSends(notification(kOther, true, {0x01}))),
        Row("notification_without_its_slot")
            .Arrange([](LibraryHarness& h) { h.stack().client().notify_cb = nullptr; })
            .Prepare(kConnected)
            .Act(HostSends(notification(kDevice, true, {0x01}))),
        Row("service_changed")
            .Prepare(kConnected)
            .Act(HostSends([](Instance* i) { i->OnServiceChanged(MojoAddress(kDevice)); }))
            .Logs({Info("BluetoothTev: OnServiceChanged addr=" + kA)})
            .Calls({"services_removed_cb(1, 1, 65535)"}),
        Row("service_changed_drops_the_database")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness& h) {
              h.host().Fire([](Instance* i) { i->OnServiceChanged(MojoAddress(kDevice)); });
              h.Settle();
              return client()->read_characteristic(1, 2, 0);
            })
            .Returns(BT_STATUS_FAIL)
            .Logs({Info("BluetoothTev: OnServiceChanged addr=" + kA),
                   Error("BluetoothTev: gattReadCharacteristic handle 2 not found in DB")})
            .Calls({"services_removed_cb(1, 1, 65535)"}),
        Row("service_changed_on_an_unknown_device")
            .Act(HostSends([](Instance* i) { i->OnServiceChanged(MojoAddress(kOther)); }))
            .Logs({Info("BluetoothTev: OnServiceChanged addr=" + kB)}),
        Row("mtu_received")
            .Prepare(kConnected)
            .Act(HostSends([](Instance* i) { i->OnMTUReceived(MojoAddress(kDevice), 185); }))
            .Logs({Info("BluetoothTev: OnMTUReceived addr=" + kA + " mtu=185")})
            .Calls({"configure_mtu_cb(1, 0, 185)", "mtu_changed_cb(1, 185)"}),
        Row("mtu_received_from_an_unknown_device")
            .Act(HostSends([](Instance* i) { i->OnMTUReceived(MojoAddress(kOther), 185); }))
            .Logs({Info("BluetoothTev: OnMTUReceived addr=" + kB + " mtu=185")})),
    ContractRowName());

INSTANTIATE_TEST_SUITE_P(
    AnsweredLocally, GattClientContractTest,
    ::testing::Values(
        Row("device_type_is_always_le")
            .Act([](LibraryHarness&) { return client()->get_device_type(kOther); })
            .Returns(BT_DEVICE_DEVTYPE_BLE),
        Row("connection_parameter_update")
            .Act([](LibraryHarness&) {
              return client()->conn_parameter_update(kDevice, 6, 12, 0, 500, 0, 0);
            })
            .Returns(BT_STATUS_SUCCESS),
        Row("set_preferred_phy")
            .Act([](LibraryHarness&) { return client()->set_preferred_phy(kDevice, 2, 2, 0); })
            .Returns(BT_STATUS_SUCCESS),
        Row("read_phy_answers_on_the_caller")
            .Act([](LibraryHarness&) {
              return client()->read_phy(kDevice, ReadPhyCallback(Table::kGattClient));
            })
            .Returns(BT_STATUS_SUCCESS)
            .Calls({"read_phy_cb(1, 1, 0)"})
            .CallbacksOn(CallerThread()),
        Row("test_command")
            .Act([](LibraryHarness&) { return client()->test_command(1, btgatt_test_params_t{}); })
            .Returns(BT_STATUS_UNSUPPORTED),
        Row("read_using_characteristic_uuid")
            .Prepare(kDiscovered)
            .Act([](LibraryHarness&) {
              return client()->read_using_characteristic_uuid(1, Uuid16(0x2a37), 1, 0xffff, 0);
            })
            .Returns(BT_STATUS_UNSUPPORTED),
        // The table's slot returns nothing; the member's fixed status is what it would return.
        Row("discover_service_by_uuid")
            .Prepare(kConnected)
            .Act([](LibraryHarness& h) {
              client()->btif_gattc_discover_service_by_uuid(1, Uuid16(0x180d));
              return h.service()->gattDiscoverServiceByUuid(1, Uuid16(0x180d));
            })
            .Returns(BT_STATUS_SUCCESS)),
    ContractRowName());

template <typename... Args>
base::Callback<void(Args...)> scannerAnswer(const std::string& slot,
                                            std::vector<std::string> names) {
  return InlineResult<Args...>(Table::kGattScanner, slot, std::move(names));
}

BleScannerInterface::FilterConfigCallback filterConfigAnswer() {
  return scannerAnswer<uint8_t, uint8_t, uint8_t, uint8_t>(
      "filter_config_cb", {"filt_type", "avbl_space", "action", "status"});
}

void registerScanners(int count) {
  for (int i = 0; i < count; ++i) {
    scanner()->RegisterScanner(kApp, BleScannerInterface::RegisterCallback());
  }
}

auto found(const RawAddress& address, int32_t rssi, Bytes eir) {
  return [address, rssi, eir](Instance* i) { i->OnLEDeviceFound(MojoAddress(address), rssi, eir); };
}

INSTANTIATE_TEST_SUITE_P(
    Scanning, GattClientContractTest,
    ::testing::Values(
        Row("register_scanner")
            .Act(Does([] { scanner()->RegisterScanner(kApp, ScannerRegisteredCallback()); }))
            .Logs({Info("BluetoothTev: RegisterScanner id=1")})
            .Calls({"register_cb(1, 0)"})
            .CallbacksOn(CallerThread()),
        Row("scanner_ids_reach_the_stack_cut_to_8_bits")
            .Prepare([](LibraryHarness&) { registerScanners(255); })
            .Act(Does([] { scanner()->RegisterScanner(kApp, ScannerRegisteredCallback()); }))
            .Logs({Info("BluetoothTev: RegisterScanner id=256")})
            .Calls({"register_cb(0, 0)"})
            .CallbacksOn(CallerThread()),
        Row("unregistering_a_scanner_frees_no_id")
            .Prepare([](LibraryHarness&) {
              registerScanners(1);
              scanner()->Unregister(1);
            })
            .Act(Does([] { scanner()->RegisterScanner(kApp, ScannerRegisteredCallback()); }))
            .Logs({Info("BluetoothTev: RegisterScanner id=2")})
            .Calls({"register_cb(2, 0)"})
            .CallbacksOn(CallerThread()),
        Row("unregister_scanner")
            .Act(Does([] { scanner()->Unregister(3); }))
            .Logs({Info("BluetoothTev: Unregister scanner id=3")}),
        Row("every_start_and_stop_reaches_the_host")
            .Arrange(HostExpects([](Mock& m) {
              InSequence order;
              EXPECT_CALL(m, StartLEScan()).Times(2);
              EXPECT_CALL(m, StopLEScan());
            }))
            .Act(Does([] {
              scanner()->Scan(true);
              scanner()->Scan(true);
              scanner()->Scan(false);
            }))
            .Logs({Info("BluetoothTev: Scan start=1"), Info("BluetoothTev: startLEScan start=1"),
                   Info("BluetoothTev: Scan start=1"), Info("BluetoothTev: startLEScan start=1"),
                   Info("BluetoothTev: Scan start=0"), Info("BluetoothTev: startLEScan start=0")}),
        Row("scan_filter_param_setup")
            .Act(Does([] {
              scanner()->ScanFilterParamSetup(
                  1, 2, 0, nullptr,
                  scannerAnswer<uint8_t, uint8_t, uint8_t>(
                      "filter_param_setup_cb", {"avbl_space", "action_type", "status"}));
            }))
            .Calls({"filter_param_setup_cb(0, 2, 0)"})
            .CallbacksOn(CallerThread()),
        Row("scan_filter_add_and_clear")
            .Act(Does([] {
              scanner()->ScanFilterAdd(0, {}, filterConfigAnswer());
              scanner()->ScanFilterClear(0, filterConfigAnswer());
            }))
            .Calls({"filter_config_cb(0, 0, 0, 0)", "filter_config_cb(0, 0, 0, 0)"})
            .CallbacksOn(CallerThread()),
        Row("scan_filter_enable")
            .Act(Does([] {
              scanner()->ScanFilterEnable(true, ScanFilterEnableCallback());
              scanner()->ScanFilterEnable(false, ScanFilterEnableCallback());
            }))
            .Calls({"filter_enable_cb(1, 0)", "filter_enable_cb(0, 0)"})
            .CallbacksOn(CallerThread()),
        Row("scan_and_batch_parameters")
            .Act(Does([] {
              scanner()->SetScanParameters(1, 16, 16, ScannerStatusCallback("set_parameters_cb"));
              scanner()->BatchscanConfigStorage(1, 0, 0, 0, ScannerStatusCallback("storage_cb"));
              scanner()->BatchscanEnable(0, 16, 16, 0, 0, ScannerStatusCallback("enable_cb"));
              scanner()->BatchscanDisable(ScannerStatusCallback("disable_cb"));
            }))
            .Calls({"set_parameters_cb(0)", "storage_cb(0)", "enable_cb(0)", "disable_cb(0)"})
            .CallbacksOn(CallerThread()),
        Row("scanner_calls_that_do_nothing").Act(Does([] {
          scanner()->BatchscanReadReports(1, 0);
          scanner()->StartSync(0, kDevice, 0, 100, 1);
          scanner()->StopSync(1);
          scanner()->CancelCreateSync(0, kDevice);
          scanner()->TransferSync(kDevice, 0, 1, 0);
          scanner()->TransferSetInfo(kDevice, 0, 1, 0);
          scanner()->SyncTxParameters(kDevice, 0, 0, 100, 1);
          scanner()->RegisterCallbacks(nullptr);
        })),
        Row("advertiser_never_answers").Act(Does([] {
          BleAdvertiserInterface* advertiser = GattTable()->advertiser;
          advertiser->RegisterAdvertiser(scannerAnswer<uint8_t, uint8_t>(
              "advertiser_registered_cb", {"advertiser_id", "status"}));
          auto status = scannerAnswer<uint8_t>("advertiser_status_cb", {"status"});
          advertiser->SetData(1, false, {0x02, 0x01, 0x06}, status);
          advertiser->Enable(1, true, status, 0, 0, status);
          advertiser->Unregister(1);
        })),
        Row("device_found")
            .Act(HostSends(found(kDevice, -60, {0x02, 0x01, 0x06})))
            .Calls({CallText("scan_result_cb", 19, 0, kA, 1, 0, 255, 127, -60, 0, "020106", kA)}),
        Row("device_found_with_an_rssi_beyond_8_bits")
            .Act(HostSends(found(kOther, 200, {})))
            .Calls({CallText("scan_result_cb", 19, 0, kB, 1, 0, 255, 127, -56, 0, "", kB)}),
        Row("device_found_without_its_slot")
            .Arrange([](LibraryHarness& h) { h.stack().scanner().scan_result_cb = nullptr; })
            .Act(HostSends(found(kDevice, -60, {0x02}))),
        Row("device_found_without_a_scanner_table")
            .Prepare(gattCleanup)
            .Act(HostSends(found(kDevice, -60, {0x02})))),
    ContractRowName());

}  // namespace
}  // namespace testing
}  // namespace tev
