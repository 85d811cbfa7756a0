#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include "bluetooth_tev_service.h"
#include "host_double.h"
#include "tev/testing/log_capture.h"
#include "tev/testing/run_on.h"
#include "tev/testing/stack/recording_stack.h"

extern bt_interface_t bluetoothInterface;

namespace tev {
namespace testing {

// The library driven through its entry tables as the stack drives it, with the host played by
// a HostDouble over real pipes and the stack's callbacks recorded. Each test runs in a process
// of its own, so the library's singleton starts fresh.
class LibraryHarness {
 public:
  struct Options {
    HostDouble::Options host;
    // Also hand the GATT callback tables over in Start().
    bool initGatt = true;
  };

  LibraryHarness();
  explicit LibraryHarness(const Options& options);
  // Cleans the GATT table and the adapter up if Start() ran, and waits until the process is idle.
  ~LibraryHarness();

  // init through the table, then waits until the library has acknowledged the host's Init
  // (unless the host double does not call it), then the GATT table's init.
  void Start();

  const bt_interface_t* bt() const { return &bluetoothInterface; }
  const btgatt_interface_t* gatt() const;
  BluetoothTevService* service() const { return BluetoothTevService::GetInstance(); }

  HostDouble& host() { return host_; }
  ::testing::NiceMock<MockBluetoothHost>& mock() { return host_.mock(); }
  RecordingStack& stack() { return stack_; }
  LogCapture& logs() { return logs_; }

  static scoped_refptr<base::SingleThreadTaskRunner> IpcTaskRunner();
  // Every task posted to the IPC thread so far has run.
  void FlushIpc();
  // Every callback posted so far has been delivered.
  void FlushCallbacks();
  // Lets every chain started so far (IPC -> host -> IPC -> callback) run to its end: waits until
  // the whole process is idle.
  void Settle();
  // Runs `task` on the IPC thread and returns its result.
  template <typename F>
  auto RunOnIpc(F task) {
    return RunOn(IpcTaskRunner(), std::move(task));
  }

 private:
  const Options options_;
  LogCapture logs_;
  RecordingStack stack_;
  HostDouble host_;
  bool started_ = false;
};

}  // namespace testing
}  // namespace tev
