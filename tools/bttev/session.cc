#include "session.h"

#include <thread>

#include "base/strings/stringprintf.h"
#include "base/threading/process_idle.h"
#include "stack_side.h"
#include "tev/sim/world_loader.h"

namespace tev {
namespace bttev {
namespace {

testing::StackTables& tables() {
  static testing::StackTables* tables = new testing::StackTables();
  return *tables;
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
  host_ = std::make_unique<sim::SimulatedHost>(hostOptions_);
  host_->Start();
  transcript_.SetHost(host_.get());

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

bool Session::ReplaceHost(const std::function<bool(sim::SimulatedHost::Options*)>& change, std::string* error) {
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
  host_ = std::make_unique<sim::SimulatedHost>(hostOptions_);
  host_->Start();
  transcript_.SetHost(host_.get());
  return true;
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
  std::string busy;
  if (checker_.Settle([&] { return base::WaitForProcessIdle(kDeadlockGuard, &busy); })) return true;
  *error = "the threads did not run out of work within 5s (a deadlock, or work that keeps coming): " + busy;
  return false;
}

bool Session::AdvanceTime(std::chrono::microseconds duration, std::string* error) {
  if (!virtualTime()) {
    std::this_thread::sleep_for(duration);
    return true;
  }
  // Whatever the stack asked for before must reach the host at the time it was asked.
  if (!Settle(error)) return false;
  if (!host_->AdvanceTime(base::TimeDelta::FromMicroseconds(duration.count()))) {
    *error = "the host did not advance its clock";
    return false;
  }
  return true;
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
  const Transcript::Counts counts = transcript_.counts();
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
