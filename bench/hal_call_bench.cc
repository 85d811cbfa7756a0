// HAL calls against the simulated host: how long the stack's thread is held by a call while the
// host never answers (the call must only hand its work over), and a characteristic read's full
// round trip, HAL call to read_characteristic_cb.
#include <benchmark/benchmark.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "base/bind.h"
#include "bench_support.h"
#include "bluetooth_tev_service.h"
#include "counting_stack.h"
#include "read_round_trip.h"
#include "sim_world.h"

namespace tev {
namespace bench {
namespace {

constexpr int kCalls = 20000;
constexpr int kColdCalls = 4000;
// Longer than the task runner polls before it sleeps.
constexpr auto kColdPause = std::chrono::microseconds(300);
constexpr size_t kLatencySamples = 200000;
constexpr size_t kLongestValue = 600;

enum class Call {
  kRead,
  kWrite600,
  kRegisterForNotification,
  kBarePost,  // the baseline: an empty closure posted to the IPC thread
};

enum class Pace {
  kCold,   // the IPC thread has slept a while, as before a stack's occasional call
  kWarm,   // the IPC thread has just finished the previous call's work
  kBurst,  // calls back to back, the IPC thread still busy with the previous ones
};

const char* HostMethod(Call call) {
  switch (call) {
    case Call::kRead:
      return "ReadGattCharacteristic";
    case Call::kWrite600:
      return "WriteGattCharacteristic";
    case Call::kRegisterForNotification:
      return "RegisterForGattNotification";
    case Call::kBarePost:
      break;
  }
  return "";
}

int Make(Call call, const std::vector<uint8_t>& value) {
  SimWorld& world = SimWorld::Get();
  switch (call) {
    case Call::kRead:
      return world.client()->read_characteristic(world.link().connId, MonitorLink::kLocation, 0);
    case Call::kWrite600:
      return world.client()->write_characteristic(world.link().connId, MonitorLink::kControlPoint,
                                                  2, 0, value.data(), value.size());
    case Call::kRegisterForNotification:
      return world.client()->register_for_notification(world.link().clientIf, world.link().monitor,
                                                       MonitorLink::kMeasurement);
    case Call::kBarePost:
      return LibraryIpcTaskRunner()->PostTask(FROM_HERE, base::BindOnce([] {})) ? BT_STATUS_SUCCESS
                                                                                : BT_STATUS_FAIL;
  }
  return -1;
}

// Time from entering the HAL call to its return, with the host withholding every reply.
void StalledHostCall(benchmark::State& state, Call call, Pace pace) {
  SimWorld& world = SimWorld::Get();
  sim::Fault stall;
  stall.never = true;
  if (call != Call::kBarePost) world.host().faults().Set(HostMethod(call), stall);
  const std::vector<uint8_t> value(kLongestValue, 0xa5);
  LatencySamples samples(kLatencySamples);
  for (auto _ : state) {
    if (pace == Pace::kCold) {
      state.PauseTiming();
      world.Settle();
      std::this_thread::sleep_for(kColdPause);
      state.ResumeTiming();
    }
    const int64_t start = NowNs();
    const int status = Make(call, value);
    samples.Add(NowNs() - start);
    if (status != BT_STATUS_SUCCESS) {
      state.SkipWithError("the HAL call failed");
      break;
    }
    if (pace == Pace::kWarm) world.Settle();
  }
  samples.Report(state);
  world.Settle();
  world.host().faults().ClearAll();
  world.host().journal().Clear();
}

// HAL call -> IPC thread -> host -> IPC thread -> read_characteristic_cb on the callback thread.
void ReadRoundTrip(benchmark::State& state) {
  MeasureReadRoundTrip(state, SimWorld::Get().link());
  SimWorld::Get().host().journal().Clear();
}

BENCHMARK_CAPTURE(StalledHostCall, read_characteristic_cold, Call::kRead, Pace::kCold)
    ->Iterations(kColdCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, write_characteristic_600_cold, Call::kWrite600, Pace::kCold)
    ->Iterations(kColdCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, register_for_notification_cold,
                  Call::kRegisterForNotification, Pace::kCold)
    ->Iterations(kColdCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, read_characteristic_warm, Call::kRead, Pace::kWarm)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, write_characteristic_600_warm, Call::kWrite600, Pace::kWarm)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, register_for_notification_warm,
                  Call::kRegisterForNotification, Pace::kWarm)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, read_characteristic_burst, Call::kRead, Pace::kBurst)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, write_characteristic_600_burst, Call::kWrite600, Pace::kBurst)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, register_for_notification_burst,
                  Call::kRegisterForNotification, Pace::kBurst)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, bare_post_to_ipc_cold, Call::kBarePost, Pace::kCold)
    ->Iterations(kColdCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, bare_post_to_ipc_warm, Call::kBarePost, Pace::kWarm)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(StalledHostCall, bare_post_to_ipc_burst, Call::kBarePost, Pace::kBurst)
    ->Iterations(kCalls)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadRoundTrip)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace bench
}  // namespace tev
