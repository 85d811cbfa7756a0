#include "tevbridge/TevBridgeSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/bind.h"
#include "base/logging.h"
#include "mojom/tev_bridge.mojom.h"
#include "tevbridge/MojoProcessSupport.h"
#include "tevbridge/TevBridgeHostOffer.h"

namespace tev {
namespace bridge {
namespace {

constexpr uint32_t kMagic = 0x42564554;  // "TEVB"
// A peer that connects and says nothing does not hold the listener up for longer.
constexpr int kHelloTimeoutSeconds = 5;

std::string errnoText(const std::string& what) { return what + ": " + std::strerror(errno); }

bool fillAddress(const std::string& path, sockaddr_un* address, std::string* error) {
  std::memset(address, 0, sizeof(*address));
  address->sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address->sun_path)) {
    *error = "a socket path must have 1 to " + std::to_string(sizeof(address->sun_path) - 1) +
             " characters: '" + path + "'";
    return false;
  }
  std::memcpy(address->sun_path, path.c_str(), path.size());
  return true;
}

bool writeWords(int fd, const uint32_t* words, size_t count) {
  uint8_t bytes[12];
  for (size_t i = 0; i < count; ++i) {
    for (int b = 0; b < 4; ++b) bytes[4 * i + b] = static_cast<uint8_t>(words[i] >> (8 * b));
  }
  return send(fd, bytes, 4 * count, MSG_NOSIGNAL) == static_cast<ssize_t>(4 * count);
}

bool readWords(int fd, uint32_t* words, size_t count) {
  uint8_t bytes[12];
  if (recv(fd, bytes, 4 * count, MSG_WAITALL) != static_cast<ssize_t>(4 * count)) return false;
  for (size_t i = 0; i < count; ++i) {
    words[i] = 0;
    for (int b = 0; b < 4; ++b) words[i] |= static_cast<uint32_t>(bytes[4 * i + b]) << (8 * b);
  }
  return true;
}

void bindOnIpcThread(BindTevBridgeHost bind, mojo::ScopedMessagePipeHandle pipe) {
  MojoThread* thread = MojoProcessSupport::GetInstance()->getThread();
  if (!thread) {
    LOG(ERROR) << "TevBridge: no IPC thread; guest not served";
    return;
  }
  thread->getTaskRunner()->PostTask(
      FROM_HERE, base::BindOnce(
                     [](BindTevBridgeHost bind, mojo::ScopedMessagePipeHandle pipe) {
                       bind.Run(mojo::InterfaceRequest<tev::mojom::TevBridgeHost>(std::move(pipe)));
                     },
                     std::move(bind), std::move(pipe)));
}

}  // namespace

int DialHost(const std::string& path, Purpose purpose, unsigned int version,
             unsigned int* hostVersion, std::string* error) {
  sockaddr_un address;
  if (!fillAddress(path, &address, error)) return -1;
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    *error = errnoText("socket");
    return -1;
  }
  const uint32_t hello[] = {kMagic, static_cast<uint32_t>(purpose), version};
  uint32_t answer = 0;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    *error = errnoText("cannot connect to " + path);
  } else if (!writeWords(fd, hello, 3) || !readWords(fd, &answer, 1)) {
    *error = "the host at " + path + " did not answer";
  } else {
    *hostVersion = answer;
    return fd;
  }
  close(fd);
  return -1;
}

std::unique_ptr<HostSocket> HostSocket::Listen(const std::string& path, Handlers handlers,
                                               std::string* error) {
  sockaddr_un address;
  if (!fillAddress(path, &address, error)) return nullptr;
  struct stat existing;
  if (lstat(path.c_str(), &existing) == 0) {
    if (!S_ISSOCK(existing.st_mode)) {
      *error = path + " exists and is not a socket";
      return nullptr;
    }
    // A socket nobody answers on is left over from a host that died: it is replaced.
    const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool live =
        probe >= 0 && connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    if (probe >= 0) close(probe);
    if (live) {
      *error = "a host already listens at " + path;
      return nullptr;
    }
    unlink(path.c_str());
  }
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    *error = errnoText("socket");
    return nullptr;
  }
  // Owner only, before anyone can connect: listen() comes after the mode is set.
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    *error = errnoText("cannot bind " + path);
  } else if (chmod(path.c_str(), S_IRUSR | S_IWUSR) != 0) {
    *error = errnoText("cannot restrict " + path);
    unlink(path.c_str());
  } else if (listen(fd, 8) != 0) {
    *error = errnoText("cannot listen at " + path);
    unlink(path.c_str());
  } else {
    return std::unique_ptr<HostSocket>(new HostSocket(path, fd, std::move(handlers)));
  }
  close(fd);
  return nullptr;
}

HostSocket::HostSocket(std::string path, int listenFd, Handlers handlers)
    : mPath(std::move(path)), mListenFd(listenFd), mHandlers(std::move(handlers)) {
  CHECK(pipe2(mWakeFds, O_CLOEXEC) == 0) << "TevBridge: no wake pipe: " << std::strerror(errno);
  mThread = std::thread(&HostSocket::Loop, this);
}

HostSocket::~HostSocket() {
  mStopping = true;
  Wake();
  mThread.join();
  {
    std::lock_guard<std::mutex> lock(mGuestMutex);
    mGuest.reset();
  }
  for (int fd : mWaitingGuests) close(fd);
  close(mListenFd);
  unlink(mPath.c_str());
  close(mWakeFds[0]);
  close(mWakeFds[1]);
}

void HostSocket::servedGuestTraffic(uint64_t* sent, uint64_t* received) const {
  std::lock_guard<std::mutex> lock(mGuestMutex);
  *sent = mGuest ? mGuest->messages_sent() : 0;
  *received = mGuest ? mGuest->messages_received() : 0;
}

void HostSocket::Wake() {
  const char byte = 1;
  while (write(mWakeFds[1], &byte, 1) < 0 && errno == EINTR) {
  }
}

void HostSocket::Loop() {
  pthread_setname_np(pthread_self(), "tev_bridge_host");
  while (!mStopping) {
    pollfd fds[2] = {{mListenFd, POLLIN, 0}, {mWakeFds[0], POLLIN, 0}};
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      LOG(ERROR) << "TevBridge: poll: " << std::strerror(errno);
      return;
    }
    if (fds[1].revents & POLLIN) {
      char drained[64];
      while (read(mWakeFds[0], drained, sizeof(drained)) == static_cast<ssize_t>(sizeof(drained))) {
      }
    }
    if (mGuestEnded.exchange(false)) {
      {
        std::lock_guard<std::mutex> lock(mGuestMutex);
        mGuest.reset();
      }
      if (mHandlers.guestGone) mHandlers.guestGone.Run(mGuestName);
      ServeNextGuest();
    }
    if (fds[0].revents & POLLIN) Accept();
  }
}

void HostSocket::Accept() {
  const int fd = accept4(mListenFd, nullptr, nullptr, SOCK_CLOEXEC);
  if (fd < 0) return;
  ucred peer;
  socklen_t length = sizeof(peer);
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 || peer.uid != geteuid()) {
    LOG(ERROR) << "TevBridge: refused a connection from uid " << peer.uid
               << ": only the host's owner may connect";
    close(fd);
    return;
  }
  const timeval timeout{kHelloTimeoutSeconds, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
  uint32_t hello[3] = {0, 0, 0};
  if (!readWords(fd, hello, 3) || hello[0] != kMagic ||
      (hello[1] != static_cast<uint32_t>(Purpose::kBridge) &&
       hello[1] != static_cast<uint32_t>(Purpose::kControl))) {
    LOG(ERROR) << "TevBridge: a connection that did not introduce itself; closed";
    close(fd);
    return;
  }
  const timeval none{0, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &none, sizeof(none));
  const uint32_t offered = CurrentOfferedVersion();
  if (!writeWords(fd, &offered, 1)) {
    close(fd);
    return;
  }
  if (hello[1] == static_cast<uint32_t>(Purpose::kControl)) {
    if (!mHandlers.controlConnected) {
      close(fd);
      return;
    }
    mHandlers.controlConnected.Run(std::make_unique<mojo::SocketConnection>(
        fd, mojo::SocketConnection::Side::kAcceptor, "control"));
    return;
  }
  // A guest that wants a newer bridge than the host's goes away by itself.
  if (hello[2] > offered) {
    close(fd);
    return;
  }
  mWaitingGuests.push_back(fd);
  if (!mGuest) ServeNextGuest();
}

void HostSocket::ServeNextGuest() {
  BindTevBridgeHost bind = CurrentOfferedBind();
  if (mWaitingGuests.empty() || !bind) return;
  const int fd = mWaitingGuests.front();
  mWaitingGuests.pop_front();
  mGuestName = "guest " + std::to_string(++mGuestsSeen);
  {
    std::lock_guard<std::mutex> lock(mGuestMutex);
    mGuest = std::make_unique<mojo::SocketConnection>(
        fd, mojo::SocketConnection::Side::kAcceptor, mGuestName);
  }
  bindOnIpcThread(std::move(bind), mGuest->TakeFirstPipe<tev::mojom::TevBridgeHost>());
  if (mHandlers.guestServed) mHandlers.guestServed.Run(mGuestName);
  mGuest->Start(base::BindOnce(
      [](HostSocket* self) {
        self->mGuestEnded = true;
        self->Wake();
      },
      base::Unretained(this)));
}

}  // namespace bridge
}  // namespace tev
