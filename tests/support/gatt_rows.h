#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "bt_gatt_tev.h"
#include "contract_row.h"
#include "tev/testing/thread_name.h"

namespace tev {
namespace testing {

// What the GATT contract tables share: the table, the texts of callbacks, and the steps rows
// are built from.

// The GATT table, fetched without get_profile_interface, whose line would join every row's.
inline const btgatt_interface_t* GattTable() { return getGattInterface(); }

inline bluetooth::Uuid Uuid16(uint16_t value) { return bluetooth::Uuid::From16Bit(value); }

inline tev::mojom::BluetoothAddressPtr MojoAddress(const RawAddress& address) {
  return BluetoothTevService::toMojoAddress(address);
}

// A call as RecordingStack writes it: name(arg, arg, ...).
template <typename... Ts>
std::string CallText(const std::string& name, const Ts&... args) {
  std::ostringstream text;
  int index = 0;
  text << name << "(";
  ((text << (index++ ? ", " : "") << args), ...);
  return text.str() + ")";
}

// Inline answers arrive on the thread that made the call.
inline std::string CallerThread() { return CurrentThreadName(); }

inline ContractRow::Step Steps(std::vector<ContractRow::Step> all) {
  return [all](LibraryHarness& h) {
    for (const ContractRow::Step& step : all) step(h);
  };
}

// The host's event `event(instance)`, handled in full before the next step.
template <typename F>
ContractRow::Step HostFires(F event) {
  return [event](LibraryHarness& h) {
    h.host().Fire(event);
    h.Settle();
  };
}

// Act: a call that returns no status.
inline ContractRow::Action Does(std::function<void()> call) {
  return [call](LibraryHarness&) {
    call();
    return ContractRow::kNoStatus;
  };
}

// The row with its host pinned: no GATT host call beyond those its Arrange expects.
inline ContractRow WithOnlyExpectedHostCalls(ContractRow row) {
  ContractRow::Step arrange = row.arrange;
  return row.Arrange([arrange](LibraryHarness& h) {
    ExpectNoGattCall(h.mock());
    if (arrange) arrange(h);
  });
}

// Arrange: the host calls the row leads to.
inline ContractRow::Step HostExpects(std::function<void(MockBluetoothHost&)> expect) {
  return [expect](LibraryHarness& h) { expect(h.mock()); };
}

// The GATT callbacks handed over again with `table` left out.
template <typename Table>
void GattInitWithout(LibraryHarness& h, const Table* btgatt_callbacks_t::*table) {
  // Borrowed by the library until the next init or the clean-up.
  static btgatt_callbacks_t tables;
  tables = *h.stack().gattCallbacks();
  tables.*table = nullptr;
  GattTable()->init(&tables);
}

inline auto LeConnection(const RawAddress& address, bool connected) {
  return [address, connected](tev::mojom::BluetoothInstance* instance) {
    instance->OnLEConnectionStateChange(MojoAddress(address), connected);
  };
}

}  // namespace testing
}  // namespace tev
