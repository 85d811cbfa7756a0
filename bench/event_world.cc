#include "event_world.h"

#include "base/bind.h"
#include "counting_stack.h"
#include "host_events.h"
#include "stack_bring_up.h"

namespace tev {
namespace bench {
namespace {

EventWorld* gWorld = nullptr;

}  // namespace

EventWorld::EventWorld() {
  gWorld = this;
  InitLibrary([this] { host_.WaitForInit(); });
  host_.Post(base::BindOnce([](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEConnectionStateChange(PeerAddress(), true);
  }));
  CountingStack& stack = CountingStack::Get();
  stack.WaitUntil([&stack] { return stack.connId.load() != 0; });
}

EventWorld::~EventWorld() {
  CleanUpLibrary();
  gWorld = nullptr;
}

EventWorld& EventWorld::Get() { return *gWorld; }

}  // namespace bench
}  // namespace tev
