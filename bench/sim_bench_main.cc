// The HAL-call benchmarks, against one library instance and the simulated host.
#include <benchmark/benchmark.h>

#include "quiet_logs.h"
#include "sim_world.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  tev::bench::DiscardLogOutput();
  {
    tev::bench::SimWorld world;
    benchmark::RunSpecifiedBenchmarks();
  }
  benchmark::Shutdown();
  return 0;
}
