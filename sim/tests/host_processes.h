#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace tev {
namespace sim {

// Simulated hosts (and guests) in processes of their own, for tests that kill them. They are
// forked by a helper process made while the test process had a single thread, so that each new
// process starts clean however many threads the test runs by then. Every process it makes dies
// with the test.
class HostProcesses {
 public:
  // What a new host process does beyond serving the default world on the real clock.
  enum class Scenario : uint32_t {
    kPlain = 0,
    // Reads and writes of characteristics are never answered.
    kSilentGattReplies = 1,
    // The service-publication chain stops after its service: characteristics are never added.
    kStuckPublication = 2,
    // 5000 notifications from the heart-rate monitor, as fast as the host can send them.
    kNotificationFlood = 3,
  };

  // Call first thing in the test, while the process has one thread.
  explicit HostProcesses(std::string socketPath);
  // Kills every process it made.
  ~HostProcesses();
  HostProcesses(const HostProcesses&) = delete;
  HostProcesses& operator=(const HostProcesses&) = delete;

  // A host listening at the socket path; returns once it listens.
  pid_t StartHost(Scenario scenario);
  // A guest in a process of its own that brings the library up against the host, changes the
  // adapter's name to `adapterName`, connects to the heart-rate monitor, subscribes to it,
  // publishes a service, starts discovery, and then waits to be killed. Returns once it has
  // done all that, with the handle its service got.
  pid_t StartGuest(const std::string& adapterName, int* serviceHandle);
  // SIGKILL, and returns once the process is gone.
  static void Kill(pid_t pid);

  const std::string& socketPath() const { return mSocketPath; }

 private:
  const std::string mSocketPath;
  pid_t mForker = -1;
  int mCommands = -1;
};

}  // namespace sim
}  // namespace tev
