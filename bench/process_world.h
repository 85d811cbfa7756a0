#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "process_channel.h"
#include "stack_bring_up.h"

namespace tev {
namespace bench {

// The library in this process as the guest of a host process (host_process.h), reached over the
// bridge socket named in this process's environment, and connected to the monitor with its
// database discovered. main() makes one before any thread exists, since it forks the host
// process; in that process the constructor never returns. The host process dies with this one:
// when the channel closes, and by a signal if this process is killed.
class ProcessWorld {
 public:
  ProcessWorld();
  // cleanup through both tables, then ends the host process and waits for it.
  ~ProcessWorld();
  ProcessWorld(const ProcessWorld&) = delete;
  ProcessWorld& operator=(const ProcessWorld&) = delete;

  static ProcessWorld& Get();

  const MonitorLink& link() const { return link_; }
  pid_t hostPid() const { return host_pid_; }
  // This process's end of the socket pair: commands go out on it, bare messages both ways.
  int channel() const { return channel_; }

  // Ends the run if the host process can no longer be told.
  void Order(const Command& command);
  // Ends the run: `what` failed on the channel.
  [[noreturn]] static void ChannelBroke(const char* what);

 private:
  void WaitForInit();
  // The socket file and its directory. Any thread.
  void RemoveSocket() const;
  // "host_watch" thread: ends the run when the host process ends before this world does.
  void WatchHost();

  std::string directory_;
  std::string socket_path_;
  int channel_ = -1;
  pid_t host_pid_ = -1;
  MonitorLink link_;

  std::thread watcher_;
  std::mutex mutex_;
  std::condition_variable host_ended_cv_;
  bool ending_ = false;
  bool host_ended_ = false;
};

}  // namespace bench
}  // namespace tev
