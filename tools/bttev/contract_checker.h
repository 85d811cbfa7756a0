#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "callback_event.h"

namespace tev {
namespace bttev {

// The HAL callback contract as the stack relies on it:
// - threads: every callback arrives on the thread that sent ASSOCIATE_JVM; while no thread is
//   associated (before init, after cleanup) the HAL may only call back inline, on the thread of
//   the HAL call in progress or on its IPC thread; results handed to a callback argument
//   (scanner registration, PHY reads) arrive on the calling thread before the call returns;
// - lifetime: nothing arrives for a table once its clean-up has returned;
// - values: every argument is within the range its type allows, ids are handed out once, and
//   connection ids are announced (open_cb, connection_cb) before they are used.
class ContractChecker {
 public:
  struct Breach {
    std::string callback;
    std::string thread;
    std::string rule;

    std::string ToString() const;
  };

  // The IPC thread's OS name, where inline callbacks may run while no thread is associated.
  static constexpr const char* kIpcThreadName = "mojo_ipc";

  // Stack thread: a HAL call begins or ends on `thread`.
  void OnHalCallStarted(const ThreadRef& thread, const std::string& call);
  void OnHalCallFinished(const ThreadRef& thread);
  // Stack thread: a table was handed to the HAL (init) or its clean-up has returned.
  void OnTableInstalled(Table table);
  void OnTableCleanedUp(Table table);

  // Any thread. The breaches this callback commits, also kept for Breaches().
  std::vector<Breach> OnCallback(const CallbackEvent& event);

  std::vector<Breach> Breaches() const;
  size_t BreachCount() const;

 private:
  enum class TableState { kNever, kInstalled, kCleanedUp };

  void checkThread(const CallbackEvent& event, std::vector<std::string>* rules);
  void checkIds(const CallbackEvent& event, std::vector<std::string>* rules);
  bool inHalCallLocked(uint64_t threadId) const;

  mutable std::mutex mutex_;
  std::optional<ThreadRef> associated_;
  // Threads inside a HAL call, with the call.
  std::map<uint64_t, std::string> halCalls_;
  std::map<Table, TableState> tables_;
  std::set<int64_t> announcedConnIds_;
  std::set<int64_t> clientIfs_;
  std::set<int64_t> serverIfs_;
  std::set<int64_t> transIds_;
  std::vector<Breach> breaches_;
};

}  // namespace bttev
}  // namespace tev
