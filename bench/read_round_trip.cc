#include "read_round_trip.h"

#include "bench_support.h"
#include "counting_stack.h"

namespace tev {
namespace bench {
namespace {

constexpr size_t kLatencySamples = 200000;

}  // namespace

void MeasureReadRoundTrip(benchmark::State& state, const MonitorLink& link) {
  CountingStack& stack = CountingStack::Get();
  LatencySamples samples(kLatencySamples);
  stack.latency = &samples;
  for (auto _ : state) {
    stack.delivered.Arm(1);
    stack.requestSentNs = NowNs();
    if (Gatt()->client->read_characteristic(link.connId, MonitorLink::kLocation, 0) !=
        BT_STATUS_SUCCESS) {
      state.SkipWithError("read_characteristic failed");
      break;
    }
    stack.delivered.Wait();
  }
  stack.latency = nullptr;
  stack.requestSentNs = 0;
  samples.Report(state);
}

}  // namespace bench
}  // namespace tev
