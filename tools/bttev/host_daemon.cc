#include "host_daemon.h"

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <sstream>

#include "base/bind.h"
#include "control_server.h"
#include "tev/sim/simulated_host.h"
#include "tev/sim/world_loader.h"
#include "tevbridge/TevBridgeSocket.h"

namespace tev {
namespace bttev {
namespace {

constexpr int kExitUnusable = 2;

// Lines come from the listener and control threads; each is flushed, as tests wait for them.
void printLine(const std::string& line) {
  static std::mutex* mutex = new std::mutex;
  std::lock_guard<std::mutex> lock(*mutex);
  std::cout << "bttev host: " << line << std::endl;
}

// The world's JSON text, from its file or built in, and the world it describes.
bool loadWorld(const std::string& file, std::string* json, sim::World* world, std::string* error) {
  if (file.empty()) {
    *json = sim::DefaultWorldJson();
  } else {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    if (in) text << in.rdbuf();
    if (!in || in.bad()) {
      *error = "cannot read the world file " + file;
      return false;
    }
    *json = text.str();
  }
  sim::WorldError worldError;
  if (sim::ParseWorld(*json, file.empty() ? "the built-in world" : file, world, &worldError)) return true;
  *error = worldError.ToString();
  return false;
}

}  // namespace

int RunHostDaemon(const HostDaemonOptions& options) {
  // Every thread started from here on inherits the mask, so only sigwait below takes them.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
  // A reader of the printed lines that goes away must not end the host.
  signal(SIGPIPE, SIG_IGN);

  sim::SimulatedHost::Options hostOptions;
  std::string worldJson;
  std::string error;
  if (!loadWorld(options.worldFile, &worldJson, &hostOptions.world, &error)) {
    std::cerr << "bttev: " << error << "\n";
    return kExitUnusable;
  }
  hostOptions.time = options.virtualClock ? sim::SimulatedHost::Time::kVirtual : sim::SimulatedHost::Time::kReal;
  sim::SimulatedHost host(hostOptions);
  host.Start();

  std::atomic<bridge::HostSocket*> listening{nullptr};
  ControlServer control(
      &host, ControlServer::Info{options.virtualClock, options.worldFile, worldJson},
      base::BindRepeating(
          [](std::atomic<bridge::HostSocket*>* listening, uint64_t* sent, uint64_t* received) {
            *sent = 0;
            *received = 0;
            if (bridge::HostSocket* socket = listening->load()) socket->servedGuestTraffic(sent, received);
          },
          &listening),
      base::BindRepeating(&printLine));
  bridge::HostSocket::Handlers handlers;
  handlers.guestServed = base::BindRepeating([](const std::string& guest) { printLine(guest + " connected"); });
  handlers.guestGone = base::BindRepeating([](const std::string& guest) { printLine(guest + " gone"); });
  handlers.controlConnected = base::BindRepeating(
      [](ControlServer* control, std::unique_ptr<mojo::SocketConnection> connection) {
        control->Serve(std::move(connection));
      },
      base::Unretained(&control));
  std::unique_ptr<bridge::HostSocket> socket = bridge::HostSocket::Listen(options.socketPath, handlers, &error);
  if (!socket) {
    std::cerr << "bttev host: " << error << "\n";
    return kExitUnusable;
  }
  listening = socket.get();
  printLine("listening at " + options.socketPath);

  int received = 0;
  while (sigwait(&stopSignals, &received) != 0) {
  }
  // The waits for idle read the socket's guest, so they end first.
  control.Stop();
  listening = nullptr;
  socket.reset();
  host.Stop();
  return 0;
}

}  // namespace bttev
}  // namespace tev
