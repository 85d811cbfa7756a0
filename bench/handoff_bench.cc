// The baselines the bridge is measured against, in the same process and between the same
// threads, through the same task runner: bare closures handed from the IPC thread to the
// callback thread (the library's own hand-off), from the host thread to the callback thread,
// and from the host thread through the IPC thread to the callback thread (the route of an
// event); and a minimal mutex + condition-variable queue from the host thread to a plain thread.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "base/bind.h"
#include "base/threading/thread_task_runner_handle.h"
#include "bench_support.h"
#include "counting_stack.h"
#include "event_world.h"
#include "stack_bring_up.h"

namespace tev {
namespace bench {
namespace {

constexpr int kBatch = 10000;
constexpr size_t kLatencySamples = 200000;

enum class Route {
  kIpcToCallback,     // IPC thread -> callback thread
  kTaskRunner,        // host thread -> callback thread
  kTaskRunnerViaIpc,  // host thread -> IPC thread -> callback thread
  kMutexCondvar,      // host thread -> a plain thread, one item per lock
};

// The smallest hand-off there is: each item is pushed under the lock, the consumer is woken
// if it sleeps, and pops one item per lock.
class MinimalQueue {
 public:
  MinimalQueue() : consumer_([this] { Consume(); }) {}
  ~MinimalQueue() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    ready_cv_.notify_one();
    consumer_.join();
  }

  void Push(int64_t sent_ns) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      items_.push_back(sent_ns);
    }
    ready_cv_.notify_one();
  }

 private:
  void Consume() {
    for (;;) {
      std::unique_lock<std::mutex> lock(mutex_);
      ready_cv_.wait(lock, [this] { return stopping_ || !items_.empty(); });
      if (items_.empty()) return;
      const int64_t sent_ns = items_.front();
      items_.pop_front();
      lock.unlock();
      CountingStack::Get().Arrived(sent_ns);
    }
  }

  std::mutex mutex_;
  std::condition_variable ready_cv_;
  std::deque<int64_t> items_;
  bool stopping_ = false;
  std::thread consumer_;
};

struct Targets {
  scoped_refptr<base::SingleThreadTaskRunner> ipc;
  scoped_refptr<base::SingleThreadTaskRunner> callback;
  MinimalQueue* queue = nullptr;
};

void Arrive(int64_t sent_ns) { CountingStack::Get().Arrived(sent_ns); }

void Relay(scoped_refptr<base::SingleThreadTaskRunner> callback, int64_t sent_ns) {
  callback->PostTask(FROM_HERE, base::BindOnce(&Arrive, sent_ns));
}

// Host thread, or the IPC thread for kIpcToCallback.
void Send(Route route, int count, bool stamp, const Targets* targets) {
  for (int i = 0; i < count; ++i) {
    const int64_t sent_ns = stamp ? NowNs() : 0;
    switch (route) {
      case Route::kIpcToCallback:
      case Route::kTaskRunner:
        targets->callback->PostTask(FROM_HERE, base::BindOnce(&Arrive, sent_ns));
        break;
      case Route::kTaskRunnerViaIpc:
        targets->ipc->PostTask(FROM_HERE, base::BindOnce(&Relay, targets->callback, sent_ns));
        break;
      case Route::kMutexCondvar:
        targets->queue->Push(sent_ns);
        break;
    }
  }
}

Targets MakeTargets(MinimalQueue* queue) {
  Targets targets;
  targets.ipc = LibraryIpcTaskRunner();
  // The callback thread's runner, as that thread itself sees it.
  targets.callback = RunThrough(
      [](base::OnceClosure task) { EventWorld::Get().service()->postToCallback(std::move(task)); },
      [] { return base::ThreadTaskRunnerHandle::Get(); });
  targets.queue = queue;
  return targets;
}

void Fire(Route route, int count, bool stamp, const Targets& targets) {
  const scoped_refptr<base::SingleThreadTaskRunner> from =
      route == Route::kIpcToCallback ? targets.ipc : EventWorld::Get().host().task_runner();
  from->PostTask(FROM_HERE, base::BindOnce(&Send, route, count, stamp, base::Unretained(&targets)));
}

void Throughput(benchmark::State& state, Route route) {
  MinimalQueue queue;
  const Targets targets = MakeTargets(&queue);
  CountingStack& stack = CountingStack::Get();
  for (auto _ : state) {
    stack.delivered.Arm(kBatch);
    Fire(route, kBatch, false, targets);
    stack.delivered.Wait();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

void Latency(benchmark::State& state, Route route) {
  MinimalQueue queue;
  const Targets targets = MakeTargets(&queue);
  CountingStack& stack = CountingStack::Get();
  LatencySamples samples(kLatencySamples);
  stack.latency = &samples;
  for (auto _ : state) {
    stack.delivered.Arm(1);
    Fire(route, 1, true, targets);
    stack.delivered.Wait();
  }
  stack.latency = nullptr;
  samples.Report(state);
}

BENCHMARK_CAPTURE(Throughput, handoff_ipc_to_callback, Route::kIpcToCallback)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Throughput, handoff_task_runner, Route::kTaskRunner)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Throughput, handoff_task_runner_via_ipc, Route::kTaskRunnerViaIpc)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Throughput, handoff_mutex_condvar, Route::kMutexCondvar)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Latency, handoff_ipc_to_callback, Route::kIpcToCallback)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Latency, handoff_task_runner, Route::kTaskRunner)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Latency, handoff_task_runner_via_ipc, Route::kTaskRunnerViaIpc)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Latency, handoff_mutex_condvar, Route::kMutexCondvar)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace bench
}  // namespace tev
