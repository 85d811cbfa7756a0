#include "session.h"

#include <cstdlib>

#include "base/strings/stringprintf.h"
#include "base/threading/process_idle.h"
#include "local_host.h"
#include "remote_host.h"
#include "stack_side.h"
#include "tev/sim/world_loader.h"
#include "tevbridge/TevBridgeSocket.h"

namespace tev {
namespace bttev {
namespace {

testing::StackTables& tables() {
  static testing::StackTables* tables = new testing::StackTables();
  return *tables;
}

using Direction = sim::JournalEntry::Direction;

// A daemon's journal entry as the transcript shows the host's.
std::string hostLine(const sim::JournalEntry& entry) {
  const char* verb = "   note ";
  switch (entry.direction) {
    case Direction::kCallReceived:
      verb = "<- call ";
      break;
    case Direction::kReplySent:
      verb = "-> reply";
      break;
    case Direction::kEventSent:
      verb = "-> event";
      break;
    case Direction::kReplyReceived:
      verb = "<- ack  ";
      break;
    case Direction::kNote:
      break;
  }
  return base::StringPrintf("%8.3fs  host   %s %s%s\n", static_cast<double>(entry.time.InMicroseconds()) / 1e6, verb,
                            entry.method.c_str(), entry.summary.empty() ? "" : ("  " + entry.summary).c_str());
}

}  // namespace

bt_callbacks_t* AdapterCallbacks() { return &tables().adapter; }

const btgatt_callbacks_t* GattCallbacks() { return &tables().gatt; }

Session::Session(SessionOptions options, std::ostream& out, std::ostream& err)
    : options_(std::move(options)),
      started_(std::chrono::steady_clock::now()),
      transcript_(out, err, options_.verbosity) {}

Session::~Session() {
  std::string ignored;
  if (!stopped_) Shutdown(&ignored);
  SetCallbackSink(nullptr);
  LibraryLog::Get().SetPrinter(nullptr);
}

bool Session::Start(std::string* error) {
  monitor_ = TaskMonitor::Install();
  if (!options_.tracePath.empty()) {
    trace_ = new TraceWriter();
    monitor_->SetObserver(trace_);
  }
  LibraryLog::Get().SetPrinter([this](int severity, const std::string& text) { transcript_.Log(severity, text); });

  if (!options_.hostSocket.empty()) {
    // The library's bridge request dials the socket the environment names, before it loads.
    setenv(bridge::kHostSocketVariable, options_.hostSocket.c_str(), 1);
    std::unique_ptr<RemoteHost> remote = RemoteHost::Connect(options_.hostSocket, kDeadlockGuard, error);
    if (!remote) return false;
    transcript_.Note("the host is the daemon's at " + options_.hostSocket + " (" + remote->Description() + ")");
    host_ = std::move(remote);
  } else {
    // The library must find this process's host, not one the environment names.
    unsetenv(bridge::kHostSocketVariable);
    if (options_.worldFile.empty()) {
      hostOptions_.world = sim::DefaultWorld();
    } else {
      sim::WorldError worldError;
      if (!sim::LoadWorldFile(options_.worldFile, &hostOptions_.world, &worldError)) {
        *error = worldError.ToString();
        return false;
      }
    }
    hostOptions_.time = options_.time;
    host_ = std::make_unique<LocalHost>(hostOptions_);
    transcript_.SetHost(host_->local());
  }

  library_ = LoadedLibrary::Load(options_.libraryPath, error);
  if (!library_) return false;
  SetCallbackSink(this);
  return true;
}

bool Session::Shutdown(std::string* error) {
  if (stopped_) return true;
  stopped_ = true;
  bool ok = true;
  if (library_ && checker_.Installed(TableGroup::kGatt)) {
    ok = Settle(error) && ok;
    ContractChecker::Lifecycle cleanup(checker_, TableGroup::kGatt, ContractChecker::Step::kCleanup);
    CallVoid("gatt.cleanup()", [this] { gatt_->cleanup(); });
  }
  if (library_ && checker_.Installed(TableGroup::kAdapter)) {
    ContractChecker::Lifecycle cleanup(checker_, TableGroup::kAdapter, ContractChecker::Step::kCleanup);
    CallVoid("cleanup()", [this] { bt()->cleanup(); });
  }
  if (library_) ok = Settle(error) && ok;
  if (host_) {
    transcript_.PumpJournal();
    pumpRemoteJournal();
    host_->Stop();
  }
  if (trace_) {
    std::string traceError;
    if (!trace_->Write(options_.tracePath, &traceError)) {
      *error = traceError;
      ok = false;
    }
  }
  return ok;
}

bool Session::ReplaceHost(const std::string& command,
                          const std::function<bool(sim::SimulatedHost::Options*)>& change, std::string* error) {
  if (!LocalHostFor(command, error)) return false;
  if (checker_.Installed(TableGroup::kAdapter)) {
    *error = "the host can be changed only while the adapter is not initialised (before init or after cleanup)";
    return false;
  }
  sim::SimulatedHost::Options options = hostOptions_;
  if (!change(&options)) return false;
  hostOptions_ = std::move(options);
  takenHostEntries_.clear();
  transcript_.SetHost(nullptr);
  host_->Stop();
  host_ = std::make_unique<LocalHost>(hostOptions_);
  transcript_.SetHost(host_->local());
  return true;
}

sim::SimulatedHost* Session::LocalHostFor(const std::string& command, std::string* error) {
  if (sim::SimulatedHost* host = host_->local()) return host;
  *error = "'" + command +
           "' works only on a host in this process; with --connect the host is the daemon's, which takes 'host "
           "fault', 'host clear_faults', 'host sever', 'host restart', 'host init', 'host journal' and 'advance'";
  return nullptr;
}

bool Session::PrintHostJournal(size_t count, std::string* error) {
  std::vector<sim::JournalEntry> entries;
  if (!host_->ReadJournal(0, &entries, error)) return false;
  pumpRemoteJournal();
  std::string text;
  for (size_t i = count == 0 || count > entries.size() ? 0 : entries.size() - count; i < entries.size(); ++i) {
    text += entries[i].ToString() + "\n";
  }
  transcript_.Print(text);
  return true;
}

void Session::PumpHostJournal() {
  if (options_.verbosity != Verbosity::kQuiet) pumpRemoteJournal();
}

void Session::pumpRemoteJournal() {
  if (host_->local()) return;
  std::vector<sim::JournalEntry> entries;
  std::string ignored;
  if (!host_->ReadJournal(remoteJournalShown_, &entries, &ignored)) return;
  std::string text;
  for (const sim::JournalEntry& entry : entries) {
    switch (entry.direction) {
      case Direction::kCallReceived:
        ++remoteCounts_.hostCalls;
        break;
      case Direction::kReplySent:
        ++remoteCounts_.hostReplies;
        break;
      case Direction::kEventSent:
        ++remoteCounts_.hostEvents;
        break;
      default:
        break;
    }
    if (options_.verbosity != Verbosity::kQuiet) text += hostLine(entry);
  }
  remoteJournalShown_ += entries.size();
  if (!text.empty()) transcript_.Print(text);
}

const btgatt_interface_t* Session::Gatt(std::string* error) {
  if (gatt_) return gatt_;
  const void* table = nullptr;
  CallVoid("get_profile_interface(\"gatt\")", [&] { table = bt()->get_profile_interface(BT_PROFILE_GATT_ID); });
  gatt_ = LoadedLibrary::CheckGattTable(table, error);
  return gatt_;
}

int Session::call(const std::string& text, const std::function<int()>& body, bool status) {
  int result = 0;
  CallVoid(
      text, [&] { result = body(); },
      [&] {
        const std::string label = status ? StatusLabel(result) : "";
        return std::to_string(result) + (label.empty() ? "" : " " + label);
      });
  return result;
}

int Session::CallStatus(const std::string& text, const std::function<int()>& body) { return call(text, body, true); }

int Session::CallValue(const std::string& text, const std::function<int()>& body) { return call(text, body, false); }

void Session::CallVoid(const std::string& text, const std::function<void()>& body,
                       const std::function<std::string()>& outcome) {
  PumpHostJournal();
  transcript_.HalCallStarted(text);
  {
    ContractChecker::HalCall call(checker_);
    if (trace_) trace_->BeginSlice(text, "hal");
    body();
    if (trace_) trace_->EndSlice();
  }
  transcript_.HalCallFinished(outcome ? outcome() : "");
}

bool Session::Settle(std::string* error) {
  const bool settled = checker_.Settle([&] {
    return host_->Settle(
        [](std::string* why) {
          std::string busy;
          if (base::WaitForProcessIdle(kDeadlockGuard, &busy)) return true;
          *why = "the threads did not run out of work within 5s (a deadlock, or work that keeps coming): " + busy;
          return false;
        },
        error);
  });
  PumpHostJournal();
  return settled;
}

bool Session::AdvanceTime(std::chrono::microseconds duration, std::string* error) {
  // Whatever the stack asked for before must reach the host at the time it was asked.
  if (virtualTime() && !Settle(error)) return false;
  return host_->AdvanceTime(base::TimeDelta::FromMicroseconds(duration.count()), error);
}

void Session::OnCallback(CallbackEvent event) {
  if (trace_) trace_->BeginSlice(event.Name(), "callback");
  const std::vector<ContractChecker::Breach> breaches = checker_.OnCallback(event);
  transcript_.Callback(event, breaches);
  events_.Push(std::move(event));
  if (trace_) trace_->EndSlice();
}

void Session::PrintSummary(const std::string& title, std::ostream& out) {
  transcript_.PumpJournal();
  Transcript::Counts counts = transcript_.counts();
  if (host_ && !host_->local()) {
    pumpRemoteJournal();
    counts.hostCalls = remoteCounts_.hostCalls;
    counts.hostReplies = remoteCounts_.hostReplies;
    counts.hostEvents = remoteCounts_.hostEvents;
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
  out << "\n== " << title << "\n";
  out << base::StringPrintf("  HAL calls made            %zu\n", counts.halCalls);
  out << base::StringPrintf("  host calls received       %zu (%zu replies)\n", counts.hostCalls, counts.hostReplies);
  out << base::StringPrintf("  host events sent          %zu\n", counts.hostEvents);
  std::string tables;
  for (const auto& [table, count] : counts.callbacksByTable) {
    tables += base::StringPrintf("%s%s %zu", tables.empty() ? "" : ", ", TablePrefix(table), count);
  }
  out << base::StringPrintf("  callbacks received        %zu%s\n", counts.callbacks,
                            tables.empty() ? "" : (" (" + tables + ")").c_str());
  out << base::StringPrintf("  expectations met          %zu\n", expectationsMet_);
  out << base::StringPrintf("  contract breaches         %zu\n", checker_.BreachCount());
  if (host_) {
    out << base::StringPrintf("  host time %.3fs, wall time %.3fs (%s clock)\n",
                              static_cast<double>(host_->Now().InMicroseconds()) / 1e6, seconds,
                              virtualTime() ? "virtual" : "real");
  }
  if (trace_) out << "  trace written to " << options_.tracePath << " (open it in ui.perfetto.dev)\n";
}

}  // namespace bttev
}  // namespace tev
