#pragma once

#include <cstdint>
#include <memory>

namespace mojo {
namespace internal {

// The arguments of one call or reply, moved from sender to receiver without copying.
class MessagePayload {
 public:
  virtual ~MessagePayload() = default;
};

}  // namespace internal

class Message {
 public:
  static constexpr uint32_t kFlagExpectsResponse = 1u << 0;
  static constexpr uint32_t kFlagIsResponse = 1u << 1;

  Message() = default;
  Message(uint32_t name, uint32_t flags, const char* interface_name, const char* method_name,
          std::unique_ptr<internal::MessagePayload> payload)
      : name_(name),
        flags_(flags),
        interface_name_(interface_name),
        method_name_(method_name),
        payload_(std::move(payload)) {}
  Message(Message&&) noexcept = default;
  Message& operator=(Message&&) noexcept = default;
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  uint32_t name() const { return name_; }
  uint32_t flags() const { return flags_; }
  bool has_flag(uint32_t flag) const { return (flags_ & flag) != 0; }
  void set_flags(uint32_t flags) { flags_ = flags; }
  uint64_t request_id() const { return request_id_; }
  void set_request_id(uint64_t request_id) { request_id_ = request_id; }
  const char* interface_name() const { return interface_name_; }
  const char* method_name() const { return method_name_; }
  bool is_null() const { return payload_ == nullptr; }

  template <typename T>
  T* payload_as() {
    return static_cast<T*>(payload_.get());
  }
  template <typename T>
  const T* payload_as() const {
    return static_cast<const T*>(payload_.get());
  }

 private:
  uint32_t name_ = 0;
  uint32_t flags_ = 0;
  uint64_t request_id_ = 0;
  const char* interface_name_ = "";
  const char* method_name_ = "";
  std::unique_ptr<internal::MessagePayload> payload_;
};

class MessageReceiver {
 public:
  virtual ~MessageReceiver() = default;
  virtual bool Accept(Message* message) = 0;
};

// Sends the reply to one request; safe to use from any thread, and a no-op once the pipe is gone.
class MessageReceiverWithStatus : public MessageReceiver {
 public:
  virtual bool IsConnected() const = 0;
};

class MessageReceiverWithResponder : public MessageReceiver {
 public:
  virtual bool AcceptWithResponder(Message* message,
                                   std::unique_ptr<MessageReceiverWithStatus> responder) = 0;
};

}  // namespace mojo
