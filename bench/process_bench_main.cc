// The cross-process benchmarks: the library in this process, the host in a process forked off
// before any thread starts.
#include "process_world.h"
#include "run_in_world.h"

int main(int argc, char** argv) {
  return tev::bench::RunBenchmarksIn<tev::bench::ProcessWorld>(argc, argv);
}
