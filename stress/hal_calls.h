#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <vector>

#include "checking_stack.h"
#include "choices.h"

namespace tev {
namespace stress {

// One entry of the HAL's tables, other than init and cleanup, called with arguments made from
// the choices: ids the library handed out lately or arbitrary ones, null and empty pointers,
// enumerations out of range. Pointers still cover the lengths given with them, as the HAL
// promises; answers the library owes before a call returns are checked by the stack. The caller
// marks the call with a CheckingStack::HalCall.
struct HalEntry {
  const char* name;
  void (*call)(Choices& choices, CheckingStack& stack);
};

const HalEntry& PickHalEntry(Choices& choices);

// The tables, for the entries.
const bt_interface_t& Adapter();
const btgatt_interface_t& Gatt();

// An id the stack was given lately, a small one, or any int.
int PickId(Choices& choices, int recent);

const std::vector<HalEntry>& AdapterEntries();
const std::vector<HalEntry>& GattClientEntries();
const std::vector<HalEntry>& GattServerEntries();
const std::vector<HalEntry>& ScannerEntries();

}  // namespace stress
}  // namespace tev
