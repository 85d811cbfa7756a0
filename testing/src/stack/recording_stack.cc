#include "tev/testing/stack/recording_stack.h"

#include <gtest/gtest.h>

#include "tev/testing/event.h"
#include "tev/testing/thread_name.h"

namespace tev {
namespace testing {
namespace {

// The slots both GATT tables have are named after their table, as the tests name them.
std::string recordName(const CallbackEvent& event) {
  const bool shared = event.slot == "congestion_cb" || event.slot == "phy_updated_cb" ||
                      event.slot == "conn_updated_cb";
  return shared ? std::string(TablePrefix(event.table)) + "_" + event.slot : event.slot;
}

}  // namespace

RecordingStack::RecordingStack() { SetCallbackSink(this); }

RecordingStack::~RecordingStack() { SetCallbackSink(nullptr); }

void RecordingStack::OnCallback(CallbackEvent event) {
  add(CallbackRecord{recordName(event), std::move(event.args), std::move(event.thread.name)});
}

void RecordingStack::Record(const std::string& name, std::string args) {
  add(CallbackRecord{name, std::move(args), CurrentThreadName()});
}

void RecordingStack::add(CallbackRecord record) {
  std::lock_guard<std::mutex> lock(mutex_);
  records_.push_back(std::move(record));
  recorded_cv_.notify_all();
}

std::vector<CallbackRecord> RecordingStack::Records() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return records_;
}

std::vector<std::string> RecordingStack::Calls() const {
  std::vector<std::string> calls;
  for (const CallbackRecord& record : Records()) calls.push_back(record.text());
  return calls;
}

std::vector<std::string> RecordingStack::Calls(const std::string& name) const {
  std::vector<std::string> calls;
  for (const CallbackRecord& record : Records()) {
    if (record.name == name) calls.push_back(record.text());
  }
  return calls;
}

size_t RecordingStack::Count(const std::string& name) const { return Calls(name).size(); }

CallbackRecord RecordingStack::WaitFor(const std::string& name, size_t occurrence, const char* file,
                                       int line) {
  std::unique_lock<std::mutex> lock(mutex_);
  CallbackRecord found;
  const bool arrived = recorded_cv_.wait_for(lock, kDeadlockGuardTimeout, [&] {
    size_t seen = 0;
    for (const CallbackRecord& record : records_) {
      if (record.name == name && ++seen == occurrence) {
        found = record;
        return true;
      }
    }
    return false;
  });
  if (!arrived) {
    ADD_FAILURE_AT(file, line) << "callback " << name << " #" << occurrence << " never arrived";
  }
  return found;
}

void RecordingStack::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  records_.clear();
}

}  // namespace testing
}  // namespace tev
