// The bridge across processes, each path beside a bare Unix-socket message between the same two
// processes in the same run: notifications (OnGattNotify from the host process's host thread to
// notify_cb here) against bare one-way messages of the same size on the wire, in throughput and
// latency; and a characteristic read's round trip against a bare ping-pong.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include "bench_support.h"
#include "counting_stack.h"
#include "process_world.h"
#include "read_round_trip.h"
#include "thread_usage.h"
#include "wire_notification.h"

namespace tev {
namespace bench {
namespace {

constexpr uint32_t kBatch = 10000;
constexpr size_t kLatencySamples = 200000;

enum class Path {
  kBridge,       // through the library and the socket connection
  kBareMessage,  // a bare message as large as a notification's frame
};

uint32_t MessageBytes() {
  static const auto bytes = static_cast<uint32_t>(NotificationFrameBytes());
  return bytes;
}

// What the threads of both processes used from construction to Report().
class Usage {
 public:
  Usage() : guest_(ThreadUsageOf(getpid())), host_(ThreadUsageOf(ProcessWorld::Get().hostPid())) {}

  void Report(benchmark::State& state, int64_t items) const {
    ReportThreadUsage(state, "guest", guest_, ThreadUsageOf(getpid()), items);
    ReportThreadUsage(state, "host", host_, ThreadUsageOf(ProcessWorld::Get().hostPid()), items);
  }

 private:
  const ThreadUsage guest_;
  const ThreadUsage host_;
};

void Receive(BareMessage& message) {
  if (!message.Receive(ProcessWorld::Get().channel())) {
    ProcessWorld::ChannelBroke("receiving a bare message");
  }
}

// One batch per iteration, the host process sending back to back.
void ProcessThroughput(benchmark::State& state, Path path) {
  ProcessWorld& world = ProcessWorld::Get();
  CountingStack& stack = CountingStack::Get();
  BareMessage message(MessageBytes());
  const Usage usage;
  for (auto _ : state) {
    if (path == Path::kBridge) {
      stack.delivered.Arm(kBatch);
      world.Order(Command{Op::kNotify, kBatch, 0, 0});
      stack.delivered.Wait();
    } else {
      world.Order(Command{Op::kStream, kBatch, MessageBytes(), 0});
      for (uint32_t i = 0; i < kBatch; ++i) Receive(message);
    }
  }
  const int64_t items = state.iterations() * kBatch;
  usage.Report(state, items);
  state.SetItemsProcessed(items);
  state.counters["bytes"] = MessageBytes();
}

// One at a time, from the sender's stamp in the host process to its arrival here.
void ProcessLatency(benchmark::State& state, Path path) {
  ProcessWorld& world = ProcessWorld::Get();
  CountingStack& stack = CountingStack::Get();
  BareMessage message(MessageBytes());
  LatencySamples samples(kLatencySamples);
  stack.latency = &samples;
  const Usage usage;
  for (auto _ : state) {
    if (path == Path::kBridge) {
      stack.delivered.Arm(1);
      world.Order(Command{Op::kNotify, 1, 0, 1});
      stack.delivered.Wait();
    } else {
      world.Order(Command{Op::kStream, 1, MessageBytes(), 1});
      Receive(message);
      samples.Add(NowNs() - message.stamp());
    }
  }
  usage.Report(state, state.iterations());
  stack.latency = nullptr;
  samples.Report(state);
  world.Order(Command{Op::kClearJournal, 0, 0, 0});
}

// A read answered by the host process, from the HAL call to read_characteristic_cb; or a bare
// message sent and echoed.
void ProcessRoundTrip(benchmark::State& state, Path path) {
  ProcessWorld& world = ProcessWorld::Get();
  const Usage usage;
  if (path == Path::kBridge) {
    MeasureReadRoundTrip(state, world.link());
    usage.Report(state, state.iterations());
    world.Order(Command{Op::kClearJournal, 0, 0, 0});
    return;
  }
  BareMessage message(MessageBytes());
  LatencySamples samples(kLatencySamples);
  world.Order(Command{Op::kEcho, static_cast<uint32_t>(state.max_iterations), MessageBytes(), 0});
  for (auto _ : state) {
    const int64_t start = NowNs();
    if (!message.Send(world.channel(), false)) ProcessWorld::ChannelBroke("sending a bare message");
    Receive(message);
    samples.Add(NowNs() - start);
  }
  usage.Report(state, state.iterations());
  samples.Report(state);
}

BENCHMARK_CAPTURE(ProcessThroughput, notify, Path::kBridge)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ProcessThroughput, bare_socket_message, Path::kBareMessage)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ProcessLatency, notify, Path::kBridge)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ProcessLatency, bare_socket_message, Path::kBareMessage)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ProcessRoundTrip, read_characteristic, Path::kBridge)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ProcessRoundTrip, bare_socket_ping_pong, Path::kBareMessage)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace bench
}  // namespace tev
