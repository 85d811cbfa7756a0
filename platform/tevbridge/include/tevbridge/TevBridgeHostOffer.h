#pragma once

#include "base/callback.h"
#include "mojo/public/cpp/bindings/interface_request.h"
#include "mojom/tev_bridge.mojom.h"

// The host side of the bridge, for a simulated host and for tests.
namespace tev {
namespace bridge {

// Runs on the IPC thread with the serving end of each new bridge pipe.
using BindTevBridgeHost =
    base::RepeatingCallback<void(mojo::InterfaceRequest<tev::mojom::TevBridgeHost>)>;

// Serves bridge versions up to `version`; requests waiting for a host are answered now.
void OfferTevBridgeHost(unsigned int version, BindTevBridgeHost bind);

// Later requests wait again until a host is offered.
void WithdrawTevBridgeHost();

// What is offered now: the version (0 when nothing is) and how to bind a pipe to it (null when
// nothing is).
unsigned int CurrentOfferedVersion();
BindTevBridgeHost CurrentOfferedBind();

// Closes, on the IPC thread, every bridge pipe handed out so far, as a host crash would.
void SeverTevBridgePipes();

}  // namespace bridge
}  // namespace tev
