// The contract checker, fed by the real callback tables on real threads where threads are the
// point, and by hand-made events where the rule is about values.
#include "contract_checker.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "base/threading/thread.h"
#include "callback_tables.h"
#include "record_fields.h"
#include "tev/testing/run_on.h"

namespace tev {
namespace bttev {
namespace {

// Stands where the session stands: every callback of the tables goes through the checker.
class CheckingSink : public CallbackSink {
 public:
  explicit CheckingSink(ContractChecker* checker) : checker_(checker) { SetCallbackSink(this); }
  ~CheckingSink() override { SetCallbackSink(nullptr); }

  void OnCallback(CallbackEvent event) override {
    std::vector<ContractChecker::Breach> found = checker_->OnCallback(event);
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& breach : found) breaches_.push_back(breach);
  }

  std::vector<ContractChecker::Breach> Take() {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::move(breaches_);
  }

 private:
  ContractChecker* checker_;
  std::mutex mutex_;
  std::vector<ContractChecker::Breach> breaches_;
};

ThreadRef thread(uint64_t id, const std::string& name) { return ThreadRef{id, name}; }

CallbackEvent event(Table table, const std::string& slot, const ThreadRef& on, std::vector<Field> fields = {}) {
  CallbackEvent e;
  e.table = table;
  e.slot = slot;
  e.thread = on;
  e.fields = std::move(fields);
  return e;
}

CallbackEvent threadEvent(int evt, const ThreadRef& on) {
  return event(Table::kAdapter, "thread_evt_cb", on, {NumberField("evt", evt)});
}

bool mentions(const std::vector<ContractChecker::Breach>& breaches, const std::string& text) {
  for (const auto& breach : breaches) {
    if (breach.rule.find(text) != std::string::npos) return true;
  }
  return false;
}

const ThreadRef kCallbackThread = thread(10, "bt_tev_callback");
const ThreadRef kIpcThread = thread(11, "mojo_ipc");
const ThreadRef kStackThread = thread(12, "stack");
const ThreadRef kOtherThread = thread(13, "worker");

TEST(ContractCheckerTest, CatchesACallbackFromTheWrongThreadThroughTheTables) {
  ContractChecker checker;
  checker.OnTableInstalled(Table::kAdapter);
  CheckingSink sink(&checker);
  base::Thread callbackThread("bt_tev_callback");
  base::Thread rogue("rogue");
  ASSERT_TRUE(callbackThread.Start());
  ASSERT_TRUE(rogue.Start());
  bt_callbacks_t* tables = AdapterCallbacks();

  testing::RunOn(callbackThread.task_runner(), [&] { tables->thread_evt_cb(ASSOCIATE_JVM); });
  testing::RunOn(callbackThread.task_runner(), [&] { tables->adapter_state_changed_cb(BT_STATE_ON); });
  EXPECT_TRUE(sink.Take().empty());

  testing::RunOn(rogue.task_runner(), [&] { tables->adapter_state_changed_cb(BT_STATE_OFF); });
  const std::vector<ContractChecker::Breach> breaches = sink.Take();
  ASSERT_EQ(breaches.size(), 1u);
  EXPECT_EQ(breaches[0].callback, "bt.adapter_state_changed_cb");
  EXPECT_EQ(breaches[0].thread, "rogue");
  EXPECT_TRUE(mentions(breaches, "not on the associated callback thread 'bt_tev_callback'"));

  // A restarted callback thread of the same name is another thread until it associates.
  base::Thread restarted("bt_tev_callback");
  ASSERT_TRUE(restarted.Start());
  testing::RunOn(restarted.task_runner(),
                 [&] { tables->acl_state_changed_cb(BT_STATUS_SUCCESS, nullptr, BT_ACL_STATE_CONNECTED, 0, 0); });
  const std::vector<ContractChecker::Breach> restartedBreaches = sink.Take();
  EXPECT_TRUE(mentions(restartedBreaches, "not on the associated callback thread"));
  EXPECT_TRUE(mentions(restartedBreaches, "addr is null"));
  EXPECT_EQ(checker.BreachCount(), 3u);
}

TEST(ContractCheckerTest, WithoutAnAssociatedThreadOnlyInlineCallsAreAllowed) {
  ContractChecker checker;
  checker.OnTableInstalled(Table::kGattClient);
  int64_t nextId = 1;
  const auto registered = [&](const ThreadRef& on) {
    return event(Table::kGattClient, "register_client_cb", on,
                 {NumberField("status", 0), NumberField("client_if", nextId++)});
  };
  EXPECT_TRUE(checker.OnCallback(registered(kIpcThread)).empty());
  EXPECT_TRUE(mentions(checker.OnCallback(registered(kStackThread)), "while no callback thread is associated"));
  checker.OnHalCallStarted(kStackThread, "client.register_client");
  EXPECT_TRUE(checker.OnCallback(registered(kStackThread)).empty());
  EXPECT_TRUE(mentions(checker.OnCallback(registered(kOtherThread)), "while no callback thread is associated"));
  checker.OnHalCallFinished(kStackThread);
  EXPECT_EQ(checker.OnCallback(registered(kStackThread)).size(), 1u);

  // Once a thread is associated, the IPC thread no longer counts as inline.
  checker.OnTableInstalled(Table::kAdapter);
  EXPECT_TRUE(checker.OnCallback(threadEvent(ASSOCIATE_JVM, kCallbackThread)).empty());
  EXPECT_TRUE(mentions(checker.OnCallback(registered(kIpcThread)), "not on the associated"));
  EXPECT_TRUE(checker.OnCallback(registered(kCallbackThread)).empty());
  EXPECT_TRUE(checker.OnCallback(threadEvent(DISASSOCIATE_JVM, kCallbackThread)).empty());
  EXPECT_TRUE(checker.OnCallback(registered(kIpcThread)).empty());
}

TEST(ContractCheckerTest, AssociationMustBePairedAndComeFromOneThread) {
  ContractChecker checker;
  checker.OnTableInstalled(Table::kAdapter);
  EXPECT_TRUE(mentions(checker.OnCallback(threadEvent(DISASSOCIATE_JVM, kCallbackThread)), "without an associated"));
  EXPECT_TRUE(checker.OnCallback(threadEvent(ASSOCIATE_JVM, kCallbackThread)).empty());
  EXPECT_TRUE(
      mentions(checker.OnCallback(threadEvent(ASSOCIATE_JVM, thread(30, "bt_tev_callback"))), "still associated"));
  EXPECT_TRUE(mentions(checker.OnCallback(threadEvent(DISASSOCIATE_JVM, kCallbackThread)), "from another thread"));
}

TEST(ContractCheckerTest, NothingArrivesForATableAfterItsCleanup) {
  ContractChecker checker;
  const CallbackEvent state = event(Table::kAdapter, "adapter_state_changed_cb", kIpcThread, {NumberField("state", 0)});
  EXPECT_TRUE(mentions(checker.OnCallback(state), "never handed to the HAL"));
  checker.OnTableInstalled(Table::kAdapter);
  checker.OnTableInstalled(Table::kGattServer);
  EXPECT_TRUE(checker.OnCallback(state).empty());
  checker.OnTableCleanedUp(Table::kAdapter);
  EXPECT_TRUE(mentions(checker.OnCallback(state), "after its table's clean-up returned"));
  // The other tables keep their own lifetimes.
  EXPECT_TRUE(checker
                  .OnCallback(event(Table::kGattServer, "register_server_cb", kIpcThread,
                                    {NumberField("status", 0), NumberField("server_if", 1)}))
                  .empty());
  checker.OnTableInstalled(Table::kAdapter);
  EXPECT_TRUE(checker.OnCallback(state).empty());
}

TEST(ContractCheckerTest, InlineResultsArriveOnTheCallingThreadDuringTheCall) {
  ContractChecker checker;
  CallbackEvent registered =
      event(Table::kGattScanner, "register_cb", kStackThread, {NumberField("scanner_id", 1), NumberField("status", 0)});
  registered.inlineResult = true;
  checker.OnHalCallStarted(kStackThread, "scanner.RegisterScanner");
  EXPECT_TRUE(checker.OnCallback(registered).empty());
  registered.thread = kCallbackThread;
  EXPECT_TRUE(mentions(checker.OnCallback(registered), "before the call returns"));
  checker.OnHalCallFinished(kStackThread);
  registered.thread = kStackThread;
  EXPECT_TRUE(mentions(checker.OnCallback(registered), "before the call returns"));
}

TEST(ContractCheckerTest, IdsAreAnnouncedBeforeUseAndHandedOutOnce) {
  ContractChecker checker;
  checker.OnTableInstalled(Table::kGattClient);
  checker.OnTableInstalled(Table::kGattServer);
  const auto read = [](int64_t conn) {
    return event(Table::kGattClient, "read_characteristic_cb", kIpcThread,
                 {NumberField("conn_id", conn), NumberField("status", 0)});
  };
  EXPECT_TRUE(mentions(checker.OnCallback(read(3)), "never announced"));
  EXPECT_TRUE(mentions(checker.OnCallback(read(0)), "is not a connection id"));
  EXPECT_TRUE(
      checker
          .OnCallback(event(Table::kGattServer, "connection_cb", kIpcThread,
                            {NumberField("conn_id", 3), NumberField("server_if", 1), NumberField("connected", 1)}))
          .empty());
  EXPECT_TRUE(checker.OnCallback(read(3)).empty());
  // A disconnection does not announce.
  checker.OnCallback(event(Table::kGattServer, "connection_cb", kIpcThread,
                           {NumberField("conn_id", 4), NumberField("server_if", 1), NumberField("connected", 0)}));
  EXPECT_TRUE(mentions(checker.OnCallback(read(4)), "never announced"));

  const auto request = [](int64_t trans) {
    return event(Table::kGattServer, "request_exec_write_cb", kIpcThread,
                 {NumberField("conn_id", 3), NumberField("trans_id", trans)});
  };
  EXPECT_TRUE(checker.OnCallback(request(1)).empty());
  EXPECT_TRUE(checker.OnCallback(request(2)).empty());
  EXPECT_TRUE(mentions(checker.OnCallback(request(1)), "trans_id 1 handed out twice"));

  const auto client = [](int64_t id) {
    return event(Table::kGattClient, "register_client_cb", kIpcThread,
                 {NumberField("status", 0), NumberField("client_if", id)});
  };
  EXPECT_TRUE(checker.OnCallback(client(1)).empty());
  EXPECT_TRUE(mentions(checker.OnCallback(client(1)), "client_if 1 handed out twice"));
  EXPECT_TRUE(mentions(checker.OnCallback(client(0)), "client_if 0 is not an id"));
}

TEST(ContractCheckerTest, ValueProblemsFoundByTheTablesBecomeBreaches) {
  ContractChecker checker;
  checker.OnTableInstalled(Table::kAdapter);
  checker.OnTableInstalled(Table::kGattScanner);
  CheckingSink sink(&checker);
  base::Thread ipc("mojo_ipc");
  ASSERT_TRUE(ipc.Start());
  testing::RunOn(ipc.task_runner(), [] {
    AdapterCallbacks()->adapter_state_changed_cb(static_cast<bt_state_t>(2));
    AdapterCallbacks()->discovery_state_changed_cb(BT_DISCOVERY_STARTED);
    RawAddress address({1, 2, 3, 4, 5, 6});
    GattCallbacks()->scanner->scan_result_cb(0x13, 0, &address, 1, 0, 0xff, 127, -60, 0, std::vector<uint8_t>(32, 0),
                                             &address);
  });
  const std::vector<ContractChecker::Breach> breaches = sink.Take();
  ASSERT_EQ(breaches.size(), 2u);
  EXPECT_EQ(breaches[0].callback, "bt.adapter_state_changed_cb");
  EXPECT_TRUE(mentions({breaches[0]}, "state 2 outside [0, 1]"));
  EXPECT_EQ(breaches[1].callback, "scanner.scan_result_cb");
  EXPECT_TRUE(mentions({breaches[1]}, "legacy advertising data of 32 bytes"));
}

}  // namespace
}  // namespace bttev
}  // namespace tev
