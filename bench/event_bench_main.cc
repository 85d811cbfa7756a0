// The event benchmarks and their baselines, against one library instance and one LeanHost.
#include <benchmark/benchmark.h>

#include "event_world.h"
#include "quiet_logs.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  tev::bench::DiscardLogOutput();
  {
    tev::bench::EventWorld world;
    benchmark::RunSpecifiedBenchmarks();
  }
  benchmark::Shutdown();
  return 0;
}
