#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/callback.h"
#include "mojo/public/cpp/system/socket_connection.h"

// The bridge between processes: a guest reaches the host's bridge over a Unix socket that only
// the host's owner may use.
namespace tev {
namespace bridge {

// Names the host's socket in a guest process's environment. Without it, guests use the bridge
// host offered in their own process.
inline constexpr char kHostSocketVariable[] = "TEV_BRIDGE_SOCKET";

// Said in the first bytes of a connection, before any frame.
enum class Purpose : uint32_t {
  kBridge = 1,   // a guest's bridge: its first pipe is TevBridgeHost
  kControl = 2,  // a tool's control of the host: its first pipe is the tool's own interface
};

// Connects to the host listening at `path` for `purpose`, asking for bridge `version`. Blocks.
// The connected socket, with `*hostVersion` set to what the host offers, or -1 with `error`.
int DialHost(const std::string& path, Purpose purpose, unsigned int version,
             unsigned int* hostVersion, std::string* error);

// Guest: the messages this process's connections to the host have sent and received so far,
// for waits that must know when nothing is on its way between the two processes.
void HostConnectionTraffic(uint64_t* sent, uint64_t* received);

// Accepts guests and tools at `path` on a thread of its own, "tev_bridge_host". One guest is
// served at a time, bound to the bridge host offered in this process (OfferTevBridgeHost);
// others wait their turn. Connections from other users are refused.
class HostSocket {
 public:
  // Each may be left null.
  struct Handlers {
    // A guest's turn began or ended; its pipes are all closed before the end is told.
    base::RepeatingCallback<void(const std::string& guest)> guestServed;
    base::RepeatingCallback<void(const std::string& guest)> guestGone;
    // A control connection, not started: the handler takes its first pipe and starts it.
    base::RepeatingCallback<void(std::unique_ptr<mojo::SocketConnection>)> controlConnected;
  };

  // Null with `error` when the socket cannot be made: a live host already listens there, or
  // the path is taken by something else.
  static std::unique_ptr<HostSocket> Listen(const std::string& path, Handlers handlers,
                                            std::string* error);
  // Stops listening, ends the guests' connections and removes the socket file.
  ~HostSocket();
  HostSocket(const HostSocket&) = delete;
  HostSocket& operator=(const HostSocket&) = delete;

  // The messages the connection of the guest being served has sent and received so far; zero
  // while none is. Any thread.
  void servedGuestTraffic(uint64_t* sent, uint64_t* received) const;

 private:
  HostSocket(std::string path, int listenFd, Handlers handlers);

  // "tev_bridge_listen" thread.
  void Loop();
  void Accept();
  void ServeNextGuest();
  void Wake();

  const std::string mPath;
  const int mListenFd;
  int mWakeFds[2] = {-1, -1};
  const Handlers mHandlers;
  std::thread mThread;
  std::atomic<bool> mStopping{false};
  // Listener thread only, except mGuestEnded; mGuest changes under mGuestMutex, for readers on
  // other threads.
  std::deque<int> mWaitingGuests;
  mutable std::mutex mGuestMutex;
  std::unique_ptr<mojo::SocketConnection> mGuest;
  std::string mGuestName;
  unsigned int mGuestsSeen = 0;
  std::atomic<bool> mGuestEnded{false};
};

}  // namespace bridge
}  // namespace tev
