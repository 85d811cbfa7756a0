#pragma once

#include <benchmark/benchmark.h>

#include "quiet_logs.h"

namespace tev {
namespace bench {

// A benchmark binary's main(): the arguments, then every benchmark selected, all against one
// World made for the whole run.
template <typename World>
int RunBenchmarksIn(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  DiscardLogOutput();
  {
    World world;
    benchmark::RunSpecifiedBenchmarks();
  }
  benchmark::Shutdown();
  return 0;
}

}  // namespace bench
}  // namespace tev
