#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/bind.h"
#include "base/callback.h"

namespace tev {
namespace stress {

// The adapter table of init, or the three GATT tables handed over together by the GATT init.
enum class Tables { kAdapter, kGatt };

// Plays the stack's side of every callback table and checks each call as the stack relies on
// it: it comes through tables that are installed (never after their clean-up returned), on the
// callback thread or in one of the inline cases, and every pointer it gets is readable for the
// length it is given (read in full, so that the sanitizers see a dangling one). Nothing is kept
// per call, so it can run for hours; breaches are counted and the first distinct ones kept. Only
// one may exist at a time.
//
// The inline cases: while no callback thread runs (before init returned, during and after
// cleanup) a callback may run on the IPC thread, or on a stack thread during the HAL call that
// posted it. A call the library started before a clean-up returned may still arrive after it:
// the library does not wait for calls under way. The thread that cleans up therefore runs the
// clean-up on the thread that delivers callbacks, and reports it done from there, so that only
// stack threads can have one under way; theirs is allowed until their HAL call returns.
class CheckingStack {
 public:
  CheckingStack();
  ~CheckingStack();
  CheckingStack(const CheckingStack&) = delete;
  CheckingStack& operator=(const CheckingStack&) = delete;

  bt_callbacks_t* callbacks() { return &callbacks_; }
  const btgatt_callbacks_t* gattCallbacks() const { return &gatt_; }

  // Lifecycle, around the init and cleanup HAL calls, made one at a time. The caller flushes the
  // IPC thread between the adapter's init and Installed(), so that a callback started inline
  // before init returned has ended; likewise between its cleanup and CleanedUp().
  void WillInstall(Tables tables);
  void Installed(Tables tables);
  void WillCleanUp(Tables tables);
  void CleanedUp(Tables tables);

  // Marks the calling thread as inside a HAL call while it lives: callbacks may run inline on it
  // if no callback thread was running when the call began, or the adapter changed state since,
  // and may still arrive through tables whose clean-up returned after the call began.
  class HalCall {
   public:
    explicit HalCall(CheckingStack& stack);
    ~HalCall();
    HalCall(const HalCall&) = delete;
    HalCall& operator=(const HalCall&) = delete;
  };

  // An answer the library owes before the call returns, on the calling thread (read_phy and the
  // scanner's calls): checked when this goes out of scope.
  class ImmediateAnswer {
   public:
    ImmediateAnswer(CheckingStack& stack, const char* call);
    ~ImmediateAnswer();
    template <typename... Args>
    base::Callback<void(Args...)> Callback() {
      return base::BindRepeating([](std::shared_ptr<State> state, Args...) { state->Ran(); },
                                 state_);
    }

   private:
    struct State {
      void Ran();
      const std::thread::id caller = std::this_thread::get_id();
      std::atomic<int> runs{0};
      std::atomic<bool> elsewhere{false};
    };
    CheckingStack& stack_;
    const char* call_;
    std::shared_ptr<State> state_;
  };

  // Ids the library handed out lately (0 before any), for the stack's next calls.
  int RecentConnId() const { return recent_conn_id_.load(); }
  int RecentClientIf() const { return recent_client_if_.load(); }
  int RecentServerIf() const { return recent_server_if_.load(); }
  int RecentTransId() const { return recent_trans_id_.load(); }
  int RecentHandle() const { return recent_handle_.load(); }

  uint64_t CallbackCount() const { return callbacks_seen_.load(); }
  size_t BreachCount() const;
  // The first distinct breaches, as text.
  std::vector<std::string> Breaches() const;
  void Breach(const std::string& what);

  // Called by the tables: checks one arriving callback.
  void Arrived(Tables tables, const char* name);
  // Reads `length` bytes at `bytes`; a null pointer with a length is a breach.
  void Touch(const char* name, const void* bytes, size_t length);
  void SawConnId(int id) { recent_conn_id_.store(id); }
  void SawClientIf(int id) { recent_client_if_.store(id); }
  void SawServerIf(int id) { recent_server_if_.store(id); }
  void SawTransId(int id) { recent_trans_id_.store(id); }
  void SawHandle(int handle) { recent_handle_.store(handle); }

 private:
  enum class State { kIdle, kInstalling, kInstalled, kCleaning };

  void Move(Tables tables, State from, State to);
  static const char* NameOf(Tables tables);

  bt_callbacks_t callbacks_;
  btgatt_client_callbacks_t client_;
  btgatt_server_callbacks_t server_;
  btgatt_scanner_callbacks_t scanner_;
  btgatt_callbacks_t gatt_;

  mutable std::mutex mutex_;
  State adapter_ = State::kIdle;
  State gatt_state_ = State::kIdle;
  // Counts the adapter's state changes, so a HAL call can tell whether one happened meanwhile.
  uint64_t adapter_epoch_ = 0;
  // Clean-ups that have returned, per Tables.
  uint64_t cleanups_[2] = {0, 0};
  size_t breach_count_ = 0;
  std::vector<std::string> breaches_;

  std::atomic<uint64_t> callbacks_seen_{0};
  std::atomic<uint64_t> touched_{0};
  std::atomic<int> recent_conn_id_{0};
  std::atomic<int> recent_client_if_{0};
  std::atomic<int> recent_server_if_{0};
  std::atomic<int> recent_trans_id_{0};
  std::atomic<int> recent_handle_{0};
};

}  // namespace stress
}  // namespace tev
