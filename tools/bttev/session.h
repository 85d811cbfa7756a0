#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>

#include "event_pattern.h"
#include "event_queue.h"
#include "library_loader.h"
#include "library_log.h"
#include "stack_side.h"
#include "session_host.h"
#include "task_monitor.h"
#include "tev/sim/simulated_host.h"
#include "trace_writer.h"
#include "transcript.h"

namespace tev {
namespace bttev {

struct SessionOptions {
  std::string libraryPath;
  // Empty for the built-in world.
  std::string worldFile;
  sim::SimulatedHost::Time time = sim::SimulatedHost::Time::kVirtual;
  // The socket of a `bttev host` daemon whose host to use; empty to run one in this process.
  // The daemon's world and clock are the ones that count then.
  std::string hostSocket;
  Verbosity verbosity = Verbosity::kNormal;
  // Empty for no trace.
  std::string tracePath;
};

// The stack's tables, handed to the inits. They outlive every session: the library may still read
// them as it goes.
bt_callbacks_t* AdapterCallbacks();
const btgatt_callbacks_t* GattCallbacks();

// One run of the driver: the host (simulated in this process, or a daemon's), the loaded library,
// and the stack's side of it (callback tables, contract checker, expectations, transcript,
// trace). Its methods run on the stack thread, the thread that created it, except OnCallback.
class Session : public CallbackSink {
 public:
  // How long an expectation or a settle waits before it counts as a deadlock.
  static constexpr std::chrono::milliseconds kDeadlockGuard{5000};

  Session(SessionOptions options, std::ostream& out, std::ostream& err);
  ~Session() override;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Loads the world and starts the host, or connects to the daemon's, then loads the library.
  bool Start(std::string* error);
  // Cleans up the tables the run left installed, stops the host and writes the trace.
  bool Shutdown(std::string* error);

  const bt_interface_t* bt() const { return library_->bt(); }
  // get_profile_interface("gatt"), asked once and checked.
  const btgatt_interface_t* Gatt(std::string* error);

  // One HAL call on the stack thread, as the checker, the trace and the transcript see it. The
  // inits and clean-ups also mark their ContractChecker::Lifecycle around it.
  int CallStatus(const std::string& call, const std::function<int()>& body);
  int CallValue(const std::string& call, const std::function<int()>& body);
  void CallVoid(const std::string& call, const std::function<void()>& body,
                const std::function<std::string()>& outcome = nullptr);

  // Waits until the whole process is idle: no thread has work left that is due, no message waits
  // in a pipe; with a daemon's host, until the daemon is idle too and nothing is on its way
  // between the two.
  bool Settle(std::string* error);
  // Virtual time: once every call made so far has reached the host, runs the host's timers due
  // within `duration`. Real time: lets it pass (a daemon's refuses).
  bool AdvanceTime(std::chrono::microseconds duration, std::string* error);
  bool virtualTime() const { return host_->virtualTime(); }

  // Stops the host and starts a new one with options that `change` adjusts (world, bridge
  // version, whether Init waits); `change` returns false with `error` to keep the host. Only
  // while the adapter table is not installed, as the library then holds no pipe to the host.
  // `command` names the change in the error given when the host is a daemon's.
  bool ReplaceHost(const std::string& command, const std::function<bool(sim::SimulatedHost::Options*)>& change,
                   std::string* error);

  SessionHost& host() { return *host_; }
  // The host in this process, for the commands that reach into it; null with `error` naming
  // `command` when the host is a daemon's.
  sim::SimulatedHost* LocalHostFor(const std::string& command, std::string* error);
  // The world the host plays.
  const sim::World& world() const { return host_->world(); }
  // Prints the host's last `count` journal entries (all for 0).
  bool PrintHostJournal(size_t count, std::string* error);
  // A daemon's journal reaches the transcript only as it is read: after each command, before
  // each HAL call and after each wait. Unless quiet, prints what came since the last time.
  void PumpHostJournal();
  // The host's journal entries that an 'expect host' took, by index; a new host starts afresh.
  std::set<size_t>& takenHostEntries() { return takenHostEntries_; }
  EventQueue& events() { return events_; }
  ContractChecker& checker() { return checker_; }
  Transcript& transcript() { return transcript_; }
  Variables& variables() { return variables_; }
  void CountExpectationMet() { ++expectationsMet_; }

  // "== title", then counts of what crossed each boundary.
  void PrintSummary(const std::string& title, std::ostream& out);

  // The thread the HAL called back on.
  void OnCallback(CallbackEvent event) override;

 private:
  int call(const std::string& text, const std::function<int()>& body, bool status);
  // Reads a daemon's new journal entries, counts them and, unless quiet, prints them.
  void pumpRemoteJournal();

  const SessionOptions options_;
  const std::chrono::steady_clock::time_point started_;
  Transcript transcript_;
  ContractChecker checker_;
  EventQueue events_;
  Variables variables_;
  sim::SimulatedHost::Options hostOptions_;
  std::unique_ptr<SessionHost> host_;
  std::set<size_t> takenHostEntries_;
  // A daemon's entries printed so far, and what they counted.
  size_t remoteJournalShown_ = 0;
  Transcript::Counts remoteCounts_;
  std::unique_ptr<LoadedLibrary> library_;
  const btgatt_interface_t* gatt_ = nullptr;
  TaskMonitor* monitor_ = nullptr;
  // Lives as long as the process, like the monitor that feeds it.
  TraceWriter* trace_ = nullptr;
  bool stopped_ = false;
  size_t expectationsMet_ = 0;
};

}  // namespace bttev
}  // namespace tev
