#pragma once

#include <utils/RefBase.h>

#include "mojo/public/cpp/bindings/interface_ptr.h"
#include "mojom/tev_bridge.mojom.h"

namespace tev {

// A guest service that the bridge connects to the host. The bridge calls exactly one of the two
// on the IPC thread for each request.
class TevService : public virtual android::RefBase {
 public:
  // `bridgeHost` is bound on the IPC thread and stays owned by the bridge.
  virtual void ready(mojo::InterfacePtr<tev::mojom::TevBridgeHost>* bridgeHost) = 0;
  virtual void versionMismatch(unsigned int hostVersion) = 0;
};

}  // namespace tev
