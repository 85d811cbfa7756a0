#include "tev/testing/stack/contract_checker.h"

#include <hardware/bluetooth.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <set>

#include "base/strings/stringprintf.h"

namespace tev {
namespace testing {
namespace {

constexpr size_t kKeptBreaches = 100;
constexpr size_t kKeptIdRuns = 64;

size_t indexOf(TableGroup group) { return group == TableGroup::kAdapter ? 0 : 1; }

bool is(const CallbackEvent& event, Table table, const char* slot) {
  return event.table == table && event.slot == slot;
}

// What the library does not bridge has no events; its advertiser answers nothing.
bool calledByTheLibrary(const CallbackEvent& event) {
  if (event.table == Table::kGattAdvertiser) return false;
  if (event.inlineResult) return true;
  static const std::set<std::string> kNever[] = {
      {"pin_request_cb", "ssp_request_cb", "address_consolidate_cb", "le_address_associate_cb",
       "dut_mode_recv_cb", "le_test_mode_cb", "energy_info_cb", "link_quality_report_cb",
       "generate_local_oob_data_cb", "switch_buffer_size_cb", "switch_codec_cb"},
      {"congestion_cb", "services_added_cb", "phy_updated_cb", "conn_updated_cb",
       "service_changed_cb"},
      {"response_confirmation_cb", "congestion_cb", "phy_updated_cb", "conn_updated_cb"},
      {"batchscan_reports_cb", "batchscan_threshold_cb", "track_adv_event_cb"}};
  return kNever[static_cast<size_t>(event.table)].count(event.slot) == 0;
}

// Only a HAL call on a stack thread builds these.
bool builtByHalCall(const CallbackEvent& event) {
  return is(event, Table::kGattClient, "register_client_cb") ||
         is(event, Table::kGattServer, "register_server_cb") ||
         is(event, Table::kAdapter, "thread_evt_cb");
}

// What a HAL call posts itself, and so runs on the calling thread while no callback thread runs.
// DISASSOCIATE_JVM is posted only while the callback thread runs.
bool postedByHalCall(const CallbackEvent& event) {
  if (is(event, Table::kAdapter, "thread_evt_cb")) return event.Number("evt", -1) == ASSOCIATE_JVM;
  return builtByHalCall(event) || is(event, Table::kGattClient, "configure_mtu_cb");
}

}  // namespace

std::string ContractChecker::Breach::ToString() const {
  return callback.empty() ? rule : callback + " on " + thread + ": " + rule;
}

ContractChecker::HalCall::HalCall(ContractChecker& checker)
    : checker_(checker), thread_(CurrentThread().id) {
  std::lock_guard<std::mutex> lock(checker_.mutex_);
  CallState& call = checker_.calls_[thread_];
  if (call.depth++ > 0) return;
  call.startedAt = checker_.sequence_;
  call.adapterAtStart = checker_.groups_[0].phase;
  call.adapterChangedAtStart = checker_.groups_[0].changedAt;
}

ContractChecker::HalCall::~HalCall() {
  std::lock_guard<std::mutex> lock(checker_.mutex_);
  if (--checker_.calls_[thread_].depth == 0) checker_.calls_.erase(thread_);
}

ContractChecker::Lifecycle::Lifecycle(ContractChecker& checker, TableGroup group, Step step)
    : checker_(checker), group_(group), step_(step) {
  checker_.move(group_, step_ == Step::kInit ? Phase::kInitializing : Phase::kCleaning);
}

ContractChecker::Lifecycle::~Lifecycle() {
  checker_.move(group_, step_ == Step::kInit ? Phase::kInstalled : Phase::kCleanedUp);
}

ContractChecker::OwedAnswer::OwedAnswer(ContractChecker& checker, std::string call)
    : checker_(checker), call_(std::move(call)), thread_(CurrentThread().id), before_([&] {
        std::lock_guard<std::mutex> lock(checker.mutex_);
        auto found = checker.calls_.find(thread_);
        return found == checker.calls_.end() ? 0 : found->second.answers;
      }()) {}

ContractChecker::OwedAnswer::~OwedAnswer() {
  uint64_t answers = 0;
  {
    std::lock_guard<std::mutex> lock(checker_.mutex_);
    auto found = checker_.calls_.find(thread_);
    if (found != checker_.calls_.end()) answers = found->second.answers - before_;
  }
  if (answers != 1) {
    checker_.Flag(
        base::StringPrintf("%s answered %llu times on the calling thread before returning",
                           call_.c_str(), static_cast<unsigned long long>(answers)));
  }
}

bool ContractChecker::IdSet::Insert(int64_t id) {
  auto next = runs_.upper_bound(id);
  auto run = next;
  if (next != runs_.begin() && std::prev(next)->second >= id - 1) {
    run = std::prev(next);
    if (run->second >= id) return false;
    run->second = id;
  } else {
    run = runs_.emplace_hint(next, id, id);
  }
  if (next != runs_.end() && next->first == id + 1) {
    run->second = next->second;
    runs_.erase(next);
  }
  if (runs_.size() > kKeptIdRuns) runs_.erase(runs_.begin());
  return true;
}

void ContractChecker::move(TableGroup group, Phase phase) {
  std::lock_guard<std::mutex> lock(mutex_);
  GroupState& state = groups_[indexOf(group)];
  state.phase = phase;
  state.changedAt = ++sequence_;
  state.settled = false;
}

bool ContractChecker::Settle(const std::function<bool()>& wait) {
  uint64_t mark = 0;
  uint64_t oldestCall = std::numeric_limits<uint64_t>::max();
  {
    std::lock_guard<std::mutex> lock(mutex_);
    mark = sequence_;
    for (const auto& [thread, call] : calls_) oldestCall = std::min(oldestCall, call.startedAt);
  }
  if (!wait()) return false;
  std::lock_guard<std::mutex> lock(mutex_);
  for (GroupState& group : groups_) {
    if (group.changedAt <= mark && oldestCall >= group.changedAt) group.settled = true;
  }
  return true;
}

std::vector<ContractChecker::Breach> ContractChecker::OnCallback(const CallbackEvent& event) {
  std::vector<std::string> rules = event.problems;
  std::lock_guard<std::mutex> lock(mutex_);
  ++callbacks_;
  if (!calledByTheLibrary(event)) rules.push_back("the library never calls this slot");
  if (event.inlineResult) {
    auto call = calls_.find(event.thread.id);
    if (call == calls_.end()) {
      rules.push_back(
          "a result handed to a HAL call's callback argument arrives on the calling thread "
          "before the call returns");
    } else {
      ++call->second.answers;
    }
  } else {
    std::string rule = lifetimeRule(event);
    if (rule.empty()) rule = threadRule(event);
    if (!rule.empty()) rules.push_back(rule);
    checkIds(event, &rules);
  }
  std::vector<Breach> committed;
  for (const std::string& rule : rules) {
    committed.push_back(Breach{event.Name(), event.thread.name, rule});
    keepLocked(committed.back());
  }
  return committed;
}

std::string ContractChecker::lifetimeRule(const CallbackEvent& event) const {
  const GroupState& group = groups_[event.table == Table::kAdapter ? 0 : 1];
  if (group.phase == Phase::kNever) return "its tables were never handed to the library";
  if (group.phase != Phase::kCleanedUp) return "";
  if (group.settled) {
    return "arrived after its tables' clean-up returned and every earlier event had arrived";
  }
  if (event.table == Table::kAdapter && event.thread.name != kIpcThread) {
    return "arrived after the adapter's clean-up returned, other than inline on the IPC thread";
  }
  return "";
}

std::string ContractChecker::threadRule(const CallbackEvent& event) const {
  const GroupState& adapter = groups_[0];
  const std::string& name = event.thread.name;
  if (name == kCallbackThread) {
    const bool runs = adapter.phase != Phase::kNever && adapter.phase != Phase::kCleanedUp;
    return runs ? "" : "arrived on the callback thread while none runs";
  }
  if (name == kIpcThread) {
    if (builtByHalCall(event)) return "arrived on the IPC thread, but only a HAL call builds it";
    const bool inlineThere = adapter.phase != Phase::kInstalled || !adapter.settled;
    return inlineThere ? "" : "arrived inline on the IPC thread while the callback thread runs";
  }
  auto call = calls_.find(event.thread.id);
  if (call != calls_.end() && postedByHalCall(event) &&
      (call->second.adapterAtStart != Phase::kInstalled ||
       call->second.adapterChangedAtStart != adapter.changedAt)) {
    return "";
  }
  return "arrived on thread '" + name +
         "': only the callback thread calls back while it runs, otherwise the thread that built "
         "the event";
}

void ContractChecker::checkIds(const CallbackEvent& event, std::vector<std::string>* rules) {
  const auto once = [&](const char* field, IdSet& seen) {
    const long long id = event.Number(field, 0);
    if (id < 1) {
      rules->push_back(base::StringPrintf("%s %lld is not an id", field, id));
    } else if (!seen.Insert(id)) {
      rules->push_back(base::StringPrintf("%s %lld handed out twice", field, id));
    }
  };
  if (is(event, Table::kGattClient, "register_client_cb")) once("client_if", clientIfs_);
  if (is(event, Table::kGattServer, "register_server_cb")) once("server_if", serverIfs_);
  if (event.Find("trans_id")) once("trans_id", transIds_);
}

void ContractChecker::Flag(const std::string& rule) {
  std::lock_guard<std::mutex> lock(mutex_);
  keepLocked(Breach{"", "", rule});
}

void ContractChecker::keepLocked(const Breach& breach) {
  ++breachCount_;
  const std::string text = breach.ToString();
  const bool known = std::any_of(breaches_.begin(), breaches_.end(),
                                 [&](const Breach& kept) { return kept.ToString() == text; });
  if (!known && breaches_.size() < kKeptBreaches) breaches_.push_back(breach);
}

bool ContractChecker::Installed(TableGroup group) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const Phase phase = groups_[indexOf(group)].phase;
  return phase == Phase::kInitializing || phase == Phase::kInstalled;
}

uint64_t ContractChecker::CallbackCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return callbacks_;
}

size_t ContractChecker::BreachCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return breachCount_;
}

std::vector<ContractChecker::Breach> ContractChecker::Breaches() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return breaches_;
}

}  // namespace testing
}  // namespace tev
