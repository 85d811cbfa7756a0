#include "mojo/public/cpp/bindings/lib/wire.h"

#include <algorithm>
#include <utility>

namespace mojo {
namespace internal {
namespace {

constexpr bool kHostIsLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

}  // namespace

void WireWriter::WriteString(const std::string& value) {
  WriteCount(value.size());
  message_->bytes.insert(message_->bytes.end(), value.begin(), value.end());
}

void WireWriter::WriteEndpoint(ScopedMessagePipeHandle handle, const InterfaceCodec* codec) {
  if (!handle.is_valid()) {
    WriteScalar(kNullEndpoint);
    return;
  }
  WriteScalar(static_cast<uint32_t>(message_->endpoints.size()));
  message_->endpoints.push_back(std::move(handle));
  message_->endpoint_codecs.push_back(codec);
}

void WireWriter::AppendLittleEndian(const uint8_t* bytes, size_t size) {
  if (kHostIsLittleEndian) {
    message_->bytes.insert(message_->bytes.end(), bytes, bytes + size);
  } else {
    message_->bytes.insert(message_->bytes.end(), std::make_reverse_iterator(bytes + size),
                           std::make_reverse_iterator(bytes));
  }
}

WireReader::WireReader(WireMessage* message) : message_(message) {}

bool WireReader::ReadBool(bool* value) {
  uint8_t byte = 0;
  if (!ReadScalar(&byte) || byte > 1) return false;
  *value = byte == 1;
  return true;
}

bool WireReader::ReadCount(uint32_t* count) {
  return ReadScalar(count) && *count <= message_->bytes.size() - offset_;
}

bool WireReader::ReadString(std::string* value) {
  uint32_t size = 0;
  if (!ReadCount(&size)) return false;
  const auto* begin = reinterpret_cast<const char*>(message_->bytes.data() + offset_);
  value->assign(begin, size);
  offset_ += size;
  return true;
}

bool WireReader::ReadEndpoint(ScopedMessagePipeHandle* handle, bool nullable,
                              const InterfaceCodec* codec) {
  uint32_t index = 0;
  if (!ReadScalar(&index)) return false;
  if (index == kNullEndpoint) return nullable;
  // Ends are referred to in the order they were attached, each once, so that a message has a
  // single byte form.
  if (index != endpoints_taken_ || index >= message_->endpoints.size()) return false;
  *handle = std::move(message_->endpoints[index]);
  if (!handle->is_valid()) return false;
  message_->endpoint_codecs.resize(message_->endpoints.size());
  message_->endpoint_codecs[index] = codec;
  ++endpoints_taken_;
  return true;
}

bool WireReader::AtEnd() const {
  return offset_ == message_->bytes.size() && endpoints_taken_ == message_->endpoints.size();
}

bool WireReader::TakeLittleEndian(uint8_t* bytes, size_t size) {
  if (message_->bytes.size() - offset_ < size) return false;
  const uint8_t* source = message_->bytes.data() + offset_;
  if (kHostIsLittleEndian) {
    std::copy(source, source + size, bytes);
  } else {
    std::reverse_copy(source, source + size, bytes);
  }
  offset_ += size;
  return true;
}

}  // namespace internal
}  // namespace mojo
