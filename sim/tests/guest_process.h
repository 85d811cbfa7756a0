#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <string>

#include "tev/testing/log_capture.h"
#include "tev/testing/stack/recording_stack.h"

extern bt_interface_t bluetoothInterface;

namespace tev {
namespace sim {

// The library in this process as the guest of a host process listening at a socket: driven
// through its tables as the stack drives it, every callback and log line recorded. Each step
// waits for the callback that ends it and returns false (with a test failure) if it is not
// what the step expects.
class GuestSession {
 public:
  // Names the host's socket in this process's environment.
  explicit GuestSession(const std::string& socketPath);

  // init, the host's Init, the GATT init.
  bool Init();
  bool Enable();
  bool SetAdapterName(const std::string& name);
  // A client that connects to the heart-rate monitor and finds its services; `connId` is set.
  bool ConnectMonitor(int* connId);
  // A server that publishes one service of three attributes; its handle, or 0.
  int PublishService();
  // The GATT table's cleanup, then the adapter's.
  void Cleanup();

  const bt_interface_t* bt() const { return &bluetoothInterface; }
  const btgatt_interface_t* gatt() const;
  tev::testing::RecordingStack& stack() { return mStack; }
  tev::testing::LogCapture& logs() { return mLogs; }

 private:
  tev::testing::LogCapture mLogs{tev::testing::LogCapture::Stderr::kSuppress};
  tev::testing::RecordingStack mStack;
};

// A guest process's whole session (see HostProcesses::StartGuest): the handle of the service
// it published, or 0.
int RunGuest(const std::string& socketPath, const std::string& adapterName);

}  // namespace sim
}  // namespace tev
