#include "demo_script.h"

#include <sstream>

#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

using StepKind = sim::ScriptStep::Kind;

// Application UUIDs of the stack's side; any would do.
constexpr char kClientApp[] = "8e0f2f3a-5d52-4a8e-9c41-6a1f0b7d2c01";
constexpr char kServerApp[] = "8e0f2f3a-5d52-4a8e-9c41-6a1f0b7d2c02";
constexpr char kScannerApp[] = "8e0f2f3a-5d52-4a8e-9c41-6a1f0b7d2c03";
// The service the stack publishes, with one characteristic the remote central can use for
// everything (read, write, prepared writes, indications).
constexpr char kDemoService[] = "b77e0001-51a0-4c6e-8a0d-2f1e6b4c9d00";
constexpr char kDemoCharacteristic[] = "b77e0002-51a0-4c6e-8a0d-2f1e6b4c9d00";

std::string address(const sim::Address& a) { return sim::AddressToString(a); }

std::string hex(const sim::Bytes& bytes) { return ValueText(bytes); }

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

// The first characteristic of `peripheral` whose properties include any of `mask`.
const sim::Characteristic* firstWith(const sim::Peripheral& peripheral, uint8_t mask) {
  for (const sim::Service& service : peripheral.services) {
    for (const sim::Characteristic& c : service.characteristics) {
      if (c.properties & mask) return &c;
    }
  }
  return nullptr;
}

// A characteristic that notifies on its own (the world sends it values) is the one worth
// subscribing to.
const sim::Characteristic* notifying(const sim::Peripheral& peripheral) {
  for (const sim::NotificationSource& source : peripheral.notifications) {
    for (const sim::Service& service : peripheral.services) {
      for (const sim::Characteristic& c : service.characteristics) {
        if (c.uuid == source.characteristic && (c.properties & (sim::kPropNotify | sim::kPropIndicate))) return &c;
      }
    }
  }
  return nullptr;
}

const sim::Peripheral* gattPeripheral(const sim::World& world) {
  for (const sim::Peripheral& p : world.peripherals) {
    if (firstWith(p, sim::kPropRead)) return &p;
  }
  return nullptr;
}

void adapter(std::ostream& s) {
  s << "say 1. Adapter: init hands over the callbacks and the HAL associates its callback thread; the host "
       "connects on its own (Init), and from then on commands reach it\n"
       "init\n"
       "expect thread_evt_cb evt=associate\n"
       "expect log \"BluetoothTev: Init - BluetoothHost connected\"\n"
       "enable\n"
       "expect adapter_state_changed_cb state=on\n"
       "say 2. Adapter properties: each request is answered by an event, on the callback thread\n"
       "get_adapter_property bdname\n"
       "expect adapter_properties_cb status=success bdname=?host_name\n"
       "set_name \"bttev demo\"\n"
       "expect adapter_properties_cb status=success bdname=\"bttev demo\"\n"
       "get_adapter_property bdaddr\n"
       "expect adapter_properties_cb bdaddr=?own_address\n";
}

void classic(std::ostream& s, const sim::World& world) {
  if (world.classicDevices.empty()) {
    s << "say 3. Classic discovery and bonding: left out, the world has no classic device\n";
    return;
  }
  const sim::ClassicDevice& device = world.classicDevices.front();
  s << "say 3. Classic discovery: the host reports what it finds as device_found_cb\n"
       "start_discovery\n"
       "expect discovery_state_changed_cb state=started\n"
    << "expect device_found_cb bdaddr=" << address(device.address) << " bdname=" << quoted(device.name)
    << " within 15s\n"
    << "cancel_discovery\n"
       "expect discovery_state_changed_cb state=stopped\n"
       "say 4. Bonding: bonding, then bonded, with the link coming and going around it\n"
    << "create_bond " << address(device.address) << " bredr\n"
    << "expect bond_state_changed_cb addr=" << address(device.address) << " state=bonding\n"
    << "expect bond_state_changed_cb addr=" << address(device.address) << " state=bonded status=success\n"
    << "expect acl_state_changed_cb addr=" << address(device.address) << " state=disconnected\n";
}

void scanning(std::ostream& s, const sim::World& world) {
  s << "say 5. GATT: get_profile_interface(\"gatt\") and its init; then an LE scan\n"
       "gatt init\n"
    << "scanner register " << kScannerApp << "\n"
    << "expect scanner.register_cb scanner_id=?scanner status=0\n"
       "scanner scan on\n";
  if (world.peripherals.empty()) {
    s << "say (the world has no LE peripheral: nothing to find)\n";
  } else {
    const sim::Peripheral& p = world.peripherals.front();
    s << "expect scan_result_cb addr=" << address(p.address);
    if (p.advertising.includeName && !p.name.empty()) s << " name=" << quoted(p.name);
    s << " within 5s\n";
  }
  s << "scanner scan off\n"
       "scanner unregister $scanner\n";
}

void client(std::ostream& s, const sim::World& world) {
  const sim::Peripheral* p = gattPeripheral(world);
  if (!p) {
    s << "say 6. GATT client: left out, no peripheral of the world has a readable characteristic\n";
    return;
  }
  const std::string peer = address(p->address);
  s << "say 6. GATT client: register, connect; the connection id comes with open_cb\n"
    << "client register " << kClientApp << "\n"
    << "expect register_client_cb status=0 client_if=?client\n"
    << "client connect $client " << peer << "\n"
    << "expect open_cb addr=" << peer << " status=0 conn_id=?conn\n";
  if (p->mtu) s << "expect configure_mtu_cb conn_id=$conn mtu=" << p->mtu << "\n";
  s << "say 7. Service discovery: search_complete_cb, then the database with its handles\n"
       "client search $conn\n"
       "expect search_complete_cb conn_id=$conn status=0\n";
  const sim::Characteristic* readable = firstWith(*p, sim::kPropRead);
  const sim::Characteristic* writable = firstWith(*p, sim::kPropWrite | sim::kPropWriteNoResponse);
  const sim::Characteristic* notifier = notifying(*p);
  s << "expect get_gatt_db_cb conn_id=$conn char:" << UuidText(readable->uuid) << "=?read_handle";
  if (writable) s << " char:" << UuidText(writable->uuid) << "=?write_handle";
  if (notifier) s << " char:" << UuidText(notifier->uuid) << "=?notify_handle";
  s << "\n";
  s << "say 8. Read and write by handle: the HAL finds the host's ids in its copy of the database\n"
       "client read $conn $read_handle\n"
       "expect read_characteristic_cb conn_id=$conn status=0 handle=$read_handle";
  if (readable->behaviour.kind == sim::Behaviour::Kind::kStatic) s << " value=" << hex(readable->value);
  s << "\n";
  if (writable) {
    s << "client write $conn $write_handle 01\n"
         "expect write_characteristic_cb conn_id=$conn status=0 handle=$write_handle\n";
  }
  if (notifier) {
    s << "say 9. Notifications: subscribe, receive one, unsubscribe\n"
      << "client register_notification $client " << peer << " $notify_handle\n"
      << "expect register_for_notification_cb conn_id=$conn registered=1 handle=$notify_handle\n"
      << "expect notify_cb conn_id=$conn handle=$notify_handle within 5s\n"
      << "client deregister_notification $client " << peer << " $notify_handle\n"
      << "expect register_for_notification_cb conn_id=$conn registered=0 handle=$notify_handle\n";
  }
  s << "say 10. MTU and RSSI: the MTU is answered by the HAL itself, the RSSI by the host\n"
       "client configure_mtu $conn 247\n"
       "expect configure_mtu_cb conn_id=$conn status=0 mtu=512\n"
    << "client read_rssi $client " << peer << "\n"
    << "expect read_remote_rssi_cb client_if=$client addr=" << peer << " status=0\n"
    << "client disconnect $client " << peer << " $conn\n"
    << "expect close_cb conn_id=$conn addr=" << peer << "\n";
}

// Mirrors the remote central's choice of target: with no characteristic named, the published
// characteristic (which allows everything); a subscription writes its configuration descriptor.
void answerStep(std::ostream& s, const sim::ScriptStep& step, const std::string& central, bool* subscribed) {
  const bluetooth::Uuid ours = bluetooth::Uuid::FromString(kDemoCharacteristic);
  if (step.characteristic && *step.characteristic != ours) return;
  const bool toDescriptor = step.kind == StepKind::kSubscribe ||
                            (step.descriptor && *step.descriptor == bluetooth::Uuid::From16Bit(sim::kCccdUuid16));
  if (step.descriptor && !toDescriptor) return;
  const std::string target = toDescriptor ? "descriptor" : "characteristic";
  switch (step.kind) {
    case StepKind::kRead:
      s << "expect request_read_" << target << "_cb addr=" << central << " conn_id=$central_conn trans_id=?t\n"
        << "server send_response $central_conn $t 0 \"hello from the stack\"\n";
      return;
    case StepKind::kWrite:
    case StepKind::kPrepareWrite:
      s << "expect request_write_" << target << "_cb addr=" << central
        << " trans_id=?t is_prep=" << (step.kind == StepKind::kPrepareWrite ? 1 : 0) << " offset=" << step.offset
        << " value=" << hex(step.value) << "\n"
        << "server send_response $central_conn $t 0 " << hex(step.value) << "\n";
      return;
    case StepKind::kSubscribe:
      s << "expect request_write_descriptor_cb addr=" << central
        << " trans_id=?t value=" << (step.indications ? "0200" : "0100") << "\n"
        << "server send_response $central_conn $t 0\n";
      *subscribed = true;
      return;
    default:
      return;
  }
}

void server(std::ostream& s, const sim::World& world) {
  s << "say 11. GATT server: publish a service; the host hands out its handles one reply at a time\n"
    << "server register " << kServerApp << "\n"
    << "expect register_server_cb status=0 server_if=?server\n"
    << "server add_service $server service:" << kDemoService << " char:" << kDemoCharacteristic
    << ":read|write|indicate:read|write desc:2902:read|write\n"
    << "expect service_added_cb status=0 server_if=$server service:"
    << UuidText(bluetooth::Uuid::FromString(kDemoService))
    << "=?service char:" << UuidText(bluetooth::Uuid::FromString(kDemoCharacteristic)) << "=?char\n";
  if (world.centrals.empty()) {
    s << "say (the world has no remote central: nobody comes to use the service)\n";
  } else {
    const sim::RemoteCentral& c = world.centrals.front();
    const std::string central = address(c.address);
    s << "say 12. A remote central (" << c.name << ") connects and uses the service; the stack answers each request\n"
      << "expect connection_cb connected=1 addr=" << central << " conn_id=?central_conn within 5s\n";
    bool subscribed = false;
    bool leftByItself = false;
    for (const sim::ScriptStep& step : c.script) {
      if (step.kind == StepKind::kWait) break;
      if (step.kind == StepKind::kDisconnect) {
        leftByItself = true;
        break;
      }
      if (step.kind == StepKind::kExecuteWrite) {
        s << "expect request_exec_write_cb addr=" << central << " trans_id=?t exec_write=" << (step.execute ? 1 : 0)
          << "\n"
          << "server send_response $central_conn $t 0\n";
        continue;
      }
      answerStep(s, step, central, &subscribed);
    }
    if (subscribed) {
      s << "say 13. Indication: the stack sends, the host confirms\n"
           "server send_indication $server $char $central_conn 1 \"tick\"\n"
           "expect indication_sent_cb conn_id=$central_conn status=0\n";
    }
    if (!leftByItself) s << "server disconnect $server " << central << " $central_conn\n";
    s << "expect connection_cb connected=0 addr=" << central << " conn_id=$central_conn\n";
  }
  s << "server stop_service $server $service\n"
       "expect service_stopped_cb status=0 srvc_handle=$service\n"
       "server delete_service $server $service\n"
       "expect service_deleted_cb status=0 srvc_handle=$service\n";
}

void closing(std::ostream& s) {
  s << "say 14. Disable and clean up: the callback thread disassociates last\n"
       "disable\n"
       "expect adapter_state_changed_cb state=off\n"
       "settle\n"
       "gatt cleanup\n"
       "cleanup\n"
       "expect thread_evt_cb evt=disassociate\n";
}

}  // namespace

std::string BuildDemoScript(const sim::World& world) {
  std::ostringstream s;
  adapter(s);
  classic(s, world);
  scanning(s, world);
  client(s, world);
  server(s, world);
  closing(s);
  return s.str();
}

}  // namespace bttev
}  // namespace tev
