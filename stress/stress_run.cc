#include "stress_run.h"

#include <pthread.h>

#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/bind.h"
#include "bluetooth_tev_service.h"
#include "hal_calls.h"
#include "host_events.h"
#include "tev/testing/flush.h"
#include "tev/testing/run_on.h"
#include "tevbridge/TevBridgeHostOffer.h"

namespace tev {
namespace stress {
namespace {

// How often a producing thread waits for the IPC thread to catch up, which keeps every queue
// bounded however fast the producers run, and the stack's calls from crowding out the host.
constexpr uint64_t kCallsBetweenFlushes = 16;

// Fulfils its promise when its task has run or was dropped unrun.
class Delivered {
 public:
  explicit Delivered(std::shared_ptr<std::promise<void>> done) : done_(std::move(done)) {}
  Delivered(Delivered&&) noexcept = default;
  ~Delivered() {
    if (done_) done_->set_value();
  }

 private:
  std::shared_ptr<std::promise<void>> done_;
};

// Stack or events thread. Every callback queued so far has been delivered (or its thread is gone). Stack
// threads that outran the callback thread would keep its queue from ever emptying, and a
// clean-up, which drains that queue, from ever returning.
void waitForCallbacks() {
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> delivered = done->get_future();
  BluetoothTevService::GetInstance()->postToCallback(
      base::BindOnce([](Delivered) {}, Delivered(std::move(done))));
  delivered.wait();
}
constexpr uint64_t kEventsBetweenFlushes = 64;

void nameThisThread(const std::string& name) { pthread_setname_np(pthread_self(), name.c_str()); }

}  // namespace

StressRun::StressRun(LibrarySession& session, Watchdog& watchdog)
    : session_(session), stack_(session.stack()), watchdog_(watchdog) {}

void StressRun::Run(const RunPlan& plan) {
  stop_ = false;
  Watchdog::Slot& lifecycleSlot = watchdog_.Watch("lifecycle");
  // The host calls the library only once the library has registered with it, during an init.
  lifecycleSlot.Doing("bt.init");
  session_.InstallAdapter();
  std::vector<std::thread> threads;
  for (int i = 0; i < plan.stackThreads; ++i) {
    Watchdog::Slot& slot = watchdog_.Watch("stack" + std::to_string(i));
    threads.emplace_back([this, &plan, i, &slot] {
      nameThisThread("stack" + std::to_string(i));
      CallHal(plan.seed * 31 + static_cast<uint64_t>(i), slot);
    });
  }
  Watchdog::Slot& eventsSlot = watchdog_.Watch("events");
  threads.emplace_back([this, &plan, &eventsSlot] {
    nameThisThread("events");
    FireEvents(plan.seed * 17 + 5, eventsSlot);
  });
  Lifecycle(plan, lifecycleSlot);
  stop_ = true;
  lifecycleSlot.Doing("joining the other threads");
  for (std::thread& thread : threads) thread.join();
  lifecycleSlot.Doing("settling");
  session_.Settle();
}

// The adapter is installed when this starts. The order of the two clean-ups alternates: GATT
// callbacks then also meet an adapter whose callback thread is gone, and run inline.
void StressRun::Lifecycle(const RunPlan& plan, Watchdog::Slot& slot) {
  for (int cycle = 0; cycle < plan.adapterCycles; ++cycle) {
    if (cycle > 0) {
      slot.Doing("bt.init");
      session_.InstallAdapterWhileBusy();
    }
    slot.Doing("gatt.init");
    session_.InstallGatt(stack_.gattCallbacks());
    for (int round = 0; round < plan.gattCyclesPerAdapterCycle; ++round) {
      slot.Doing("letting the others work");
      WaitForWork(hal_calls_ + plan.halCallsPerGattCycle,
                  host_events_ + plan.hostEventsPerGattCycle);
      CleanUp(TableGroup::kGatt, slot);
      slot.Doing("gatt.init");
      session_.InstallGatt(stack_.gattCallbacks());
    }
    if (cycle % 2 == 0) {
      CleanUp(TableGroup::kGatt, slot);
      CleanUp(TableGroup::kAdapter, slot);
    } else {
      CleanUp(TableGroup::kAdapter, slot);
      CleanUp(TableGroup::kGatt, slot);
    }
  }
}

void StressRun::WaitForWork(uint64_t halCalls, uint64_t hostEvents) {
  std::unique_lock<std::mutex> lock(work_mutex_);
  work_cv_.wait(lock, [&] { return hal_calls_ >= halCalls && host_events_ >= hostEvents; });
}

void StressRun::Worked(std::atomic<uint64_t>& counter) {
  {
    std::lock_guard<std::mutex> lock(work_mutex_);
    ++counter;
  }
  work_cv_.notify_all();
}

void StressRun::CleanUp(TableGroup tables, Watchdog::Slot& slot) {
  if (tables == TableGroup::kAdapter) {
    slot.Doing("bt.cleanup");
    session_.CleanUpAdapter();
  } else {
    slot.Doing("gatt.cleanup");
    session_.CleanUpGatt();
  }
}

void StressRun::CallHal(uint64_t seed, Watchdog::Slot& slot) {
  RandomChoices choices(seed);
  for (uint64_t calls = 1; !stop_; ++calls) {
    const HalEntry& entry = PickHalEntry(choices);
    slot.Doing(entry.name);
    {
      CheckingStack::HalCall call(stack_);
      entry.call(choices, stack_);
    }
    Worked(hal_calls_);
    if (calls % kCallsBetweenFlushes == 0) {
      slot.Doing("flushing the IPC thread");
      tev::testing::FlushTaskRunner(session_.ipc());
      slot.Doing("waiting for the callbacks");
      waitForCallbacks();
    }
  }
}

// Mostly well-formed events through the pipe; sometimes malformed records handed straight to
// the library on the IPC thread, as only a broken pipe layer would; now and then a pipe severed
// and, for the host's own pipe, restored (the instance pipe comes back with the next init).
void StressRun::FireEvents(uint64_t seed, Watchdog::Slot& slot) {
  RandomChoices choices(seed);
  for (uint64_t events = 1; !stop_; ++events) {
    const uint32_t kind = choices.Below(1000);
    if (kind < 850) {
      const HostEvent* event = &PickHostEvent(choices);
      slot.Doing(event->name);
      const uint64_t eventSeed = choices.Any<uint64_t>();
      session_.host().Fire([event, eventSeed](tev::mojom::BluetoothInstance* instance) {
        RandomChoices eventChoices(eventSeed);
        event->fire(eventChoices, instance, Shape::kWellFormed);
      });
    } else if (kind < 980) {
      const HostEvent* event = &PickHostEvent(choices);
      slot.Doing(event->name);
      tev::testing::RunOn(session_.ipc(), [event, &choices] {
        event->fire(choices, LibrarySession::library(), Shape::kAnything);
      });
    } else if (kind < 995) {
      slot.Doing("severing and restoring the host pipe");
      session_.host().SeverHostPipe();
      session_.host().CallInit();
    } else if (kind < 998) {
      slot.Doing("severing the instance pipe");
      session_.host().SeverInstancePipe();
    } else {
      slot.Doing("severing the bridge pipes");
      tev::bridge::SeverTevBridgePipes();
    }
    Worked(host_events_);
    if (events % kEventsBetweenFlushes == 0) {
      slot.Doing("flushing the host and IPC threads");
      session_.host().FlushHost();
      tev::testing::FlushTaskRunner(session_.ipc());
      slot.Doing("waiting for the callbacks");
      waitForCallbacks();
    }
  }
}

}  // namespace stress
}  // namespace tev
