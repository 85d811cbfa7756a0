#include "event_world.h"

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include "base/bind.h"
#include "counting_stack.h"
#include "tevbridge/MojoProcessSupport.h"

extern bt_interface_t bluetoothInterface;

namespace tev {
namespace bench {
namespace {

EventWorld* gWorld = nullptr;

const btgatt_interface_t* Gatt() {
  return static_cast<const btgatt_interface_t*>(
      bluetoothInterface.get_profile_interface(BT_PROFILE_GATT_ID));
}

}  // namespace

EventWorld::EventWorld() {
  gWorld = this;
  CountingStack& stack = CountingStack::Get();
  bluetoothInterface.init(stack.callbacks(), false, false, 0, nullptr, false, nullptr);
  host_.WaitForInit();
  Gatt()->init(stack.gattCallbacks());
  host_.Post(base::BindOnce([](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEConnectionStateChange(PeerAddress(), true);
  }));
  stack.WaitUntil([&stack] { return stack.connId.load() != 0; });
}

EventWorld::~EventWorld() {
  Gatt()->cleanup();
  bluetoothInterface.cleanup();
  RunOn(IpcTaskRunner(), [] { return true; });
  gWorld = nullptr;
}

EventWorld& EventWorld::Get() { return *gWorld; }

scoped_refptr<base::SingleThreadTaskRunner> EventWorld::IpcTaskRunner() {
  return MojoProcessSupport::GetInstance()->getThread()->getTaskRunner();
}

tev::mojom::BluetoothAddressPtr PeerAddress() {
  return tev::mojom::BluetoothAddress::New(
      std::vector<uint8_t>(EventWorld::kPeer.begin(), EventWorld::kPeer.end()));
}

}  // namespace bench
}  // namespace tev
