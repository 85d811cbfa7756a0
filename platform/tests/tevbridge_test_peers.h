#pragma once

// Both sides of the bridge for its tests: a guest service and a host that record what reaches
// them, and a fixture that offers the host on a thread of its own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/RefBase.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/threading/thread.h"
#include "mojo/public/cpp/bindings/binding.h"
#include "mojom/tev_bridge.mojom.h"
#include "tev/testing/event.h"
#include "tev/testing/idle.h"
#include "tev/testing/run_on.h"
#include "tev/testing/thread_name.h"
#include "tevbridge/MojoProcessSupport.h"
#include "tevbridge/TevBridgeHostOffer.h"
#include "tevbridge/TevBridgeSupport.h"
#include "tevbridge/TevService.h"

namespace tev {
namespace bridgepeers {

using tev::testing::CurrentThreadName;
using tev::testing::RunOn;

// What happened, in order, each entry followed by " @" and the thread it happened on.
class Journal {
 public:
  void Add(const std::string& what) {
    std::string entry = what + " @" + CurrentThreadName();
    std::lock_guard<std::mutex> lock(mMutex);
    mEntries.push_back(std::move(entry));
    mAdded.notify_all();
  }

  // Blocks until `count` entries wait to be taken; false, with a test failure, past the guard.
  bool WaitForEntries(size_t count, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    std::unique_lock<std::mutex> lock(mMutex);
    if (mAdded.wait_for(lock, tev::testing::kDeadlockGuardTimeout,
                        [&] { return mEntries.size() >= count; })) {
      return true;
    }
    ADD_FAILURE_AT(file, line) << "only " << mEntries.size() << " of " << count << " entries came";
    return false;
  }

  std::vector<std::string> Take() {
    std::lock_guard<std::mutex> lock(mMutex);
    return std::exchange(mEntries, {});
  }

 private:
  std::mutex mMutex;
  std::condition_variable mAdded;
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

}  // namespace bridgepeers
}  // namespace tev
