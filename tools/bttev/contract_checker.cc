#include "contract_checker.h"

#include "base/strings/stringprintf.h"

namespace tev {
namespace bttev {
namespace {

bool isAnnouncement(const CallbackEvent& event) {
  if (event.table == Table::kGattClient) return event.slot == "open_cb";
  if (event.table == Table::kGattServer) return event.slot == "connection_cb" && event.Number("connected") == 1;
  return false;
}

bool isThreadEvent(const CallbackEvent& event, int evt) {
  return event.table == Table::kAdapter && event.slot == "thread_evt_cb" && event.Number("evt", -1) == evt;
}

}  // namespace

std::string ContractChecker::Breach::ToString() const { return callback + " on " + thread + ": " + rule; }

void ContractChecker::OnHalCallStarted(const ThreadRef& thread, const std::string& call) {
  std::lock_guard<std::mutex> lock(mutex_);
  halCalls_[thread.id] = call;
}

void ContractChecker::OnHalCallFinished(const ThreadRef& thread) {
  std::lock_guard<std::mutex> lock(mutex_);
  halCalls_.erase(thread.id);
}

void ContractChecker::OnTableInstalled(Table table) {
  std::lock_guard<std::mutex> lock(mutex_);
  tables_[table] = TableState::kInstalled;
}

void ContractChecker::OnTableCleanedUp(Table table) {
  std::lock_guard<std::mutex> lock(mutex_);
  tables_[table] = TableState::kCleanedUp;
}

std::vector<ContractChecker::Breach> ContractChecker::OnCallback(const CallbackEvent& event) {
  std::vector<std::string> rules = event.problems;
  std::lock_guard<std::mutex> lock(mutex_);
  checkThread(event, &rules);
  if (!event.inlineResult) {
    auto table = tables_.find(event.table);
    if (table == tables_.end() || table->second == TableState::kNever) {
      rules.push_back("its table was never handed to the HAL");
    } else if (table->second == TableState::kCleanedUp) {
      rules.push_back("arrived after its table's clean-up returned");
    }
  }
  checkIds(event, &rules);
  std::vector<Breach> committed;
  for (const std::string& rule : rules) {
    committed.push_back(Breach{event.Name(), event.thread.name, rule});
    breaches_.push_back(committed.back());
  }
  return committed;
}

void ContractChecker::checkThread(const CallbackEvent& event, std::vector<std::string>* rules) {
  const ThreadRef& thread = event.thread;
  if (event.inlineResult) {
    if (!inHalCallLocked(thread.id)) {
      rules->push_back(
          "a result of a HAL call's callback argument must arrive on the calling thread "
          "before the call returns");
    }
    return;
  }
  if (isThreadEvent(event, 0)) {
    if (associated_) {
      rules->push_back("ASSOCIATE_JVM while thread '" + associated_->name + "' is still associated");
    }
    associated_ = thread;
    return;
  }
  if (isThreadEvent(event, 1)) {
    if (!associated_) {
      rules->push_back("DISASSOCIATE_JVM without an associated thread");
    } else if (associated_->id != thread.id) {
      rules->push_back("DISASSOCIATE_JVM from another thread than the associated '" + associated_->name + "'");
    }
    associated_.reset();
    return;
  }
  if (associated_) {
    if (associated_->id != thread.id) {
      rules->push_back(
          base::StringPrintf("arrived on thread '%s' (#%llu), not on the associated callback "
                             "thread '%s' (#%llu)",
                             thread.name.c_str(), static_cast<unsigned long long>(thread.id), associated_->name.c_str(),
                             static_cast<unsigned long long>(associated_->id)));
    }
    return;
  }
  if (thread.name != kIpcThreadName && !inHalCallLocked(thread.id)) {
    rules->push_back("arrived on thread '" + thread.name +
                     "' while no callback thread is associated: only inline calls (the calling or the IPC "
                     "thread) are allowed then");
  }
}

void ContractChecker::checkIds(const CallbackEvent& event, std::vector<std::string>* rules) {
  if (const Field* conn = event.Find("conn_id")) {
    const int64_t connId = event.Number(conn->name, 0);
    if (connId < 1) {
      rules->push_back(base::StringPrintf("conn_id %lld is not a connection id", static_cast<long long>(connId)));
    } else if (isAnnouncement(event)) {
      announcedConnIds_.insert(connId);
    } else if (!announcedConnIds_.count(connId)) {
      rules->push_back(base::StringPrintf("conn_id %lld was never announced by open_cb or connection_cb",
                                          static_cast<long long>(connId)));
    }
  }
  auto handedOutOnce = [&](const char* field, std::set<int64_t>* seen) {
    const int64_t id = event.Number(field, 0);
    if (id < 1) {
      rules->push_back(base::StringPrintf("%s %lld is not an id", field, static_cast<long long>(id)));
    } else if (!seen->insert(id).second) {
      rules->push_back(base::StringPrintf("%s %lld handed out twice", field, static_cast<long long>(id)));
    }
  };
  if (event.table == Table::kGattClient && event.slot == "register_client_cb") handedOutOnce("client_if", &clientIfs_);
  if (event.table == Table::kGattServer && event.slot == "register_server_cb") handedOutOnce("server_if", &serverIfs_);
  if (event.Find("trans_id")) handedOutOnce("trans_id", &transIds_);
  if (event.slot == "open_cb" || event.slot == "close_cb") {
    if (event.Number("client_if", 0) < 1) rules->push_back("client_if is not an id");
  }
  if (event.slot == "connection_cb" && event.Number("server_if", 0) < 1) rules->push_back("server_if is not an id");
}

bool ContractChecker::inHalCallLocked(uint64_t threadId) const { return halCalls_.count(threadId) > 0; }

std::vector<ContractChecker::Breach> ContractChecker::Breaches() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return breaches_;
}

size_t ContractChecker::BreachCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return breaches_.size();
}

}  // namespace bttev
}  // namespace tev
