#include "sim_world.h"

#include <hardware/bluetooth.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/threading/process_idle.h"
#include "counting_stack.h"

extern bt_interface_t bluetoothInterface;

namespace tev {
namespace bench {
namespace {

SimWorld* gWorld = nullptr;

// Nothing correct comes close: a guard against a deadlock hanging the run.
constexpr std::chrono::milliseconds kDeadlockGuard{30000};

const btgatt_interface_t* Gatt() {
  return static_cast<const btgatt_interface_t*>(
      bluetoothInterface.get_profile_interface(BT_PROFILE_GATT_ID));
}

}  // namespace

SimWorld::SimWorld() {
  gWorld = this;
  CountingStack& stack = CountingStack::Get();
  RawAddress::FromString("02:51:b0:00:00:01", monitor_);
  host_.Start();
  bluetoothInterface.init(stack.callbacks(), false, false, 0, nullptr, false, nullptr);
  host_.journal().WaitFor("Init", sim::JournalEntry::Direction::kReplyReceived);
  Gatt()->init(stack.gattCallbacks());

  bluetoothInterface.enable();
  stack.WaitUntil([&stack] { return stack.adapterState.load() == BT_STATE_ON; });
  client()->register_client(bluetooth::Uuid::From16Bit(0x1234), false);
  stack.WaitUntil([&stack] { return stack.clientIf.load() != 0; });
  client_if_ = stack.clientIf;
  client()->connect(client_if_, monitor_, true, BT_TRANSPORT_LE, false, 1);
  Advance(30);
  stack.WaitUntil([&stack] { return stack.connId.load() != 0; });
  conn_id_ = stack.connId;
  client()->search_service(conn_id_, nullptr);
  Advance(50);
  stack.WaitUntil([&stack] { return stack.searchesCompleted.load() != 0; });
  Settle();
  host_.journal().Clear();
}

SimWorld::~SimWorld() {
  Gatt()->cleanup();
  bluetoothInterface.cleanup();
  Settle();
  host_.Stop();
  gWorld = nullptr;
}

SimWorld& SimWorld::Get() { return *gWorld; }

const btgatt_client_interface_t* SimWorld::client() const { return Gatt()->client; }

void SimWorld::Settle() {
  std::string busy;
  if (base::WaitForProcessIdle(kDeadlockGuard, &busy)) return;
  std::fprintf(stderr, "the threads did not run out of work within %llds: %s\n",
               static_cast<long long>(kDeadlockGuard.count() / 1000), busy.c_str());
  std::abort();
}

void SimWorld::Advance(int milliseconds) {
  Settle();
  host_.AdvanceTime(base::TimeDelta::FromMilliseconds(milliseconds));
  Settle();
}

}  // namespace bench
}  // namespace tev
