#pragma once

#include <string>

namespace tev {
namespace bench {

// The host process of the cross-process benchmarks: the simulated host on the real clock, its
// bridge served to one guest at `socket_path`. Writes one byte on `command_fd` once it listens
// (1, or 0 if it cannot), then obeys the commands that arrive there until the socket ends.
// Returns the process's exit status. Main thread of a process that has no other thread yet.
int RunHostProcess(int command_fd, const std::string& socket_path);

}  // namespace bench
}  // namespace tev
