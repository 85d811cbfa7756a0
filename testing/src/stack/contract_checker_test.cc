// Each rule of the callback contract with a sequence it allows and one it forbids, driven as bttev
// and the stress test drive the checker: lifecycle marks, HAL calls, settles, and calls through
// the stack double's tables on threads named as the library's. The rules the checker no longer
// has show what they used to fail, which the library may do.
#include "tev/testing/stack/contract_checker.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <thread>

#include "tev/testing/stack/stack_tables.h"

namespace tev {
namespace testing {
namespace {

class Stack;
using Step = std::function<void(Stack&)>;
using Steps = std::vector<Step>;
using Call = std::function<void(StackTables&)>;

class Stack : public CallbackSink {
 public:
  Stack() { SetCallbackSink(this); }
  ~Stack() override { SetCallbackSink(nullptr); }
  void OnCallback(CallbackEvent event) override { checker.OnCallback(event); }
  void Run(const Steps& steps) {
    for (const Step& step : steps) step(*this);
  }

  ContractChecker checker;
  StackTables tables;
};

constexpr TableGroup kAdapter = TableGroup::kAdapter;
constexpr TableGroup kGatt = TableGroup::kGatt;
constexpr ContractChecker::Step kInit = ContractChecker::Step::kInit;
constexpr ContractChecker::Step kCleanup = ContractChecker::Step::kCleanup;
constexpr const char* kCallbackThread = ContractChecker::kCallbackThread;
constexpr const char* kIpc = ContractChecker::kIpcThread;
const RawAddress kAddress({2, 0x51, 0xb0, 0, 0, 1});

// The library calls back on a thread of its own of that name.
Step on(const char* thread, Call call) {
  return [thread, call](Stack& s) {
    std::thread([&] {
      pthread_setname_np(pthread_self(), thread);
      call(s.tables);
    }).join();
  };
}
// On the stack's thread.
Step here(Call call) {
  return [call](Stack& s) { call(s.tables); };
}
// Inside a HAL call.
Step during(Steps steps) {
  return [steps](Stack& s) {
    ContractChecker::HalCall call(s.checker);
    s.Run(steps);
  };
}
// Inside the init or cleanup HAL call of a group.
Step within(TableGroup group, ContractChecker::Step step, Steps steps = {}) {
  return [=](Stack& s) {
    ContractChecker::Lifecycle lifecycle(s.checker, group, step);
    during(steps)(s);
  };
}
Step init(TableGroup group) { return within(group, kInit); }
Step cleanUp(TableGroup group) { return within(group, kCleanup); }
Step settle() {
  return [](Stack& s) { s.checker.Settle([] { return true; }); };
}
// Both groups installed and settled: the callback thread runs.
const Steps kRunning = {init(kAdapter), init(kGatt), settle()};
Steps running(Steps then) {
  then.insert(then.begin(), kRunning.begin(), kRunning.end());
  return then;
}

void stateOn(StackTables& t) { t.adapter.adapter_state_changed_cb(BT_STATE_ON); }
void searched(StackTables& t) { t.client.search_complete_cb(1, 0); }
Call registered(int id = 1) {
  return [id](StackTables& t) { t.client.register_client_cb(0, id, bluetooth::Uuid::kEmpty); };
}
Call request(int transId) {
  return [transId](StackTables& t) { t.server.request_exec_write_cb(1, transId, kAddress, 1); };
}
Call threadEvent(bt_cb_thread_evt evt) {
  return [evt](StackTables& t) { t.adapter.thread_evt_cb(evt); };
}
Call found(bt_property_type_t type, std::vector<uint8_t> value) {
  return [type, value](StackTables& t) {
    bt_property_t property{type, static_cast<int>(value.size()),
                           const_cast<uint8_t*>(value.data())};
    t.adapter.device_found_cb(1, &property);
  };
}
Step answered(Steps steps) {
  return during({[steps](Stack& s) {
    ContractChecker::OwedAnswer answer(s.checker, "RegisterScanner");
    s.Run(steps);
  }});
}
void scannerRegistered(StackTables&) { ScannerRegisteredCallback().Run(1, 0); }

struct Rule {
  const char* name;
  Steps allowed;
  // Empty for a rule the checker no longer has.
  Steps forbidden;
  const char* breach;
};

const std::vector<Rule>& rules() {
  static const uint8_t kLongValue[601] = {};
  static const std::vector<Rule> kRules = {
      {"the callback thread calls back only while it runs",
       running({on(kCallbackThread, searched)}),
       running({cleanUp(kAdapter), on(kCallbackThread, searched)}),
       "on the callback thread while none runs"},
      {"the IPC thread calls back inline only while no callback thread runs, or may not yet",
       {init(kGatt), on(kIpc, searched), init(kAdapter), on(kIpc, searched)},
       running({on(kIpc, searched)}),
       "inline on the IPC thread while the callback thread runs"},
      {"what only a HAL call builds never runs on the IPC thread",
       {init(kGatt), on(kIpc, [](StackTables& t) { t.client.configure_mtu_cb(1, 0, 23); })},
       {init(kGatt), on(kIpc, registered())},
       "only a HAL call builds it"},
      {"inline on the calling thread comes only what the call posts itself",
       {init(kGatt), during({here(registered())})},
       {init(kGatt), during({here(searched)})},
       "arrived on thread"},
      {"a HAL call made while the callback thread runs posts to it",
       running({during({cleanUp(kAdapter), here(registered())})}),
       running({during({here(registered())})}), "arrived on thread"},
      {"init may associate inline; the disassociation comes from the callback thread",
       {within(kAdapter, kInit, {here(threadEvent(ASSOCIATE_JVM))})},
       {init(kAdapter), within(kAdapter, kCleanup, {here(threadEvent(DISASSOCIATE_JVM))})},
       "arrived on thread"},
      {"nothing arrives through tables never handed over",
       {init(kGatt), on(kIpc, searched)},
       {init(kAdapter), on(kIpc, searched)},
       "never handed to the library"},
      {"a GATT event built before the clean-up may arrive after it, until a settle",
       running({cleanUp(kGatt), on(kCallbackThread, searched)}),
       running({cleanUp(kGatt), settle(), on(kCallbackThread, searched)}),
       "every earlier event had arrived"},
      {"a settle does not cover a HAL call under way since before the clean-up",
       running({during({cleanUp(kGatt), settle(), on(kCallbackThread, registered())})}),
       running({cleanUp(kGatt), during({settle(), on(kCallbackThread, registered())})}),
       "every earlier event had arrived"},
      {"after the adapter's clean-up an earlier event arrives only inline on the IPC thread",
       running({cleanUp(kAdapter), on(kIpc, stateOn)}),
       running({cleanUp(kAdapter), on("worker", stateOn)}), "other than inline on the IPC thread"},
      {"after the adapter's clean-up and a settle nothing arrives through its table",
       running({cleanUp(kAdapter), settle(), on(kIpc, searched)}),
       running({cleanUp(kAdapter), settle(), on(kIpc, stateOn)}),
       "every earlier event had arrived"},
      {"a result for a callback argument arrives during the call",
       {during({here(scannerRegistered)})},
       {here(scannerRegistered)},
       "before the call returns"},
      {"an answer owed before returning comes once",
       {answered({here(scannerRegistered)})},
       {answered({})},
       "RegisterScanner answered 0 times"},
      {"the library calls only the slots it bridges", running({on(kCallbackThread, stateOn)}),
       running({on(kCallbackThread, [](StackTables& t) { t.client.phy_updated_cb(1, 1, 1, 0); })}),
       "never calls this slot"},
      {"client ids are handed out once, from 1",
       running({on(kCallbackThread, registered(2)), on(kCallbackThread, registered(1))}),
       running({on(kCallbackThread, registered(0))}), "client_if 0 is not an id"},
      {"transaction ids are handed out once",
       {init(kGatt), on(kIpc, request(1)), on(kIpc, request(3)), on(kIpc, request(2))},
       {init(kGatt), on(kIpc, request(1)), on(kIpc, request(2)), on(kIpc, request(1))},
       "trans_id 1 handed out twice"},
      {"pointers are readable for their length",
       {init(kAdapter), on(kIpc, [](StackTables& t) { t.adapter.device_found_cb(0, nullptr); })},
       {init(kAdapter), on(kIpc, [](StackTables& t) { t.adapter.device_found_cb(2, nullptr); })},
       "2 properties but no array"},
      {"attribute values fit the HAL's 600 bytes",
       {init(kGatt),
        on(kIpc, [](StackTables& t) { t.client.write_characteristic_cb(1, 0, 3, 0, nullptr); })},
       {init(kGatt),
        on(kIpc,
           [](StackTables& t) { t.client.write_characteristic_cb(1, 0, 3, 601, kLongValue); })},
       "value of 601 bytes, at most 600"},
      {"states the library maps stay in their enumeration",
       {init(kAdapter), on(kIpc, stateOn)},
       // An enumeration argument cannot even carry 2; the int-typed flags can.
       {init(kGatt),
        on(kIpc, [](StackTables& t) { t.client.register_for_notification_cb(1, 2, 0, 3); })},
       "registered 2 outside [0, 1]"},
      {"properties have the layout of their type; a device type is the host's",
       {init(kAdapter), on(kIpc, found(BT_PROPERTY_TYPE_OF_DEVICE, {7, 0, 0, 0}))},
       {init(kAdapter), on(kIpc, found(BT_PROPERTY_BDADDR, {1, 2, 3, 4, 5}))},
       "property 0 (type 2): length 5, the type needs 6"},

      {"a second init without cleanup, whose thread calls back before it associates",
       running({init(kAdapter), on(kCallbackThread, stateOn),
                on(kCallbackThread, threadEvent(ASSOCIATE_JVM))}),
       {},
       ""},
      {"connection ids the stack was never told of, and connection id 0",
       running({on(kCallbackThread,
                   [](StackTables& t) {
                     t.client.close_cb(9, 0, 1, kAddress);
                     t.client.configure_mtu_cb(12, 0, 512);
                     t.client.register_for_notification_cb(0, 0, 1, 3);
                   })}),
       {},
       ""},
      {"values the host chose: an RSSI, an MTU, an offset, advertising data, an element's type",
       running({on(kCallbackThread,
                   [](StackTables& t) {
                     btgatt_db_element_t element{};
                     element.type = bt_gatt_db_attribute_type_t(7);
                     RawAddress address = kAddress;
                     t.client.read_remote_rssi_cb(1, kAddress, 300, 0);
                     t.client.configure_mtu_cb(1, 0, 9000);
                     t.server.request_read_characteristic_cb(1, 1, kAddress, 3, 700, false);
                     t.scanner.scan_result_cb(0x13, 0, &address, 1, 0, 0xff, 127, -60, 0,
                                              std::vector<uint8_t>(40, 7), &address);
                     t.client.get_gatt_db_cb(1, &element, 1);
                   })}),
       {},
       ""},
      {"a published list whose first element is not a service, its handles outside any range",
       running({on(kCallbackThread,
                   [](StackTables& t) {
                     btgatt_db_element_t elements[2] = {};
                     elements[0].type = BTGATT_DB_CHARACTERISTIC;
                     elements[1].attribute_handle = 90;
                     t.server.service_added_cb(0, 1, elements, 2);
                   })}),
       {},
       ""},
  };
  return kRules;
}

std::string describe(const std::vector<ContractChecker::Breach>& breaches) {
  std::string text;
  for (const ContractChecker::Breach& breach : breaches) text += breach.ToString() + "\n";
  return text;
}

TEST(ContractCheckerTest, EachRuleAllowsWhatTheContractAllowsAndFlagsWhatItForbids) {
  for (const Rule& rule : rules()) {
    SCOPED_TRACE(rule.name);
    {
      Stack stack;
      stack.Run(rule.allowed);
      EXPECT_EQ(stack.checker.BreachCount(), 0u) << describe(stack.checker.Breaches());
    }
    if (rule.forbidden.empty()) continue;
    Stack stack;
    stack.Run(rule.forbidden);
    const std::vector<ContractChecker::Breach> breaches = stack.checker.Breaches();
    ASSERT_EQ(breaches.size(), 1u) << describe(breaches);
    EXPECT_NE(breaches[0].ToString().find(rule.breach), std::string::npos) << describe(breaches);
  }
}

}  // namespace
}  // namespace testing
}  // namespace tev
