// Raw bytes arriving on a socket connection from another process, read by a real connection
// whose first pipe is TevBridgeHost, BluetoothHost or BluetoothInstance (byte 0 picks). The
// connection must end once the bytes do, whatever they hold, having built only messages that
// its interfaces' definitions allow; sanitizers catch the rest.
#include <sys/socket.h>
#include <unistd.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "base/bind.h"
#include "base/logging.h"
#include "mojo/public/cpp/system/socket_connection.h"
#include "mojom/bluetooth.mojom.h"
#include "mojom/tev_bridge.mojom.h"

namespace {

// Malformed input is expected here: its log lines would only slow the fuzzer down.
bool dropLog(logging::LogSeverity, const char*, int, size_t, const std::string&) { return true; }

const mojo::internal::InterfaceCodec* firstPipeCodec(uint8_t choice) {
  switch (choice % 3) {
    case 0:
      return mojo::internal::CodecOf<tev::mojom::TevBridgeHost>();
    case 1:
      return mojo::internal::CodecOf<tev::mojom::BluetoothHost>();
    default:
      return mojo::internal::CodecOf<tev::mojom::BluetoothInstance>();
  }
}

struct Ended {
  std::mutex mutex;
  std::condition_variable cv;
  bool ended = false;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  logging::SetLogMessageHandler(&dropLog);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  int fds[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) std::abort();
  Ended ended;
  {
    mojo::SocketConnection connection(fds[1], mojo::SocketConnection::Side::kAcceptor, "fuzzed");
    // Left unbound: what the connection accepts waits in the pipe and goes with it.
    mojo::ScopedMessagePipeHandle first = connection.TakeFirstPipe(firstPipeCodec(data[0]));
    connection.Start(base::BindOnce(
        [](Ended* ended) {
          std::lock_guard<std::mutex> lock(ended->mutex);
          ended->ended = true;
          ended->cv.notify_all();
        },
        &ended));
    size_t written = 1;
    while (written < size) {
      const ssize_t sent = send(fds[0], data + written, size - written, MSG_NOSIGNAL);
      if (sent <= 0) break;
      written += static_cast<size_t>(sent);
    }
    shutdown(fds[0], SHUT_WR);
    std::unique_lock<std::mutex> lock(ended.mutex);
    ended.cv.wait(lock, [&ended] { return ended.ended; });
  }
  close(fds[0]);
  return 0;
}
