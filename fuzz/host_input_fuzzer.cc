// What the host sends, as arbitrary bytes: each input is a sequence of BluetoothInstance calls
// with arbitrary records. Most go straight to the library on the IPC thread, past the pipe's
// validation (null records, wrong-length addresses, unknown enumerations, huge arrays, any
// handles and ids); some go through the pipe, where a malformed one closes it. Now and then the
// host severs its pipe or calls Init without a host.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz_session.h"
#include "host_events.h"
#include "tev/testing/run_on.h"

namespace {

using tev::fuzz::FuzzSession;
using tev::stress::ByteChoices;
using tev::stress::HostEvent;
using tev::stress::PickHostEvent;
using tev::stress::Shape;

// Bytes handed to one event sent through the pipe, which is built on the host's thread.
constexpr uint32_t kMaxChunk = 512;

void throughPipe(FuzzSession& session, ByteChoices& choices, const HostEvent& event, Shape shape) {
  std::vector<uint8_t> chunk = choices.Chunk(choices.Below(kMaxChunk));
  session.library().host().Fire([&event, chunk, shape](tev::mojom::BluetoothInstance* instance) {
    ByteChoices eventChoices(chunk.data(), chunk.size());
    event.fire(eventChoices, instance, shape);
  });
}

void direct(FuzzSession& session, ByteChoices& choices, const HostEvent& event) {
  tev::testing::RunOn(session.library().ipc(), [&] {
    event.fire(choices, tev::stress::LibrarySession::library(), Shape::kAnything);
  });
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  FuzzSession::Get();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzSession& session = FuzzSession::Get();
  session.EnsureReady();
  ByteChoices choices(data, size);
  while (!choices.Exhausted()) {
    switch (choices.Below(16)) {
      case 0:
        throughPipe(session, choices, PickHostEvent(choices), Shape::kWellFormed);
        break;
      case 1:
        throughPipe(session, choices, PickHostEvent(choices), Shape::kAnything);
        break;
      case 2:
        session.library().host().SeverHostPipe();
        break;
      case 3:
        tev::testing::RunOn(session.library().ipc(), [] {
          tev::stress::LibrarySession::library()->Init(tev::mojom::BluetoothHostPtr(),
                                                       base::RepeatingClosure());
        });
        session.RestoreHostLater();
        break;
      default:
        direct(session, choices, PickHostEvent(choices));
        break;
    }
  }
  session.Settle();
  return 0;
}
