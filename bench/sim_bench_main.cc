// The HAL-call benchmarks, against one library instance and the simulated host.
#include "run_in_world.h"
#include "sim_world.h"

int main(int argc, char** argv) {
  return tev::bench::RunBenchmarksIn<tev::bench::SimWorld>(argc, argv);
}
