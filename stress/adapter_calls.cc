// The adapter table's entries, as random calls. Each call makes at most one choice inside its
// argument list, whose evaluation order is unspecified: the same bytes give the same calls under
// every compiler.
#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "hal_calls.h"
#include "records.h"

namespace tev {
namespace stress {
namespace {

// A property as the stack hands it over: `val` covers `len` bytes, and a name ends in NUL.
struct OwnedProperty {
  bt_property_t property{};
  std::vector<uint8_t> bytes;
};

OwnedProperty makeProperty(Choices& c) {
  OwnedProperty owned;
  switch (c.Below(5)) {
    case 0: {
      owned.property.type = BT_PROPERTY_BDNAME;
      const std::string name = c.Text(300);
      owned.bytes.assign(name.begin(), name.end());
      owned.bytes.push_back(0);
      break;
    }
    case 1:
      owned.property.type = BT_PROPERTY_ADAPTER_SCAN_MODE;
      owned.bytes = c.Bytes(5);
      break;
    case 2:
      owned.property.type = BT_PROPERTY_ADAPTER_DISCOVERABLE_TIMEOUT;
      owned.bytes = c.Bytes(5);
      break;
    case 3:
      owned.property.type = static_cast<bt_property_type_t>(c.Any<uint8_t>());
      owned.bytes = c.Bytes(16);
      if (owned.property.type == BT_PROPERTY_BDNAME) owned.bytes.push_back(0);
      break;
    default:
      owned.property.type = static_cast<bt_property_type_t>(c.Below(16));
      break;
  }
  owned.property.len = static_cast<int>(owned.bytes.size());
  owned.property.val = owned.bytes.empty() ? nullptr : owned.bytes.data();
  return owned;
}

// The address argument of an entry that takes a pointer: sometimes null.
const RawAddress* maybeAddress(Choices& c, RawAddress* storage) {
  if (c.OneIn(4)) return nullptr;
  *storage = PickAddress(c);
  return storage;
}

int devNull() {
  static const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
  return fd;
}

const char* profileName(Choices& c) {
  static const char* const kNames[] = {nullptr, BT_PROFILE_GATT_ID, "GATT", "a2dp", ""};
  return kNames[c.Below(5)];
}

}  // namespace

const std::vector<HalEntry>& AdapterEntries() {
  static const std::vector<HalEntry> entries = {
      {"enable", [](Choices&, CheckingStack&) { Adapter().enable(); }},
      {"disable", [](Choices&, CheckingStack&) { Adapter().disable(); }},
      {"get_adapter_properties",
       [](Choices&, CheckingStack&) { Adapter().get_adapter_properties(); }},
      {"get_adapter_property",
       [](Choices& c, CheckingStack&) {
         Adapter().get_adapter_property(static_cast<bt_property_type_t>(c.Any<uint8_t>()));
       }},
      {"set_adapter_property",
       [](Choices& c, CheckingStack&) {
         if (c.OneIn(6)) {
           Adapter().set_adapter_property(nullptr);
           return;
         }
         const OwnedProperty owned = makeProperty(c);
         Adapter().set_adapter_property(&owned.property);
       }},
      {"get_remote_device_properties",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         Adapter().get_remote_device_properties(const_cast<RawAddress*>(maybeAddress(c, &address)));
       }},
      {"get_remote_device_property",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         RawAddress* target = const_cast<RawAddress*>(maybeAddress(c, &address));
         Adapter().get_remote_device_property(target,
                                              static_cast<bt_property_type_t>(c.Any<uint8_t>()));
       }},
      {"set_remote_device_property",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         RawAddress* target = const_cast<RawAddress*>(maybeAddress(c, &address));
         const OwnedProperty owned = makeProperty(c);
         Adapter().set_remote_device_property(target, &owned.property);
       }},
      {"get_remote_service_record",
       [](Choices& c, CheckingStack&) {
         const RawAddress address = PickAddress(c);
         Adapter().get_remote_service_record(address, MakeUuid(c));
       }},
      {"get_remote_services",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         RawAddress* target = const_cast<RawAddress*>(maybeAddress(c, &address));
         Adapter().get_remote_services(target, c.Any<int32_t>());
       }},
      {"start_discovery", [](Choices&, CheckingStack&) { Adapter().start_discovery(); }},
      {"cancel_discovery", [](Choices&, CheckingStack&) { Adapter().cancel_discovery(); }},
      {"create_bond",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         const RawAddress* target = maybeAddress(c, &address);
         Adapter().create_bond(target, static_cast<int>(c.Below(4)));
       }},
      {"create_bond_out_of_band",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         const RawAddress* target = maybeAddress(c, &address);
         Adapter().create_bond_out_of_band(target, 2, nullptr, nullptr);
       }},
      {"remove_bond",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         Adapter().remove_bond(maybeAddress(c, &address));
       }},
      {"cancel_bond",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         Adapter().cancel_bond(maybeAddress(c, &address));
       }},
      {"get_connection_state",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         Adapter().get_connection_state(maybeAddress(c, &address));
       }},
      {"pin_reply",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         const RawAddress* target = maybeAddress(c, &address);
         bt_pin_code_t pin{};
         const auto length = static_cast<uint8_t>(c.Below(sizeof(pin.pin) + 1));
         const auto accept = c.Any<uint8_t>();
         Adapter().pin_reply(target, accept, length, c.OneIn(4) ? nullptr : &pin);
       }},
      {"ssp_reply",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         const RawAddress* target = maybeAddress(c, &address);
         const auto variant = static_cast<bt_ssp_variant_t>(c.Below(4));
         Adapter().ssp_reply(target, variant, c.Any<uint8_t>(), 123456);
       }},
      {"get_profile_interface",
       [](Choices& c, CheckingStack&) { Adapter().get_profile_interface(profileName(c)); }},
      {"dut_mode_configure",
       [](Choices& c, CheckingStack&) { Adapter().dut_mode_configure(c.Any<uint8_t>()); }},
      {"dut_mode_send",
       [](Choices& c, CheckingStack&) {
         std::vector<uint8_t> buffer = c.Bytes(32);
         Adapter().dut_mode_send(c.Any<uint16_t>(), buffer.empty() ? nullptr : buffer.data(),
                                 static_cast<uint8_t>(buffer.size()));
       }},
      {"le_test_mode",
       [](Choices& c, CheckingStack&) {
         std::vector<uint8_t> buffer = c.Bytes(32);
         Adapter().le_test_mode(c.Any<uint16_t>(), buffer.empty() ? nullptr : buffer.data(),
                                static_cast<uint8_t>(buffer.size()));
       }},
      {"set_os_callouts", [](Choices&, CheckingStack&) { Adapter().set_os_callouts(nullptr); }},
      {"read_energy_info", [](Choices&, CheckingStack&) { Adapter().read_energy_info(); }},
      {"dump", [](Choices&, CheckingStack&) { Adapter().dump(devNull(), nullptr); }},
      {"dump_metrics",
       [](Choices& c, CheckingStack& stack) {
         std::string metrics = "stale";
         Adapter().dumpMetrics(c.Bool() ? &metrics : nullptr);
         if (!metrics.empty() && metrics != "stale") stack.Breach("dump_metrics wrote text");
       }},
      {"config_clear", [](Choices&, CheckingStack&) { Adapter().config_clear(); }},
      {"interop_database_clear",
       [](Choices&, CheckingStack&) { Adapter().interop_database_clear(); }},
      {"interop_database_add",
       [](Choices& c, CheckingStack&) {
         RawAddress address;
         const RawAddress* target = maybeAddress(c, &address);
         const auto feature = c.Any<uint16_t>();
         Adapter().interop_database_add(feature, target, c.Below(7));
       }},
      {"get_avrcp_service", [](Choices&, CheckingStack&) { Adapter().get_avrcp_service(); }},
      {"obfuscate_address",
       [](Choices& c, CheckingStack& stack) {
         const RawAddress address = PickAddress(c);
         if (Adapter().obfuscate_address(address) != address.ToString()) {
           stack.Breach("obfuscate_address changed the address");
         }
       }},
      {"get_metric_id",
       [](Choices& c, CheckingStack&) { Adapter().get_metric_id(PickAddress(c)); }},
  };
  return entries;
}

}  // namespace stress
}  // namespace tev
