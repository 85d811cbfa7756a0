#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "library_harness.h"

namespace tev {
namespace testing {

// One row of a subsystem's contract table: a HAL call or a host event, and everything it makes
// the library do, exactly. Every log line the library writes is listed with its severity, and
// every callback with its arguments, so a changed text, a changed value, a missing or an extra
// line or callback fails the row. Host calls are checked by the gmock expectations of Arrange().
// Each row runs as a test of its own, in a process of its own, so ids start from 1.
struct ContractRow {
  using Step = std::function<void(LibraryHarness&)>;
  using Action = std::function<int(LibraryHarness&)>;
  static constexpr int kNoStatus = -1;

  // The test's name: letters, digits and underscores.
  explicit ContractRow(std::string name) : label(std::move(name)) {}

  ContractRow& With(const LibraryHarness::Options& harness) {
    return set(&ContractRow::options, harness);
  }
  // Before Start(): host expectations and answers, slots left null.
  ContractRow& Arrange(Step step) { return set(&ContractRow::arrange, std::move(step)); }
  // For rows whose act is the start itself.
  ContractRow& NoStart() { return set(&ContractRow::start, false); }
  // After Start(), before anything is recorded: the state the row needs (a connection, ...).
  ContractRow& Prepare(Step step) { return set(&ContractRow::prepare, std::move(step)); }
  // The call or the event; returns the HAL call's status, or kNoStatus.
  ContractRow& Act(Action action) { return set(&ContractRow::act, std::move(action)); }
  ContractRow& Returns(int expected) { return set(&ContractRow::status, expected); }
  // Info(), Warning() or Error() of each whole message, in the order written.
  ContractRow& Logs(std::vector<std::string> expected) {
    return set(&ContractRow::lines, std::move(expected));
  }
  // Lines written on two threads at once: compared as a set.
  ContractRow& LogsInAnyOrder(std::vector<std::string> expected) {
    linesInAnyOrder = true;
    return Logs(std::move(expected));
  }
  // CallbackRecord::text() of every callback, in arrival order.
  ContractRow& Calls(std::vector<std::string> expected) {
    return set(&ContractRow::callbacks, std::move(expected));
  }
  // The thread every callback arrives on; empty to leave it unchecked.
  ContractRow& CallbacksOn(std::string thread) {
    return set(&ContractRow::callbackThread, std::move(thread));
  }

  std::string label;
  LibraryHarness::Options options;
  Step arrange;
  bool start = true;
  Step prepare;
  Action act;
  int status = kNoStatus;
  std::vector<std::string> lines;
  bool linesInAnyOrder = false;
  std::vector<std::string> callbacks;
  std::string callbackThread = "bt_tev_callback";

 private:
  template <typename Field, typename Value>
  ContractRow& set(Field ContractRow::*field, Value value) {
    this->*field = std::move(value);
    return *this;
  }
};

inline ContractRow Row(std::string label) { return ContractRow(std::move(label)); }

inline std::string Info(const std::string& message) { return "INFO " + message; }
inline std::string Warning(const std::string& message) { return "WARNING " + message; }
inline std::string Error(const std::string& message) { return "ERROR " + message; }

// Runs the row and checks every outcome it lists.
void CheckContractRow(const ContractRow& row);

// Drives `row.act` as the event `event(instance)` sent by the host; kNoStatus.
template <typename F>
std::function<int(LibraryHarness&)> HostSends(F event) {
  return [event](LibraryHarness& h) {
    h.host().Fire(event);
    return ContractRow::kNoStatus;
  };
}

struct ContractRowName {
  std::string operator()(const ::testing::TestParamInfo<ContractRow>& info) const {
    return info.param.label;
  }
};

inline void PrintTo(const ContractRow& row, std::ostream* out) { *out << row.label; }

}  // namespace testing
}  // namespace tev
