#include "command_table.h"

#include <hardware/bluetooth.h>

#include <algorithm>

#include "script_values.h"
#include "session.h"
#include "stack_side.h"

namespace tev {
namespace bttev {

void CommandArgs::Fail(const std::string& reason) {
  if (error_.empty()) error_ = reason;
}

int64_t CommandArgs::Int(size_t i, const char* what) {
  int64_t value = 0;
  if (!has(i)) {
    Fail(std::string("missing ") + what);
  } else if (words_[i].quoted || !ParseInteger(words_[i].text, &value)) {
    Fail(std::string(what) + " must be a number, not '" + words_[i].text + "'");
  }
  return value;
}

int64_t CommandArgs::Choice(size_t i, const char* what, const std::vector<std::string>& names) {
  if (has(i)) {
    for (size_t n = 0; n < names.size(); ++n) {
      if (!names[n].empty() && names[n] == words_[i].text) return static_cast<int64_t>(n);
    }
  }
  int64_t value = 0;
  if (!has(i) || !ParseInteger(words_[i].text, &value)) {
    std::string list;
    for (const std::string& name : names) {
      if (!name.empty()) list += (list.empty() ? "" : ", ") + name;
    }
    Fail(std::string(what) + " must be one of " + list + " or a number" +
         (has(i) ? ", not '" + words_[i].text + "'" : ""));
  }
  return value;
}

RawAddress CommandArgs::Address(size_t i) {
  RawAddress address = RawAddress::kEmpty;
  if (!has(i) || !ParseAddress(words_[i].text, &address)) {
    Fail("expected a device address like 02:51:b0:00:00:01" + (has(i) ? ", not '" + words_[i].text + "'" : ""));
  }
  return address;
}

RawAddress* CommandArgs::AddressOrNull(size_t i, RawAddress* storage) {
  if (IsNull(i)) return nullptr;
  *storage = Address(i);
  return storage;
}

bluetooth::Uuid CommandArgs::Uuid(size_t i) {
  bluetooth::Uuid uuid = bluetooth::Uuid::kEmpty;
  if (!has(i) || !ParseUuid(words_[i].text, &uuid)) {
    Fail("expected a UUID (180d or the 36-character form)" + (has(i) ? ", not '" + words_[i].text + "'" : ""));
  }
  return uuid;
}

std::vector<uint8_t> CommandArgs::Bytes(size_t i, const char* what) {
  std::vector<uint8_t> bytes;
  if (!has(i) || !ParseBytes(words_[i].text, words_[i].quoted, &bytes)) {
    Fail(std::string(what) + " must be hex bytes (0a0b, 0x0a0b, 0a:0b), \"text\" or - for none" +
         (has(i) ? ", not '" + words_[i].text + "'" : ""));
  }
  return bytes;
}

CommandArgs::Value CommandArgs::PointerValue(size_t i, const char* what) {
  Value value;
  const std::string nullWithLength = "null:";
  if (IsNull(i)) {
    value.null = true;
  } else if (has(i) && !words_[i].quoted && words_[i].text.rfind(nullWithLength, 0) == 0) {
    value.null = true;
    const std::string digits = words_[i].text.substr(nullWithLength.size());
    int64_t length = 0;
    if (!ParseInteger(digits, &length) || length < 0) {
      Fail(std::string(what) + ": 'null:' needs a length like null:4, not '" + words_[i].text + "'");
    }
    value.length = static_cast<size_t>(length);
  } else {
    value.bytes = Bytes(i, what);
  }
  return value;
}

std::string CommandArgs::Value::Text() const {
  return null ? "null:" + std::to_string(length) : ValueText(bytes);
}

std::chrono::microseconds CommandArgs::Duration(size_t i) {
  std::chrono::microseconds duration{0};
  if (!has(i) || !ParseDurationMicros(words_[i].text, &duration)) {
    Fail("expected a duration like 500ms or 2s" + (has(i) ? ", not '" + words_[i].text + "'" : ""));
  }
  return duration;
}

std::string CommandEntry::Usage() const {
  std::string usage = group.empty() ? name : group + " " + name;
  if (!params.empty()) usage += " " + params;
  if (halCall) usage += " [returns STATUS]";
  return usage;
}

const std::vector<CommandEntry>& Commands() {
  static const std::vector<CommandEntry> kCommands = [] {
    std::vector<CommandEntry> all;
    for (auto part :
         {AdapterCommands, AdapterExtraCommands, GattClientCommands, GattClientExtraCommands, GattServerCommands,
          ScannerCommands, AdvertiserCommands, HostEventCommands, ExpectCommands, ControlCommands}) {
      for (CommandEntry& entry : part()) all.push_back(std::move(entry));
    }
    // Each section together, as 'help' lists them.
    const std::vector<std::string> sections = {"bt",      "gatt",       "client", "server",
                                               "scanner", "advertiser", "host",   "script"};
    auto rank = [&](const CommandEntry& entry) {
      return std::find(sections.begin(), sections.end(), entry.section) - sections.begin();
    };
    std::stable_sort(all.begin(), all.end(),
                     [&](const CommandEntry& a, const CommandEntry& b) { return rank(a) < rank(b); });
    return all;
  }();
  return kCommands;
}

const CommandEntry* FindCommand(const std::vector<Token>& tokens, size_t* argStart, std::string* error) {
  if (tokens.empty()) {
    *error = "empty command";
    return nullptr;
  }
  const std::string& first = tokens[0].text;
  bool isGroup = false;
  for (const CommandEntry& entry : Commands()) {
    if (entry.group.empty() && entry.name == first) {
      *argStart = 1;
      return &entry;
    }
    if (entry.group == first) isGroup = true;
  }
  if (!isGroup) {
    *error = "unknown command '" + first + "' (try 'help')";
    return nullptr;
  }
  if (tokens.size() < 2) {
    *error = "'" + first + "' needs a subcommand (try 'help " + first + "')";
    return nullptr;
  }
  for (const CommandEntry& entry : Commands()) {
    if (entry.group == first && entry.name == tokens[1].text) {
      *argStart = 2;
      return &entry;
    }
  }
  *error = "unknown command '" + first + " " + tokens[1].text + "' (try 'help " + first + "')";
  return nullptr;
}

std::string AddressText(const RawAddress* address) { return address ? address->ToString() : "null"; }

bool WithoutSlots(const CommandArgs& args, size_t from, std::vector<std::string>* slots, std::string* error) {
  for (size_t i = from; i < args.size(); i += 2) {
    if (args.token(i).text != "--without" || !args.has(i + 1)) {
      *error = "expected '--without SLOT', not '" + args.token(i).text + "'";
      return false;
    }
    slots->push_back(args.token(i + 1).text);
  }
  return true;
}

bool CallForStatus(Session& session, CommandArgs& args, const std::string& call, const std::function<int()>& body) {
  args.Returned(session.CallStatus(call, body), true);
  return true;
}

const btgatt_interface_t* GattTableFor(Session& session, CommandArgs& args, std::string* error) {
  if (!args.ok()) {
    *error = args.error();
    return nullptr;
  }
  return session.Gatt(error);
}

bool ParseStatus(const std::string& text, int64_t* status) {
  for (int value = BT_STATUS_SUCCESS; value <= BT_STATUS_WAKELOCK_ERROR; ++value) {
    if (bt_status_text(static_cast<bt_status_t>(value)) == text) {
      *status = value;
      return true;
    }
  }
  return ParseInteger(text, status);
}

namespace {

const char kExpectHelp[] =
    "expect CALLBACK [FIELD=VALUE | FIELD=?VAR]... [within DURATION]\n"
    "    Waits for a callback the HAL made (the oldest one that matches; others stay queued).\n"
    "    CALLBACK is a table slot, qualified when two tables share it: adapter_state_changed_cb,\n"
    "    client.open_cb, server.connection_cb, scanner.scan_result_cb ('help callbacks' lists them).\n"
    "    FIELD=VALUE must hold: numbers by value or label (state=on), UUIDs in any form,\n"
    "    bytes as hex or \"text\". FIELD=?VAR matches anything and sets $VAR.\n"
    "    Found devices and GATT databases have a field per value: bdname=..., uuid=...,\n"
    "    char:2a37=HANDLE, service:180d=HANDLE, desc:2902=HANDLE.\n"
    "    DURATION (default 5s, real time) only guards against a deadlock: with the virtual\n"
    "    clock nothing the host schedules happens until 'advance'.\n"
    "      e.g. expect read_characteristic_cb conn_id=$conn status=0 value=01 within 1s\n"
    "expect next CALLBACK [FIELD=VALUE | FIELD=?VAR]... [within DURATION]\n"
    "    The oldest callback not taken yet (waiting for one if none came) must be this one.\n"
    "      e.g. expect next client.close_cb conn_id=$conn\n"
    "expect no CALLBACK [FIELD=VALUE]...\n"
    "    Once every thread is idle, no such callback is queued.\n"
    "      e.g. expect no notify_cb\n"
    "expect [no] log [INFO|WARNING|ERROR] [exact] \"TEXT\" [within DURATION]\n"
    "    A log line (of that severity) containing TEXT, or equal to it with 'exact', that no\n"
    "    earlier expectation took (the library's lines begin \"BluetoothTev: \"). With 'no': once\n"
    "    every thread is idle, no such line is there to take.\n"
    "      e.g. expect log ERROR exact \"BluetoothTev: enable - host not ready\"\n"
    "expect [no] host METHOD [FIELD=VALUE | FIELD=?VAR]...\n"
    "    Once every thread is idle, the host received METHOD (a call from the library, or the\n"
    "    library's reply to a request such as RequestGattRead) with those fields of its journal\n"
    "    entry ('host journal' shows them); the oldest such entry no earlier expectation took.\n"
    "    Numbers compare by value, the rest as text: service=180d@1 char=2a38@4.\n"
    "      e.g. expect host ReadGattCharacteristic addr=02:51:b0:00:00:01 char=2a38@4\n";

}  // namespace

std::string HelpText(const std::string& topic) {
  if (topic == "expect") return kExpectHelp;
  if (topic == "callbacks") {
    std::string text = "Callbacks (fields in parentheses; + means further fields named after values):\n";
    for (const CallbackSchema& schema : CallbackSchemas()) {
      text += "  " + schema.Name() + (schema.inlineResult ? " [inline result]" : "") + " (";
      for (size_t i = 0; i < schema.fields.size(); ++i) text += (i ? " " : "") + schema.fields[i];
      text += std::string(schema.openFields ? " +" : "") + ")\n";
    }
    return text;
  }
  std::string text;
  std::string section;
  for (const CommandEntry& entry : Commands()) {
    const bool wanted =
        topic.empty() || entry.section == topic || entry.name == topic || (entry.group + " " + entry.name) == topic;
    if (!wanted) continue;
    if (topic.empty() && entry.section != section) {
      section = entry.section;
      text += "\n" + section + ":\n";
    }
    text += "  " + entry.Usage() + "\n      " + entry.summary + "\n";
    if (!entry.example.empty()) text += "      e.g. " + entry.example + "\n";
  }
  if (text.empty()) return "no help on '" + topic + "'; try 'help'\n";
  if (topic.empty()) {
    text =
        "Commands. Values: numbers (0x for hex), addresses aa:bb:cc:dd:ee:ff, UUIDs 180d or the\n"
        "36-character form, bytes 0a0b or \"text\", durations 500ms or 2s. A VALUE passed as pointer\n"
        "and length may also be null (a null pointer, length 0) or null:N (a null pointer, length N).\n"
        "$VAR is a variable; # starts a comment. A HAL call must return 0 (success) unless the line\n"
        "ends with 'returns STATUS'.\n" +
        text + "\n" + kExpectHelp +
        "\n'help SECTION' (bt, gatt, client, server, scanner, advertiser, host, script), 'help callbacks'.\n";
  }
  return text;
}

}  // namespace bttev
}  // namespace tev
