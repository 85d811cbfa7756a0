// Raw bytes as they would arrive from another process, decoded as a message of BluetoothHost or
// BluetoothInstance. Byte 0 picks the interface (bit 0), the flags (bits 1-2) and how many pipe
// ends travel with the message (bits 3-4); byte 1 is the method; the rest is the payload.
// Checks that a message the decoder accepts passes the in-process validator and encodes back to
// exactly the same bytes and ends.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "mojo/public/cpp/bindings/lib/wire.h"
#include "mojom/bluetooth.mojom.h"

namespace {

using mojo::internal::WireMessage;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "wire_fuzzer: %s\n", what);
  std::abort();
}

template <typename Interface>
void decode(WireMessage* wire) {
  const WireMessage original{wire->name, wire->flags, wire->request_id, wire->bytes, {}, {}};
  const size_t endpoints = wire->endpoints.size();
  mojo::Message message;
  if (!Interface::DecodeMessage_(wire, &message)) {
    if (!message.is_null()) fail("a refused message was built anyway");
    return;
  }
  const bool is_response = message.has_flag(mojo::Message::kFlagIsResponse);
  if (!(is_response ? Interface::ResponseValidator_(message)
                    : Interface::RequestValidator_(message))) {
    fail("a decoded message fails validation");
  }
  WireMessage again;
  if (!Interface::EncodeMessage_(&message, &again)) fail("a decoded message does not encode");
  if (again.bytes != original.bytes || again.endpoints.size() != endpoints ||
      again.name != original.name || again.flags != original.flags) {
    fail("a decoded message encodes to other bytes");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  WireMessage wire;
  wire.flags = (data[0] >> 1) & 3u;
  wire.name = data[1];
  wire.bytes.assign(data + 2, data + size);
  for (unsigned i = 0; i < ((data[0] >> 3) & 3u); ++i) {
    wire.endpoints.push_back(mojo::MessagePipe().handle0);
  }
  if (data[0] & 1u) {
    decode<tev::mojom::BluetoothInstance>(&wire);
  } else {
    decode<tev::mojom::BluetoothHost>(&wire);
  }
  return 0;
}
