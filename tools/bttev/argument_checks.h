#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tev {
namespace bttev {

// What the stack needs of the values handed to its callbacks. Each check appends one line per
// problem it finds; none of them dereferences a pointer it has not first tested.
using Problems = std::vector<std::string>;

void CheckRange(const char* what, int64_t value, int64_t low, int64_t high, Problems* problems);
void CheckStatus(int status, Problems* problems);
void CheckAddressPresent(const char* what, const RawAddress* address, Problems* problems);

// Counts, pointers and the payload size each property type has.
void CheckProperties(int count, const bt_property_t* properties, Problems* problems);
// A found device the stack cannot file: it must carry its address.
void CheckHasAddressProperty(int count, const bt_property_t* properties, Problems* problems);

// Known types; with `published`, the handles a server was given (the first element is the
// service, every other handle lies within its range).
void CheckDbElements(const btgatt_db_element_t* elements, int64_t count, bool published, Problems* problems);

// A value of `length` bytes at `value`, at most the HAL's attribute size.
void CheckValue(size_t length, const void* value, Problems* problems);

// Legacy advertising carries at most 31 bytes, and every AD structure must fit in the data.
void CheckAdvertisingData(uint16_t eventType, const std::vector<uint8_t>& data, Problems* problems);

}  // namespace bttev
}  // namespace tev
