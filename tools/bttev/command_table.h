#pragma once

#include <hardware/bt_gatt.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "bluetooth/uuid.h"
#include "command_parser.h"
#include "raw_address.h"

namespace tev {
namespace bttev {

class Session;

// A command's arguments, read with the command language's value syntax. A reader that meets a
// bad value records the first error and returns a neutral value, so a handler reads all it
// needs and then tests ok() once.
class CommandArgs {
 public:
  explicit CommandArgs(std::vector<Token> words) : words_(std::move(words)) {}

  size_t size() const { return words_.size(); }
  bool has(size_t i) const { return i < words_.size(); }
  const Token& token(size_t i) const { return words_[i]; }
  const std::vector<Token>& tokens() const { return words_; }

  int64_t Int(size_t i, const char* what);
  // A name from `names` (its index is the value) or a number.
  int64_t Choice(size_t i, const char* what, const std::vector<std::string>& names);
  RawAddress Address(size_t i);
  // The word "null" gives a null pointer; anything else an address kept in `storage`.
  RawAddress* AddressOrNull(size_t i, RawAddress* storage);
  bool IsNull(size_t i) const { return has(i) && !words_[i].quoted && words_[i].text == "null"; }
  bluetooth::Uuid Uuid(size_t i);
  std::vector<uint8_t> Bytes(size_t i, const char* what);
  // A value handed to the HAL as pointer and length: bytes as for Bytes(), or "null" (a null
  // pointer, length 0) or "null:N" (a null pointer with length N), for the stack's mistakes.
  struct Value {
    std::vector<uint8_t> bytes;
    bool null = false;
    size_t length = 0;
    const uint8_t* data() const { return null ? nullptr : bytes.data(); }
    size_t size() const { return null ? length : bytes.size(); }
    std::string Text() const;
  };
  Value PointerValue(size_t i, const char* what);
  std::chrono::microseconds Duration(size_t i);

  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }
  void Fail(const std::string& reason);

  // What the HAL call returned, for 'returns' to check; a status is expected to be 0 unless the
  // line says otherwise.
  void Returned(int64_t value, bool isStatus) {
    returned_ = value;
    returnedStatus_ = isStatus;
  }
  std::optional<int64_t> returned() const { return returned_; }
  bool returnedStatus() const { return returnedStatus_; }
  // A result that is not a number: a text, or "null" / "non-null" for a pointer.
  void ReturnedText(std::string text) { returnedText_ = std::move(text); }
  const std::optional<std::string>& returnedText() const { return returnedText_; }

 private:
  std::vector<Token> words_;
  std::string error_;
  std::optional<int64_t> returned_;
  bool returnedStatus_ = false;
  std::optional<std::string> returnedText_;
};

using CommandHandler = bool (*)(Session& session, CommandArgs& args, std::string* error);

struct CommandEntry {
  // Where 'help' lists it: "bt", "gatt", "client", "server", "scanner", "advertiser", "host",
  // "script".
  std::string section;
  // "" for commands of one word; otherwise the first word ("client", "server", "scanner" ...).
  std::string group;
  std::string name;
  std::string params;
  std::string summary;
  size_t minArgs = 0;
  size_t maxArgs = 0;
  // A HAL call: the line may end with "returns STATUS".
  bool halCall = false;
  CommandHandler handler = nullptr;
  // A line that uses it, for 'help'.
  std::string example;
  // 'returns' compares text ("null", "non-null", or what the call gave) rather than a status.
  bool textResult = false;

  std::string Usage() const;
};

// Each part of the language, defined next to its handlers.
std::vector<CommandEntry> AdapterCommands();
std::vector<CommandEntry> AdapterExtraCommands();
std::vector<CommandEntry> ScannerCommands();
std::vector<CommandEntry> AdvertiserCommands();
std::vector<CommandEntry> HostEventCommands();
std::vector<CommandEntry> GattClientCommands();
std::vector<CommandEntry> GattClientExtraCommands();
std::vector<CommandEntry> GattServerCommands();
std::vector<CommandEntry> ExpectCommands();
std::vector<CommandEntry> ControlCommands();

const std::vector<CommandEntry>& Commands();

// Shared by the handlers: makes a HAL call that returns a bt_status_t and keeps the result for
// 'returns'; always true, since a status is checked after the handler.
bool CallForStatus(Session& session, CommandArgs& args, const std::string& call, const std::function<int()>& body);
// "null" or the address.
std::string AddressText(const RawAddress* address);
// The slots named by "--without SLOT" pairs from argument `from` on; false with `error` for any
// other word.
bool WithoutSlots(const CommandArgs& args, size_t from, std::vector<std::string>* slots, std::string* error);
// The GATT table once the arguments read so far are good; null with `error` otherwise.
const btgatt_interface_t* GattTableFor(Session& session, CommandArgs& args, std::string* error);

// The command a line starts with; `argStart` is the index of its first argument.
const CommandEntry* FindCommand(const std::vector<Token>& tokens, size_t* argStart, std::string* error);

// "success", "fail", "unsupported", "parm_invalid" ... or a number.
bool ParseStatus(const std::string& text, int64_t* status);

// The help text: everything for "", a section's commands, one command's usage, the callbacks
// for "callbacks", or the expectation syntax for "expect".
std::string HelpText(const std::string& topic);

}  // namespace bttev
}  // namespace tev
