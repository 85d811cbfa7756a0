// The bridge between guest services and the host's bridge, with the test playing the host on a
// thread of its own. Every test runs in a process of its own: the bridge registry and the IPC
// thread live for the process.

#include <atomic>

#include "base/logging.h"
#include "tev/testing/log_capture.h"
#include "tevbridge_test_peers.h"

namespace tev {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tev::testing::CurrentThreadName;
using tev::testing::Event;
using tev::testing::RunOn;
using bridgepeers::TestService;
using bridgepeers::TevBridgeTest;

TEST_F(TevBridgeTest, ReadyGivesABridgeBoundOnTheIpcThreadThatReachesTheHost) {
  Offer(20);
  android::sp<TestService> service = new TestService("bt", &mServiceLog);
  mSupport->requestTevBridgeProxyAsync(service, 20);
  Settle();
  EXPECT_THAT(mServiceLog.Take(), ElementsAre("bt ready bound=1 @mojo_ipc"));
  EXPECT_THAT(mHostLog.Take(), ElementsAre("bridge served @host"));

  mojom::BluetoothInstanceRequest instanceRequest;
  RunOn(ipc(), [&] {
    mojom::BluetoothInstancePtr instance;
    instanceRequest = mojo::MakeRequest(&instance);
    (*service->bridgeHost())->OnBluetoothInstanceReady(std::move(instance));
  });
  Settle();
  EXPECT_THAT(mHostLog.Take(), ElementsAre("instance bound=1 @host"));
}

TEST_F(TevBridgeTest, TheHostVersionDecidesBetweenReadyAndMismatch) {
  Offer(20);
  android::sp<TestService> older = new TestService("v19", &mServiceLog);
  android::sp<TestService> same = new TestService("v20", &mServiceLog);
  android::sp<TestService> newer = new TestService("v21", &mServiceLog);
  mSupport->requestTevBridgeProxyAsync(older, 19);
  mSupport->requestTevBridgeProxyAsync(same, 20);
  mSupport->requestTevBridgeProxyAsync(newer, 21);
  Settle();
  EXPECT_THAT(mServiceLog.Take(),
              ElementsAre("v19 ready bound=1 @mojo_ipc", "v20 ready bound=1 @mojo_ipc",
                          "v21 mismatch 20 @mojo_ipc"));
  // A mismatch opens no bridge.
  EXPECT_THAT(mHostLog.Take(), ElementsAre("bridge served @host", "bridge served @host"));
}

TEST_F(TevBridgeTest, RequestsWaitUntilAHostIsOffered) {
  android::sp<TestService> first = new TestService("first", &mServiceLog);
  mSupport->requestTevBridgeProxyAsync(first, 20);
  Settle();
  EXPECT_THAT(mServiceLog.Take(), IsEmpty());

  Offer(20);
  Settle();
  EXPECT_THAT(mServiceLog.Take(), ElementsAre("first ready bound=1 @mojo_ipc"));

  bridge::WithdrawTevBridgeHost();
  android::sp<TestService> second = new TestService("second", &mServiceLog);
  mSupport->requestTevBridgeProxyAsync(second, 20);
  Settle();
  EXPECT_THAT(mServiceLog.Take(), IsEmpty());
  Offer(19);
  Settle();
  EXPECT_THAT(mServiceLog.Take(), ElementsAre("second mismatch 19 @mojo_ipc"));
}

TEST_F(TevBridgeTest, AServiceReleasedBeforeItIsServedIsNeverCalled) {
  Offer(20);
  std::atomic<bool> destroyed{false};
  android::sp<TestService> service = new TestService("gone", &mServiceLog, &destroyed);

  // Held up on the IPC thread until the service is gone.
  Event released;
  ipc()->PostTask(FROM_HERE, base::BindOnce([](Event* released) { released->Wait(); }, &released));
  mSupport->requestTevBridgeProxyAsync(service, 20);
  service.clear();
  // The bridge holds the service only weakly.
  EXPECT_TRUE(destroyed);
  released.Signal();
  Settle();

  // Also while waiting for a host.
  bridge::WithdrawTevBridgeHost();
  destroyed = false;
  service = new TestService("waiting", &mServiceLog, &destroyed);
  mSupport->requestTevBridgeProxyAsync(service, 20);
  Settle();
  service.clear();
  EXPECT_TRUE(destroyed);
  Offer(20);
  Settle();

  EXPECT_THAT(mServiceLog.Take(), IsEmpty());
  EXPECT_THAT(mHostLog.Take(), IsEmpty());
}

TEST_F(TevBridgeTest, SeveringClosesTheHostsBridgeBindings) {
  Offer(20);
  android::sp<TestService> service = new TestService("bt", &mServiceLog);
  mSupport->requestTevBridgeProxyAsync(service, 20);
  Settle();
  ASSERT_THAT(mServiceLog.Take(), ElementsAre("bt ready bound=1 @mojo_ipc"));

  bridge::SeverTevBridgePipes();
  Settle();
  EXPECT_THAT(mHostLog.Take(), ElementsAre("bridge served @host", "bridge lost @host"));
  EXPECT_FALSE(RunOn(ipc(), [&] { return service->bridgeHost()->is_bound(); }));
}

TEST_F(TevBridgeTest, NoIpcThreadWhileIpcIsUnavailable) {
  tev::testing::LogCapture logs;
  Offer(20);
  MojoProcessSupport::SetIpcAvailableForTesting(false);
  EXPECT_EQ(MojoProcessSupport::GetInstance()->getThread(), nullptr);
  android::sp<TestService> service = new TestService("bt", &mServiceLog);
  mSupport->requestTevBridgeProxyAsync(service, 20);
  bridge::SeverTevBridgePipes();
  EXPECT_TRUE(logs.Contains(logging::LOG_ERROR, "no IPC thread"));

  MojoProcessSupport::SetIpcAvailableForTesting(true);
  ASSERT_NE(MojoProcessSupport::GetInstance()->getThread(), nullptr);
  EXPECT_EQ(RunOn(ipc(), [] { return CurrentThreadName(); }), "mojo_ipc");
  Settle();
  // The request made meanwhile was dropped, not kept.
  EXPECT_THAT(mServiceLog.Take(), IsEmpty());
}

}  // namespace
}  // namespace tev
