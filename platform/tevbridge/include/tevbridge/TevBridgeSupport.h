#pragma once

#include <utils/RefBase.h>

#include <memory>
#include <vector>

#include "mojo/public/cpp/bindings/interface_ptr.h"
#include "mojo/public/cpp/system/socket_connection.h"
#include "mojom/tev_bridge.mojom.h"
#include "tevbridge/MojoProcessSupport.h"
#include "tevbridge/TevService.h"

namespace tev {

// Connects guest services to the host's bridge: the one offered in this process, or, when the
// environment names a host socket, the host process listening there. Kept for the life of the
// process, since the bridge pipes it hands out stay open as long as it exists.
class TevBridgeSupport {
 public:
  explicit TevBridgeSupport(MojoProcessSupport* support);
  TevBridgeSupport(const TevBridgeSupport&) = delete;
  TevBridgeSupport& operator=(const TevBridgeSupport&) = delete;

  // Later, on the IPC thread: `service->ready(...)` once a host serving `version` is there,
  // or `service->versionMismatch(hostVersion)` if the host is older. A service that is gone
  // by then is not called.
  void requestTevBridgeProxyAsync(android::wp<TevService> service, unsigned int version);

  // IPC thread only.
  mojo::InterfacePtr<tev::mojom::TevBridgeHost>* newBridgeHostPtr();
  // A bridge pipe over a new connection to the host process on `fd`, connected to `path`; it
  // ends the process's earlier connections.
  mojo::InterfacePtr<tev::mojom::TevBridgeHost>* newHostConnection(int fd, std::string path);
  void severBridgePipes();

 private:
  MojoProcessSupport* mSupport;
  std::vector<std::unique_ptr<mojo::InterfacePtr<tev::mojom::TevBridgeHost>>> mBridgeHosts;
};

}  // namespace tev
