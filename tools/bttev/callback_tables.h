#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <string>
#include <vector>

#include "base/callback.h"
#include "callback_event.h"

namespace tev {
namespace bttev {

// Receives every callback the HAL makes, on the thread that made it, before the callback
// returns (so pointers in the HAL's arguments are still valid while the event is built).
class CallbackSink {
 public:
  virtual ~CallbackSink() = default;
  virtual void OnCallback(CallbackEvent event) = 0;
};

// Null detaches, once the deliveries in progress are over; the tables then ignore callbacks.
void SetCallbackSink(CallbackSink* sink);

// Complete tables: every slot is filled, so a HAL that calls an unexpected slot is seen
// calling it rather than crashing the stack.
bt_callbacks_t* AdapterCallbacks();
const btgatt_callbacks_t* GattCallbacks();

// Callbacks handed to HAL calls as arguments, which the HAL runs inline.
BleScannerInterface::RegisterCallback ScannerRegisteredCallback();
BleScannerInterface::Callback ScannerStatusCallback(const std::string& slot);
BleScannerInterface::EnableCallback ScanFilterEnableCallback();
base::Callback<void(uint8_t, uint8_t, uint8_t)> ReadPhyCallback(Table table);

// The callbacks a script may expect, with the fields each reports. Tables with open fields
// (properties, GATT elements) report further fields named after their content.
struct CallbackSchema {
  Table table;
  std::string slot;
  std::vector<std::string> fields;
  bool openFields = false;
  bool inlineResult = false;

  std::string Name() const;
};

const std::vector<CallbackSchema>& CallbackSchemas();

}  // namespace bttev
}  // namespace tev
