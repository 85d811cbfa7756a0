#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace tev {
namespace testing {

// A thread as the stack tells threads apart: ids are never reused within the process, unlike
// pthread ids, so a restarted callback thread counts as a new thread.
struct ThreadRef {
  uint64_t id = 0;
  std::string name;
};

// Any thread.
ThreadRef CurrentThread();
// Shown instead of the OS name of the calling thread (a driver's main thread plays the stack).
void SetCurrentThreadName(const std::string& name);

// How a value is compared when a script expects it.
enum class FieldKind { kNumber, kText, kAddress, kUuid, kBytes };

struct Field {
  std::string name;
  // Canonical text: decimal numbers, lower-case addresses, shortest UUID form, hex bytes.
  std::string value;
  FieldKind kind = FieldKind::kNumber;
  // The enumerator's meaning ("on", "bonded"), also accepted by expectations.
  std::string label;
};

// The four callback tables the stack hands over. Results the library hands to callback
// arguments of a HAL call (scanner registration, PHY reads) are reported under the table of the
// call's interface.
// The advertiser has no callback table; results handed to its calls' callback arguments are
// reported under kGattAdvertiser.
enum class Table { kAdapter, kGattClient, kGattServer, kGattScanner, kGattAdvertiser };

const char* TablePrefix(Table table);

// One call the library made into the stack, decoded while it ran.
struct CallbackEvent {
  Table table = Table::kAdapter;
  std::string slot;
  // A result handed to a HAL call's callback argument rather than a call through a table.
  bool inlineResult = false;
  std::vector<Field> fields;
  // The arguments as the library's tests read them: "1, 00:11:22:33:44:55, [1:\"name\"]".
  // Byte values print as lower-case hex; properties as type:value; GATT elements as
  // {id type handle start end properties uuid}.
  std::string args;
  // Argument values the stack could not use, found while the call's pointers were valid.
  std::vector<std::string> problems;
  ThreadRef thread;
  std::chrono::steady_clock::time_point time;

  // "client.open_cb".
  std::string Name() const;
  // "client.open_cb conn_id=1 status=0 ...".
  std::string ToString() const;
  const Field* Find(const std::string& name) const;
  // The field as a number; `fallback` when absent or not numeric.
  int64_t Number(const std::string& name, int64_t fallback = 0) const;
};

// Receives every call the library makes into the stack, on the thread that made it, before the
// call returns.
class CallbackSink {
 public:
  virtual ~CallbackSink() = default;
  virtual void OnCallback(CallbackEvent event) = 0;
};

// One sink at a time. Null detaches once the deliveries in progress are over; calls then go
// nowhere.
void SetCallbackSink(CallbackSink* sink);

}  // namespace testing
}  // namespace tev
