#include "host_processes.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "base/bind.h"
#include "guest_process.h"
#include "tev/sim/simulated_host.h"
#include "tevbridge/TevBridgeSocket.h"

namespace tev {
namespace sim {
namespace {

enum class Kind : uint32_t { kHost = 0, kGuest = 1 };

struct Command {
  Kind kind;
  HostProcesses::Scenario scenario;
  char adapterName[64];
};

// What a new process tells its maker once it is ready: its pid and a value.
struct Ready {
  int32_t pid;
  int32_t value;
};

bool ReadAll(int fd, void* data, size_t size) {
  return recv(fd, data, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

bool WriteAll(int fd, const void* data, size_t size) {
  return send(fd, data, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
}

// Host process: sends notifications for the monitor's heart-rate measurement as fast as it can,
// a bounded number so that a guest that falls behind still catches up; the host journals one
// entry per batch.
void Flood(SimulatedHost& host) {
  // From the moment the guest has a link to the monitor: before it, the guest drops them.
  host.journal().WaitFor("OnLEConnectionStateChange", JournalEntry::Direction::kEventSent);
  for (int batch = 0; batch < 50; ++batch) {
    host.SendEvent("OnGattNotify", "a batch of 100", base::BindOnce([](tev::mojom::BluetoothInstance* instance) {
                     for (int i = 0; i < 100; ++i) {
                       auto address = tev::mojom::BluetoothAddress::New();
                       address->address = {0x02, 0x51, 0xb0, 0x00, 0x00, 0x01};
                       instance->OnGattNotify(
                           std::move(address),
                           tev::mojom::BluetoothGattServiceID::New(
                               tev::mojom::BluetoothGattID::New(bluetooth::Uuid::From16Bit(0x180d), 1, 1), true),
                           tev::mojom::BluetoothGattID::New(bluetooth::Uuid::From16Bit(0x2a37), 2, 2), true,
                           std::vector<uint8_t>{0x06, static_cast<uint8_t>(i)});
                     }
                   }));
    host.Flush();
  }
}

[[noreturn]] void RunHost(const std::string& path, HostProcesses::Scenario scenario, int ready) {
  SimulatedHost::Options options;
  options.time = SimulatedHost::Time::kReal;
  SimulatedHost host(options);
  Fault never;
  never.never = true;
  if (scenario == HostProcesses::Scenario::kSilentGattReplies) {
    host.faults().Set("ReadGattCharacteristic", never);
    host.faults().Set("WriteGattCharacteristic", never);
  }
  if (scenario == HostProcesses::Scenario::kStuckPublication) host.faults().Set("AddCharacteristic", never);
  host.Start();
  std::string error;
  std::unique_ptr<tev::bridge::HostSocket> socket =
      tev::bridge::HostSocket::Listen(path, tev::bridge::HostSocket::Handlers(), &error);
  const Ready done{static_cast<int32_t>(getpid()), socket ? 0 : -1};
  if (!socket) fprintf(stderr, "host process: %s\n", error.c_str());
  WriteAll(ready, &done, sizeof(done));
  if (!socket) _exit(1);
  if (scenario == HostProcesses::Scenario::kNotificationFlood) Flood(host);

  for (;;) pause();
}

[[noreturn]] void RunForker(const std::string& path, int commands) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  signal(SIGCHLD, SIG_IGN);
  Command command;
  while (ReadAll(commands, &command, sizeof(command))) {
    int ready[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ready) != 0) _exit(1);
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      close(commands);
      close(ready[0]);
      if (command.kind == Kind::kHost) RunHost(path, command.scenario, ready[1]);
      const int handle = RunGuest(path, command.adapterName);
      const Ready done{static_cast<int32_t>(getpid()), handle};
      WriteAll(ready[1], &done, sizeof(done));
      for (;;) pause();
    }
    close(ready[1]);
    Ready done{-1, -1};
    if (child < 0 || !ReadAll(ready[0], &done, sizeof(done))) done = Ready{-1, -1};
    close(ready[0]);
    if (!WriteAll(commands, &done, sizeof(done))) break;
  }
  _exit(0);
}

}  // namespace

HostProcesses::HostProcesses(std::string socketPath) : mSocketPath(std::move(socketPath)) {
  int fds[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
    ADD_FAILURE() << "socketpair: " << std::strerror(errno);
    return;
  }
  mForker = fork();
  if (mForker == 0) {
    close(fds[0]);
    RunForker(mSocketPath, fds[1]);
  }
  close(fds[1]);
  mCommands = fds[0];
}

HostProcesses::~HostProcesses() {
  if (mCommands >= 0) close(mCommands);
  if (mForker > 0) Kill(mForker);
  unlink(mSocketPath.c_str());
}

pid_t HostProcesses::StartHost(Scenario scenario) {
  Command command{Kind::kHost, scenario, {}};
  Ready done{-1, -1};
  if (!WriteAll(mCommands, &command, sizeof(command)) || !ReadAll(mCommands, &done, sizeof(done)) ||
      done.value != 0) {
    ADD_FAILURE() << "the host process did not start";
    return -1;
  }
  return done.pid;
}

pid_t HostProcesses::StartGuest(const std::string& adapterName, int* serviceHandle) {
  Command command{Kind::kGuest, Scenario::kPlain, {}};
  adapterName.copy(command.adapterName, sizeof(command.adapterName) - 1);
  Ready done{-1, -1};
  if (!WriteAll(mCommands, &command, sizeof(command)) || !ReadAll(mCommands, &done, sizeof(done)) ||
      done.value <= 0) {
    ADD_FAILURE() << "the guest process did not get through its session";
    return -1;
  }
  *serviceHandle = done.value;
  return done.pid;
}

void HostProcesses::Kill(pid_t pid) {
  // Opened before the signal, so that the pid cannot be someone else's by the time it is waited on.
  const int process = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  kill(pid, SIGKILL);
  if (process < 0) return;
  pollfd gone{process, POLLIN, 0};
  while (poll(&gone, 1, -1) < 0 && errno == EINTR) {
  }
  close(process);
}

}  // namespace sim
}  // namespace tev
