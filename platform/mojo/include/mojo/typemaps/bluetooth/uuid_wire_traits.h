#pragma once

#include "bluetooth/uuid.h"
#include "mojo/public/cpp/bindings/lib/wire.h"

namespace mojo {
namespace internal {

// A UUID record holds one field, array<uint8, 16>, in network order.
template <>
struct WireTraits<bluetooth::Uuid> {
  static void Write(WireWriter& writer, const bluetooth::Uuid& value) {
    const bluetooth::Uuid::UUID128Bit& bytes = value.To128BitBE();
    writer.WriteCount(bytes.size());
    for (uint8_t byte : bytes) writer.WriteScalar(byte);
  }

  static bool Read(WireReader& reader, bluetooth::Uuid* value) {
    bluetooth::Uuid::UUID128Bit bytes{};
    uint32_t count = 0;
    if (!reader.ReadCount(&count) || count != bytes.size()) return false;
    for (uint8_t& byte : bytes) {
      if (!reader.ReadScalar(&byte)) return false;
    }
    *value = bluetooth::Uuid::From128BitBE(bytes);
    return true;
  }
};

}  // namespace internal
}  // namespace mojo
