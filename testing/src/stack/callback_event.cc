#include "tev/testing/stack/callback_event.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <shared_mutex>

#include "call_report.h"

namespace tev {
namespace testing {
namespace {

std::atomic<uint64_t> gNextThreadId{1};

struct ThisThread {
  uint64_t id = gNextThreadId.fetch_add(1);
  std::string displayName;
};

ThisThread& thisThread() {
  thread_local ThisThread self;
  return self;
}

// Deliveries hold the lock shared, so that detaching the sink waits for those in progress.
std::shared_mutex gSinkMutex;
CallbackSink* gSink = nullptr;

}  // namespace

ThreadRef CurrentThread() {
  ThisThread& self = thisThread();
  ThreadRef ref;
  ref.id = self.id;
  if (!self.displayName.empty()) {
    ref.name = self.displayName;
  } else {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    ref.name = name;
  }
  return ref;
}

void SetCurrentThreadName(const std::string& name) { thisThread().displayName = name; }

const char* TablePrefix(Table table) {
  switch (table) {
    case Table::kAdapter:
      return "bt";
    case Table::kGattClient:
      return "client";
    case Table::kGattServer:
      return "server";
    case Table::kGattScanner:
      return "scanner";
    case Table::kGattAdvertiser:
      return "advertiser";
  }
  return "?";
}

std::string CallbackEvent::Name() const { return std::string(TablePrefix(table)) + "." + slot; }

std::string CallbackEvent::ToString() const {
  std::string text = Name();
  for (const Field& field : fields) {
    text += " " + field.name + "=";
    if (field.kind == FieldKind::kText) {
      text += "\"" + field.value + "\"";
    } else {
      // Empty bytes print as the command language writes them.
      text += field.value.empty() && field.kind == FieldKind::kBytes ? "-" : field.value;
    }
    if (!field.label.empty()) text += "(" + field.label + ")";
  }
  return text;
}

const Field* CallbackEvent::Find(const std::string& name) const {
  for (const Field& field : fields) {
    if (field.name == name) return &field;
  }
  return nullptr;
}

int64_t CallbackEvent::Number(const std::string& name, int64_t fallback) const {
  const Field* field = Find(name);
  if (!field || field->kind != FieldKind::kNumber || field->value.empty()) return fallback;
  char* end = nullptr;
  const long long value = std::strtoll(field->value.c_str(), &end, 10);
  return *end == '\0' ? value : fallback;
}

void SetCallbackSink(CallbackSink* sink) {
  std::unique_lock<std::shared_mutex> lock(gSinkMutex);
  gSink = sink;
}

void Deliver(CallbackEvent event) {
  std::shared_lock<std::shared_mutex> lock(gSinkMutex);
  if (!gSink) return;
  event.thread = CurrentThread();
  event.time = std::chrono::steady_clock::now();
  gSink->OnCallback(std::move(event));
}

}  // namespace testing
}  // namespace tev
