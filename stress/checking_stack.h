#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "base/callback.h"
#include "tev/testing/stack/contract_checker.h"
#include "tev/testing/stack/stack_tables.h"

namespace tev {
namespace stress {

// The stack's side for the stress test and the fuzz targets: the stack double's tables, every
// callback held to the contract, and the ids the library handed out lately, for the next calls.
// It is the callback sink while it lives, so only one may exist at a time.
class CheckingStack : public tev::testing::CallbackSink {
 public:
  using Checker = tev::testing::ContractChecker;

  CheckingStack();
  ~CheckingStack() override;
  CheckingStack(const CheckingStack&) = delete;
  CheckingStack& operator=(const CheckingStack&) = delete;

  bt_callbacks_t* callbacks() { return &tables_.adapter; }
  const btgatt_callbacks_t* gattCallbacks() const { return &tables_.gatt; }
  Checker& checker() { return checker_; }

  // Marks the calling thread as inside a HAL call while it lives.
  class HalCall {
   public:
    explicit HalCall(CheckingStack& stack) : call_(stack.checker_) {}

   private:
    Checker::HalCall call_;
  };

  // An answer the library owes before the call returns, on the calling thread (read_phy and the
  // scanner's calls), through the callback Callback() makes: checked when this goes out of scope.
  class ImmediateAnswer {
   public:
    ImmediateAnswer(CheckingStack& stack, const char* call)
        : call_(call), owed_(stack.checker_, call) {}
    template <typename... Args>
    base::Callback<void(Args...)> Callback() const {
      return tev::testing::InlineResult<Args...>(
          tev::testing::Table::kGattScanner, call_,
          std::vector<std::string>(sizeof...(Args), "value"));
    }

   private:
    const char* call_;
    Checker::OwedAnswer owed_;
  };

  // Ids the library handed out lately (0 before any), for the stack's next calls.
  int RecentConnId() const { return recent_conn_id_.load(); }
  int RecentClientIf() const { return recent_client_if_.load(); }
  int RecentServerIf() const { return recent_server_if_.load(); }
  int RecentTransId() const { return recent_trans_id_.load(); }
  int RecentHandle() const { return recent_handle_.load(); }

  uint64_t CallbackCount() const { return checker_.CallbackCount(); }
  size_t BreachCount() const { return checker_.BreachCount(); }
  // The first distinct breaches, as text.
  std::vector<std::string> Breaches() const;
  // A breach found in a HAL call's result.
  void Breach(const std::string& what) { checker_.Flag(what); }

  void OnCallback(tev::testing::CallbackEvent event) override;

 private:
  tev::testing::StackTables tables_;
  Checker checker_;
  std::atomic<int> recent_conn_id_{0};
  std::atomic<int> recent_client_if_{0};
  std::atomic<int> recent_server_if_{0};
  std::atomic<int> recent_trans_id_{0};
  std::atomic<int> recent_handle_{0};
};

}  // namespace stress
}  // namespace tev
