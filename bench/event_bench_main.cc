// The event benchmarks and their baselines, against one library instance and one LeanHost.
#include "event_world.h"
#include "run_in_world.h"

int main(int argc, char** argv) {
  return tev::bench::RunBenchmarksIn<tev::bench::EventWorld>(argc, argv);
}
