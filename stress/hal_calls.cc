#include "hal_calls.h"

extern bt_interface_t bluetoothInterface;

namespace tev {
namespace stress {

const bt_interface_t& Adapter() { return bluetoothInterface; }

const btgatt_interface_t& Gatt() {
  static const auto* gatt = static_cast<const btgatt_interface_t*>(
      bluetoothInterface.get_profile_interface(BT_PROFILE_GATT_ID));
  return *gatt;
}

int PickId(Choices& choices, int recent) {
  switch (choices.Below(4)) {
    case 0:
    case 1:
      return recent;
    case 2:
      return static_cast<int>(choices.Below(5));
    default:
      return choices.Any<int32_t>();
  }
}

// Weighted towards the GATT tables, where the library keeps its registries.
const HalEntry& PickHalEntry(Choices& choices) {
  const std::vector<HalEntry>* groups[] = {&AdapterEntries(),    &GattClientEntries(),
                                           &GattClientEntries(), &GattServerEntries(),
                                           &GattServerEntries(), &ScannerEntries()};
  const std::vector<HalEntry>& group = *groups[choices.Below(6)];
  return group[choices.Below(static_cast<uint32_t>(group.size()))];
}

}  // namespace stress
}  // namespace tev
