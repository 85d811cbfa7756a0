#include "adapter_sim.h"

#include <algorithm>

#include "base/bind.h"
#include "format.h"

namespace tev {
namespace sim {
namespace {

using tev::mojom::BluetoothAdapterState;
using tev::mojom::BluetoothBondState;
using tev::mojom::BluetoothProperty;
using tev::mojom::BluetoothPropertyPtr;
using tev::mojom::BluetoothPropertyType;
using tev::mojom::BluetoothStatus;

constexpr int32_t kScanModeDiscoverable = 2;
constexpr int32_t kDeviceTypeDual = 3;
constexpr int32_t kDeviceTypeBredr = 1;

std::vector<BluetoothPropertyPtr> One(BluetoothPropertyPtr property) {
  std::vector<BluetoothPropertyPtr> list;
  list.push_back(std::move(property));
  return list;
}

}  // namespace

AdapterSim::AdapterSim(HostContext* context)
    : ctx_(context),
      discovery_timers_(context->clock()),
      discoverable_timers_(context->clock()),
      bond_timers_(context->clock()) {}

BluetoothAdapterState AdapterSim::Enable() {
  ctx_->adapter().enabled = true;
  return BluetoothAdapterState::ON;
}

BluetoothAdapterState AdapterSim::Disable() {
  if (discovering_) FinishDiscovery();
  ctx_->adapter().enabled = false;
  return BluetoothAdapterState::OFF;
}

BluetoothPropertyPtr AdapterSim::Property(BluetoothPropertyType type) {
  const Adapter& a = ctx_->adapter();
  switch (type) {
    case BluetoothPropertyType::BDNAME:
      return BluetoothProperty::NewBdname(a.name);
    case BluetoothPropertyType::BDADDR:
      return BluetoothProperty::NewBdaddr(ToMojo(a.address));
    case BluetoothPropertyType::UUIDS:
      return BluetoothProperty::NewUuids(a.uuids);
    case BluetoothPropertyType::CLASS_OF_DEVICE:
      return BluetoothProperty::NewDeviceClass(a.classOfDevice);
    case BluetoothPropertyType::TYPE_OF_DEVICE:
      return BluetoothProperty::NewDeviceType(kDeviceTypeDual);
    case BluetoothPropertyType::ADAPTER_SCAN_MODE:
      return BluetoothProperty::NewAdapterScanMode(static_cast<tev::mojom::BluetoothScanMode>(a.scanMode));
    case BluetoothPropertyType::ADAPTER_BONDED_DEVICES: {
      std::vector<tev::mojom::BluetoothAddressPtr> bonded;
      for (const Address& address : a.bonded) bonded.push_back(ToMojo(address));
      return BluetoothProperty::NewBondedDevices(std::move(bonded));
    }
    case BluetoothPropertyType::ADAPTER_DISCOVERABLE_TIMEOUT:
      return BluetoothProperty::NewDiscoveryTimeout(a.discoverableTimeout);
    case BluetoothPropertyType::LOCAL_LE_FEATURES: {
      const LeFeatures& f = a.leFeatures;
      return BluetoothProperty::NewLocalLeFeatures(tev::mojom::BluetoothLocalLEFeatures::New(
          f.versionSupported, f.localPrivacyEnabled, f.maxAdvInstance, f.rpaOffloadSupported,
          f.maxIrkListSize, f.maxAdvFilterSupported, f.activityEnergyInfoSupported,
          f.scanResultStorageSize, f.totalTrackableAdvertisers, f.extendedScanSupport,
          f.debugLoggingSupported));
    }
    default:
      return nullptr;
  }
}

void AdapterSim::ReportProperty(BluetoothPropertyType type) {
  BluetoothPropertyPtr property = Property(type);
  if (property.is_null()) {
    ctx_->Send("OnAdapterProperties", "status=6 type=" + std::to_string(static_cast<int>(type)),
               [](tev::mojom::BluetoothInstance* i) {
                 i->OnAdapterProperties(BluetoothStatus::UNSUPPORTED, {});
               });
    return;
  }
  ctx_->Send("OnAdapterProperties", "status=0 " + PropertyText(property),
             [&](tev::mojom::BluetoothInstance* i) {
               i->OnAdapterProperties(BluetoothStatus::SUCCESS, One(std::move(property)));
             });
}

void AdapterSim::GetProperty(BluetoothPropertyType type, std::optional<int32_t> status) {
  if (status) {
    ctx_->Send("OnAdapterProperties", "status=" + std::to_string(*status),
               [&](tev::mojom::BluetoothInstance* i) {
                 i->OnAdapterProperties(static_cast<BluetoothStatus>(*status), {});
               });
    return;
  }
  ReportProperty(type);
}

void AdapterSim::SetProperty(BluetoothPropertyPtr property, std::optional<int32_t> status) {
  // The pipe refuses a null record; a property of another kind is not settable.
  std::optional<BluetoothPropertyType> type;
  Adapter& a = ctx_->adapter();
  if (!property.is_null() && property->is_bdname()) {
    a.name = property->get_bdname();
    type = BluetoothPropertyType::BDNAME;
  } else if (!property.is_null() && property->is_adapter_scan_mode()) {
    a.scanMode = static_cast<int32_t>(property->get_adapter_scan_mode());
    type = BluetoothPropertyType::ADAPTER_SCAN_MODE;
    discoverable_timers_.CancelAll();
    if (a.scanMode == kScanModeDiscoverable && a.discoverableTimeout > 0) {
      discoverable_timers_.Schedule(
          base::TimeDelta::FromSeconds(a.discoverableTimeout),
          base::BindOnce(&AdapterSim::EndDiscoverable, base::Unretained(this)));
    }
  } else if (!property.is_null() && property->is_discovery_timeout()) {
    a.discoverableTimeout = property->get_discovery_timeout();
    type = BluetoothPropertyType::ADAPTER_DISCOVERABLE_TIMEOUT;
  }
  if (status || !type) {
    const int32_t reported = status ? *status : static_cast<int32_t>(BluetoothStatus::UNSUPPORTED);
    ctx_->Send("OnAdapterProperties", "status=" + std::to_string(reported),
               [&](tev::mojom::BluetoothInstance* i) {
                 i->OnAdapterProperties(static_cast<BluetoothStatus>(reported), {});
               });
    return;
  }
  ReportProperty(*type);
}

void AdapterSim::EndDiscoverable() {
  ctx_->adapter().scanMode = 1;
  ReportProperty(BluetoothPropertyType::ADAPTER_SCAN_MODE);
}

void AdapterSim::StartDiscovery() {
  if (!ctx_->adapter().enabled) {
    ctx_->Note("StartDiscovery ignored: adapter off");
    return;
  }
  if (discovering_) {
    ctx_->Note("StartDiscovery ignored: already discovering");
    return;
  }
  discovering_ = true;
  ctx_->Send("OnDiscoveryStateChanged", "state=1", [](tev::mojom::BluetoothInstance* i) {
    i->OnDiscoveryStateChanged(tev::mojom::BluetoothDiscoveryState::STARTED);
  });
  const base::TimeDelta duration = ctx_->adapter().discoveryDuration;
  for (const ClassicDevice& device : ctx_->world().classicDevices) {
    if (device.foundAfter < duration) {
      discovery_timers_.Schedule(device.foundAfter, base::BindOnce(&AdapterSim::ReportFound,
                                                                   base::Unretained(this), device));
    }
  }
  discovery_timers_.Schedule(duration,
                             base::BindOnce(&AdapterSim::FinishDiscovery, base::Unretained(this)));
}

void AdapterSim::ReportFound(const ClassicDevice& device) {
  std::vector<BluetoothPropertyPtr> properties;
  properties.push_back(BluetoothProperty::NewBdaddr(ToMojo(device.address)));
  properties.push_back(BluetoothProperty::NewBdname(device.name));
  properties.push_back(BluetoothProperty::NewDeviceClass(device.classOfDevice));
  properties.push_back(BluetoothProperty::NewDeviceType(kDeviceTypeBredr));
  properties.push_back(BluetoothProperty::NewRemoteRssi(ctx_->VaryRssi(device.rssi)));
  properties.push_back(BluetoothProperty::NewUuids(device.uuids));
  ctx_->Send("OnDeviceFound", PropertiesText(properties), [&](tev::mojom::BluetoothInstance* i) {
    i->OnDeviceFound(std::move(properties));
  });
}

void AdapterSim::CancelDiscovery() {
  if (!discovering_) {
    ctx_->Note("CancelDiscovery ignored: not discovering");
    return;
  }
  FinishDiscovery();
}

void AdapterSim::FinishDiscovery() {
  discovering_ = false;
  discovery_timers_.CancelAll();
  ctx_->Send("OnDiscoveryStateChanged", "state=0", [](tev::mojom::BluetoothInstance* i) {
    i->OnDiscoveryStateChanged(tev::mojom::BluetoothDiscoveryState::STOPPED);
  });
}

void AdapterSim::CreateBond(const Address& address, int32_t transport,
                            std::optional<int32_t> status) {
  if (!ctx_->adapter().enabled) {
    SendBondState(BluetoothStatus::NOT_READY, address, BluetoothBondState::NONE);
    return;
  }
  if (IsBonded(address)) {
    SendBondState(BluetoothStatus::SUCCESS, address, BluetoothBondState::BONDED);
    return;
  }
  if (bonding_.count(address)) {
    ctx_->Note("CreateBond ignored: already bonding", AddrText(address));
    return;
  }
  if (FindClassic(address) && transport != 2) SendAcl(address, true);
  SendBondState(BluetoothStatus::SUCCESS, address, BluetoothBondState::BONDING);
  bonding_[address] = bond_timers_.Schedule(
      ctx_->timing().bond,
      base::BindOnce(&AdapterSim::FinishBond, base::Unretained(this), address, status));
}

void AdapterSim::FinishBond(const Address& address, std::optional<int32_t> status) {
  bonding_.erase(address);
  const ClassicDevice* classic = FindClassic(address);
  const Peripheral* peripheral = nullptr;
  for (const Peripheral& p : ctx_->world().peripherals) {
    if (p.address == address) peripheral = &p;
  }
  BluetoothStatus result = BluetoothStatus::SUCCESS;
  if (status && *status != 0) {
    result = static_cast<BluetoothStatus>(*status);
  } else if (!classic && !peripheral) {
    result = BluetoothStatus::RMT_DEV_DOWN;
  } else if (!(classic ? classic->bondingSucceeds : peripheral->bondingSucceeds)) {
    result = BluetoothStatus::AUTH_FAILURE;
  }
  if (result != BluetoothStatus::SUCCESS) {
    SendBondState(result, address, BluetoothBondState::NONE);
  } else {
    ctx_->adapter().bonded.push_back(address);
    SendBondState(BluetoothStatus::SUCCESS, address, BluetoothBondState::BONDED);
    std::vector<BluetoothPropertyPtr> properties;
    properties.push_back(BluetoothProperty::NewBdname(classic ? classic->name : peripheral->name));
    if (classic) properties.push_back(BluetoothProperty::NewUuids(classic->uuids));
    ctx_->Send("OnDevicePropertiesChanged", AddrText(address) + " " + PropertiesText(properties),
               [&](tev::mojom::BluetoothInstance* i) {
                 i->OnDevicePropertiesChanged(ToMojo(address), std::move(properties));
               });
    ReportProperty(BluetoothPropertyType::ADAPTER_BONDED_DEVICES);
  }
  if (classic) SendAcl(address, false);
}

void AdapterSim::RemoveBond(const Address& address) {
  std::vector<Address>& bonded = ctx_->adapter().bonded;
  auto it = std::find(bonded.begin(), bonded.end(), address);
  if (it == bonded.end()) {
    ctx_->Note("RemoveBond ignored: not bonded", AddrText(address));
    return;
  }
  bonded.erase(it);
  SendBondState(BluetoothStatus::SUCCESS, address, BluetoothBondState::NONE);
  ReportProperty(BluetoothPropertyType::ADAPTER_BONDED_DEVICES);
}

void AdapterSim::CancelBond(const Address& address) {
  auto it = bonding_.find(address);
  if (it == bonding_.end()) {
    ctx_->Note("CancelBond ignored: not bonding", AddrText(address));
    return;
  }
  bond_timers_.Cancel(it->second);
  bonding_.erase(it);
  SendBondState(BluetoothStatus::SUCCESS, address, BluetoothBondState::NONE);
  if (FindClassic(address)) SendAcl(address, false);
}

void AdapterSim::Reset() {
  discovering_ = false;
  discovery_timers_.CancelAll();
  discoverable_timers_.CancelAll();
  bond_timers_.CancelAll();
  bonding_.clear();
}

const ClassicDevice* AdapterSim::FindClassic(const Address& address) const {
  for (const ClassicDevice& device : ctx_->world().classicDevices) {
    if (device.address == address) return &device;
  }
  return nullptr;
}

bool AdapterSim::IsBonded(const Address& address) const {
  const std::vector<Address>& bonded = ctx_->adapter().bonded;
  return std::find(bonded.begin(), bonded.end(), address) != bonded.end();
}

void AdapterSim::SendBondState(BluetoothStatus status, const Address& address,
                               BluetoothBondState state) {
  ctx_->Send("OnBondStateChanged",
             "status=" + std::to_string(static_cast<int>(status)) + " " + AddrText(address) +
                 " state=" + std::to_string(static_cast<int>(state)),
             [&](tev::mojom::BluetoothInstance* i) {
               i->OnBondStateChanged(status, ToMojo(address), state);
             });
}

void AdapterSim::SendAcl(const Address& address, bool connected) {
  ctx_->Send("OnConnectionStateChanged",
             AddrText(address) + " type=1 connected=" + (connected ? "1" : "0"),
             [&](tev::mojom::BluetoothInstance* i) {
               i->OnConnectionStateChanged(ToMojo(address), tev::mojom::BluetoothDeviceType::BREDR,
                                           connected);
             });
}

}  // namespace sim
}  // namespace tev
