#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "tev/testing/stack/callback_event.h"

namespace tev {
namespace testing {

// The adapter table, handed over by init, or the GATT client, server and scanner tables, handed
// over together by the GATT init.
enum class TableGroup { kAdapter, kGatt };

// Holds each call the library makes into the stack to the contract the library gives the stack,
// and to no stricter one.
//
// Threads. While the callback thread "bt_tev_callback" runs (init starts it; cleanup stops it
// once it has run what it holds) every callback is posted to it. While none runs, a callback runs
// inline on the thread that built it: the IPC thread for host events and replies, the calling
// thread for register_client_cb, register_server_cb, the configure_mtu_cb of configure_mtu and
// the ASSOCIATE_JVM of init. Results handed to a HAL call's callback argument (read_phy, the
// scanner's calls) arrive on the calling thread before the call returns.
//
// Lifetime. The library reads a table as it builds an event, so an event built before a clean-up
// may arrive after it returned: through the GATT tables on whichever thread delivers it, through
// the adapter table only inline on the IPC thread, as the callback thread is gone. Once a Settle
// has seen the library run out of the work queued before it began, with no HAL call under way
// that began before the clean-up, nothing more may arrive through the cleaned tables.
//
// Values. Each pointer is readable for the length given with it and each value is one the library
// can produce (found by the decoder while the call ran), ids are handed out once, and only the
// slots the library calls are called.
class ContractChecker {
 public:
  struct Breach {
    std::string callback;
    std::string thread;
    std::string rule;

    std::string ToString() const;
  };

  enum class Step { kInit, kCleanup };

  static constexpr const char* kCallbackThread = "bt_tev_callback";
  static constexpr const char* kIpcThread = "mojo_ipc";

  ContractChecker() = default;
  ContractChecker(const ContractChecker&) = delete;
  ContractChecker& operator=(const ContractChecker&) = delete;

  // Marks a HAL call on the calling thread while it lives; calls may nest.
  class HalCall {
   public:
    explicit HalCall(ContractChecker& checker);
    ~HalCall();
    HalCall(const HalCall&) = delete;
    HalCall& operator=(const HalCall&) = delete;

   private:
    ContractChecker& checker_;
    const uint64_t thread_;
  };

  // Marks the stack's init or cleanup of a group of tables, from before the call until it returned.
  class Lifecycle {
   public:
    Lifecycle(ContractChecker& checker, TableGroup group, Step step);
    ~Lifecycle();
    Lifecycle(const Lifecycle&) = delete;
    Lifecycle& operator=(const Lifecycle&) = delete;

   private:
    ContractChecker& checker_;
    const TableGroup group_;
    const Step step_;
  };

  // Inside a HalCall that hands the library a callback argument: it must be answered exactly once,
  // on the calling thread, before this goes out of scope.
  class OwedAnswer {
   public:
    OwedAnswer(ContractChecker& checker, std::string call);
    ~OwedAnswer();
    OwedAnswer(const OwedAnswer&) = delete;
    OwedAnswer& operator=(const OwedAnswer&) = delete;

   private:
    ContractChecker& checker_;
    const std::string call_;
    const uint64_t thread_;
    const uint64_t before_;
  };

  // Runs `wait`, which returns true once every thread of the library has run out of the work
  // queued before it began; returns what it returned.
  bool Settle(const std::function<bool()>& wait);

  // Any thread: the breaches this callback commits, also kept for Breaches().
  std::vector<Breach> OnCallback(const CallbackEvent& event);
  // A breach the driver found itself, in the results of HAL calls.
  void Flag(const std::string& rule);

  // The group's init has begun, and no cleanup since.
  bool Installed(TableGroup group) const;
  uint64_t CallbackCount() const;
  size_t BreachCount() const;
  // The first distinct breaches.
  std::vector<Breach> Breaches() const;

 private:
  enum class Phase { kNever, kInitializing, kInstalled, kCleaning, kCleanedUp };
  struct GroupState {
    Phase phase = Phase::kNever;
    // The sequence number of the last change.
    uint64_t changedAt = 0;
    // No event built before the last change can still arrive.
    bool settled = true;
  };
  struct CallState {
    int depth = 0;
    uint64_t startedAt = 0;
    Phase adapterAtStart = Phase::kNever;
    uint64_t adapterChangedAtStart = 0;
    uint64_t answers = 0;
  };
  // Ids as runs of consecutive values: counters hand them out in order, so the runs stay few. The
  // oldest runs are forgotten beyond a bound, so that a run of hours keeps a flat heap.
  class IdSet {
   public:
    // False if `id` was seen.
    bool Insert(int64_t id);

   private:
    std::map<int64_t, int64_t> runs_;
  };

  void move(TableGroup group, Phase phase);
  std::string lifetimeRule(const CallbackEvent& event) const;
  std::string threadRule(const CallbackEvent& event) const;
  void checkIds(const CallbackEvent& event, std::vector<std::string>* rules);
  void keepLocked(const Breach& breach);

  mutable std::mutex mutex_;
  uint64_t sequence_ = 0;
  GroupState groups_[2];
  std::map<uint64_t, CallState> calls_;
  IdSet clientIfs_;
  IdSet serverIfs_;
  IdSet transIds_;
  uint64_t callbacks_ = 0;
  size_t breachCount_ = 0;
  std::vector<Breach> breaches_;
};

}  // namespace testing
}  // namespace tev
