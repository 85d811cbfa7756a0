// The two parsers of outside input that need no thread: RawAddress::FromString on arbitrary
// text, and convertProperties on arbitrary host property lists (null records, null nested
// records, wrong-length addresses, huge arrays). Checks what the callers rely on: an address
// parses only from its 17-character form and prints back to one that parses the same, and every
// converted property's value is exactly its storage, sized for its type.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/logging.h"
#include "bluetooth_tev_service.h"
#include "records.h"

namespace {

using tev::BluetoothTevService;
using tev::stress::ByteChoices;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "conversions_fuzzer: %s\n", what);
  std::abort();
}

void checkAddress(const std::string& text) {
  RawAddress parsed = RawAddress::kAny;
  const bool ok = RawAddress::FromString(text, parsed);
  if (ok != RawAddress::IsValidAddress(text)) fail("IsValidAddress disagrees with FromString");
  if (!ok) {
    if (parsed != RawAddress::kAny) fail("a failed parse wrote its output");
    return;
  }
  if (text.size() != 17) fail("parsed text that is not 17 characters long");
  const std::string printed = parsed.ToString();
  RawAddress again = RawAddress::kEmpty;
  if (printed.size() != 17 || !RawAddress::FromString(printed, again) || again != parsed) {
    fail("an address does not survive printing and parsing");
  }
}

// The value size each type's record has; 0 for the lists, whose size varies.
size_t fixedSize(bt_property_type_t type) {
  switch (type) {
    case BT_PROPERTY_BDNAME:
    case BT_PROPERTY_REMOTE_FRIENDLY_NAME:
      return sizeof(bt_bdname_t);
    case BT_PROPERTY_BDADDR:
      return sizeof(RawAddress);
    case BT_PROPERTY_SERVICE_RECORD:
      return sizeof(bt_service_record_t);
    case BT_PROPERTY_REMOTE_VERSION_INFO:
      return sizeof(bt_remote_version_t);
    case BT_PROPERTY_LOCAL_LE_FEATURES:
      return sizeof(bt_local_le_features_t);
    default:
      return 0;
  }
}

void checkProperties(ByteChoices& choices) {
  const auto properties = tev::stress::MakeProperties(choices, tev::stress::Shape::kAnything);
  std::vector<bt_property_t> out;
  std::vector<std::vector<uint8_t>> storage;
  BluetoothTevService::convertProperties(properties, &out, &storage);
  if (out.size() != storage.size() || out.size() > properties.size()) {
    fail("converted properties and their storage do not match");
  }
  for (size_t i = 0; i < out.size(); ++i) {
    const bt_property_t& property = out[i];
    const std::vector<uint8_t>& held = storage[i];
    if (property.len != static_cast<int>(held.size())) fail("a length is not its storage's");
    if (property.val != (held.empty() ? nullptr : held.data())) fail("a value is not its storage");
    const size_t expected = fixedSize(property.type);
    if (expected && held.size() != expected) fail("a record has the wrong size for its type");
    if ((property.type == BT_PROPERTY_BDNAME ||
         property.type == BT_PROPERTY_REMOTE_FRIENDLY_NAME) &&
        std::memchr(held.data(), 0, held.size()) == nullptr) {
      fail("a name is not terminated");
    }
  }
}

// Dropped records are logged; fatal messages still print before the abort.
bool dropLog(logging::LogSeverity severity, const char*, int, size_t, const std::string&) {
  return severity < logging::LOG_FATAL;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  logging::SetLogMessageHandler(&dropLog);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  if (data[0] % 2 == 0) {
    checkAddress(std::string(reinterpret_cast<const char*>(data + 1), size - 1));
  } else {
    ByteChoices choices(data + 1, size - 1);
    checkProperties(choices);
  }
  return 0;
}
