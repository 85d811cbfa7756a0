#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/bind.h"
#include "base/callback.h"
#include "tev/testing/stack/callback_event.h"
#include "tev/testing/stack/callback_tables.h"

namespace tev {
namespace testing {

// Decodes each call of the tables into a CallbackEvent, reading its pointers in full, and hands
// it to the callback sink.
struct CallDecoder;
extern template struct CallbackTables<CallDecoder>;

// The stack's tables as the tests, the stress test and bttev hand them over.
using StackTables = CallbackTables<CallDecoder>;

// A result the library hands to a callback argument of a HAL call, reported as an inline result
// `table`.`slot` with one number per argument, named by `names`.
void SendInlineResult(Table table, const std::string& slot, const std::vector<std::string>& names,
                      const std::vector<int64_t>& values);

template <typename... Args>
base::Callback<void(Args...)> InlineResult(Table table, std::string slot,
                                           std::vector<std::string> names) {
  return base::BindRepeating(
      [](Table table, const std::string& slot, const std::vector<std::string>& names,
         Args... values) {
        SendInlineResult(table, slot, names, {static_cast<int64_t>(values)...});
      },
      table, std::move(slot), std::move(names));
}

BleScannerInterface::RegisterCallback ScannerRegisteredCallback();
BleScannerInterface::Callback ScannerStatusCallback(const std::string& slot);
BleScannerInterface::EnableCallback ScanFilterEnableCallback();
base::Callback<void(uint8_t, uint8_t, uint8_t)> ReadPhyCallback(Table table);

}  // namespace testing
}  // namespace tev
