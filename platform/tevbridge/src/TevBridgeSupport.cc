#include "tevbridge/TevBridgeSupport.h"

#include <mutex>

#include "base/bind.h"
#include "base/logging.h"
#include "tevbridge/TevBridgeHostOffer.h"

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
  postServe(mSupport, Request{this, std::move(service), version});
}

mojo::InterfacePtr<tev::mojom::TevBridgeHost>* TevBridgeSupport::newBridgeHostPtr() {
  mBridgeHosts.push_back(std::make_unique<mojo::InterfacePtr<tev::mojom::TevBridgeHost>>());
  return mBridgeHosts.back().get();
}

void TevBridgeSupport::severBridgePipes() {
  for (auto& bridgeHost : mBridgeHosts) bridgeHost->reset();
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
