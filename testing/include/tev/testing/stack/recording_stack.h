#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "tev/testing/stack/callback_event.h"
#include "tev/testing/stack/stack_tables.h"

namespace tev {
namespace testing {

// One call the library made into the stack's callback tables.
struct CallbackRecord {
  std::string name;
  // The arguments as text, read during the call: "1, 00:11:22:33:44:55, [1:\"name\"]".
  // Byte values print as lower-case hex; properties as type:value; GATT elements as
  // {id type handle start end properties uuid}.
  std::string args;
  // The thread the call arrived on.
  std::string thread;

  std::string text() const { return name + "(" + args + ")"; }
};

// Plays the Android stack's side of the callback tables for the library's tests: every call
// through the tables is recorded, with its thread. It is the callback sink while it lives, so
// only one may exist at a time.
class RecordingStack : public CallbackSink {
 public:
  RecordingStack();
  ~RecordingStack() override;
  RecordingStack(const RecordingStack&) = delete;
  RecordingStack& operator=(const RecordingStack&) = delete;

  // Tables handed to init; tests may null slots before handing them over.
  bt_callbacks_t* callbacks() { return &tables_.adapter; }
  btgatt_client_callbacks_t& client() { return tables_.client; }
  btgatt_server_callbacks_t& server() { return tables_.server; }
  btgatt_scanner_callbacks_t& scanner() { return tables_.scanner; }
  const btgatt_callbacks_t* gattCallbacks() { return &tables_.gatt; }

  std::vector<CallbackRecord> Records() const;
  // text() of every record, in arrival order.
  std::vector<std::string> Calls() const;
  // text() of the records with this name, in arrival order.
  std::vector<std::string> Calls(const std::string& name) const;
  size_t Count(const std::string& name) const;
  // Blocks until the `occurrence`-th record of that name has arrived (fails the test and
  // returns an empty record past the deadlock guard).
  CallbackRecord WaitFor(const std::string& name, size_t occurrence = 1,
                         const char* file = __builtin_FILE(), int line = __builtin_LINE());
  void Clear();

  // Records a call on the calling thread.
  void Record(const std::string& name, std::string args);

  void OnCallback(CallbackEvent event) override;

 private:
  void add(CallbackRecord record);

  StackTables tables_;
  mutable std::mutex mutex_;
  std::condition_variable recorded_cv_;
  std::vector<CallbackRecord> records_;
};

}  // namespace testing
}  // namespace tev
