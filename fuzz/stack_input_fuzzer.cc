// What the stack sends, as arbitrary bytes: each input is a sequence of HAL calls on every table
// (adapter, GATT client and server, scanner, advertiser) with arbitrary arguments, null and
// empty ones among them, mixed with clean-ups and inits of either table. The host answers
// every call, so the replies and the events they cause come back as callbacks, which the
// checking tables hold to the contract.
#include <cstddef>
#include <cstdint>

#include "fuzz_session.h"
#include "hal_calls.h"

namespace {

using tev::fuzz::FuzzSession;
using tev::stress::ByteChoices;
using tev::stress::CheckingStack;

// Cleans a table up if installed, installs it otherwise.
void toggleTables(tev::stress::LibrarySession& session, ByteChoices& choices) {
  switch (choices.Below(3)) {
    case 0:
      if (session.GattInstalled()) {
        session.CleanUpGatt();
      } else {
        session.InstallGatt(session.stack().gattCallbacks());
      }
      break;
    case 1:
      session.InstallGatt(nullptr);
      break;
    default:
      if (session.AdapterInstalled()) {
        session.CleanUpAdapter();
      } else {
        session.InstallAdapter();
      }
      break;
  }
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
    if (choices.OneIn(32)) {
      toggleTables(session.library(), choices);
      continue;
    }
    const tev::stress::HalEntry& entry = tev::stress::PickHalEntry(choices);
    CheckingStack& stack = session.library().stack();
    CheckingStack::HalCall call(stack);
    entry.call(choices, stack);
  }
  session.Settle();
  return 0;
}
