#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "bluetooth/uuid.h"
#include "raw_address.h"

namespace tev {
namespace bttev {

// The value syntax of the command language.

// Decimal, or hexadecimal with 0x; "true"/"false" read as 1/0.
bool ParseInteger(const std::string& text, int64_t* value);
// A number with a unit: us, ms, s or m ("150ms", "2s", "1.5s").
bool ParseDuration(const std::string& text, std::chrono::milliseconds* value);
bool ParseDurationMicros(const std::string& text, std::chrono::microseconds* value);
// "aa:bb:cc:dd:ee:ff", either case.
bool ParseAddress(const std::string& text, RawAddress* address);
// 4 or 8 hex digits for the short forms on the Bluetooth base, or the 36-character form.
bool ParseUuid(const std::string& text, bluetooth::Uuid* uuid);
// Quoted text gives its characters; otherwise hex digits, optionally after 0x and with ':'
// between bytes ("0a0b", "0x0a0b", "0a:0b"). "-" is the empty value.
bool ParseBytes(const std::string& text, bool quoted, std::vector<uint8_t>* bytes);

}  // namespace bttev
}  // namespace tev
