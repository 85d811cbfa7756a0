#pragma once

#include <benchmark/benchmark.h>

#include "stack_bring_up.h"

namespace tev {
namespace bench {

// One characteristic read at a time over `link`, from the HAL call to read_characteristic_cb:
// sets the round trip's p50 and p99 on `state`, whichever host answers.
void MeasureReadRoundTrip(benchmark::State& state, const MonitorLink& link);

}  // namespace bench
}  // namespace tev
