#include "host_process.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "base/bind.h"
#include "bench_support.h"
#include "host_events.h"
#include "process_channel.h"
#include "tev/sim/simulated_host.h"
#include "tevbridge/TevBridgeSocket.h"

namespace tev {
namespace bench {
namespace {

bridge::HostSocket::Handlers IgnoreEveryone() {
  bridge::HostSocket::Handlers handlers;
  handlers.guestServed = base::BindRepeating([](const std::string&) {});
  handlers.guestGone = base::BindRepeating([](const std::string&) {});
  // Nothing but the library is expected; a tool that connects is hung up on.
  handlers.controlConnected = base::BindRepeating([](std::unique_ptr<mojo::SocketConnection>) {});
  return handlers;
}

bool SendBare(int fd, const Command& command) {
  BareMessage message(command.bytes);
  for (uint32_t i = 0; i < command.count; ++i) {
    if (!message.Send(fd, command.stamp != 0)) return false;
  }
  return true;
}

bool Echo(int fd, const Command& command) {
  BareMessage message(command.bytes);
  for (uint32_t i = 0; i < command.count; ++i) {
    if (!message.Receive(fd) || !message.Send(fd, false)) return false;
  }
  return true;
}

// Command thread (the main one). False once the socket has ended.
bool Obey(sim::SimulatedHost& host, int fd, const Command& command) {
  switch (command.op) {
    case Op::kWaitForInit: {
      const uint8_t initialized = host.journal().WaitFor(
          "Init", sim::JournalEntry::Direction::kReplyReceived, 1, kDeadlockGuard);
      return WriteFully(fd, &initialized, 1);
    }
    case Op::kNotify:
      // One journal entry for the whole batch: the host's bookkeeping stays out of the figures.
      host.SendEvent("OnGattNotify", std::to_string(command.count) + " notifications",
                     base::BindOnce(&SendEvents, Kind::kNotify, static_cast<int>(command.count),
                                    command.stamp != 0, nullptr));
      return true;
    case Op::kStream:
      return SendBare(fd, command);
    case Op::kEcho:
      return Echo(fd, command);
    case Op::kClearJournal:
      host.journal().Clear();
      return true;
  }
  std::fprintf(stderr, "host process: unknown command %u\n", static_cast<unsigned>(command.op));
  return false;
}

}  // namespace

int RunHostProcess(int command_fd, const std::string& socket_path) {
  sim::SimulatedHost::Options options;
  options.time = sim::SimulatedHost::Time::kReal;
  sim::SimulatedHost host(std::move(options));
  host.Start();
  std::string error;
  std::unique_ptr<bridge::HostSocket> listener =
      bridge::HostSocket::Listen(socket_path, IgnoreEveryone(), &error);
  const uint8_t listening = listener ? 1 : 0;
  if (!listener) std::fprintf(stderr, "host process: %s\n", error.c_str());
  if (!WriteFully(command_fd, &listening, 1) || !listener) return 1;

  Command command;
  while (ReadFully(command_fd, &command, sizeof(command)) && Obey(host, command_fd, command)) {
  }
  listener.reset();
  host.Stop();
  return 0;
}

}  // namespace bench
}  // namespace tev
