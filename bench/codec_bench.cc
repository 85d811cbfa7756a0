// A notification turned into bytes and back, as a socket connection's writer and reader do for
// every message that leaves or enters a process: the work per message that a bare socket message
// does not have.
#include <benchmark/benchmark.h>

#include "mojo/public/cpp/bindings/lib/wire.h"
#include "mojom/bluetooth.mojom.h"
#include "wire_notification.h"

namespace tev {
namespace bench {
namespace {

using tev::mojom::BluetoothInstance;

// "mojo_socket" thread's share: the message into a fresh wire message, as each send makes.
void WireCodecEncode(benchmark::State& state) {
  mojo::Message message = CaptureNotification();
  for (auto _ : state) {
    mojo::internal::WireMessage wire;
    if (!BluetoothInstance::EncodeMessage_(&message, &wire)) {
      state.SkipWithError("the notification does not encode");
      break;
    }
    benchmark::DoNotOptimize(wire.bytes.data());
  }
}

// The reader's share: the bytes copied out of the frame, checked and turned into records.
void WireCodecDecode(benchmark::State& state) {
  mojo::Message message = CaptureNotification();
  mojo::internal::WireMessage encoded;
  BluetoothInstance::EncodeMessage_(&message, &encoded);
  for (auto _ : state) {
    mojo::internal::WireMessage wire;
    wire.name = encoded.name;
    wire.flags = encoded.flags;
    wire.bytes = encoded.bytes;
    mojo::Message decoded;
    if (!BluetoothInstance::DecodeMessage_(&wire, &decoded)) {
      state.SkipWithError("the notification does not decode");
      break;
    }
    benchmark::DoNotOptimize(decoded.payload_as<mojo::internal::MessagePayload>());
  }
}

BENCHMARK(WireCodecEncode)->Name("WireCodec/encode_notify")->Unit(benchmark::kNanosecond);
BENCHMARK(WireCodecDecode)->Name("WireCodec/decode_notify")->Unit(benchmark::kNanosecond);

}  // namespace
}  // namespace bench
}  // namespace tev
