#pragma once

#include <cstddef>

#include "mojo/public/cpp/bindings/message.h"

namespace tev {
namespace bench {

// The OnGattNotify message a host's proxy makes for one notification of the benchmarks
// (host_events.h), taken off its pipe before anyone reads it.
mojo::Message CaptureNotification();

// The bytes such a notification takes on a socket connection: the frame's length word and
// header, then the encoded parameters (docs/mojo_wire_format.md).
size_t NotificationFrameBytes();

}  // namespace bench
}  // namespace tev
