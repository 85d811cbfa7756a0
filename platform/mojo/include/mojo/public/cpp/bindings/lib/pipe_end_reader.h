#pragma once

#include "mojo/public/cpp/bindings/message.h"

namespace mojo {
namespace internal {

// What reads one pipe end: a binding's or proxy's router in the process, or the socket
// connection that carries the pipe to another process. Called on the sequence it attached with.
class PipeEndReader {
 public:
  virtual ~PipeEndReader() = default;
  virtual void OnMessage(Message message) = 0;
  virtual void OnPeerClosed() = 0;
};

}  // namespace internal
}  // namespace mojo
