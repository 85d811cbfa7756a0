// The per-device GATT database cache: how elements are linked to their service and
// characteristic, the life of a device's list, and its use from several threads at once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <tuple>

#include "base/bind.h"
#include "base/strings/stringprintf.h"
#include "library_harness.h"
#include "tev/testing/event.h"

namespace tev {
namespace testing {
namespace {

using ::testing::ElementsAre;
using Instance = tev::mojom::BluetoothInstance;

const RawAddress kA({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});

// type, handle, 16-bit uuid, start, end, properties.
using Attr = std::tuple<int, uint16_t, uint16_t, uint16_t, uint16_t, uint8_t>;

tev::mojom::BluetoothAddressPtr mojo(const RawAddress& addr) {
  return BluetoothTevService::toMojoAddress(addr);
}

void fireConnection(LibraryHarness& h, const RawAddress& addr, bool connected) {
  h.host().Fire([=](Instance* i) { i->OnLEConnectionStateChange(mojo(addr), connected); });
}

void fireDb(LibraryHarness& h, const RawAddress& addr, std::vector<Attr> attrs) {
  h.host().Fire([=](Instance* i) {
    std::vector<tev::mojom::BluetoothGattDBElementPtr> db;
    for (const auto& [type, handle, uuid16, start, end, properties] : attrs) {
      db.push_back(tev::mojom::BluetoothGattDBElement::New(
          0x7f, bluetooth::Uuid::From16Bit(uuid16),
          static_cast<tev::mojom::BluetoothGattDBAttributeType>(type), handle, start, end,
          properties));
    }
    i->OnGetGattDB(mojo(addr), std::move(db));
  });
}

// Started and connected to kA as connection 1, with only what follows to be recorded.
void startConnected(LibraryHarness& h) {
  h.Start();
  fireConnection(h, kA, true);
  h.stack().WaitFor("open_cb");
  h.stack().Clear();
}

// Read on the IPC thread, which runs every writer of the cache in these tests.
std::string linksAt(LibraryHarness& h, const RawAddress& addr, uint16_t handle) {
  return h.RunOnIpc([&h, addr, handle]() -> std::string {
    const BluetoothTevService::GattDbEntry* e = h.service()->lookupGattEntry(addr, handle);
    if (!e) return "absent";
    return base::StringPrintf("type=%d svc=%u char=%u primary=%d uuid=%s", e->type,
                              e->serviceHandle, e->charHandle, e->isPrimary ? 1 : 0,
                              e->uuid.ToString().substr(4, 4).c_str());
  });
}

// The text RecordingStack gives an element: the id is the handle.
std::string element(const Attr& a) {
  const auto& [type, handle, uuid16, start, end, properties] = a;
  return base::StringPrintf("{%u %d %u %u %u %u %s}", handle, type, handle, start, end, properties,
                            bluetooth::Uuid::From16Bit(uuid16).ToString().c_str());
}

TEST(GattDbCacheTest, CursorsLinkEachElementToWhatTheHostListedBeforeIt) {
  LibraryHarness h;
  startConnected(h);
  fireDb(h, kA,
         {{4, 1, 0x2901, 0, 0, 0},     // descriptor before any characteristic or service
          {3, 2, 0x2a00, 0, 0, 0},     // characteristic before any service
          {0, 10, 0x1800, 0, 0, 0},    // primary service
          {3, 11, 0x2a01, 0, 0, 0},    //   characteristic
          {4, 12, 0x2902, 0, 0, 0},    //     descriptor
          {2, 13, 0x1801, 0, 0, 0},    //   included service
          {1, 20, 0x1802, 0, 0, 0},    // secondary service: the characteristic is forgotten
          {4, 21, 0x2903, 0, 0, 0},    //   descriptor with no characteristic
          {7, 22, 0x9999, 0, 0, 0},    // a type unknown here
          {4, 23, 0x2904, 0, 0, 0},    //   the cursors survive it
          {3, 11, 0x2aff, 0, 0, 0}});  // a second element with handle 11
  h.stack().WaitFor("get_gatt_db_cb");
  EXPECT_EQ(linksAt(h, kA, 1), "type=4 svc=0 char=0 primary=0 uuid=2901");
  EXPECT_EQ(linksAt(h, kA, 2), "type=3 svc=0 char=2 primary=0 uuid=2a00");
  EXPECT_EQ(linksAt(h, kA, 10), "type=0 svc=10 char=0 primary=1 uuid=1800");
  EXPECT_EQ(linksAt(h, kA, 11), "type=3 svc=10 char=11 primary=0 uuid=2a01");
  EXPECT_EQ(linksAt(h, kA, 12), "type=4 svc=10 char=11 primary=0 uuid=2902");
  EXPECT_EQ(linksAt(h, kA, 13), "type=2 svc=10 char=0 primary=0 uuid=1801");
  EXPECT_EQ(linksAt(h, kA, 20), "type=1 svc=20 char=0 primary=0 uuid=1802");
  EXPECT_EQ(linksAt(h, kA, 21), "type=4 svc=20 char=0 primary=0 uuid=2903");
  EXPECT_EQ(linksAt(h, kA, 22), "type=7 svc=0 char=0 primary=0 uuid=9999");
  EXPECT_EQ(linksAt(h, kA, 23), "type=4 svc=20 char=0 primary=0 uuid=2904");
  EXPECT_EQ(linksAt(h, kA, 24), "absent");
}

TEST(GattDbCacheTest, ANewDatabaseReplacesTheListAndEachCallbackKeepsItsOwnArray) {
  const std::vector<Attr> first = {{0, 1, 0x1800, 1, 3, 0}, {3, 2, 0x2a00, 2, 2, 0x02}};
  const std::vector<Attr> second = {{0, 5, 0x180f, 5, 5, 0}};
  LibraryHarness h;
  startConnected(h);
  // Hold the callback thread so that every array is read after the cache has moved on.
  Event release;
  h.service()->postToCallback(base::BindOnce([](Event* release) { release->Wait(); }, &release));
  fireDb(h, kA, first);
  fireDb(h, kA, second);
  h.host().FlushHost();
  h.FlushIpc();
  EXPECT_EQ(linksAt(h, kA, 1), "absent");
  EXPECT_EQ(linksAt(h, kA, 5), "type=0 svc=5 char=0 primary=1 uuid=180f");
  EXPECT_EQ(h.gatt()->client->refresh(1, kA), BT_STATUS_SUCCESS);
  EXPECT_EQ(linksAt(h, kA, 5), "absent");
  fireDb(h, kA, {});
  fireConnection(h, kA, false);
  h.host().FlushHost();
  h.FlushIpc();
  release.Signal();
  h.FlushCallbacks();
  EXPECT_THAT(
      h.stack().Calls("get_gatt_db_cb"),
      ElementsAre("get_gatt_db_cb(1, 2, [" + element(first[0]) + ", " + element(first[1]) + "])",
                  "get_gatt_db_cb(1, 1, [" + element(second[0]) + "])",
                  "get_gatt_db_cb(1, 0, [])"));
}

// The list moves to the new address, then the old address's entry goes: onto the same address,
// nothing is left, while the connection keeps its id.
TEST(GattDbCacheTest, AnAddressChangeOntoTheSameAddressDropsTheList) {
  LibraryHarness h;
  startConnected(h);
  fireDb(h, kA, {{0, 1, 0x1800, 0, 0, 0}});
  h.host().Fire([](Instance* i) { i->OnLEDeviceAddressChange(mojo(kA), mojo(kA)); });
  h.Settle();
  EXPECT_EQ(linksAt(h, kA, 1), "absent");
  EXPECT_EQ(h.gatt()->client->search_service(1, nullptr), BT_STATUS_SUCCESS);
}

// Meant for the thread sanitizer: stack threads reach the cache and the registries while the
// host keeps replacing the device's list on the IPC thread.
TEST(GattDbCacheThreadTest, StackThreadsUseTheRegistriesWhileTheHostReplacesTheDatabase) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 40;
  LibraryHarness h;
  EXPECT_CALL(h.mock(), SearchService(AddressIs(kA))).Times(kThreads * kRounds);
  EXPECT_CALL(h.mock(), GetGattDB(AddressIs(kA))).Times(kThreads * kRounds);
  startConnected(h);
  const btgatt_client_interface_t* client = h.gatt()->client;
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&h, client, t, &failures] {
      for (uint16_t round = 0; round < kRounds; ++round) {
        // The replacement reaches the IPC thread after the posts below, so the refresh that
        // ends the round is ordered with it by nothing but mGattMutex.
        fireDb(h, kA, {{0, 1, 0x1800, 0, 0, 0}, {3, uint16_t(2 + round), 0x2a00, 0, 0, 0}});
        if (client->search_service(1, nullptr) != BT_STATUS_SUCCESS) ++failures;
        if (client->get_gatt_db(1) != BT_STATUS_SUCCESS) ++failures;
        if (client->connect(10 + t, kA, true, BT_TRANSPORT_LE, false, 1) != 0) ++failures;
        if (client->refresh(1, kA) != BT_STATUS_SUCCESS) ++failures;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  h.stack().WaitFor("get_gatt_db_cb", kThreads * kRounds);
  fireConnection(h, kA, false);
  CallbackRecord closed = h.stack().WaitFor("close_cb");
  h.Settle();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(h.stack().Count("get_gatt_db_cb"), static_cast<size_t>(kThreads * kRounds));
  EXPECT_THAT(closed.args, ::testing::MatchesRegex("1, 0, 1[0-3], 00:11:22:33:44:55"));
}

}  // namespace
}  // namespace testing
}  // namespace tev
