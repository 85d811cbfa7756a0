#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <string>
#include <vector>

#include "base/time/time.h"
#include "tev/sim/simulated_host.h"
#include "tev/testing/log_capture.h"
#include "tev/testing/stack/recording_stack.h"

extern bt_interface_t bluetoothInterface;

namespace tev {
namespace sim {

// The library, driven through its entry tables as the stack drives it, against the simulated
// host on virtual time, with every callback recorded.
class SimFixture {
 public:
  explicit SimFixture(SimulatedHost::Options options = SimulatedHost::Options());
  // Cleans the GATT table and the adapter up, then stops the host.
  ~SimFixture();

  // Starts the host, then init through the table and waits for the library's answer to Init
  // (unless `await_init` is false); then the GATT table's init.
  void Start(bool await_init = true);
  // enable, answered with adapter_state_changed_cb(1).
  void Enable();

  // Lets every chain started so far (IPC -> host -> IPC -> callback) run to its end, and every
  // timer due run: waits until the whole process is idle.
  void Settle();
  // Moves virtual time on, then settles what the timers sent.
  void Advance(int milliseconds);

  const bt_interface_t* bt() const { return &bluetoothInterface; }
  const btgatt_interface_t* gatt() const;
  SimulatedHost& host() { return host_; }
  tev::testing::RecordingStack& stack() { return stack_; }
  tev::testing::LogCapture& logs() { return logs_; }
  // Callback texts by name, and the journal's entries of one method and direction.
  std::vector<std::string> Calls(const std::string& name) const { return stack_.Calls(name); }
  std::vector<std::string> Journal(const std::string& method, JournalEntry::Direction direction) const;

 private:
  tev::testing::LogCapture logs_;
  tev::testing::RecordingStack stack_;
  SimulatedHost host_;
  bool started_ = false;
};

}  // namespace sim
}  // namespace tev
