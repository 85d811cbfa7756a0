#include "le_sim.h"

#include "advertising.h"
#include "base/bind.h"
#include "format.h"

namespace tev {
namespace sim {

LivePeripheral::LivePeripheral(const Peripheral& definition, Clock* clock)
    : def(definition),
      advertisingData(BuildAdvertisingData(definition)),
      db(definition.services),
      clock(clock) {}

LeSim::LeSim(HostContext* context)
    : ctx_(context), scan_timers_(context->clock()), link_timers_(context->clock()) {
  for (const Peripheral& p : ctx_->world().peripherals) {
    peripherals_[p.address] = std::make_unique<LivePeripheral>(p, ctx_->clock());
  }
}

void LeSim::StartScan() {
  if (!ctx_->adapter().enabled) {
    ctx_->Note("StartLEScan ignored: adapter off");
    return;
  }
  if (scanning_) {
    ctx_->Note("StartLEScan ignored: already scanning");
    return;
  }
  scanning_ = true;
  // Each peripheral's first report falls somewhere within its first interval, as advertisers
  // are not in step with the scanner.
  for (auto& [address, peripheral] : peripherals_) {
    const int64_t interval = peripheral->def.advertising.interval.InMicroseconds();
    scan_timers_.Schedule(base::TimeDelta::FromMicroseconds(ctx_->Phase(interval) + 1),
                          base::BindOnce(&LeSim::Advertise, base::Unretained(this), peripheral.get()));
  }
}

void LeSim::StopScan() {
  if (!scanning_) ctx_->Note("StopLEScan ignored: not scanning");
  scanning_ = false;
  scan_timers_.CancelAll();
}

void LeSim::Advertise(LivePeripheral* p) {
  // A connected peripheral stops advertising, but keeps its slot in the schedule.
  if (p->link != LivePeripheral::Link::kUp) {
    const int8_t rssi = ctx_->VaryRssi(p->def.rssi);
    ctx_->Send("OnLEDeviceFound",
               AddrText(p->def.address) + " rssi=" + std::to_string(rssi) + " eir=" +
                   HexText(p->advertisingData),
               [&](tev::mojom::BluetoothInstance* i) {
                 i->OnLEDeviceFound(ToMojo(p->def.address), rssi, p->advertisingData);
               });
  }
  scan_timers_.Schedule(p->def.advertising.interval,
                        base::BindOnce(&LeSim::Advertise, base::Unretained(this), p));
}

bool LeSim::Connect(const Address& address) {
  LivePeripheral* p = Find(address);
  if (!p) return false;
  if (!ctx_->adapter().enabled) {
    ctx_->Note("ConnectLEDevice ignored: adapter off", AddrText(address));
  } else if (p->link == LivePeripheral::Link::kConnecting) {
    ctx_->Note("ConnectLEDevice ignored: already connecting", AddrText(address));
  } else {
    // Connecting to a device already connected reports the link again.
    if (p->link == LivePeripheral::Link::kDown) p->link = LivePeripheral::Link::kConnecting;
    link_timers_.Schedule(ctx_->timing().leConnect,
                          base::BindOnce(&LeSim::LinkUp, base::Unretained(this), p));
  }
  return true;
}

void LeSim::LinkUp(LivePeripheral* p) {
  // An attempt abandoned meanwhile stays abandoned.
  if (p->link == LivePeripheral::Link::kDown) return;
  p->link = LivePeripheral::Link::kUp;
  ctx_->Send("OnLEConnectionStateChange", AddrText(p->def.address) + " connected=1",
             [&](tev::mojom::BluetoothInstance* i) {
               i->OnLEConnectionStateChange(ToMojo(p->def.address), true);
             });
  if (p->def.mtu) {
    ctx_->Send("OnMTUReceived", AddrText(p->def.address) + " mtu=" + std::to_string(p->def.mtu),
               [&](tev::mojom::BluetoothInstance* i) { i->OnMTUReceived(ToMojo(p->def.address), p->def.mtu); });
  }
}

bool LeSim::Disconnect(const Address& address) {
  LivePeripheral* p = Find(address);
  if (!p) return false;
  if (p->link == LivePeripheral::Link::kDown) {
    ctx_->Note("DisconnectLEDevice ignored: not connected", AddrText(address));
    return true;
  }
  if (p->link == LivePeripheral::Link::kConnecting) {
    // The pending LinkUp finds the attempt abandoned.
    p->link = LivePeripheral::Link::kDown;
    ctx_->Note("connection attempt abandoned", AddrText(address));
    return true;
  }
  link_timers_.Schedule(ctx_->timing().leDisconnect,
                        base::BindOnce(&LeSim::LinkDown, base::Unretained(this), p, true));
  return true;
}

void LeSim::LinkDown(LivePeripheral* p, bool report) {
  if (p->link == LivePeripheral::Link::kDown) return;
  p->link = LivePeripheral::Link::kDown;
  p->prepared.clear();
  p->subscriptions.clear();
  if (!report) return;
  ctx_->Send("OnLEConnectionStateChange", AddrText(p->def.address) + " connected=0",
             [&](tev::mojom::BluetoothInstance* i) {
               i->OnLEConnectionStateChange(ToMojo(p->def.address), false);
             });
}

LivePeripheral* LeSim::Find(const Address& address) {
  auto it = peripherals_.find(address);
  return it == peripherals_.end() ? nullptr : it->second.get();
}

LivePeripheral* LeSim::Connected(const Address& address) {
  LivePeripheral* p = Find(address);
  return p && p->link == LivePeripheral::Link::kUp ? p : nullptr;
}

void LeSim::DropAll(bool report) {
  scanning_ = false;
  scan_timers_.CancelAll();
  link_timers_.CancelAll();
  for (auto& [address, peripheral] : peripherals_) LinkDown(peripheral.get(), report);
}

}  // namespace sim
}  // namespace tev
