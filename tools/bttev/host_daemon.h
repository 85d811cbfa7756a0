#pragma once

#include <string>

namespace tev {
namespace bttev {

struct HostDaemonOptions {
  std::string socketPath;
  // Empty for the built-in world.
  std::string worldFile;
  bool virtualClock = false;
};

// `bttev host`: runs the simulated host for guests in other processes, which reach it at the
// socket, one at a time, and serves control connections there, until SIGINT or SIGTERM. Prints
// "bttev host: listening at SOCKET" once guests can come, then a line as each guest or control
// connection comes and goes. Returns the exit status: 0 after the signal, 2 when the world or
// the socket cannot be used. Call it before any thread starts: it blocks the signals for all.
int RunHostDaemon(const HostDaemonOptions& options);

}  // namespace bttev
}  // namespace tev
