// The host's side played by the script: any BluetoothInstance event with chosen arguments, the
// bridge version offered, an Init held back, and a world of its own.
#include "base/bind.h"
#include "base/strings/stringprintf.h"
#include "command_table.h"
#include "host_event_args.h"
#include "script_values.h"
#include "session.h"
#include "stack_side.h"
#include "tev/sim/world_loader.h"

namespace tev {
namespace bttev {
namespace {

namespace mojom = tev::mojom;
using Call = sim::SimulatedHost::InstanceCall;
using Direction = sim::JournalEntry::Direction;

// Journals the library's answer to a request the script sent, on the host thread.
void recordReply(sim::SimulatedHost* host, const std::string& method, const std::string& summary) {
  host->journal().Add(host->Now(), Direction::kReplyReceived, method, summary);
}

template <typename Status>
std::string statusText(Status status) {
  return "status=" + std::to_string(static_cast<int>(status));
}

// Reads the event's arguments and returns the call that sends it.
using EventBuilder = Call (*)(HostEventArgs& a, sim::SimulatedHost* host);

struct HostEvent {
  const char* name;
  const char* keys;
  EventBuilder build;
};

template <typename T>
T as(int64_t value) {
  return static_cast<T>(value);
}

const std::vector<HostEvent>& hostEvents() {
  static const std::vector<HostEvent> kEvents = {
      {"OnAdapterProperties", "status=N prop=KIND:VALUE...",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([status = as<mojom::BluetoothStatus>(a.Int("status", 0)),
                                props = a.Properties()](mojom::BluetoothInstance* i) mutable {
           i->OnAdapterProperties(status, std::move(props));
         });
       }},
      {"OnDeviceFound", "prop=KIND:VALUE...",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce(
             [props = a.Properties()](mojom::BluetoothInstance* i) mutable { i->OnDeviceFound(std::move(props)); });
       }},
      {"OnDevicePropertiesChanged", "addr=ADDR prop=KIND:VALUE...",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([addr = a.Address("addr"), props = a.Properties()](mojom::BluetoothInstance* i) mutable {
           i->OnDevicePropertiesChanged(std::move(addr), std::move(props));
         });
       }},
      {"OnDiscoveryStateChanged", "state=N",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([state = as<mojom::BluetoothDiscoveryState>(a.Int("state", 0))](
                                   mojom::BluetoothInstance* i) { i->OnDiscoveryStateChanged(state); });
       }},
      {"OnBondStateChanged", "status=N addr=ADDR state=N",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce(
             [status = as<mojom::BluetoothStatus>(a.Int("status", 0)), addr = a.Address("addr"),
              state = as<mojom::BluetoothBondState>(a.Int("state", 0))](mojom::BluetoothInstance* i) mutable {
               i->OnBondStateChanged(status, std::move(addr), state);
             });
       }},
      {"OnConnectionStateChanged", "addr=ADDR type=N connected=0|1",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([addr = a.Address("addr"), type = as<mojom::BluetoothDeviceType>(a.Int("type", 1)),
                                connected = a.Int("connected", 1) != 0](mojom::BluetoothInstance* i) mutable {
           i->OnConnectionStateChanged(std::move(addr), type, connected);
         });
       }},
      {"OnLEDeviceFound", "addr=ADDR rssi=N eir=BYTES",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([addr = a.Address("addr"), rssi = as<int32_t>(a.Int("rssi", 0)),
                                eir = a.Bytes("eir")](mojom::BluetoothInstance* i) mutable {
           i->OnLEDeviceFound(std::move(addr), rssi, eir);
         });
       }},
      {"OnLEConnectionStateChange", "addr=ADDR connected=0|1",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce(
             [addr = a.Address("addr"), connected = a.Int("connected", 1) != 0](mojom::BluetoothInstance* i) mutable {
               i->OnLEConnectionStateChange(std::move(addr), connected);
             });
       }},
      {"OnLEDeviceAddressChange", "old=ADDR new=ADDR",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([from = a.Address("old"), to = a.Address("new")](mojom::BluetoothInstance* i) mutable {
           i->OnLEDeviceAddressChange(std::move(from), std::move(to));
         });
       }},
      {"OnSearchComplete", "addr=ADDR status=N",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce(
             [addr = a.Address("addr"), status = as<mojom::BluetoothGattStatus>(a.Int("status", 0))](
                 mojom::BluetoothInstance* i) mutable { i->OnSearchComplete(std::move(addr), status); });
       }},
      {"OnGetGattDB", "addr=ADDR element=TYPE:UUID:HANDLE[:START:END[:PROPERTIES[:ID]]]...",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([addr = a.Address("addr"), db = a.Elements()](mojom::BluetoothInstance* i) mutable {
           i->OnGetGattDB(std::move(addr), std::move(db));
         });
       }},
      {"OnGattNotify", "addr=ADDR service=UUID@HANDLE char=UUID@HANDLE notify=0|1 value=BYTES",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([addr = a.Address("addr"),
                                service = mojom::BluetoothGattServiceID::New(a.GattId("service"), true),
                                chr = a.GattId("char"), notify = a.Int("notify", 1) != 0,
                                value = a.Bytes("value")](mojom::BluetoothInstance* i) mutable {
           i->OnGattNotify(std::move(addr), std::move(service), std::move(chr), notify, value);
         });
       }},
      {"OnServiceChanged", "addr=ADDR",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce(
             [addr = a.Address("addr")](mojom::BluetoothInstance* i) mutable { i->OnServiceChanged(std::move(addr)); });
       }},
      {"RequestGattRead", "addr=ADDR handle=N offset=N long=0|1 type=N",
       [](HostEventArgs& a, sim::SimulatedHost* host) -> Call {
         return base::BindOnce([host, addr = a.Address("addr"), handle = as<int32_t>(a.Int("handle", 0)),
                                offset = as<int32_t>(a.Int("offset", 0)), isLong = a.Int("long", 0) != 0,
                                type = as<mojom::BluetoothGattDBAttributeType>(a.Int("type", 3))](
                                   mojom::BluetoothInstance* i) mutable {
           i->RequestGattRead(
               std::move(addr), handle, offset, isLong, type,
               base::BindRepeating(
                   [](sim::SimulatedHost* host, mojom::BluetoothGattStatus status, const std::vector<uint8_t>& value) {
                     recordReply(host, "RequestGattRead",
                                 statusText(status) + " value=" + HexText(value.data(), value.size()));
                   },
                   host));
         });
       }},
      {"RequestGattWrite", "addr=ADDR handle=N offset=N value=BYTES type=N prepare=0|1",
       [](HostEventArgs& a, sim::SimulatedHost* host) -> Call {
         return base::BindOnce([host, addr = a.Address("addr"), handle = as<int32_t>(a.Int("handle", 0)),
                                offset = as<int32_t>(a.Int("offset", 0)), value = a.Bytes("value"),
                                type = as<mojom::BluetoothGattDBAttributeType>(a.Int("type", 3)),
                                prepare = a.Int("prepare", 0) != 0](mojom::BluetoothInstance* i) mutable {
           i->RequestGattWrite(std::move(addr), handle, offset, value, type, prepare,
                               base::BindRepeating(
                                   [](sim::SimulatedHost* host, mojom::BluetoothGattStatus status) {
                                     recordReply(host, "RequestGattWrite", statusText(status));
                                   },
                                   host));
         });
       }},
      {"RequestGattExecuteWrite", "addr=ADDR execute=0|1",
       [](HostEventArgs& a, sim::SimulatedHost* host) -> Call {
         return base::BindOnce(
             [host, addr = a.Address("addr"), execute = a.Int("execute", 1) != 0](mojom::BluetoothInstance* i) mutable {
               i->RequestGattExecuteWrite(std::move(addr), execute,
                                          base::BindRepeating(
                                              [](sim::SimulatedHost* host, mojom::BluetoothGattStatus status) {
                                                recordReply(host, "RequestGattExecuteWrite", statusText(status));
                                              },
                                              host));
             });
       }},
      {"OnMTUReceived", "addr=ADDR mtu=N",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([addr = a.Address("addr"), mtu = as<uint16_t>(a.Int("mtu", 23))](
                                   mojom::BluetoothInstance* i) mutable { i->OnMTUReceived(std::move(addr), mtu); });
       }},
      {"OnGetSdpRecords", "status=N addr=ADDR uuid=UUID record=UUID:CHANNEL:PSM:VERSION[:NAME]...",
       [](HostEventArgs& a, sim::SimulatedHost*) -> Call {
         return base::BindOnce([status = as<mojom::BluetoothStatus>(a.Int("status", 0)), addr = a.Address("addr"),
                                uuid = a.Uuid("uuid"), records = a.SdpRecords()](mojom::BluetoothInstance* i) mutable {
           i->OnGetSdpRecords(status, std::move(addr), uuid, std::move(records));
         });
       }},
  };
  return kEvents;
}

std::string eventList() {
  std::string text;
  for (const HostEvent& event : hostEvents()) text += std::string(text.empty() ? "" : ", ") + event.name;
  return text;
}

bool send(Session& session, CommandArgs& args, std::string* error) {
  const std::string& name = args.token(0).text;
  for (const HostEvent& event : hostEvents()) {
    if (name != event.name) continue;
    HostEventArgs words(std::vector<Token>(args.tokens().begin() + 1, args.tokens().end()));
    sim::SimulatedHost* host = session.LocalHostFor("host send", error);
    if (!host) return false;
    Call call = event.build(words, host);
    if (!words.Finish(error)) {
      *error = name + ": " + *error + " (" + name + " " + event.keys + ")";
      return false;
    }
    host->SendEvent(name, words.summary(), std::move(call));
    return true;
  }
  *error = "no BluetoothInstance event '" + name + "' (" + eventList() + "; 'host init' sends Init)";
  return false;
}

bool version(Session& session, CommandArgs& args, std::string* error) {
  const int64_t offered = args.Int(0, "bridge version");
  if (!args.ok() || offered < 0) return (*error = args.ok() ? "the version is not negative" : args.error(), false);
  return session.ReplaceHost(
      "host version",
      [&](sim::SimulatedHost::Options* options) {
        options->bridgeVersion = static_cast<unsigned int>(offered);
        return true;
      },
      error);
}

bool holdInit(Session& session, CommandArgs& args, std::string* error) {
  const bool hold = !args.has(0) || args.Choice(0, "hold", {"off", "on"}) != 0;
  if (!args.ok()) return (*error = args.error(), false);
  return session.ReplaceHost(
      "host hold-init",
      [&](sim::SimulatedHost::Options* options) {
        options->autoInit = !hold;
        return true;
      },
      error);
}

bool world(Session& session, CommandArgs& args, std::string* error) {
  return session.ReplaceHost(
      "world",
      [&](sim::SimulatedHost::Options* options) {
        sim::WorldError worldError;
        if (sim::LoadWorldFile(args.token(0).text, &options->world, &worldError)) return true;
        *error = worldError.ToString();
        return false;
      },
      error);
}

}  // namespace

std::vector<CommandEntry> HostEventCommands() {
  constexpr size_t kMany = 256;
  std::string events;
  for (const HostEvent& event : hostEvents()) events += std::string("\n        ") + event.name + " " + event.keys;
  return {
      {"host", "host", "send", "EVENT [KEY=VALUE]...",
       "the host sends a BluetoothInstance event ('host init' sends Init; not with --connect); numbers may be out of range; one left "
       "out is 0, but connected, notify and execute are 1, type 1 for a device and 3 for an attribute, mtu 23; an "
       "address left out or null is a null record; prop KINDs: bdname:TEXT friendly_name:TEXT "
       "bdaddr:ADDR bonded_devices:ADDR,ADDR uuids:UUID,UUID class_of_device:N type_of_device:N scan_mode:N "
       "discoverable_timeout:N rssi:N version:N,N,N service_record:UUID,CHANNEL,NAME le_features:N,...(11); "
       "events:" +
           events,
       1, kMany, false, send, "host send OnLEDeviceFound addr=02:51:b0:00:00:09 rssi=200 eir=020106"},
      {"host", "host", "version", "N",
       "a new host offering bridge version N (20 by default); like hold-init and world, only before init or after "
       "cleanup, and the other settings stay; none of the three with --connect",
       1, 1, false, version, "host version 19"},
      {"host", "host", "hold-init", "[on|off]",
       "a new host that answers the library's connection with Init only on 'host init' (off: at once again)", 0, 1,
       false, holdInit, "host hold-init"},
      {"script", "", "world", "FILE", "a new host playing the world described in FILE (schema in sim/worlds/README.md)",
       1, 1, false, world, "world sim/worlds/default.json"},
  };
}

}  // namespace bttev
}  // namespace tev
