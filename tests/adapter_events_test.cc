// Adapter and device events from the host: the callbacks they become, the thread those arrive on,
// how long their property values live, and the events that find no callback to call.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/bind.h"
#include "library_harness.h"
#include "tev/testing/event.h"

namespace tev {
namespace testing {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::InvokeWithoutArgs;
using tev::mojom::BluetoothBondState;
using tev::mojom::BluetoothDeviceType;
using tev::mojom::BluetoothDiscoveryState;
using tev::mojom::BluetoothInstance;
using tev::mojom::BluetoothProperty;
using tev::mojom::BluetoothPropertyPtr;
using tev::mojom::BluetoothStatus;

const RawAddress kDevice({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});

tev::mojom::BluetoothAddressPtr device() { return BluetoothTevService::toMojoAddress(kDevice); }

std::vector<BluetoothPropertyPtr> phone() {
  std::vector<BluetoothPropertyPtr> properties;
  properties.push_back(BluetoothProperty::NewBdname("phone"));
  properties.push_back(BluetoothProperty::NewBdaddr(device()));
  properties.push_back(BluetoothProperty::NewRemoteRssi(-60));
  return properties;
}

// Every record but the callback thread's association, each checked to have arrived on it.
std::vector<std::string> delivered(LibraryHarness& h) {
  std::vector<std::string> calls;
  for (const CallbackRecord& record : h.stack().Records()) {
    if (record.name == "thread_evt_cb") continue;
    EXPECT_EQ(record.thread, "bt_tev_callback") << record.text();
    calls.push_back(record.text());
  }
  return calls;
}

TEST(AdapterEventsTest, PropertyValuesStayValidUntilTheBusyCallbackThreadReadsThem) {
  LibraryHarness h;
  h.Start();
  Event release;
  h.service()->postToCallback(base::BindOnce([](Event* gate) { gate->Wait(); }, &release));
  h.host().Fire([](BluetoothInstance* instance) {
    instance->OnAdapterProperties(BluetoothStatus::SUCCESS, phone());
    instance->OnAdapterProperties(BluetoothStatus::FAIL, {});
    instance->OnDeviceFound(phone());
    std::vector<BluetoothPropertyPtr> renamed;
    renamed.push_back(BluetoothProperty::NewRemoteFriendlyName("kitchen"));
    instance->OnDevicePropertiesChanged(device(), std::move(renamed));
  });
  h.host().FlushHost();
  h.FlushIpc();
  // A null record cannot cross the pipe; handed over directly it is skipped, and the callback
  // counts what was converted rather than what the host sent.
  h.RunOnIpc([&h] {
    std::vector<BluetoothPropertyPtr> properties;
    properties.push_back(nullptr);
    properties.push_back(BluetoothProperty::NewDeviceClass(0x0c));
    h.service()->OnDeviceFound(std::move(properties));
  });
  // Every event method has returned; only the callback tasks still hold the values.
  EXPECT_TRUE(delivered(h).empty());
  release.Signal();
  h.FlushCallbacks();

  const std::string props = "[1:\"phone\", 2:00:11:22:33:44:55, 11:c4]";
  EXPECT_THAT(delivered(h),
              ElementsAre("adapter_properties_cb(0, 3, " + props + ")",
                          "adapter_properties_cb(1, 0, [])", "device_found_cb(3, " + props + ")",
                          "remote_device_properties_cb(0, 00:11:22:33:44:55, 1, [10:\"kitchen\"])",
                          "device_found_cb(1, [4:0c000000])"));
  EXPECT_THAT(h.logs().Messages(),
              ::testing::IsSupersetOf({"BluetoothTev: OnAdapterProperties status=0 count=3",
                                       "BluetoothTev: OnAdapterProperties status=1 count=0",
                                       "BluetoothTev: OnDeviceFound props=3",
                                       "BluetoothTev: OnDevicePropertiesChanged",
                                       "BluetoothTev: OnDeviceFound props=2"}));
}

void fireOneOfEach(LibraryHarness& h) {
  h.host().Fire([](BluetoothInstance* instance) {
    instance->OnAdapterProperties(BluetoothStatus::SUCCESS, phone());
    instance->OnDeviceFound(phone());
    instance->OnDevicePropertiesChanged(device(), phone());
    instance->OnDiscoveryStateChanged(BluetoothDiscoveryState::STARTED);
    instance->OnBondStateChanged(BluetoothStatus::SUCCESS, device(), BluetoothBondState::BONDED);
    instance->OnConnectionStateChanged(device(), BluetoothDeviceType::BLE, true);
  });
  h.Settle();
}

TEST(AdapterEventsTest, WithoutASlotOrATableEventsAreLoggedAndDropped) {
  LibraryHarness h;
  bt_callbacks_t* table = h.stack().callbacks();
  table->adapter_state_changed_cb = nullptr;
  table->adapter_properties_cb = nullptr;
  table->device_found_cb = nullptr;
  table->remote_device_properties_cb = nullptr;
  table->discovery_state_changed_cb = nullptr;
  table->bond_state_changed_cb = nullptr;
  table->acl_state_changed_cb = nullptr;
  EXPECT_CALL(h.mock(), EnableAdapter(_)).WillRepeatedly([](const auto& reply) {
    reply.Run(tev::mojom::BluetoothAdapterState::ON);
  });
  h.Start();
  fireOneOfEach(h);
  h.bt()->enable();
  h.Settle();

  // A second init without a table; the host connects again.
  ASSERT_EQ(h.bt()->init(nullptr, false, false, 0, nullptr, false, nullptr), BT_STATUS_SUCCESS);
  h.Settle();
  ASSERT_EQ(h.logs().Count("BluetoothTev: Init - BluetoothHost connected"), 2u);
  fireOneOfEach(h);
  h.bt()->enable();
  h.Settle();

  EXPECT_TRUE(delivered(h).empty());
  for (const char* line :
       {"BluetoothTev: OnAdapterProperties status=0 count=3", "BluetoothTev: OnDeviceFound props=3",
        "BluetoothTev: OnDevicePropertiesChanged", "BluetoothTev: OnDiscoveryStateChanged state=1",
        "BluetoothTev: OnBondStateChanged status=0 state=2",
        "BluetoothTev: OnConnectionStateChanged connected=1",
        "BluetoothTev: EnableAdapter result: 1"}) {
    EXPECT_EQ(h.logs().Count(line), 2u) << line;
  }
}

TEST(AdapterEventsTest, EnableDiscoverBondDisableFlow) {
  LibraryHarness h;
  auto fire = [&h](auto event) { return InvokeWithoutArgs([&h, event] { h.host().Fire(event); }); };
  {
    InSequence order;
    EXPECT_CALL(h.mock(), EnableAdapter(_)).WillOnce([](const auto& reply) {
      reply.Run(tev::mojom::BluetoothAdapterState::ON);
    });
    EXPECT_CALL(h.mock(), StartDiscovery()).WillOnce(fire([](BluetoothInstance* instance) {
      instance->OnDiscoveryStateChanged(BluetoothDiscoveryState::STARTED);
      instance->OnDeviceFound(phone());
    }));
    EXPECT_CALL(h.mock(), CancelDiscovery()).WillOnce(fire([](BluetoothInstance* instance) {
      instance->OnDiscoveryStateChanged(BluetoothDiscoveryState::STOPPED);
    }));
    EXPECT_CALL(h.mock(), CreateBond(AddressIs(kDevice), BT_TRANSPORT_BR_EDR))
        .WillOnce(fire([](BluetoothInstance* instance) {
          instance->OnBondStateChanged(BluetoothStatus::SUCCESS, device(),
                                       BluetoothBondState::BONDING);
          instance->OnBondStateChanged(BluetoothStatus::SUCCESS, device(),
                                       BluetoothBondState::BONDED);
        }));
    EXPECT_CALL(h.mock(), DisableAdapter(_)).WillOnce([](const auto& reply) {
      reply.Run(tev::mojom::BluetoothAdapterState::OFF);
    });
  }
  h.Start();
  h.bt()->enable();
  h.stack().WaitFor("adapter_state_changed_cb");
  h.bt()->start_discovery();
  h.stack().WaitFor("device_found_cb");
  h.bt()->cancel_discovery();
  h.stack().WaitFor("discovery_state_changed_cb", 2);
  h.bt()->create_bond(&kDevice, BT_TRANSPORT_BR_EDR);
  h.stack().WaitFor("bond_state_changed_cb", 2);
  h.bt()->disable();
  h.stack().WaitFor("adapter_state_changed_cb", 2);

  EXPECT_THAT(delivered(h),
              ElementsAre("adapter_state_changed_cb(1)", "discovery_state_changed_cb(1)",
                          "device_found_cb(3, [1:\"phone\", 2:00:11:22:33:44:55, 11:c4])",
                          "discovery_state_changed_cb(0)",
                          "bond_state_changed_cb(0, 00:11:22:33:44:55, 1, 0)",
                          "bond_state_changed_cb(0, 00:11:22:33:44:55, 2, 0)",
                          "adapter_state_changed_cb(0)"));
}

}  // namespace
}  // namespace testing
}  // namespace tev
