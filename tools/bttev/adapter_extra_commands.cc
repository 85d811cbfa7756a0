// The adapter slots a stack calls rarely: pairing replies, remote services, test modes,
// diagnostics, and the other profile tables. Most have fixed results; each is still called
// exactly as a stack would, null arguments included.
#include <cstring>

#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "script_values.h"
#include "session.h"

namespace tev {
namespace bttev {
namespace {

const std::vector<std::string> kTransports = {"auto", "bredr", "le"};
const std::vector<std::string> kSspVariants = {"passkey_confirmation", "passkey_entry", "consent",
                                               "passkey_notification"};

std::string pointerText(const void* pointer) { return pointer ? "non-null" : "null"; }

// Bytes, or a null pointer for the word "null".
struct BufferArg {
  std::vector<uint8_t> bytes;
  bool null = false;
  uint8_t* data() { return null ? nullptr : bytes.data(); }
  std::string Text() const { return null ? "null" : ValueText(bytes); }
};

BufferArg bufferArg(CommandArgs& args, size_t i, const char* what) {
  BufferArg buffer;
  buffer.null = args.IsNull(i);
  if (!buffer.null) buffer.bytes = args.Bytes(i, what);
  if (buffer.bytes.size() > 255) args.Fail(std::string(what) + " is at most 255 bytes");
  return buffer;
}

bool pinReply(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  const RawAddress* address = args.AddressOrNull(0, &storage);
  const int64_t accept = args.Int(1, "accept (1 or 0)");
  BufferArg pin = args.has(2) ? bufferArg(args, 2, "the PIN") : BufferArg{{}, true};
  if (pin.bytes.size() > sizeof(bt_pin_code_t)) args.Fail("a PIN is at most 16 bytes");
  if (!args.ok()) return (*error = args.error(), false);
  bt_pin_code_t code;
  std::memset(&code, 0, sizeof(code));
  if (!pin.bytes.empty()) std::memcpy(code.pin, pin.bytes.data(), pin.bytes.size());
  return CallForStatus(session, args,
                       base::StringPrintf("pin_reply(%s, %lld, %zu, %s)", AddressText(address).c_str(),
                                          static_cast<long long>(accept), pin.bytes.size(), pin.Text().c_str()),
                       [&] {
                         return session.bt()->pin_reply(address, static_cast<uint8_t>(accept),
                                                        static_cast<uint8_t>(pin.bytes.size()),
                                                        pin.null ? nullptr : &code);
                       });
}

bool sspReply(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  const RawAddress* address = args.AddressOrNull(0, &storage);
  const int64_t variant = args.Choice(1, "variant", kSspVariants);
  const int64_t accept = args.Int(2, "accept (1 or 0)");
  const int64_t passkey = args.has(3) ? args.Int(3, "passkey") : 0;
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args,
                       base::StringPrintf("ssp_reply(%s, %lld, %lld, %lld)", AddressText(address).c_str(),
                                          static_cast<long long>(variant), static_cast<long long>(accept),
                                          static_cast<long long>(passkey)),
                       [&] {
                         return session.bt()->ssp_reply(address, static_cast<bt_ssp_variant_t>(variant),
                                                        static_cast<uint8_t>(accept), static_cast<uint32_t>(passkey));
                       });
}

bool setRemoteDeviceProperty(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  RawAddress* address = args.AddressOrNull(0, &storage);
  const bool noProperty = args.IsNull(1);
  const int64_t type = noProperty ? 0 : args.Int(1, "property type");
  std::vector<uint8_t> value = args.has(2) ? args.Bytes(2, "the value") : std::vector<uint8_t>();
  if (!args.ok()) return (*error = args.error(), false);
  bt_property_t property{static_cast<bt_property_type_t>(type), static_cast<int>(value.size()),
                         value.empty() ? nullptr : value.data()};
  return CallForStatus(
      session, args,
      base::StringPrintf("set_remote_device_property(%s, %s)", AddressText(address).c_str(),
                         noProperty ? "null" : std::to_string(type).c_str()),
      [&] { return session.bt()->set_remote_device_property(address, noProperty ? nullptr : &property); });
}

bool getRemoteServiceRecord(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  const bluetooth::Uuid uuid = args.Uuid(1);
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args, "get_remote_service_record(" + address.ToString() + ", " + UuidText(uuid) + ")",
                       [&] { return session.bt()->get_remote_service_record(address, uuid); });
}

bool getRemoteServices(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  RawAddress* address = args.AddressOrNull(0, &storage);
  const int64_t transport = args.has(1) ? args.Choice(1, "transport", kTransports) : 0;
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args,
                       base::StringPrintf("get_remote_services(%s, %lld)", AddressText(address).c_str(),
                                          static_cast<long long>(transport)),
                       [&] { return session.bt()->get_remote_services(address, static_cast<int>(transport)); });
}

bool createBondOutOfBand(Session& session, CommandArgs& args, std::string* error) {
  RawAddress storage;
  const RawAddress* address = args.AddressOrNull(0, &storage);
  const int64_t transport = args.has(1) ? args.Choice(1, "transport", kTransports) : 0;
  if (!args.ok()) return (*error = args.error(), false);
  const bt_oob_data_t p192{};
  const bt_oob_data_t p256{};
  return CallForStatus(
      session, args,
      base::StringPrintf("create_bond_out_of_band(%s, %lld, empty, empty)", AddressText(address).c_str(),
                         static_cast<long long>(transport)),
      [&] { return session.bt()->create_bond_out_of_band(address, static_cast<int>(transport), &p192, &p256); });
}

bool dutModeConfigure(Session& session, CommandArgs& args, std::string* error) {
  const int64_t enable = args.Int(0, "enable (1 or 0)");
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(session, args, base::StringPrintf("dut_mode_configure(%lld)", static_cast<long long>(enable)),
                       [&] { return session.bt()->dut_mode_configure(static_cast<uint8_t>(enable)); });
}

using TestModeSlot = int (*bt_interface_t::*)(uint16_t, uint8_t*, uint8_t);

bool testModeCall(Session& session, CommandArgs& args, std::string* error, const char* name, TestModeSlot slot) {
  const int64_t opcode = args.Int(0, "opcode");
  BufferArg buffer = args.has(1) ? bufferArg(args, 1, "the parameters") : BufferArg{{}, true};
  if (!args.ok()) return (*error = args.error(), false);
  return CallForStatus(
      session, args,
      base::StringPrintf("%s(0x%04llx, %s)", name, static_cast<long long>(opcode), buffer.Text().c_str()), [&] {
        return (session.bt()->*slot)(static_cast<uint16_t>(opcode), buffer.data(),
                                     static_cast<uint8_t>(buffer.bytes.size()));
      });
}

bool dutModeSend(Session& session, CommandArgs& args, std::string* error) {
  return testModeCall(session, args, error, "dut_mode_send", &bt_interface_t::dut_mode_send);
}

bool leTestMode(Session& session, CommandArgs& args, std::string* error) {
  return testModeCall(session, args, error, "le_test_mode", &bt_interface_t::le_test_mode);
}

bool setOsCallouts(Session& session, CommandArgs& args, std::string*) {
  // A stack's callouts outlive the call; these do nothing, and are never asked for anything.
  static bt_os_callouts_t callouts = {sizeof(bt_os_callouts_t), nullptr, nullptr, nullptr};
  const bool null = args.IsNull(0);
  return CallForStatus(session, args, null ? "set_os_callouts(null)" : "set_os_callouts(callouts)",
                       [&] { return session.bt()->set_os_callouts(null ? nullptr : &callouts); });
}

bool readEnergyInfo(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "read_energy_info()", [&] { return session.bt()->read_energy_info(); });
}

bool dumpMetrics(Session& session, CommandArgs& args, std::string*) {
  if (args.IsNull(0)) {
    session.CallVoid("dumpMetrics(null)", [&] { session.bt()->dumpMetrics(nullptr); });
    return true;
  }
  // Text already there shows whether the call replaced it.
  std::string output = "(left as it was)";
  session.CallVoid("dumpMetrics(&output)", [&] { session.bt()->dumpMetrics(&output); });
  args.ReturnedText(output);
  return true;
}

bool configClear(Session& session, CommandArgs& args, std::string*) {
  return CallForStatus(session, args, "config_clear()", [&] { return session.bt()->config_clear(); });
}

bool interopDatabaseClear(Session& session, CommandArgs&, std::string*) {
  session.CallVoid("interop_database_clear()", [&] { session.bt()->interop_database_clear(); });
  return true;
}

bool interopDatabaseAdd(Session& session, CommandArgs& args, std::string* error) {
  const int64_t feature = args.Int(0, "feature");
  RawAddress storage;
  const RawAddress* address = args.AddressOrNull(1, &storage);
  const int64_t length = args.has(2) ? args.Int(2, "length") : 6;
  if (!args.ok()) return (*error = args.error(), false);
  session.CallVoid(base::StringPrintf("interop_database_add(%lld, %s, %lld)", static_cast<long long>(feature),
                                      AddressText(address).c_str(), static_cast<long long>(length)),
                   [&] {
                     session.bt()->interop_database_add(static_cast<uint16_t>(feature), address,
                                                        static_cast<size_t>(length));
                   });
  return true;
}

bool getAvrcpService(Session& session, CommandArgs& args, std::string*) {
  const void* service = nullptr;
  session.CallVoid(
      "get_avrcp_service()", [&] { service = session.bt()->get_avrcp_service(); },
      [&] { return pointerText(service); });
  args.ReturnedText(pointerText(service));
  return true;
}

bool obfuscateAddress(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  if (!args.ok()) return (*error = args.error(), false);
  std::string text;
  session.CallVoid(
      "obfuscate_address(" + address.ToString() + ")", [&] { text = session.bt()->obfuscate_address(address); },
      [&] { return "\"" + text + "\""; });
  args.ReturnedText(text);
  return true;
}

bool getMetricId(Session& session, CommandArgs& args, std::string* error) {
  const RawAddress address = args.Address(0);
  if (!args.ok()) return (*error = args.error(), false);
  args.Returned(session.CallValue("get_metric_id(" + address.ToString() + ")",
                                  [&] { return session.bt()->get_metric_id(address); }),
                false);
  return true;
}

bool getProfileInterface(Session& session, CommandArgs& args, std::string*) {
  const bool null = args.IsNull(0);
  const std::string name = args.token(0).text;
  const void* table = nullptr;
  session.CallVoid(
      null ? "get_profile_interface(null)" : "get_profile_interface(\"" + name + "\")",
      [&] { table = session.bt()->get_profile_interface(null ? nullptr : name.c_str()); },
      [&] { return pointerText(table); });
  args.ReturnedText(pointerText(table));
  return true;
}

}  // namespace

std::vector<CommandEntry> AdapterExtraCommands() {
  const std::string headset = "02:51:c0:00:00:01";
  return {
      {"bt", "", "pin_reply", "ADDR|null ACCEPT [PIN|null]", "answer a PIN request", 2, 3, true, pinReply,
       "pin_reply " + headset + " 1 \"0000\""},
      {"bt", "", "ssp_reply", "ADDR|null VARIANT ACCEPT [PASSKEY]",
       "answer a pairing request (passkey_confirmation, passkey_entry, consent, passkey_notification)", 3, 4, true,
       sspReply, "ssp_reply " + headset + " passkey_confirmation 1 123456"},
      {"bt", "", "set_remote_device_property", "ADDR|null TYPE|null [VALUE]", "set a property of a device", 2, 3, true,
       setRemoteDeviceProperty, "set_remote_device_property " + headset + " 10 \"Buds\" returns unsupported"},
      {"bt", "", "get_remote_service_record", "ADDR UUID", "ask for a device's service record", 2, 2, true,
       getRemoteServiceRecord, "get_remote_service_record " + headset + " 110b returns unsupported"},
      {"bt", "", "get_remote_services", "ADDR|null [auto|bredr|le]", "ask for a device's services", 1, 2, true,
       getRemoteServices, "get_remote_services " + headset + " returns unsupported"},
      {"bt", "", "create_bond_out_of_band", "ADDR|null [auto|bredr|le]", "bond with empty out-of-band data", 1, 2, true,
       createBondOutOfBand, "create_bond_out_of_band " + headset + " le returns unsupported"},
      {"bt", "", "dut_mode_configure", "1|0", "enter or leave device-under-test mode", 1, 1, true, dutModeConfigure,
       "dut_mode_configure 1 returns unsupported"},
      {"bt", "", "dut_mode_send", "OPCODE [BYTES|null]", "send an HCI command in test mode", 1, 2, true, dutModeSend,
       "dut_mode_send 0x1803 null returns unsupported"},
      {"bt", "", "le_test_mode", "OPCODE [BYTES|null]", "send an LE test command", 1, 2, true, leTestMode,
       "le_test_mode 0x201d 00 returns unsupported"},
      {"bt", "", "set_os_callouts", "[null]", "hand over the OS's timers and wake locks (or none)", 0, 1, true,
       setOsCallouts, "set_os_callouts null"},
      {"bt", "", "read_energy_info", "", "ask for the controller's energy figures (energy_info_cb)", 0, 0, true,
       readEnergyInfo, "read_energy_info returns unsupported"},
      {"bt", "", "dump_metrics", "[null]", "the metrics dump; 'returns' checks the text left in the string", 0, 1, true,
       dumpMetrics, "dump_metrics returns \"\"", true},
      {"bt", "", "config_clear", "", "clear the stored configuration", 0, 0, true, configClear, "config_clear"},
      {"bt", "", "interop_database_clear", "", "clear the interoperability database", 0, 0, false, interopDatabaseClear,
       "interop_database_clear"},
      {"bt", "", "interop_database_add", "FEATURE ADDR|null [LENGTH]", "add an interoperability entry", 2, 3, false,
       interopDatabaseAdd, "interop_database_add 1 " + headset + " 3"},
      {"bt", "", "get_avrcp_service", "", "the AVRCP service table; 'returns null' or 'returns non-null'", 0, 0, true,
       getAvrcpService, "get_avrcp_service returns null", true},
      {"bt", "", "obfuscate_address", "ADDR", "the address as the HAL writes it to logs; 'returns' checks the text", 1,
       1, true, obfuscateAddress, "obfuscate_address 01:02:03:0a:0b:0c returns 01:02:03:0a:0b:0c", true},
      {"bt", "", "get_metric_id", "ADDR", "the device's metric id: the HAL's answer, not a status", 1, 1, true,
       getMetricId, "get_metric_id " + headset + " returns 0"},
      {"bt", "", "get_profile_interface", "NAME|null", "any profile's table; 'returns null' or 'returns non-null'", 1,
       1, true, getProfileInterface, "get_profile_interface GATT returns null", true},
  };
}

}  // namespace bttev
}  // namespace tev
