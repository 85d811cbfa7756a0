// Host events through the bridge: OnGattNotify -> notify_cb and OnLEDeviceFound ->
// scan_result_cb. End to end, from the host's thread over the pipe to the IPC thread, through
// the library, to the callback thread; and the library's share alone, entered on the IPC thread
// as the pipe's stub enters it.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "alloc_counter.h"
#include "base/bind.h"
#include "bench_support.h"
#include "counting_stack.h"
#include "event_world.h"
#include "host_events.h"
#include "stack_bring_up.h"

namespace tev {
namespace bench {
namespace {

constexpr int kBatch = 10000;
constexpr int kAllocationEvents = 20000;
constexpr size_t kLatencySamples = 200000;

void Fire(Kind kind, int count, bool stamp, HostAllocations* allocations = nullptr) {
  EventWorld::Get().host().Post(base::BindOnce(&SendEvents, kind, count, stamp, allocations));
}

// IPC thread: the library's part alone; returns the blocks it allocated there.
uint64_t EnterLibrary(Kind kind, std::vector<Records>* batch) {
  BluetoothTevService* service = EventWorld::Get().service();
  const std::vector<uint8_t> value = MakeValue(kind);
  uint64_t inside = 0;
  for (Records& records : *batch) {
    const uint64_t before = AllocationsOnThisThread();
    Deliver(kind, std::move(records), value, service);
    inside += AllocationsOnThisThread() - before;
  }
  return inside;
}

std::vector<Records> MakeBatch(Kind kind, int count) {
  std::vector<Records> batch;
  batch.reserve(count);
  for (int i = 0; i < count; ++i) batch.push_back(MakeRecords(kind));
  return batch;
}

// Events per second with the host sending back to back; each iteration is one batch.
void Throughput(benchmark::State& state, Kind kind) {
  CountingStack& stack = CountingStack::Get();
  for (auto _ : state) {
    stack.delivered.Arm(kBatch);
    Fire(kind, kBatch, false);
    stack.delivered.Wait();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

// One event at a time: from the host's send to the stack's callback.
void Latency(benchmark::State& state, Kind kind) {
  CountingStack& stack = CountingStack::Get();
  LatencySamples samples(kLatencySamples);
  stack.latency = &samples;
  for (auto _ : state) {
    stack.delivered.Arm(1);
    Fire(kind, 1, true);
    stack.delivered.Wait();
  }
  stack.latency = nullptr;
  samples.Report(state);
}

// The library's share between the same two threads as its hand-off: records made beforehand,
// as the pipe hands them over, entered back to back on the IPC thread.
void LibraryThroughput(benchmark::State& state, Kind kind) {
  CountingStack& stack = CountingStack::Get();
  const scoped_refptr<base::SingleThreadTaskRunner> ipc = LibraryIpcTaskRunner();
  for (auto _ : state) {
    state.PauseTiming();
    auto batch = std::make_unique<std::vector<Records>>(MakeBatch(kind, kBatch));
    stack.delivered.Arm(kBatch);
    state.ResumeTiming();
    ipc->PostTask(FROM_HERE, base::BindOnce(
                                 [](Kind kind, std::unique_ptr<std::vector<Records>> batch) {
                                   EnterLibrary(kind, batch.get());
                                 },
                                 kind, std::move(batch)));
    stack.delivered.Wait();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

// One event at a time, from entering the library on the IPC thread to the stack's callback.
void LibraryLatency(benchmark::State& state, Kind kind) {
  CountingStack& stack = CountingStack::Get();
  const scoped_refptr<base::SingleThreadTaskRunner> ipc = LibraryIpcTaskRunner();
  LatencySamples samples(kLatencySamples);
  stack.latency = &samples;
  for (auto _ : state) {
    stack.delivered.Arm(1);
    ipc->PostTask(FROM_HERE, base::BindOnce(
                                 [](Kind kind) {
                                   Records records = MakeRecords(kind);
                                   std::vector<uint8_t> value = MakeValue(kind);
                                   StampInto(value.data(), NowNs());
                                   Deliver(kind, std::move(records), value,
                                           EventWorld::Get().service());
                                 },
                                 kind));
    stack.delivered.Wait();
  }
  stack.latency = nullptr;
  samples.Report(state);
}

uint64_t CallbackThreadAllocations() {
  return RunThrough(
      [](base::OnceClosure task) { EventWorld::Get().service()->postToCallback(std::move(task)); },
      &AllocationsOnThisThread);
}

uint64_t IpcThreadAllocations() { return RunOn(LibraryIpcTaskRunner(), &AllocationsOnThisThread); }

// Blocks per event on each thread, end to end and for the library alone. The probes allocate
// nothing on the threads they read.
void Allocations(benchmark::State& state, Kind kind) {
  CountingStack& stack = CountingStack::Get();
  const double events = kAllocationEvents;
  for (auto _ : state) {
    // End to end, through the pipe.
    HostAllocations host;
    uint64_t ipc = IpcThreadAllocations();
    uint64_t callback = CallbackThreadAllocations();
    stack.delivered.Arm(kAllocationEvents);
    Fire(kind, kAllocationEvents, false, &host);
    stack.delivered.Wait();
    ipc = IpcThreadAllocations() - ipc;
    callback = CallbackThreadAllocations() - callback;

    // The library alone: from entering the event method on the IPC thread to the callback's
    // return on the callback thread.
    std::vector<Records> batch = MakeBatch(kind, kAllocationEvents);
    uint64_t libraryCallback = CallbackThreadAllocations();
    stack.delivered.Arm(kAllocationEvents);
    const uint64_t libraryIpc =
        RunOn(LibraryIpcTaskRunner(), [kind, &batch] { return EnterLibrary(kind, &batch); });
    stack.delivered.Wait();
    libraryCallback = CallbackThreadAllocations() - libraryCallback;

    state.counters["host_records"] = static_cast<double>(host.records) / events;
    state.counters["pipe_send"] = static_cast<double>(host.send) / events;
    state.counters["ipc_thread"] = static_cast<double>(ipc) / events;
    state.counters["callback_thread"] = static_cast<double>(callback) / events;
    state.counters["library"] = static_cast<double>(libraryIpc + libraryCallback) / events;
    state.counters["pipe_receive"] =
        (static_cast<double>(ipc) - static_cast<double>(libraryIpc)) / events;
  }
}

BENCHMARK_CAPTURE(Throughput, notify, Kind::kNotify)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Throughput, scan, Kind::kScan)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Latency, notify, Kind::kNotify)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Latency, scan, Kind::kScan)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LibraryThroughput, notify, Kind::kNotify)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LibraryThroughput, scan, Kind::kScan)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LibraryLatency, notify, Kind::kNotify)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(LibraryLatency, scan, Kind::kScan)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Allocations, notify, Kind::kNotify)->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(Allocations, scan, Kind::kScan)->Iterations(1)->UseRealTime();

}  // namespace
}  // namespace bench
}  // namespace tev
