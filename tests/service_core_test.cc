// The service core: entry table answers, the bridge bootstrap and host connection lifecycle,
// and the threads callbacks arrive on.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "base/bind.h"
#include "library_harness.h"
#include "tev/testing/event.h"
#include "tev/testing/run_on.h"
#include "tev/testing/thread_name.h"
#include "tevbridge/MojoProcessSupport.h"

namespace tev {
namespace testing {
namespace {

using ::testing::ElementsAre;

TEST(EntryTableTest, FixedAnswersOfTheSlotsThatAreNotBridged) {
  const bt_interface_t& bt = bluetoothInterface;
  EXPECT_EQ(bt.size, 328u);
  RawAddress address({0x01, 0x02, 0x03, 0x0a, 0x0b, 0x0c});
  EXPECT_EQ(bt.set_remote_device_property(&address, nullptr), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt.get_remote_service_record(address, bluetooth::Uuid()), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt.get_remote_services(&address, BT_TRANSPORT_LE), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt.create_bond_out_of_band(&address, 0, nullptr, nullptr), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt.dut_mode_configure(1), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt.dut_mode_send(0, nullptr, 0), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt.le_test_mode(0, nullptr, 0), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt.read_energy_info(), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt.set_os_callouts(nullptr), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt.config_clear(), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt.get_avrcp_service(), nullptr);
  EXPECT_EQ(bt.get_metric_id(address), 0);
  EXPECT_EQ(bt.obfuscate_address(address), "01:02:03:0a:0b:0c");
  bt.interop_database_clear();
  bt.interop_database_add(0, &address, 6);
  EXPECT_EQ(bt.set_dynamic_audio_buffer_size, nullptr);
  EXPECT_EQ(bt.generate_local_oob_data, nullptr);
  EXPECT_EQ(bt.allow_low_latency_audio, nullptr);
  EXPECT_EQ(bt.clear_event_filter, nullptr);
  EXPECT_EQ(bt.metadata_changed, nullptr);
}

TEST(EntryTableTest, DumpWritesItsOneLineAndMetricsAreEmpty) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  bluetoothInterface.dump(fds[1], nullptr);
  close(fds[1]);
  char text[128] = {};
  ASSERT_GT(read(fds[0], text, sizeof(text) - 1), 0);
  close(fds[0]);
  EXPECT_STREQ(text, "BluetoothTev: Mojo bridge to Quarne OS\n");

  bluetoothInterface.dumpMetrics(nullptr);
  std::string metrics = "left over";
  bluetoothInterface.dumpMetrics(&metrics);
  EXPECT_EQ(metrics, "");
}

TEST(EntryTableTest, OnlyTheGattProfileIsHandedOut) {
  LogCapture logs;
  const auto* gatt = static_cast<const btgatt_interface_t*>(
      bluetoothInterface.get_profile_interface(BT_PROFILE_GATT_ID));
  ASSERT_NE(gatt, nullptr);
  EXPECT_EQ(gatt->size, 56u);
  EXPECT_EQ(bluetoothInterface.get_profile_interface("gatt"), gatt);
  EXPECT_NE(gatt->client, nullptr);
  EXPECT_NE(gatt->server, nullptr);
  EXPECT_NE(gatt->scanner, nullptr);
  EXPECT_NE(gatt->advertiser, nullptr);

  EXPECT_EQ(bluetoothInterface.get_profile_interface("GATT"), nullptr);
  EXPECT_EQ(bluetoothInterface.get_profile_interface(BT_PROFILE_HANDSFREE_ID), nullptr);
  EXPECT_THAT(logs.Messages(), ElementsAre("BluetoothTev: getProfileInterface(gatt)",
                                           "BluetoothTev: getProfileInterface(gatt)",
                                           "BluetoothTev: getProfileInterface(GATT)",
                                           "BluetoothTev: profile GATT not supported",
                                           "BluetoothTev: getProfileInterface(handsfree)",
                                           "BluetoothTev: profile handsfree not supported"));
  logs.Clear();
  EXPECT_EQ(bluetoothInterface.get_profile_interface(nullptr), nullptr);
  EXPECT_TRUE(logs.Lines().empty());
}

TEST(ServiceTest, ConcurrentFirstCallsMakeOneInstance) {
  BluetoothTevService* seen[2] = {};
  std::thread first([&] { seen[0] = BluetoothTevService::GetInstance(); });
  std::thread second([&] { seen[1] = BluetoothTevService::GetInstance(); });
  first.join();
  second.join();
  EXPECT_NE(seen[0], nullptr);
  EXPECT_EQ(seen[0], seen[1]);
}

TEST(ServiceTest, BeforeInitTasksForTheHostAreDroppedAndCallbacksRunInline) {
  LogCapture logs;
  BluetoothTevService* service = BluetoothTevService::GetInstance();
  auto held = std::make_shared<int>(0);
  std::weak_ptr<int> watch = held;
  service->postToMojo(base::BindOnce([](std::shared_ptr<int>) { ADD_FAILURE(); }, std::move(held)));
  EXPECT_TRUE(watch.expired()) << "the dropped task must be destroyed";
  EXPECT_TRUE(logs.Contains(logging::LOG_ERROR, "BluetoothTev: Mojo not available"));

  bool ran = false;
  service->postToCallback(base::BindOnce([](bool* ran) { *ran = true; }, &ran));
  EXPECT_TRUE(ran);
}

TEST(ServiceTest, WithoutIpcEveryHostTaskIsDroppedWithItsErrorLine) {
  MojoProcessSupport::SetIpcAvailableForTesting(false);
  LibraryHarness harness(LibraryHarness::Options{{20, true}, false});
  BluetoothTevService* service = harness.service();
  EXPECT_EQ(
      harness.bt()->init(harness.stack().callbacks(), false, false, 0, nullptr, false, nullptr),
      BT_STATUS_SUCCESS);
  service->postToMojo(base::BindOnce([] { ADD_FAILURE(); }));
  EXPECT_GE(harness.logs().Count("BluetoothTev: Mojo not available"), 1u);
  harness.bt()->cleanup();
  MojoProcessSupport::SetIpcAvailableForTesting(true);
}

TEST(LifecycleTest, CleanupDisassociatesLastOnTheCallbackThreadThenRunsCallbacksInline) {
  LibraryHarness harness(LibraryHarness::Options{{}, false});
  harness.Start();
  // Queued before cleanup: must be delivered before the disassociation.
  harness.service()->postToCallback(
      base::BindOnce([](RecordingStack* stack) { stack->Record("queued", ""); }, &harness.stack()));
  harness.bt()->cleanup();
  std::vector<CallbackRecord> records = harness.stack().Records();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].text(), "thread_evt_cb(0)");
  EXPECT_EQ(records[1].text(), "queued()");
  EXPECT_EQ(records[2].text(), "thread_evt_cb(1)");
  EXPECT_EQ(records[2].thread, "bt_tev_callback");

  std::string ranOn;
  harness.service()->postToCallback(
      base::BindOnce([](std::string* ranOn) { *ranOn = CurrentThreadName(); }, &ranOn));
  EXPECT_EQ(ranOn, CurrentThreadName());
  EXPECT_EQ(harness.service()->callbacks(), nullptr);
  harness.bt()->init(harness.stack().callbacks(), false, false, 0, nullptr, false, nullptr);
}

TEST(LifecycleTest, CleanupWithoutAThreadEventSlotStillStopsTheThread) {
  LibraryHarness harness(LibraryHarness::Options{{}, false});
  harness.stack().callbacks()->thread_evt_cb = nullptr;
  harness.Start();
  harness.bt()->cleanup();
  EXPECT_EQ(harness.stack().Count("thread_evt_cb"), 0u);
  std::string ranOn;
  harness.service()->postToCallback(
      base::BindOnce([](std::string* ranOn) { *ranOn = CurrentThreadName(); }, &ranOn));
  EXPECT_EQ(ranOn, CurrentThreadName());
  harness.bt()->init(harness.stack().callbacks(), false, false, 0, nullptr, false, nullptr);
}

TEST(LifecycleTest, LosingTheHostPipeResetsTheHostUntilInitComesAgain) {
  LibraryHarness harness;
  harness.Start();
  harness.host().SeverHostPipe();
  ASSERT_TRUE(harness.logs().WaitFor("BluetoothTev: BluetoothHost connection lost"));
  EXPECT_TRUE(
      harness.logs().Contains(logging::LOG_WARNING, "BluetoothTev: BluetoothHost connection lost"));
  harness.FlushIpc();
  EXPECT_FALSE(harness.RunOnIpc([&] { return harness.service()->host().is_bound(); }));

  harness.host().CallInit();
  harness.Settle();
  EXPECT_EQ(harness.logs().Count("BluetoothTev: Init - BluetoothHost connected"), 2u);
  EXPECT_TRUE(harness.RunOnIpc([&] { return harness.service()->host().is_bound(); }));
}

TEST(LifecycleTest, LosingTheInstancePipeResetsTheHost) {
  LibraryHarness harness;
  harness.Start();
  harness.host().SeverInstancePipe();
  ASSERT_TRUE(harness.logs().WaitFor("BluetoothTev: Mojo binding lost"));
  EXPECT_TRUE(harness.logs().Contains(logging::LOG_WARNING, "BluetoothTev: Mojo binding lost"));
  harness.FlushIpc();
  EXPECT_FALSE(harness.RunOnIpc([&] { return harness.service()->host().is_bound(); }));
}

TEST(LifecycleTest, InitializeTwiceReplacesTheThreadAndBootstrapsAgain) {
  LibraryHarness harness;
  harness.Start();
  harness.stack().WaitFor("thread_evt_cb");
  ASSERT_EQ(
      harness.bt()->init(harness.stack().callbacks(), false, false, 0, nullptr, false, nullptr),
      BT_STATUS_SUCCESS);
  CallbackRecord second = harness.stack().WaitFor("thread_evt_cb", 2);
  EXPECT_EQ(second.text(), "thread_evt_cb(0)");
  EXPECT_EQ(second.thread, "bt_tev_callback");
  ASSERT_TRUE(harness.logs().WaitFor("BluetoothTev: registered BluetoothInstance"));
  harness.Settle();
  EXPECT_EQ(harness.logs().Count("BluetoothTev: TEV bridge ready"), 2u);
  EXPECT_EQ(harness.logs().Count("BluetoothTev: Init - BluetoothHost connected"), 2u);
}

TEST(LifecycleTest, CleanupThenInitConnectsAgain) {
  LibraryHarness harness;
  harness.Start();
  harness.bt()->cleanup();
  harness.FlushIpc();
  EXPECT_FALSE(harness.RunOnIpc([&] { return harness.service()->host().is_bound(); }));
  ASSERT_EQ(
      harness.bt()->init(harness.stack().callbacks(), false, false, 0, nullptr, false, nullptr),
      BT_STATUS_SUCCESS);
  harness.Settle();
  EXPECT_TRUE(harness.RunOnIpc([&] { return harness.service()->host().is_bound(); }));
}

// A GATT table the recording stack does not own, to tell two installed tables apart.
std::atomic<int> secondTableNotifications{0};
const btgatt_client_callbacks_t kSecondClientTable = [] {
  btgatt_client_callbacks_t table{};
  table.notify_cb = [](int, const btgatt_notify_params_t&) { ++secondTableNotifications; };
  return table;
}();

// Holds the callback thread until released, so that callbacks queue behind it.
class CallbackThreadGate {
 public:
  explicit CallbackThreadGate(LibraryHarness& h) {
    h.service()->postToCallback(base::BindOnce([](Event* gate) { gate->Wait(); }, &release_));
  }
  ~CallbackThreadGate() { Release(); }
  void Release() { release_.Signal(); }

 private:
  Event release_;
};

const RawAddress kPeer({0xc0, 0xff, 0xee, 0x00, 0x00, 0x01});

// Every event the host sent so far has been handled on the IPC thread: its callbacks are built.
void hostSends(LibraryHarness& h, std::function<void(tev::mojom::BluetoothInstance*)> event) {
  h.host().Fire(std::move(event));
  h.host().FlushHost();
  h.FlushIpc();
}

void notifyFromPeer(tev::mojom::BluetoothInstance* instance) {
  auto charId = tev::mojom::BluetoothGattID::New(bluetooth::Uuid::From16Bit(0x2a37), 3, 3);
  auto serviceId = tev::mojom::BluetoothGattServiceID::New(
      tev::mojom::BluetoothGattID::New(bluetooth::Uuid::From16Bit(0x180d), 1, 1), true);
  instance->OnGattNotify(BluetoothTevService::toMojoAddress(kPeer), std::move(serviceId),
                         std::move(charId), true, {0x01});
}

TEST(CallbackDeliveryTest, CallbacksQueuedBeforeCleanupGattArriveBeforeCleanupReturns) {
  LibraryHarness h;
  h.Start();
  hostSends(h, [](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEConnectionStateChange(BluetoothTevService::toMojoAddress(kPeer), true);
  });
  h.stack().WaitFor("connection_cb");
  h.stack().Clear();

  CallbackThreadGate gate(h);
  hostSends(h, notifyFromPeer);
  hostSends(h, [](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEConnectionStateChange(BluetoothTevService::toMojoAddress(kPeer), false);
  });
  h.gatt()->cleanup();
  EXPECT_TRUE(h.stack().Records().empty());
  gate.Release();
  h.bt()->cleanup();

  EXPECT_THAT(h.stack().Calls(),
              ElementsAre("notify_cb(1, c0:ff:ee:00:00:01, 3, 1, 1, 01)",
                          "close_cb(1, 0, 1, c0:ff:ee:00:00:01)",
                          "connection_cb(1, 1, 0, c0:ff:ee:00:00:01)", "thread_evt_cb(1)"));
  for (const CallbackRecord& record : h.stack().Records()) {
    EXPECT_EQ(record.thread, "bt_tev_callback") << record.text();
  }
}

TEST(CallbackDeliveryTest, ACallbackReachesTheTableItWasBuiltForAfterAnotherIsInstalled) {
  LibraryHarness h;
  h.Start();
  hostSends(h, [](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEConnectionStateChange(BluetoothTevService::toMojoAddress(kPeer), true);
  });
  h.stack().WaitFor("connection_cb");
  h.stack().Clear();

  CallbackThreadGate gate(h);
  hostSends(h, notifyFromPeer);
  btgatt_callbacks_t second{sizeof(btgatt_callbacks_t), &kSecondClientTable, nullptr, nullptr};
  ASSERT_EQ(h.gatt()->init(&second), BT_STATUS_SUCCESS);
  hostSends(h, notifyFromPeer);
  gate.Release();
  h.FlushCallbacks();

  EXPECT_THAT(h.stack().Calls(), ElementsAre("notify_cb(1, c0:ff:ee:00:00:01, 3, 1, 1, 01)"));
  EXPECT_EQ(secondTableNotifications.load(), 1);
}

}  // namespace
}  // namespace testing
}  // namespace tev
