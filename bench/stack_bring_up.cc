#include "stack_bring_up.h"

#include "bench_support.h"
#include "counting_stack.h"
#include "host_events.h"
#include "tevbridge/MojoProcessSupport.h"

extern bt_interface_t bluetoothInterface;

namespace tev {
namespace bench {

const btgatt_interface_t* Gatt() {
  return static_cast<const btgatt_interface_t*>(
      bluetoothInterface.get_profile_interface(BT_PROFILE_GATT_ID));
}

scoped_refptr<base::SingleThreadTaskRunner> LibraryIpcTaskRunner() {
  return MojoProcessSupport::GetInstance()->getThread()->getTaskRunner();
}

void InitLibrary(const std::function<void()>& host_initialized) {
  CountingStack& stack = CountingStack::Get();
  bluetoothInterface.init(stack.callbacks(), false, false, 0, nullptr, false, nullptr);
  host_initialized();
  Gatt()->init(stack.gattCallbacks());
}

MonitorLink ConnectToMonitor(const std::function<void()>& host_initialized,
                             const std::function<void(int)>& let_time_pass) {
  CountingStack& stack = CountingStack::Get();
  const btgatt_client_interface_t* client = Gatt()->client;
  MonitorLink link;
  link.monitor = RawAddress(kPeer);
  InitLibrary(host_initialized);

  bluetoothInterface.enable();
  stack.WaitUntil([&stack] { return stack.adapterState.load() == BT_STATE_ON; });
  client->register_client(bluetooth::Uuid::From16Bit(0x1234), false);
  stack.WaitUntil([&stack] { return stack.clientIf.load() != 0; });
  link.clientIf = stack.clientIf;
  client->connect(link.clientIf, link.monitor, true, BT_TRANSPORT_LE, false, 1);
  let_time_pass(30);
  stack.WaitUntil([&stack] { return stack.connId.load() != 0; });
  link.connId = stack.connId;
  client->search_service(link.connId, nullptr);
  let_time_pass(50);
  stack.WaitUntil([&stack] { return stack.searchesCompleted.load() != 0; });
  return link;
}

void CleanUpLibrary() {
  Gatt()->cleanup();
  bluetoothInterface.cleanup();
  RunOn(LibraryIpcTaskRunner(), [] { return true; });
}

}  // namespace bench
}  // namespace tev
