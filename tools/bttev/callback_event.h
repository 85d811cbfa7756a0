#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tev {
namespace bttev {

// A thread as the driver tells threads apart: ids are never reused within the process, unlike
// pthread ids, so a restarted callback thread counts as a new thread.
struct ThreadRef {
  uint64_t id = 0;
  std::string name;
};

// Any thread.
ThreadRef CurrentThread();
// Shown instead of the OS name of the calling thread (the main thread plays the stack).
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

// The four callback tables the stack hands over, plus the results the HAL passes to callback
// arguments of a call (scanner registration, PHY reads), which run inline by design.
enum class Table { kAdapter, kGattClient, kGattServer, kGattScanner };

const char* TablePrefix(Table table);

struct CallbackEvent {
  Table table = Table::kAdapter;
  std::string slot;
  bool inlineResult = false;
  std::vector<Field> fields;
  ThreadRef thread;
  // Argument values the stack could not use, found while the callback read them.
  std::vector<std::string> problems;

  // "client.open_cb".
  std::string Name() const;
  // "client.open_cb conn_id=1 status=0 ...".
  std::string ToString() const;
  const Field* Find(const std::string& name) const;
  // The field as a number; `fallback` when absent or not numeric.
  int64_t Number(const std::string& name, int64_t fallback = 0) const;
};

}  // namespace bttev
}  // namespace tev
