// The bridge between guest services and the host's bridge, with the test playing the host on a
// thread of its own. Every test runs in a process of its own: the bridge registry and the IPC
// thread live for the process.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/RefBase.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/logging.h"
#include "base/threading/thread.h"
#include "mojo/public/cpp/bindings/binding.h"
#include "mojom/tev_bridge.mojom.h"
#include "tev/testing/event.h"
#include "tev/testing/idle.h"
#include "tev/testing/log_capture.h"
#include "tev/testing/run_on.h"
#include "tev/testing/thread_name.h"
#include "tevbridge/MojoProcessSupport.h"
#include "tevbridge/TevBridgeHostOffer.h"
#include "tevbridge/TevBridgeSupport.h"
#include "tevbridge/TevService.h"

namespace tev {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tev::testing::CurrentThreadName;
using tev::testing::Event;
using tev::testing::RunOn;

// What happened, in order, each entry followed by " @" and the thread it happened on.
class Journal {
 public:
  void Add(const std::string& what) {
    std::string entry = what + " @" + CurrentThreadName();
    std::lock_guard<std::mutex> lock(mMutex);
    mEntries.push_back(std::move(entry));
  }

  std::vector<std::string> Take() {
    std::lock_guard<std::mutex> lock(mMutex);
    return std::exchange(mEntries, {});
  }

 private:
  std::mutex mMutex;
  std::vector<std::string> mEntries;
};

class TestService : public TevService {
 public:
  TestService(std::string name, Journal* journal, std::atomic<bool>* destroyed = nullptr)
      : mName(std::move(name)), mJournal(journal), mDestroyed(destroyed) {}
  ~TestService() override {
    if (mDestroyed) *mDestroyed = true;
  }

  // IPC thread.
  void ready(mojo::InterfacePtr<mojom::TevBridgeHost>* bridgeHost) override {
    mJournal->Add(mName + " ready bound=" + (bridgeHost && bridgeHost->is_bound() ? "1" : "0"));
    mBridgeHost = bridgeHost;
  }

  // IPC thread.
  void versionMismatch(unsigned int hostVersion) override {
    mJournal->Add(mName + " mismatch " + std::to_string(hostVersion));
  }

  // IPC thread.
  mojo::InterfacePtr<mojom::TevBridgeHost>* bridgeHost() const { return mBridgeHost; }

 private:
  std::string mName;
  Journal* mJournal;
  std::atomic<bool>* mDestroyed;
  mojo::InterfacePtr<mojom::TevBridgeHost>* mBridgeHost = nullptr;
};

// The host's side of each bridge pipe; host thread.
class BridgeHostImpl : public mojom::TevBridgeHost {
 public:
  explicit BridgeHostImpl(Journal* journal) : mJournal(journal) {}

  void OnBluetoothInstanceReady(mojom::BluetoothInstancePtr instance) override {
    mJournal->Add(std::string("instance bound=") + (instance.is_bound() ? "1" : "0"));
  }

 private:
  Journal* mJournal;
};

class TevBridgeTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(mHostThread.Start()); }

  void TearDown() override {
    bridge::WithdrawTevBridgeHost();
    RunOn(mHostThread.task_runner(), [this] { mBindings.clear(); });
    mHostThread.Stop();
  }

  scoped_refptr<base::SingleThreadTaskRunner> ipc() {
    return MojoProcessSupport::GetInstance()->getThread()->getTaskRunner();
  }

  // Each bridge pipe the bridge hands out is served on the host thread.
  void Offer(unsigned int version) {
    bridge::OfferTevBridgeHost(
        version, base::BindRepeating(
                     [](TevBridgeTest* test, mojo::InterfaceRequest<mojom::TevBridgeHost> request) {
                       test->mHostThread.task_runner()->PostTask(
                           FROM_HERE, base::BindOnce(&TevBridgeTest::ServeBridge,
                                                     base::Unretained(test), std::move(request)));
                     },
                     base::Unretained(this)));
  }

  // Host thread.
  void ServeBridge(mojo::InterfaceRequest<mojom::TevBridgeHost> request) {
    mHostLog.Add("bridge served");
    mBindings.push_back(
        std::make_unique<mojo::Binding<mojom::TevBridgeHost>>(&mHostImpl, std::move(request)));
    mBindings.back()->set_connection_error_handler(
        base::BindOnce(&Journal::Add, base::Unretained(&mHostLog), std::string("bridge lost")));
  }

  // Lets a request travel to the IPC thread, to the host and back.
  void Settle() { ASSERT_TRUE(tev::testing::WaitForIdle()); }

  // The bridge support lives for the process, as the library's does.
  TevBridgeSupport* mSupport = new TevBridgeSupport(MojoProcessSupport::GetInstance());
  Journal mServiceLog;
  Journal mHostLog;
  BridgeHostImpl mHostImpl{&mHostLog};
  std::vector<std::unique_ptr<mojo::Binding<mojom::TevBridgeHost>>> mBindings;  // Host thread.
  base::Thread mHostThread{"host"};
};

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
