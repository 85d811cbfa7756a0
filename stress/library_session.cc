#include "library_session.h"

#include "answering_host.h"
#include "bluetooth_tev_service.h"
#include "hal_calls.h"
#include "tev/testing/event.h"
#include "tev/testing/flush.h"
#include "tev/testing/idle.h"
#include "tevbridge/MojoProcessSupport.h"

namespace tev {
namespace stress {

using Checker = CheckingStack::Checker;
using tev::testing::TableGroup;

LibrarySession::LibrarySession()
    : ipc_(MojoProcessSupport::GetInstance()->getThread()->getTaskRunner()) {
  AnswerEveryCall(host_.mock());
}

LibrarySession::~LibrarySession() {
  if (gatt_installed_) CleanUpGatt();
  if (adapter_installed_) CleanUpAdapter();
  Settle();
}

tev::mojom::BluetoothInstance* LibrarySession::library() {
  return BluetoothTevService::GetInstance();
}

void LibrarySession::InstallAdapter() {
  InitAdapter();
  Settle();
  adapter_installed_ = true;
}

void LibrarySession::InstallAdapterWhileBusy() {
  InitAdapter();
  Drain();
  adapter_installed_ = true;
}

void LibrarySession::InitAdapter() {
  Checker::Lifecycle init(stack_.checker(), TableGroup::kAdapter, Checker::Step::kInit);
  CheckingStack::HalCall call(stack_);
  Adapter().init(stack_.callbacks(), false, false, 0, nullptr, false, nullptr);
}

void LibrarySession::CleanUpAdapter() {
  {
    Checker::Lifecycle cleanup(stack_.checker(), TableGroup::kAdapter, Checker::Step::kCleanup);
    CheckingStack::HalCall call(stack_);
    Adapter().cleanup();
  }
  adapter_installed_ = false;
}

void LibrarySession::InstallGatt(const btgatt_callbacks_t* tables) {
  if (!tables) {
    CheckingStack::HalCall call(stack_);
    if (Gatt().init(nullptr) == BT_STATUS_SUCCESS) stack_.Breach("the GATT init took no tables");
    return;
  }
  {
    Checker::Lifecycle init(stack_.checker(), TableGroup::kGatt, Checker::Step::kInit);
    CheckingStack::HalCall call(stack_);
    Gatt().init(tables);
  }
  gatt_installed_ = true;
}

void LibrarySession::CleanUpGatt() {
  {
    Checker::Lifecycle cleanup(stack_.checker(), TableGroup::kGatt, Checker::Step::kCleanup);
    CheckingStack::HalCall call(stack_);
    Gatt().cleanup();
  }
  gatt_installed_ = false;
  Drain();
}

void LibrarySession::Settle() {
  stack_.checker().Settle([] {
    tev::testing::WaitForIdle();
    return true;
  });
}

void LibrarySession::Drain() {
  stack_.checker().Settle([this] {
    tev::testing::FlushTaskRunner(ipc_);
    tev::testing::Event delivered;
    BluetoothTevService::GetInstance()->postToCallback(delivered.GetCallback());
    return delivered.Wait();
  });
}

}  // namespace stress
}  // namespace tev
