#include "process_world.h"

#include <dirent.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench_support.h"
#include "host_process.h"
#include "tevbridge/TevBridgeSocket.h"

namespace tev {
namespace bench {
namespace {

ProcessWorld* gWorld = nullptr;

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "tev_process_bench: %s\n", what.c_str());
  std::exit(1);
}

// A child forked from a process with threads holds whatever locks they held at that moment.
void RequireSingleThread() {
  int threads = 0;
  if (DIR* dir = opendir("/proc/self/task")) {
    while (dirent* entry = readdir(dir)) threads += entry->d_name[0] != '.';
    closedir(dir);
  }
  if (threads != 1) Fail("the host process must be forked before any thread starts");
}

}  // namespace

ProcessWorld::ProcessWorld() {
  gWorld = this;
  RequireSingleThread();
  char directory[] = "/tmp/tev_process_bench.XXXXXX";
  if (!mkdtemp(directory)) Fail(std::string("mkdtemp: ") + std::strerror(errno));
  directory_ = directory;
  socket_path_ = directory_ + "/host.sock";
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
    Fail(std::string("socketpair: ") + std::strerror(errno));
  }
  const pid_t parent = getpid();
  host_pid_ = fork();
  if (host_pid_ < 0) Fail(std::string("fork: ") + std::strerror(errno));
  if (host_pid_ == 0) {
    close(pair[0]);
    // The parent may have died before the signal was asked for.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent) _exit(1);
    _exit(RunHostProcess(pair[1], socket_path_));
  }
  close(pair[1]);
  channel_ = pair[0];
  watcher_ = std::thread(&ProcessWorld::WatchHost, this);
  uint8_t listening = 0;
  if (!ReadFully(channel_, &listening, 1) || listening != 1) ChannelBroke("starting the host");

  setenv(bridge::kHostSocketVariable, socket_path_.c_str(), 1);
  // The host's clock is real: its delayed answers come by themselves.
  link_ = ConnectToMonitor([this] { WaitForInit(); }, [](int) {});
  // The library dials only at init: nothing is left behind if the run is killed from here on.
  RemoveSocket();
}

ProcessWorld::~ProcessWorld() {
  CleanUpLibrary();
  {
    std::unique_lock<std::mutex> lock(mutex_);
    ending_ = true;
    // The host process's commands end with the channel, and so does it.
    close(channel_);
    if (!host_ended_cv_.wait_for(lock, kDeadlockGuard, [this] { return host_ended_; })) {
      std::fprintf(stderr, "tev_process_bench: the host process did not end; killed\n");
      kill(host_pid_, SIGKILL);
    }
  }
  watcher_.join();
  gWorld = nullptr;
}

ProcessWorld& ProcessWorld::Get() { return *gWorld; }

void ProcessWorld::Order(const Command& command) {
  if (!WriteFully(channel_, &command, sizeof(command))) ChannelBroke("sending a command");
}

void ProcessWorld::ChannelBroke(const char* what) {
  std::fprintf(stderr, "tev_process_bench: the channel to the host process broke: %s\n", what);
  std::abort();
}

void ProcessWorld::WaitForInit() {
  Order(Command{Op::kWaitForInit, 0, 0, 0});
  uint8_t initialized = 0;
  if (!ReadFully(channel_, &initialized, 1)) ChannelBroke("waiting for Init");
  if (initialized != 1) GuardExpired("the library's answer to the host's Init");
}

void ProcessWorld::RemoveSocket() const {
  unlink(socket_path_.c_str());
  rmdir(directory_.c_str());
}

void ProcessWorld::WatchHost() {
  pthread_setname_np(pthread_self(), "host_watch");
  int status = 0;
  while (waitpid(host_pid_, &status, 0) < 0 && errno == EINTR) {
  }
  std::lock_guard<std::mutex> lock(mutex_);
  host_ended_ = true;
  if (!ending_) {
    std::fprintf(stderr, "tev_process_bench: the host process ended during the run (%s %d)\n",
                 WIFSIGNALED(status) ? "signal" : "exit status",
                 WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
    RemoveSocket();
    _exit(1);
  }
  host_ended_cv_.notify_all();
}

}  // namespace bench
}  // namespace tev
