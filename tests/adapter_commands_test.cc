// Adapter commands driven through the entry table: what reaches the host, in which order, what
// the stack gets back, and what happens while the host is not there.
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
using ::testing::Truly;
using tev::mojom::BluetoothAdapterState;
using tev::mojom::BluetoothPropertyPtr;
using tev::mojom::BluetoothPropertyType;

const RawAddress kDevice({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});

template <typename T>
bt_property_t propertyOf(bt_property_type_t type, T* value, int len = sizeof(T)) {
  return bt_property_t{type, len, value};
}

std::vector<std::string> errors(const LogCapture& logs) {
  std::vector<std::string> lines;
  for (const LogLine& line : logs.Lines()) {
    if (line.severity == logging::LOG_ERROR) lines.push_back(line.message);
  }
  return lines;
}

TEST(AdapterCommandsTest, HostCallsArriveInCommandOrderAndRejectedCommandsPostNothing) {
  LibraryHarness h;
  {
    InSequence order;
    for (int type : {1, 2, 3, 4, 5, 7, 8, 13, 9}) {
      EXPECT_CALL(h.mock(), GetAdapterProperty(static_cast<BluetoothPropertyType>(type)));
    }
    EXPECT_CALL(h.mock(), SetAdapterProperty(Truly([](const BluetoothPropertyPtr& p) {
                  return p->is_bdname() && p->get_bdname() == "abc";
                })));
    EXPECT_CALL(h.mock(), SetAdapterProperty(Truly([](const BluetoothPropertyPtr& p) {
                  return p->is_adapter_scan_mode() &&
                         p->get_adapter_scan_mode() ==
                             tev::mojom::BluetoothScanMode::CONNECTABLE_DISCOVERABLE;
                })));
    EXPECT_CALL(h.mock(), SetAdapterProperty(Truly([](const BluetoothPropertyPtr& p) {
                  return p->is_discovery_timeout() && p->get_discovery_timeout() == 120u;
                })));
    EXPECT_CALL(h.mock(), StartDiscovery());
    EXPECT_CALL(h.mock(), CreateBond(AddressIs(kDevice), 2));
    EXPECT_CALL(h.mock(), RemoveBond(AddressIs(kDevice)));
    EXPECT_CALL(h.mock(), CancelBond(AddressIs(kDevice)));
    EXPECT_CALL(h.mock(), CancelDiscovery());
  }
  h.Start();
  const bt_interface_t* bt = h.bt();
  EXPECT_EQ(bt->get_adapter_properties(), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->get_adapter_property(BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT), BT_STATUS_SUCCESS);

  // The name is read up to its NUL whatever len says.
  char name[] = "abc\0garbage";
  int32_t scanMode = BT_SCAN_MODE_CONNECTABLE_DISCOVERABLE;
  uint32_t timeout = 120;
  RawAddress address = kDevice;
  bt_property_t unsupported = propertyOf(BT_PROPERTY_BDADDR, &address);
  bt_property_t nameWithoutValue = propertyOf<char>(BT_PROPERTY_BDNAME, nullptr, 0);
  bt_property_t shortScanMode = propertyOf(BT_PROPERTY_ADAPTER_SCAN_MODE, &scanMode, 2);
  bt_property_t nameProperty = propertyOf(BT_PROPERTY_BDNAME, name, 10);
  bt_property_t scanProperty = propertyOf(BT_PROPERTY_ADAPTER_SCAN_MODE, &scanMode);
  bt_property_t timeoutProperty = propertyOf(BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT, &timeout);
  EXPECT_EQ(bt->set_adapter_property(nullptr), BT_STATUS_PARM_INVALID);
  EXPECT_EQ(bt->set_adapter_property(&unsupported), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt->set_adapter_property(&nameWithoutValue), BT_STATUS_PARM_INVALID);
  EXPECT_EQ(bt->set_adapter_property(&shortScanMode), BT_STATUS_PARM_INVALID);
  EXPECT_EQ(bt->set_adapter_property(&nameProperty), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->set_adapter_property(&scanProperty), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->set_adapter_property(&timeoutProperty), BT_STATUS_SUCCESS);

  EXPECT_EQ(bt->start_discovery(), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->create_bond(nullptr, BT_TRANSPORT_LE), BT_STATUS_PARM_INVALID);
  EXPECT_EQ(bt->remove_bond(nullptr), BT_STATUS_PARM_INVALID);
  EXPECT_EQ(bt->cancel_bond(nullptr), BT_STATUS_PARM_INVALID);
  EXPECT_EQ(bt->create_bond(&kDevice, BT_TRANSPORT_LE), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->remove_bond(&kDevice), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->cancel_bond(&kDevice), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->cancel_discovery(), BT_STATUS_SUCCESS);
  h.Settle();

  EXPECT_TRUE(h.logs().Contains(logging::LOG_WARNING,
                                "BluetoothTev: setAdapterProperty unsupported type=2"));
  EXPECT_EQ(h.logs().Count("BluetoothTev: createBond"), 1u);
  EXPECT_TRUE(h.logs().Contains(logging::LOG_INFO,
                                "BluetoothTev: createBond 00:11:22:33:44:55 transport=2"));
  EXPECT_TRUE(errors(h.logs()).empty());
}

TEST(AdapterCommandsTest, BeforeTheHostConnectsCommandsSucceedAndAreDroppedOnTheIpcThread) {
  HostDouble::Options host;
  host.autoInit = false;
  LibraryHarness h(LibraryHarness::Options{host, false});
  h.Start();
  // While the IPC thread is held, a line already logged can only come from the calling thread.
  Event release;
  h.IpcTaskRunner()->PostTask(FROM_HERE,
                              base::BindOnce([](Event* gate) { gate->Wait(); }, &release));
  const bt_interface_t* bt = h.bt();
  uint32_t timeout = 30;
  bt_property_t timeoutProperty = propertyOf(BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT, &timeout);
  EXPECT_EQ(bt->enable(), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->disable(), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->get_adapter_properties(), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->get_adapter_property(BT_PROPERTY_BDNAME), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->set_adapter_property(&timeoutProperty), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->start_discovery(), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt->create_bond(&kDevice, BT_TRANSPORT_AUTO), BT_STATUS_SUCCESS);
  EXPECT_FALSE(h.logs().Contains("host not ready"));

  release.Signal();
  h.Settle();
  std::vector<std::string> expected = {"BluetoothTev: enable - host not ready",
                                       "BluetoothTev: disable - host not ready"};
  expected.insert(expected.end(), 9, "BluetoothTev: getAdapterProperty - host not ready");
  EXPECT_EQ(errors(h.logs()), expected);
  EXPECT_EQ(h.stack().Count("adapter_state_changed_cb"), 0u);
}

}  // namespace
}  // namespace testing
}  // namespace tev
