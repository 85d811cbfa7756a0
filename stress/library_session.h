#pragma once

#include <hardware/bt_gatt.h>

#include <memory>

#include "base/memory/scoped_refptr.h"
#include "base/single_thread_task_runner.h"
#include "checking_stack.h"
#include "host_double.h"
#include "mojom/bluetooth.mojom.h"

namespace tev {
namespace stress {

// The library as the stack uses it: the checking tables handed to the inits, a host double over
// real pipes that answers every call, and the inits and clean-ups told to the checking tables.
// The lifecycle calls come from one thread, as the stack makes them.
class LibrarySession {
 public:
  LibrarySession();
  // Cleans up whatever is installed.
  ~LibrarySession();
  LibrarySession(const LibrarySession&) = delete;
  LibrarySession& operator=(const LibrarySession&) = delete;

  CheckingStack& stack() { return stack_; }
  tev::testing::HostDouble& host() { return host_; }
  const scoped_refptr<base::SingleThreadTaskRunner>& ipc() const { return ipc_; }
  // The library as the host sees it; IPC thread only.
  static tev::mojom::BluetoothInstance* library();

  bool AdapterInstalled() const { return adapter_installed_; }
  bool GattInstalled() const { return gatt_installed_; }
  // Settles before the adapter counts as installed: the host has had its chance to call Init,
  // and no callback started inline during init is still running.
  void InstallAdapter();
  // Flushes the IPC thread before the adapter counts as cleaned up, so that a callback the
  // library started inline before the table was cleared has ended.
  void CleanUpAdapter();
  // Null `tables` is the stack's mistake, which the library refuses; nothing changes.
  void InstallGatt(const btgatt_callbacks_t* tables);
  // Runs the clean-up on the thread that delivers callbacks (the callback thread, or the IPC
  // thread while there is none) and reports it done from there: no callback is half-way when it
  // returns, and any that arrives afterwards started afterwards.
  void CleanUpGatt();

  // Every chain started so far (IPC, host, IPC, callbacks) has run to its end.
  void Settle();

 private:
  // On the delivering thread.
  void CleanUpGattHere();

  CheckingStack stack_;
  tev::testing::HostDouble host_;
  const scoped_refptr<base::SingleThreadTaskRunner> ipc_;
  bool adapter_installed_ = false;
  bool gatt_installed_ = false;
};

}  // namespace stress
}  // namespace tev
