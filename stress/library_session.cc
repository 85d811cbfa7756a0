#include "library_session.h"

#include "answering_host.h"
#include "base/bind.h"
#include "bluetooth_tev_service.h"
#include "hal_calls.h"
#include "tev/testing/event.h"
#include "tev/testing/flush.h"
#include "tev/testing/run_on.h"
#include "tevbridge/MojoProcessSupport.h"

namespace tev {
namespace stress {

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
  stack_.WillInstall(Tables::kAdapter);
  {
    CheckingStack::HalCall call(stack_);
    Adapter().init(stack_.callbacks(), false, false, 0, nullptr, false, nullptr);
  }
  Settle();
  stack_.Installed(Tables::kAdapter);
  adapter_installed_ = true;
}

void LibrarySession::CleanUpAdapter() {
  stack_.WillCleanUp(Tables::kAdapter);
  {
    CheckingStack::HalCall call(stack_);
    Adapter().cleanup();
  }
  tev::testing::FlushTaskRunner(ipc_);
  stack_.CleanedUp(Tables::kAdapter);
  adapter_installed_ = false;
}

void LibrarySession::InstallGatt(const btgatt_callbacks_t* tables) {
  if (!tables) {
    CheckingStack::HalCall call(stack_);
    if (Gatt().init(nullptr) == BT_STATUS_SUCCESS) stack_.Breach("the GATT init took no tables");
    return;
  }
  stack_.WillInstall(Tables::kGatt);
  {
    CheckingStack::HalCall call(stack_);
    Gatt().init(tables);
  }
  stack_.Installed(Tables::kGatt);
  gatt_installed_ = true;
}

void LibrarySession::CleanUpGatt() {
  stack_.WillCleanUp(Tables::kGatt);
  if (adapter_installed_) {
    tev::testing::Event done;
    BluetoothTevService::GetInstance()->postToCallback(base::BindOnce(
        [](LibrarySession* session, base::RepeatingClosure done) {
          session->CleanUpGattHere();
          done.Run();
        },
        this, done.GetCallback()));
    done.Wait();
  } else {
    tev::testing::RunOn(ipc_, [this] { CleanUpGattHere(); });
  }
  gatt_installed_ = false;
}

void LibrarySession::CleanUpGattHere() {
  {
    CheckingStack::HalCall call(stack_);
    Gatt().cleanup();
  }
  stack_.CleanedUp(Tables::kGatt);
}

void LibrarySession::Settle() {
  for (int round = 0; round < 3; ++round) {
    tev::testing::FlushTaskRunner(ipc_);
    host_.FlushHost();
    tev::testing::FlushTaskRunner(ipc_);
    tev::testing::Event delivered;
    BluetoothTevService::GetInstance()->postToCallback(delivered.GetCallback());
    delivered.Wait();
  }
}

}  // namespace stress
}  // namespace tev
