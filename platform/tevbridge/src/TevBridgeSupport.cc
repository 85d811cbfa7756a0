#include "tevbridge/TevBridgeSupport.h"

#include <unistd.h>

#include <cstdlib>
#include <mutex>

#include "base/bind.h"
#include "base/logging.h"
#include "base/threading/thread.h"
#include "tevbridge/TevBridgeHostOffer.h"
#include "tevbridge/TevBridgeSocket.h"

namespace tev {
namespace {

struct Request {
  TevBridgeSupport* support;
  android::wp<TevService> service;
  unsigned int version;
};

// What the host offers, the requests waiting for it, and every bridge support ever made (they
// live for the process).
struct Registry {
  std::mutex mutex;
  bool offered = false;
  unsigned int hostVersion = 0;
  bridge::BindTevBridgeHost bind;
  std::vector<Request> waiting;
  std::vector<TevBridgeSupport*> supports;
};

Registry& registry() {
  static Registry* instance = new Registry;
  return *instance;
}

// This process's connections to a host process; the newest one is in use.
struct HostConnections {
  std::mutex mutex;
  std::vector<std::unique_ptr<mojo::SocketConnection>> list;
};

HostConnections& hostConnections() {
  static HostConnections* instance = new HostConnections;
  return *instance;
}

scoped_refptr<base::SingleThreadTaskRunner> ipcTaskRunner(MojoProcessSupport* support) {
  MojoThread* thread = support->getThread();
  return thread ? thread->getTaskRunner() : nullptr;
}

// IPC thread.
void serve(Request request) {
  unsigned int hostVersion;
  bridge::BindTevBridgeHost bind;
  {
    std::lock_guard<std::mutex> lock(registry().mutex);
    if (!registry().offered) {
      registry().waiting.push_back(std::move(request));
      return;
    }
    hostVersion = registry().hostVersion;
    bind = registry().bind;
  }
  android::sp<TevService> service = request.service.promote();
  if (!service) return;
  if (hostVersion < request.version) {
    service->versionMismatch(hostVersion);
    return;
  }
  mojo::InterfacePtr<tev::mojom::TevBridgeHost>* bridgeHost = request.support->newBridgeHostPtr();
  bind.Run(mojo::MakeRequest(bridgeHost));
  service->ready(bridgeHost);
}

// IPC thread: the dial's outcome.
void serveOverSocket(Request request, std::string path, int fd, unsigned int hostVersion,
                     std::string error) {
  if (fd < 0) {
    LOG(ERROR) << "TevBridgeSupport: " << error << "; bridge request dropped";
    return;
  }
  android::sp<TevService> service = request.service.promote();
  if (!service) {
    close(fd);
    return;
  }
  if (hostVersion < request.version) {
    close(fd);
    service->versionMismatch(hostVersion);
    return;
  }
  mojo::InterfacePtr<tev::mojom::TevBridgeHost>* bridgeHost =
      request.support->newHostConnection(fd, std::move(path));
  service->ready(bridgeHost);
}

// The dial blocks until the host answers, so it has a thread of its own; kept for the process,
// like the requests' supports.
scoped_refptr<base::SingleThreadTaskRunner> dialTaskRunner() {
  static base::Thread* thread = [] {
    auto* dial = new base::Thread("tev_bridge_dial");
    dial->Start();
    return dial;
  }();
  return thread->task_runner();
}

void dialHost(MojoProcessSupport* support, Request request, std::string path) {
  dialTaskRunner()->PostTask(
      FROM_HERE, base::BindOnce(
                     [](MojoProcessSupport* support, Request request, std::string path) {
                       unsigned int hostVersion = 0;
                       std::string error;
                       const int fd = bridge::DialHost(path, bridge::Purpose::kBridge,
                                                       request.version, &hostVersion, &error);
                       scoped_refptr<base::SingleThreadTaskRunner> taskRunner =
                           ipcTaskRunner(support);
                       if (!taskRunner) {
                         LOG(ERROR) << "TevBridgeSupport: no IPC thread; bridge request dropped";
                         if (fd >= 0) close(fd);
                         return;
                       }
                       taskRunner->PostTask(FROM_HERE,
                                            base::BindOnce(&serveOverSocket, std::move(request),
                                                           std::move(path), fd, hostVersion,
                                                           std::move(error)));
                     },
                     support, std::move(request), std::move(path)));
}

void postServe(MojoProcessSupport* support, Request request) {
  scoped_refptr<base::SingleThreadTaskRunner> taskRunner = ipcTaskRunner(support);
  if (!taskRunner) {
    LOG(ERROR) << "TevBridgeSupport: no IPC thread; bridge request dropped";
    return;
  }
  taskRunner->PostTask(FROM_HERE, base::BindOnce(&serve, std::move(request)));
}

}  // namespace

TevBridgeSupport::TevBridgeSupport(MojoProcessSupport* support) : mSupport(support) {
  std::lock_guard<std::mutex> lock(registry().mutex);
  registry().supports.push_back(this);
}

void TevBridgeSupport::requestTevBridgeProxyAsync(android::wp<TevService> service,
                                                  unsigned int version) {
  const char* path = std::getenv(bridge::kHostSocketVariable);
  if (path && *path) {
    dialHost(mSupport, Request{this, std::move(service), version}, path);
    return;
  }
  postServe(mSupport, Request{this, std::move(service), version});
}

mojo::InterfacePtr<tev::mojom::TevBridgeHost>* TevBridgeSupport::newHostConnection(
    int fd, std::string path) {
  auto connection = std::make_unique<mojo::SocketConnection>(
      fd, mojo::SocketConnection::Side::kInitiator, "bridge to " + path);
  mojo::InterfacePtr<tev::mojom::TevBridgeHost>* bridgeHost = newBridgeHostPtr();
  bridgeHost->Bind(mojo::InterfacePtrInfo<tev::mojom::TevBridgeHost>(
      connection->TakeFirstPipe<tev::mojom::TevBridgeHost>()));
  connection->Start(base::BindOnce(
      [](std::string path) {
        LOG(WARNING) << "TevBridgeSupport: the connection to the host at " << path << " ended";
      },
      std::move(path)));
  std::vector<std::unique_ptr<mojo::SocketConnection>> ended;
  {
    HostConnections& connections = hostConnections();
    std::lock_guard<std::mutex> lock(connections.mutex);
    // The process is one guest to the host, which serves one guest at a time: a new bridge
    // (the stack's next init) ends the one before, whose pipes the service has let go.
    for (auto& earlier : connections.list) earlier->Close();
    ended.swap(connections.list);
    connections.list.push_back(std::move(connection));
  }
  return bridgeHost;
}

mojo::InterfacePtr<tev::mojom::TevBridgeHost>* TevBridgeSupport::newBridgeHostPtr() {
  mBridgeHosts.push_back(std::make_unique<mojo::InterfacePtr<tev::mojom::TevBridgeHost>>());
  return mBridgeHosts.back().get();
}

void TevBridgeSupport::severBridgePipes() {
  for (auto& bridgeHost : mBridgeHosts) bridgeHost->reset();
  HostConnections& connections = hostConnections();
  std::lock_guard<std::mutex> lock(connections.mutex);
  for (auto& connection : connections.list) connection->Close();
}

namespace bridge {

void OfferTevBridgeHost(unsigned int version, BindTevBridgeHost bind) {
  std::vector<Request> waiting;
  {
    std::lock_guard<std::mutex> lock(registry().mutex);
    registry().offered = true;
    registry().hostVersion = version;
    registry().bind = std::move(bind);
    waiting.swap(registry().waiting);
  }
  for (Request& request : waiting) postServe(MojoProcessSupport::GetInstance(), std::move(request));
}

unsigned int CurrentOfferedVersion() {
  std::lock_guard<std::mutex> lock(registry().mutex);
  return registry().offered ? registry().hostVersion : 0;
}

BindTevBridgeHost CurrentOfferedBind() {
  std::lock_guard<std::mutex> lock(registry().mutex);
  return registry().offered ? registry().bind : BindTevBridgeHost();
}

void HostConnectionTraffic(uint64_t* sent, uint64_t* received) {
  *sent = 0;
  *received = 0;
  HostConnections& connections = hostConnections();
  std::lock_guard<std::mutex> lock(connections.mutex);
  for (const auto& connection : connections.list) {
    *sent += connection->messages_sent();
    *received += connection->messages_received();
  }
}

void WithdrawTevBridgeHost() {
  std::lock_guard<std::mutex> lock(registry().mutex);
  registry().offered = false;
  registry().bind.Reset();
}

void SeverTevBridgePipes() {
  scoped_refptr<base::SingleThreadTaskRunner> taskRunner =
      ipcTaskRunner(MojoProcessSupport::GetInstance());
  if (!taskRunner) return;
  taskRunner->PostTask(FROM_HERE, base::BindOnce([] {
                         std::vector<TevBridgeSupport*> supports;
                         {
                           std::lock_guard<std::mutex> lock(registry().mutex);
                           supports = registry().supports;
                         }
                         for (TevBridgeSupport* support : supports) support->severBridgePipes();
                       }));
}

}  // namespace bridge
}  // namespace tev
