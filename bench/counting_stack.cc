#include "counting_stack.h"

#include <cstring>
#include <vector>

namespace tev {
namespace bench {
namespace {

using tev::testing::Slot;

void Delivered(const uint8_t* value, size_t length) {
  CountingStack::Get().Arrived(length >= sizeof(int64_t) ? StampFrom(value) : 0);
}

void Replied() {
  CountingStack& stack = CountingStack::Get();
  stack.Arrived(stack.requestSentNs.load(std::memory_order_acquire));
}

}  // namespace

struct CountingStack::Sink {
  using A = bt_callbacks_t;
  using C = btgatt_client_callbacks_t;

  static void Called(Slot<&A::adapter_state_changed_cb>, bt_state_t state) {
    Get().adapterState = static_cast<int>(state);
    Get().Changed();
  }
  static void Called(Slot<&C::register_client_cb>, int status, int client_if,
                     const bluetooth::Uuid&) {
    if (status == 0) Get().clientIf = client_if;
    Get().Changed();
  }
  static void Called(Slot<&C::open_cb>, int conn_id, int status, int, const RawAddress&) {
    if (status == 0) Get().connId = conn_id;
    Get().Changed();
  }
  static void Called(Slot<&C::search_complete_cb>, int, int) {
    ++Get().searchesCompleted;
    Get().Changed();
  }
  static void Called(Slot<&C::notify_cb>, int, const btgatt_notify_params_t& params) {
    Delivered(params.value, params.len);
  }
  static void Called(Slot<&C::read_characteristic_cb>, int, int, btgatt_read_params_t*) {
    Replied();
  }
  static void Called(Slot<&C::write_characteristic_cb>, int, int, uint16_t, uint16_t,
                     const uint8_t*) {
    Replied();
  }
  static void Called(Slot<&C::register_for_notification_cb>, int, int, int, uint16_t) { Replied(); }
  static void Called(Slot<&btgatt_scanner_callbacks_t::scan_result_cb>, uint16_t, uint8_t,
                     RawAddress*, uint8_t, uint8_t, uint8_t, int8_t, int8_t, uint16_t,
                     const std::vector<uint8_t>& adv_data, RawAddress*) {
    Delivered(adv_data.data(), adv_data.size());
  }
  template <auto Member, typename... Args>
  static void Called(Slot<Member>, const Args&...) {}
};

CountingStack& CountingStack::Get() {
  // Never destroyed: a callback still on its way at exit must find its tables.
  static CountingStack* stack = new CountingStack();
  return *stack;
}

CountingStack::CountingStack() = default;

void CountingStack::Arrived(int64_t sent_ns) {
  LatencySamples* samples = latency.load(std::memory_order_acquire);
  if (samples && sent_ns != 0) samples->Add(NowNs() - sent_ns);
  delivered.Tick();
}

void CountingStack::WaitUntil(const std::function<bool()>& condition) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!changed_cv_.wait_for(lock, kDeadlockGuard, condition)) GuardExpired("a set-up callback");
}

void CountingStack::Changed() {
  std::lock_guard<std::mutex> lock(mutex_);
  changed_cv_.notify_all();
}

void StampInto(uint8_t* bytes, int64_t ns) { std::memcpy(bytes, &ns, sizeof(ns)); }

int64_t StampFrom(const uint8_t* bytes) {
  int64_t ns = 0;
  std::memcpy(&ns, bytes, sizeof(ns));
  return ns;
}

}  // namespace bench
}  // namespace tev
