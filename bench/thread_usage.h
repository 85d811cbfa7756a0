#pragma once

#include <benchmark/benchmark.h>
#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>

namespace tev {
namespace bench {

// What each thread of a process has used so far, from the kernel's per-thread accounting.
struct ThreadUse {
  // Time on a CPU (/proc/PID/task/TID/schedstat), polling included.
  uint64_t cpu_ns = 0;
  // Times it blocked (voluntary_ctxt_switches): each one a wake-up that some other thread paid
  // for. Yielding while polling does not count.
  uint64_t sleeps = 0;
};

// By thread name; the main thread is "main". A connection's reader is an unnamed thread and so
// carries the name of the thread that started it; being the younger of the two, it is told
// apart as "socket_reader".
using ThreadUsage = std::map<std::string, ThreadUse>;
ThreadUsage ThreadUsageOf(pid_t pid);

// Sets counters "cpu_ns:<side>:<thread>" and "sleeps:<side>:<thread>" on `state`, per item, for
// every thread that ran between `before` and `after`.
void ReportThreadUsage(benchmark::State& state, const std::string& side, const ThreadUsage& before,
                       const ThreadUsage& after, int64_t items);

}  // namespace bench
}  // namespace tev
