#include "remote_central_sim.h"

#include "base/bind.h"
#include "format.h"

namespace tev {
namespace sim {
namespace {

using tev::mojom::BluetoothGattStatus;
using Type = tev::mojom::BluetoothGattDBAttributeType;
using StepKind = ScriptStep::Kind;

std::string StatusText(BluetoothGattStatus status) {
  return "status=" + std::to_string(static_cast<int>(status));
}

// Whether a characteristic allows what a step does, when the step names none.
bool Allows(const LocalAttribute& c, StepKind kind) {
  switch (kind) {
    case StepKind::kRead:
      return c.properties & kPropRead;
    case StepKind::kWrite:
    case StepKind::kPrepareWrite:
      return c.properties & (kPropWrite | kPropWriteNoResponse);
    case StepKind::kSubscribe:
      return c.properties & (kPropNotify | kPropIndicate);
    default:
      return false;
  }
}

}  // namespace

RemoteCentralSim::RemoteCentralSim(HostContext* context, const GattServerSim* server)
    : ctx_(context), server_(server) {
  for (const RemoteCentral& c : ctx_->world().centrals) {
    centrals_[c.address] = std::make_unique<LiveCentral>(c, ctx_->clock());
  }
}

void RemoteCentralSim::OnServiceStarted() {
  for (auto& [address, central] : centrals_) {
    if (central->started) continue;
    if (!ctx_->adapter().enabled) {
      ctx_->Note("remote central waits: adapter off", AddrText(address));
      continue;
    }
    central->started = true;
    central->timers.Schedule(central->def.connectAfter,
                             base::BindOnce(&RemoteCentralSim::Begin, base::Unretained(this),
                                            central.get()));
  }
}

void RemoteCentralSim::Begin(LiveCentral* c) {
  c->connected = true;
  c->step = 0;
  ctx_->Send("OnLEConnectionStateChange", AddrText(c->def.address) + " connected=1",
             [&](tev::mojom::BluetoothInstance* i) {
               i->OnLEConnectionStateChange(ToMojo(c->def.address), true);
             });
  Next(c, c->def.stepInterval);
}

void RemoteCentralSim::Next(LiveCentral* c, base::TimeDelta after) {
  c->timers.Schedule(after, base::BindOnce(&RemoteCentralSim::RunStep, base::Unretained(this), c));
}

const LocalAttribute* RemoteCentralSim::Target(const ScriptStep& step) const {
  const LocalAttribute* characteristic = nullptr;
  for (const PublishedService* service : server_->Started()) {
    for (const LocalAttribute& a : service->attributes) {
      if (a.type != Type::CHARACTERISTIC) continue;
      const bool wanted = step.characteristic ? a.uuid == *step.characteristic : Allows(a, step.kind);
      if (wanted && !characteristic) characteristic = &a;
    }
  }
  if (!characteristic) return nullptr;
  std::optional<bluetooth::Uuid> descriptor = step.descriptor;
  if (step.kind == StepKind::kSubscribe) descriptor = bluetooth::Uuid::From16Bit(kCccdUuid16);
  if (!descriptor) return characteristic;
  for (const PublishedService* service : server_->Started()) {
    for (const LocalAttribute& a : service->attributes) {
      if (a.type == Type::DESCRIPTOR && a.charHandle == characteristic->handle && a.uuid == *descriptor) {
        return &a;
      }
    }
  }
  return nullptr;
}

void RemoteCentralSim::RunStep(LiveCentral* c) {
  if (!c->connected) return;
  if (c->step >= c->def.script.size()) {
    ctx_->Note("remote central script finished", AddrText(c->def.address));
    return;
  }
  const ScriptStep& step = c->def.script[c->step++];
  switch (step.kind) {
    case StepKind::kWait:
      Next(c, step.wait);
      return;
    case StepKind::kDisconnect:
      LinkDown(c, true);
      return;
    case StepKind::kExecuteWrite: {
      const uint64_t generation = c->generation;
      ctx_->Send("RequestGattExecuteWrite",
                 AddrText(c->def.address) + " execute=" + (step.execute ? "1" : "0"),
                 [&](tev::mojom::BluetoothInstance* i) {
                   i->RequestGattExecuteWrite(
                       ToMojo(c->def.address), step.execute,
                       base::BindRepeating(&RemoteCentralSim::OnStatusAnswer, base::Unretained(this), c,
                                           generation, std::string("RequestGattExecuteWrite")));
                 });
      return;
    }
    default:
      break;
  }
  const LocalAttribute* target = Target(step);
  if (!target) {
    ctx_->Note("remote central step skipped: no published attribute fits",
               AddrText(c->def.address) + " step=" + std::to_string(c->step - 1));
    Next(c, c->def.stepInterval);
    return;
  }
  Request(c, step, *target);
}

void RemoteCentralSim::Request(LiveCentral* c, const ScriptStep& step, const LocalAttribute& target) {
  const uint64_t generation = c->generation;
  const std::string where = AddrText(c->def.address) + " handle=" + std::to_string(target.handle) +
                            " offset=" + std::to_string(step.offset) +
                            " type=" + std::to_string(static_cast<int>(target.type));
  if (step.kind == StepKind::kRead) {
    ctx_->Send("RequestGattRead", where + " long=" + (step.isLong ? "1" : "0"),
               [&](tev::mojom::BluetoothInstance* i) {
                 i->RequestGattRead(ToMojo(c->def.address), target.handle, step.offset, step.isLong,
                                    target.type,
                                    base::BindRepeating(&RemoteCentralSim::OnReadAnswer,
                                                        base::Unretained(this), c, generation));
               });
    return;
  }
  const bool prepare = step.kind == StepKind::kPrepareWrite;
  // Subscribing writes the configuration descriptor: 2 for indications, 1 for notifications.
  const Bytes value = step.kind == StepKind::kSubscribe
                          ? Bytes{static_cast<uint8_t>(step.indications ? 0x02 : 0x01), 0x00}
                          : step.value;
  ctx_->Send("RequestGattWrite",
             where + " prepare=" + (prepare ? "1" : "0") + " value=" + HexText(value),
             [&](tev::mojom::BluetoothInstance* i) {
               i->RequestGattWrite(ToMojo(c->def.address), target.handle, step.offset, value,
                                   target.type, prepare,
                                   base::BindRepeating(&RemoteCentralSim::OnStatusAnswer,
                                                       base::Unretained(this), c, generation,
                                                       std::string("RequestGattWrite")));
             });
}

void RemoteCentralSim::OnReadAnswer(LiveCentral* c, uint64_t generation, BluetoothGattStatus status,
                                    const std::vector<uint8_t>& value) {
  ctx_->Record(HostContext::Direction::kReplyReceived, "RequestGattRead",
               AddrText(c->def.address) + " " + StatusText(status) + " value=" + HexText(value));
  if (generation == c->generation) Next(c, c->def.stepInterval);
}

void RemoteCentralSim::OnStatusAnswer(LiveCentral* c, uint64_t generation, const std::string& method,
                                      BluetoothGattStatus status) {
  ctx_->Record(HostContext::Direction::kReplyReceived, method,
               AddrText(c->def.address) + " " + StatusText(status));
  if (generation == c->generation) Next(c, c->def.stepInterval);
}

bool RemoteCentralSim::Connect(const Address& address) {
  auto it = centrals_.find(address);
  if (it == centrals_.end()) return false;
  if (!it->second->connected) {
    ctx_->Note("ConnectLEDevice ignored: a central does not advertise", AddrText(address));
    return true;
  }
  ctx_->Send("OnLEConnectionStateChange", AddrText(address) + " connected=1",
             [&](tev::mojom::BluetoothInstance* i) { i->OnLEConnectionStateChange(ToMojo(address), true); });
  return true;
}

bool RemoteCentralSim::Disconnect(const Address& address) {
  auto it = centrals_.find(address);
  if (it == centrals_.end()) return false;
  LiveCentral* c = it->second.get();
  if (!c->connected) {
    ctx_->Note("DisconnectLEDevice ignored: not connected", AddrText(address));
    return true;
  }
  c->timers.CancelAll();
  c->timers.Schedule(ctx_->timing().leDisconnect,
                     base::BindOnce(&RemoteCentralSim::LinkDown, base::Unretained(this), c, true));
  return true;
}

void RemoteCentralSim::LinkDown(LiveCentral* c, bool report) {
  if (!c->connected) return;
  c->connected = false;
  ++c->generation;
  c->timers.CancelAll();
  if (!report) return;
  ctx_->Send("OnLEConnectionStateChange", AddrText(c->def.address) + " connected=0",
             [&](tev::mojom::BluetoothInstance* i) {
               i->OnLEConnectionStateChange(ToMojo(c->def.address), false);
             });
}

std::optional<BluetoothGattStatus> RemoteCentralSim::Indicate(const Address& address) {
  auto it = centrals_.find(address);
  if (it == centrals_.end()) return std::nullopt;
  return it->second->connected ? BluetoothGattStatus::SUCCESS : BluetoothGattStatus::FAILURE;
}

bool RemoteCentralSim::IsConnected(const Address& address) const {
  auto it = centrals_.find(address);
  return it != centrals_.end() && it->second->connected;
}

void RemoteCentralSim::DropAll(bool report) {
  for (auto& [address, central] : centrals_) {
    LinkDown(central.get(), report);
    central->timers.CancelAll();
  }
}

void RemoteCentralSim::Reset() {
  DropAll(false);
  for (auto& [address, central] : centrals_) central->started = false;
}

}  // namespace sim
}  // namespace tev
