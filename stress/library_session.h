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
// real pipes that answers every call, and the inits and clean-ups told to the contract checker.
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
  // Settles before the adapter counts as installed: the host has called Init, and no callback
  // started inline during init is still running. Only while no other thread is at work.
  void InstallAdapter();
  // While other threads make calls and fire events, when the process may never be idle: drains
  // instead; Init comes when it comes.
  void InstallAdapterWhileBusy();
  void CleanUpAdapter();
  // Null `tables` is the stack's mistake, which the library refuses; nothing changes.
  void InstallGatt(const btgatt_callbacks_t* tables);
  // Then drains, so that the checker holds the cleaned tables to their clean-up until the next
  // init.
  void CleanUpGatt();

  // Every chain started so far (IPC, host, IPC, callbacks) has run to its end: the process is
  // idle. Only while no other thread is at work.
  void Settle();

 private:
  void InitAdapter();
  // Every task queued so far on the IPC thread, then on the callback thread, has run, however busy
  // the other threads are: the checker learns that no event built before can still arrive.
  void Drain();

  CheckingStack stack_;
  tev::testing::HostDouble host_;
  const scoped_refptr<base::SingleThreadTaskRunner> ipc_;
  bool adapter_installed_ = false;
  bool gatt_installed_ = false;
};

}  // namespace stress
}  // namespace tev
