// The checks the stress test and the fuzz targets rely on, and the fault they found: a GATT
// callback queued before cleanupGatt must not reach the tables once cleanupGatt has returned.
#include <gtest/gtest.h>
#include <pthread.h>

#include <thread>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"
#include "checking_stack.h"
#include "hal_calls.h"
#include "library_session.h"
#include "tev/testing/event.h"

namespace tev {
namespace stress {
namespace {

using ::testing::HasSubstr;

bool dropLog(logging::LogSeverity severity, const char*, int, size_t, const std::string&) {
  return severity < logging::LOG_FATAL;
}

void onThread(const char* name, const std::function<void()>& work) {
  std::thread([&] {
    pthread_setname_np(pthread_self(), name);
    work();
  }).join();
}

// Without these verdicts the stress test would pass whatever the library did.
TEST(CheckingStackTest, FlagsCallbacksOutsideTheContractAndAcceptsTheInlineCases) {
  CheckingStack stack;
  const bluetooth::Uuid uuid = bluetooth::Uuid::From16Bit(0x1800);
  stack.gattCallbacks()->client->register_client_cb(0, 1, uuid);
  ASSERT_EQ(stack.BreachCount(), 1u);
  EXPECT_THAT(stack.Breaches()[0], HasSubstr("register_client_cb through the GATT tables while"));

  // Before init returns there is no callback thread: inline on the IPC thread or on the caller.
  stack.WillInstall(Tables::kGatt);
  stack.Installed(Tables::kGatt);
  stack.WillInstall(Tables::kAdapter);
  onThread("mojo_ipc", [&] { stack.callbacks()->adapter_state_changed_cb(BT_STATE_ON); });
  {
    CheckingStack::HalCall call(stack);
    stack.callbacks()->adapter_state_changed_cb(BT_STATE_ON);
  }
  EXPECT_EQ(stack.BreachCount(), 1u) << ::testing::PrintToString(stack.Breaches());

  // Once it runs, only the callback thread will do.
  stack.Installed(Tables::kAdapter);
  onThread("bt_tev_callback", [&] { stack.callbacks()->adapter_state_changed_cb(BT_STATE_ON); });
  EXPECT_EQ(stack.BreachCount(), 1u);
  onThread("mojo_ipc", [&] { stack.callbacks()->adapter_state_changed_cb(BT_STATE_ON); });
  {
    CheckingStack::HalCall call(stack);
    stack.callbacks()->adapter_state_changed_cb(BT_STATE_ON);
  }
  EXPECT_EQ(stack.BreachCount(), 3u);
  EXPECT_THAT(stack.Breaches(), ::testing::Contains(HasSubstr("on thread 'mojo_ipc'")));

  // Pointers are read for the length given with them; answers owed before returning are counted.
  onThread("bt_tev_callback", [&] {
    stack.callbacks()->device_found_cb(1, nullptr);
    stack.gattCallbacks()->client->write_characteristic_cb(1, 0, 3, 601, nullptr);
  });
  { CheckingStack::ImmediateAnswer unanswered(stack, "read_phy"); }
  EXPECT_EQ(stack.BreachCount(), 7u) << ::testing::PrintToString(stack.Breaches());

  // A call the library started before a clean-up returned may end after it, on the stack thread
  // whose HAL call posted it; one that starts later may not.
  stack.WillCleanUp(Tables::kAdapter);
  stack.CleanedUp(Tables::kAdapter);
  {
    CheckingStack::HalCall before(stack);
    stack.WillCleanUp(Tables::kGatt);
    stack.CleanedUp(Tables::kGatt);
    stack.gattCallbacks()->client->register_client_cb(0, 2, uuid);
  }
  EXPECT_EQ(stack.BreachCount(), 7u) << ::testing::PrintToString(stack.Breaches());
  {
    CheckingStack::HalCall after(stack);
    stack.gattCallbacks()->client->register_client_cb(0, 3, uuid);
  }
  onThread("bt_tev_callback", [&] { stack.callbacks()->adapter_state_changed_cb(BT_STATE_OFF); });
  EXPECT_EQ(stack.BreachCount(), 9u);
  EXPECT_THAT(
      stack.Breaches(),
      ::testing::Contains(HasSubstr("adapter_state_changed_cb through the adapter tables")));
}

TEST(CallbackTablesTest, AGattCallbackQueuedBeforeCleanupGattNeverReachesTheTables) {
  logging::SetLogMessageHandler(&dropLog);
  {
    LibrarySession session;
    session.InstallAdapter();
    CheckingStack& stack = session.stack();
    stack.WillInstall(Tables::kGatt);
    ASSERT_EQ(Gatt().init(stack.gattCallbacks()), BT_STATUS_SUCCESS);
    stack.Installed(Tables::kGatt);
    const uint64_t before = stack.CallbackCount();

    // The callback thread is held, so the registration's answer waits in its queue while the
    // stack cleans up.
    tev::testing::Event held;
    tev::testing::Event release;
    BluetoothTevService::GetInstance()->postToCallback(base::BindOnce(
        [](base::RepeatingClosure held, tev::testing::Event* release) {
          held.Run();
          release->Wait();
        },
        held.GetCallback(), &release));
    ASSERT_TRUE(held.Wait());
    {
      CheckingStack::HalCall call(stack);
      ASSERT_EQ(Gatt().client->register_client(bluetooth::Uuid::From16Bit(0x1801), false),
                BT_STATUS_SUCCESS);
    }
    stack.WillCleanUp(Tables::kGatt);
    Gatt().cleanup();
    stack.CleanedUp(Tables::kGatt);
    release.Signal();
    session.Settle();

    EXPECT_EQ(stack.CallbackCount(), before);
    EXPECT_EQ(stack.BreachCount(), 0u) << ::testing::PrintToString(stack.Breaches());
  }
  logging::SetLogMessageHandler(nullptr);
}

}  // namespace
}  // namespace stress
}  // namespace tev
