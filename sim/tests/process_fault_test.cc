// The host in a process of its own, killed with SIGKILL at chosen points: the library in this
// process loses both pipes, says so, calls nothing through a table once its clean-up has
// returned, and works end to end against a new host. And a guest process killed mid-session
// leaves the host serving the next guest with a clean world.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "guest_process.h"
#include "host_processes.h"
#include "raw_address.h"
#include "tev/testing/idle.h"

namespace tev {
namespace sim {
namespace {

using ::testing::HasSubstr;
using Scenario = HostProcesses::Scenario;

class ProcessFaultTest : public ::testing::Test {
 protected:
  // Kills the host and checks everything the guest owes after that.
  void KillHostAndRecover(pid_t host) {
    HostProcesses::Kill(host);
    EXPECT_TRUE(guest.logs().WaitFor("BluetoothTev: BluetoothHost connection lost"));
    EXPECT_TRUE(guest.logs().WaitFor("BluetoothTev: Mojo binding lost"));
    ASSERT_TRUE(tev::testing::WaitForIdle());
    guest.Cleanup();
    const size_t afterCleanup = guest.stack().Records().size();
    ASSERT_TRUE(tev::testing::WaitForIdle());
    EXPECT_EQ(guest.stack().Records().size(), afterCleanup) << "a callback came after the clean-ups returned";

    ASSERT_GT(processes.StartHost(Scenario::kPlain), 0);
    ASSERT_TRUE(guest.Init());
    ASSERT_TRUE(guest.Enable());
    int connId = 0;
    EXPECT_TRUE(guest.ConnectMonitor(&connId));
    guest.Cleanup();
  }

  // First, while the process has one thread.
  HostProcesses processes{"/tmp/process_fault_test." + std::to_string(getpid())};
  GuestSession guest{processes.socketPath()};
};

TEST_F(ProcessFaultTest, KilledDuringDiscovery) {
  const pid_t host = processes.StartHost(Scenario::kPlain);
  ASSERT_TRUE(guest.Init());
  ASSERT_TRUE(guest.Enable());
  ASSERT_EQ(guest.bt()->start_discovery(), BT_STATUS_SUCCESS);
  EXPECT_EQ(guest.stack().WaitFor("discovery_state_changed_cb").text(), "discovery_state_changed_cb(1)");
  guest.stack().WaitFor("device_found_cb");
  KillHostAndRecover(host);
}

TEST_F(ProcessFaultTest, KilledInTheMiddleOfAServicePublication) {
  const pid_t host = processes.StartHost(Scenario::kStuckPublication);
  ASSERT_TRUE(guest.Init());
  ASSERT_TRUE(guest.Enable());
  const btgatt_server_interface_t* server = guest.gatt()->server;
  server->register_server(bluetooth::Uuid::From16Bit(0x5151), false);
  guest.stack().WaitFor("register_server_cb");
  btgatt_db_element_t service[2] = {};
  service[0].uuid = bluetooth::Uuid::From16Bit(0xfeed);
  service[0].type = BTGATT_DB_PRIMARY_SERVICE;
  service[1].uuid = bluetooth::Uuid::From16Bit(0xbeef);
  service[1].type = BTGATT_DB_CHARACTERISTIC;
  service[1].properties = 0x02;
  ASSERT_EQ(server->add_service(1, service, 2), BT_STATUS_SUCCESS);
  KillHostAndRecover(host);
}

TEST_F(ProcessFaultTest, KilledWithReadRepliesAndServerTransactionsPending) {
  const pid_t host = processes.StartHost(Scenario::kSilentGattReplies);
  ASSERT_TRUE(guest.Init());
  ASSERT_TRUE(guest.Enable());
  int connId = 0;
  ASSERT_TRUE(guest.ConnectMonitor(&connId));
  ASSERT_EQ(guest.gatt()->client->read_characteristic(connId, 4, 0), BT_STATUS_SUCCESS);
  // The world's remote central comes to the published service and reads it; nobody answers.
  ASSERT_GT(guest.PublishService(), 0);
  guest.stack().WaitFor("request_read_characteristic_cb");
  EXPECT_EQ(guest.stack().Count("read_characteristic_cb"), 0u);
  KillHostAndRecover(host);
}

TEST_F(ProcessFaultTest, KilledDuringNotificationsAtFullRate) {
  const pid_t host = processes.StartHost(Scenario::kNotificationFlood);
  ASSERT_TRUE(guest.Init());
  ASSERT_TRUE(guest.Enable());
  int connId = 0;
  ASSERT_TRUE(guest.ConnectMonitor(&connId));
  guest.stack().WaitFor("notify_cb", 1000);
  KillHostAndRecover(host);
}

TEST_F(ProcessFaultTest, AGuestKilledMidSessionLeavesTheNextOneACleanWorld) {
  ASSERT_GT(processes.StartHost(Scenario::kPlain), 0);
  int killedGuestsService = 0;
  const pid_t other = processes.StartGuest("Killed guest", &killedGuestsService);
  ASSERT_GT(other, 0);
  HostProcesses::Kill(other);

  ASSERT_TRUE(guest.Init());
  ASSERT_TRUE(guest.Enable());
  // The adapter's settings stay; the other guest's link, subscription, scan and service go.
  ASSERT_EQ(guest.bt()->get_adapter_property(BT_PROPERTY_BDNAME), BT_STATUS_SUCCESS);
  EXPECT_THAT(guest.stack().WaitFor("adapter_properties_cb").text(), HasSubstr("Killed guest"));
  EXPECT_EQ(guest.PublishService(), killedGuestsService) << "the killed guest's service kept its handles";
  int connId = 0;
  EXPECT_TRUE(guest.ConnectMonitor(&connId));
  ASSERT_TRUE(tev::testing::WaitForIdle());
  EXPECT_EQ(guest.stack().Count("discovery_state_changed_cb"), 0u);
  guest.Cleanup();
}

}  // namespace
}  // namespace sim
}  // namespace tev
