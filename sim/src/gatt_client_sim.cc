#include "gatt_client_sim.h"

#include <map>

#include "base/bind.h"
#include "format.h"

namespace tev {
namespace sim {
namespace {

using tev::mojom::BluetoothGattStatus;
using Type = tev::mojom::BluetoothGattDBAttributeType;

// What a peer's prepare queue holds at most.
constexpr size_t kPrepareQueueLimit = 64;

tev::mojom::BluetoothGattIDPtr GattId(const Attribute& a) {
  return tev::mojom::BluetoothGattID::New(a.uuid, static_cast<uint8_t>(a.handle & 0xff), a.handle);
}

}  // namespace

GattClientSim::GattClientSim(HostContext* context, LeSim* le)
    : ctx_(context), le_(le), search_timers_(context->clock()) {}

void GattClientSim::SearchService(const Address& address, std::optional<int32_t> status) {
  BluetoothGattStatus outcome = BluetoothGattStatus::SUCCESS;
  if (status) {
    outcome = static_cast<BluetoothGattStatus>(*status);
  } else if (!le_->Connected(address)) {
    outcome = BluetoothGattStatus::FAILURE;
  }
  search_timers_.Schedule(ctx_->timing().serviceSearch,
                          base::BindOnce(&GattClientSim::CompleteSearch, base::Unretained(this),
                                         address, outcome));
}

void GattClientSim::CompleteSearch(const Address& address, BluetoothGattStatus status) {
  ctx_->Send("OnSearchComplete",
             AddrText(address) + " status=" + std::to_string(static_cast<int>(status)),
             [&](tev::mojom::BluetoothInstance* i) { i->OnSearchComplete(ToMojo(address), status); });
}

void GattClientSim::GetGattDb(const Address& address) {
  LivePeripheral* p = le_->Connected(address);
  std::vector<tev::mojom::BluetoothGattDBElementPtr> elements;
  if (p) elements = p->db.Elements();
  ctx_->Send("OnGetGattDB", AddrText(address) + " elements=" + std::to_string(elements.size()),
             [&](tev::mojom::BluetoothInstance* i) { i->OnGetGattDB(ToMojo(address), std::move(elements)); });
}

Attribute* GattClientSim::Resolve(LivePeripheral* p, const tev::mojom::BluetoothGattIDPtr& id) {
  // The pipe refuses null ids; a stale handle simply finds nothing.
  return p && !id.is_null() ? p->db.Find(id->handle) : nullptr;
}

tev::mojom::BluetoothGattValuePtr GattClientSim::Read(const Address& address,
                                                      const tev::mojom::BluetoothGattIDPtr& id) {
  LivePeripheral* p = le_->Connected(address);
  if (!p) return tev::mojom::BluetoothGattValue::New(BluetoothGattStatus::FAILURE, Bytes());
  Attribute* a = Resolve(p, id);
  if (!a) return tev::mojom::BluetoothGattValue::New(BluetoothGattStatus::INVALID_HANDLE, Bytes());
  Bytes value;
  const BluetoothGattStatus status = p->db.Read(*a, &value);
  return tev::mojom::BluetoothGattValue::New(status, std::move(value));
}

BluetoothGattStatus GattClientSim::Write(const Address& address,
                                         const tev::mojom::BluetoothGattIDPtr& id,
                                         const Bytes& value, bool prepare) {
  LivePeripheral* p = le_->Connected(address);
  if (!p) return BluetoothGattStatus::FAILURE;
  Attribute* a = Resolve(p, id);
  if (!a) return BluetoothGattStatus::INVALID_HANDLE;
  if (prepare) {
    const BluetoothGattStatus status = p->db.CheckWrite(*a);
    if (status != BluetoothGattStatus::SUCCESS) return status;
    if (p->prepared.size() >= kPrepareQueueLimit) return BluetoothGattStatus::PREPARE_QUEUE_FULL;
    p->prepared.emplace_back(a->handle, value);
    return BluetoothGattStatus::SUCCESS;
  }
  const BluetoothGattStatus status = p->db.Write(*a, value);
  // Writing a configuration descriptor turns the characteristic's updates on or off.
  if (status == BluetoothGattStatus::SUCCESS && a->type == Type::DESCRIPTOR &&
      a->uuid == bluetooth::Uuid::From16Bit(kCccdUuid16)) {
    if (Attribute* c = p->db.Find(a->charHandle)) {
      SetSubscribed(p, *c, !value.empty() && (value[0] & 0x03) != 0);
    }
  }
  return status;
}

BluetoothGattStatus GattClientSim::Execute(const Address& address, bool execute) {
  LivePeripheral* p = le_->Connected(address);
  if (!p) return BluetoothGattStatus::FAILURE;
  std::vector<std::pair<uint16_t, Bytes>> queued;
  queued.swap(p->prepared);
  if (!execute) return BluetoothGattStatus::SUCCESS;
  // The parts of one attribute make up its new value, in the order they were queued.
  std::map<uint16_t, Bytes> values;
  for (const auto& [handle, part] : queued) values[handle].insert(values[handle].end(), part.begin(), part.end());
  for (const auto& [handle, value] : values) {
    Attribute* a = p->db.Find(handle);
    const BluetoothGattStatus status = a ? p->db.Write(*a, value) : BluetoothGattStatus::INVALID_HANDLE;
    if (status != BluetoothGattStatus::SUCCESS) return status;
  }
  return BluetoothGattStatus::SUCCESS;
}

BluetoothGattStatus GattClientSim::Subscribe(const Address& address,
                                             const tev::mojom::BluetoothGattIDPtr& char_id, bool on) {
  LivePeripheral* p = le_->Connected(address);
  if (!p) return BluetoothGattStatus::FAILURE;
  Attribute* c = Resolve(p, char_id);
  if (!c || c->type != Type::CHARACTERISTIC) return BluetoothGattStatus::INVALID_HANDLE;
  if (on && !(c->properties & (kPropNotify | kPropIndicate))) {
    return BluetoothGattStatus::REQUEST_NOT_SUPPORTED;
  }
  SetSubscribed(p, *c, on);
  return BluetoothGattStatus::SUCCESS;
}

void GattClientSim::SetSubscribed(LivePeripheral* p, const Attribute& c, bool on) {
  if (!on) {
    p->subscriptions.erase(c.handle);
    return;
  }
  if (p->subscriptions.count(c.handle)) return;
  auto timers = std::make_unique<TimerSet>(p->clock);
  const std::vector<NotificationSource>& sources = p->def.notifications;
  for (size_t i = 0; i < sources.size(); ++i) {
    const Attribute* source = p->db.FindCharacteristic(sources[i].characteristic);
    if (source && source->handle == c.handle) {
      timers->Schedule(sources[i].interval, base::BindOnce(&GattClientSim::Notify, base::Unretained(this),
                                                           p, c.handle, i));
    }
  }
  p->subscriptions[c.handle] = std::move(timers);
}

void GattClientSim::Notify(LivePeripheral* p, uint16_t char_handle, size_t source_index) {
  Attribute* c = p->db.Find(char_handle);
  const Attribute* service = c ? p->db.Find(c->serviceHandle) : nullptr;
  if (!c || !service) return;
  const NotificationSource& source = p->def.notifications[source_index];
  Bytes value;
  if (source.values.empty()) {
    value = p->db.NotificationValue(*c);
  } else {
    size_t& next = p->nextValue[source_index];
    value = source.values[next % source.values.size()];
    next = (next + 1) % source.values.size();
  }
  const bool is_notify = (c->properties & kPropNotify) != 0;
  ctx_->Send("OnGattNotify",
             AddrText(p->def.address) + " char=" + UuidText(c->uuid) + "@" + std::to_string(c->handle) +
                 " notify=" + (is_notify ? "1" : "0") + " value=" + HexText(value),
             [&](tev::mojom::BluetoothInstance* i) {
               i->OnGattNotify(ToMojo(p->def.address),
                               tev::mojom::BluetoothGattServiceID::New(
                                   GattId(*service), service->type == Type::PRIMARY_SERVICE),
                               GattId(*c), is_notify, value);
             });
  auto subscription = p->subscriptions.find(char_handle);
  if (subscription == p->subscriptions.end()) return;
  subscription->second->Schedule(source.interval, base::BindOnce(&GattClientSim::Notify,
                                                                 base::Unretained(this), p,
                                                                 char_handle, source_index));
}

void GattClientSim::Reset() { search_timers_.CancelAll(); }

}  // namespace sim
}  // namespace tev
