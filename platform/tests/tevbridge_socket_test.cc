// The bridge between processes, both ends in this one: a guest whose environment names the
// host's socket reaches the host listening there, one guest at a time, at the version the host
// offers; and the host's socket is its owner's alone.

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

#include "tev/testing/log_capture.h"
#include "tevbridge/TevBridgeSocket.h"
#include "tevbridge_test_peers.h"

namespace tev {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
using bridgepeers::TestService;
using bridgepeers::TevBridgeTest;
using tev::testing::RunOn;

class TevBridgeSocketTest : public TevBridgeTest {
 protected:
  void SetUp() override {
    TevBridgeTest::SetUp();
    // A process that had this pid before may have left its socket behind.
    unlink(mPath.c_str());
    setenv(bridge::kHostSocketVariable, mPath.c_str(), 1);
  }

  void TearDown() override {
    mListener.reset();
    unsetenv(bridge::kHostSocketVariable);
    TevBridgeTest::TearDown();
  }

  void Listen() {
    std::string error;
    bridge::HostSocket::Handlers handlers;
    handlers.guestServed = base::BindRepeating(
        [](bridgepeers::Journal* log, const std::string& guest) { log->Add("turn of " + guest); },
        base::Unretained(&mHostLog));
    handlers.guestGone = base::BindRepeating(
        [](bridgepeers::Journal* log, const std::string& guest) { log->Add("end of " + guest); },
        base::Unretained(&mHostLog));
    mListener = bridge::HostSocket::Listen(mPath, handlers, &error);
    ASSERT_TRUE(mListener) << error;
  }

  const std::string mPath = "/tmp/tevbridge_socket_test." + std::to_string(getpid());
  std::unique_ptr<bridge::HostSocket> mListener;
};

TEST_F(TevBridgeSocketTest, GuestsAreServedOneAtATimeOverTheOwnersSocket) {
  Offer(20);
  Listen();
  struct stat info;
  ASSERT_EQ(stat(mPath.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);

  android::sp<TestService> first = new TestService("first", &mServiceLog);
  mSupport->requestTevBridgeProxyAsync(first, 20);
  ASSERT_TRUE(mHostLog.WaitForEntries(2));
  EXPECT_THAT(mHostLog.Take(), UnorderedElementsAre("turn of guest 1 @tev_bridge_host", "bridge served @host"));
  ASSERT_TRUE(mServiceLog.WaitForEntries(1));
  EXPECT_THAT(mServiceLog.Take(), ElementsAre("first ready bound=1 @mojo_ipc"));

  // What the guest sends on its bridge reaches the host's binding, pipes included.
  mojom::BluetoothInstanceRequest instanceRequest;
  RunOn(ipc(), [&] {
    mojom::BluetoothInstancePtr instance;
    instanceRequest = mojo::MakeRequest(&instance);
    (*first->bridgeHost())->OnBluetoothInstanceReady(std::move(instance));
  });
  ASSERT_TRUE(mHostLog.WaitForEntries(1));
  EXPECT_THAT(mHostLog.Take(), ElementsAre("instance bound=1 @host"));

  // The process's next bridge (the stack's next init) ends the one before; the host serves it
  // once the first guest is gone.
  android::sp<TestService> second = new TestService("second", &mServiceLog);
  RunOn(ipc(), [&] { instanceRequest = nullptr; });
  mSupport->requestTevBridgeProxyAsync(second, 20);
  ASSERT_TRUE(mServiceLog.WaitForEntries(1));
  EXPECT_THAT(mServiceLog.Take(), ElementsAre("second ready bound=1 @mojo_ipc"));
  ASSERT_TRUE(mHostLog.WaitForEntries(4));
  const std::vector<std::string> entries = mHostLog.Take();
  EXPECT_THAT(entries, UnorderedElementsAre("bridge lost @host", "end of guest 1 @tev_bridge_host",
                                            "turn of guest 2 @tev_bridge_host", "bridge served @host"));
  EXPECT_LT(std::find(entries.begin(), entries.end(), "end of guest 1 @tev_bridge_host"),
            std::find(entries.begin(), entries.end(), "turn of guest 2 @tev_bridge_host"));

  RunOn(ipc(), [&] { mSupport->severBridgePipes(); });
  ASSERT_TRUE(mHostLog.WaitForEntries(2));
  EXPECT_THAT(mHostLog.Take(), UnorderedElementsAre("bridge lost @host", "end of guest 2 @tev_bridge_host"));
}

TEST_F(TevBridgeSocketTest, AnOlderHostOrNoHostIsToldToTheGuest) {
  Offer(19);
  Listen();
  android::sp<TestService> service = new TestService("bt", &mServiceLog);
  mSupport->requestTevBridgeProxyAsync(service, 20);
  ASSERT_TRUE(mServiceLog.WaitForEntries(1));
  EXPECT_THAT(mServiceLog.Take(), ElementsAre("bt mismatch 19 @mojo_ipc"));

  mListener.reset();
  tev::testing::LogCapture log;
  mSupport->requestTevBridgeProxyAsync(service, 20);
  ASSERT_TRUE(log.WaitFor("bridge request dropped"));
  EXPECT_THAT(log.Messages(),
              ElementsAre("TevBridgeSupport: cannot connect to " + mPath +
                          ": No such file or directory; bridge request dropped"));
  EXPECT_TRUE(mServiceLog.Take().empty());
  EXPECT_TRUE(mHostLog.Take().empty());
}

TEST_F(TevBridgeSocketTest, AHostListensOnlyWhereNothingElseLives) {
  std::string error;
  const bridge::HostSocket::Handlers none;
  { std::ofstream(mPath) << "not a socket"; }
  EXPECT_FALSE(bridge::HostSocket::Listen(mPath, none, &error));
  EXPECT_EQ(error, mPath + " exists and is not a socket");
  unlink(mPath.c_str());

  // A socket left by a host that died is taken over; a live host's is not.
  const int stale = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  mPath.copy(address.sun_path, sizeof(address.sun_path) - 1);
  ASSERT_EQ(bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  close(stale);
  Offer(20);
  Listen();
  EXPECT_FALSE(bridge::HostSocket::Listen(mPath, none, &error));
  EXPECT_EQ(error, "a host already listens at " + mPath);

  EXPECT_FALSE(bridge::HostSocket::Listen("/tmp/" + std::string(200, 'x'), none, &error));
  EXPECT_EQ(error.rfind("a socket path must have 1 to 107 characters", 0), 0u) << error;
}

}  // namespace
}  // namespace tev
