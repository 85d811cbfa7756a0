#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "mojo/public/cpp/bindings/message.h"
#include "mojo/public/cpp/system/message_pipe.h"

namespace mojo {
namespace internal {

struct WireMessage;

// How one interface's messages become bytes and back. A pipe end that leaves the process takes
// its interface's codec along, so that what later travels on it can be written and read.
struct InterfaceCodec {
  const char* name;
  bool (*encode)(Message* message, WireMessage* out);
  bool (*decode)(WireMessage* in, Message* out);
};

template <typename Interface>
const InterfaceCodec* CodecOf() {
  static const InterfaceCodec codec{Interface::Name_, &Interface::EncodeMessage_,
                                    &Interface::DecodeMessage_};
  return &codec;
}

// A message as bytes, ready to leave the process: the generated encoders fill it, the
// generated decoders check it and turn it back into a Message. The pipe ends it carries travel
// beside the bytes, which refer to them by index; beside each end is its interface's codec
// (set by the encoder, and by the decoder for each end it takes).
struct WireMessage {
  uint32_t name = 0;
  uint32_t flags = 0;
  uint64_t request_id = 0;
  std::vector<uint8_t> bytes;
  std::vector<ScopedMessagePipeHandle> endpoints;
  std::vector<const InterfaceCodec*> endpoint_codecs;
};

// Marks a null pipe end where the bytes would hold an index into WireMessage::endpoints.
constexpr uint32_t kNullEndpoint = 0xFFFFFFFFu;

// Appends values little-endian; what it writes is what WireReader reads back.
class WireWriter {
 public:
  explicit WireWriter(WireMessage* message) : message_(message) {}

  template <typename T>
  void WriteScalar(T value) {
    static_assert(std::is_arithmetic<T>::value, "scalars only");
    uint8_t bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    AppendLittleEndian(bytes, sizeof(T));
  }
  void WriteBool(bool value) { message_->bytes.push_back(value ? 1 : 0); }
  void WriteCount(size_t count) { WriteScalar(static_cast<uint32_t>(count)); }
  void WriteString(const std::string& value);
  // Moves the pipe end into the message; an invalid handle is written as a null reference.
  void WriteEndpoint(ScopedMessagePipeHandle handle, const InterfaceCodec* codec);

 private:
  void AppendLittleEndian(const uint8_t* bytes, size_t size);

  WireMessage* message_;
};

// Reads what WireWriter wrote, never past the end: every read fails once the bytes run out or
// hold something the type does not allow, and the decoders give up at the first failure.
class WireReader {
 public:
  explicit WireReader(WireMessage* message);

  template <typename T>
  bool ReadScalar(T* value) {
    static_assert(std::is_arithmetic<T>::value, "scalars only");
    uint8_t bytes[sizeof(T)];
    if (!TakeLittleEndian(bytes, sizeof(T))) return false;
    std::memcpy(value, bytes, sizeof(T));
    return true;
  }
  // Only 0 and 1 are booleans.
  bool ReadBool(bool* value);
  // A count of items that each take at least one byte, so never more than the bytes left.
  bool ReadCount(uint32_t* count);
  bool ReadString(std::string* value);
  // Ends must be taken in order, each once; a null reference is accepted only where `nullable`.
  bool ReadEndpoint(ScopedMessagePipeHandle* handle, bool nullable, const InterfaceCodec* codec);
  // True when every byte and every pipe end has been used.
  bool AtEnd() const;

 private:
  bool TakeLittleEndian(uint8_t* bytes, size_t size);

  WireMessage* message_;
  size_t offset_ = 0;
  size_t endpoints_taken_ = 0;
};

// How a C++ type that stands in for a mojom record is written; specialised next to that type's
// mapping. It writes what the record's own fields would.
template <typename T>
struct WireTraits;

}  // namespace internal
}  // namespace mojo
