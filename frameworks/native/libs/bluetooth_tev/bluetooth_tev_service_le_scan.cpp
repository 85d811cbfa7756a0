// LE scanning: start and stop go to the host, found devices come back as scan results. No scan
// state is kept here; it lives in the host.
#include <memory>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

// What the host does not report about an advertisement, filled with fixed values.
constexpr uint16_t kEventTypeLegacyConnectableScannable = 0x13;
constexpr uint8_t kAddressTypePublic = 0;
constexpr uint8_t kPrimaryPhyLe1m = 1;
constexpr uint8_t kSecondaryPhyNone = 0;
constexpr uint8_t kAdvertisingSidNone = 0xFF;
constexpr int8_t kTxPowerNotPresent = 127;
constexpr uint16_t kNoPeriodicInterval = 0;

}  // namespace

// Stack thread. Every call reaches the host: two starts send two StartLEScan.
void BluetoothTevService::startLEScan(bool start) {
  LOG(INFO) << "BluetoothTev: startLEScan start=" << (start ? 1 : 0);
  postToMojo(base::BindOnce(
      [](const android::sp<BluetoothTevService>& service, bool start) {
        DCHECK(service->onIpcThread());
        if (!service->mHost.is_bound()) return;
        if (start) {
          service->mHost->StartLEScan();
        } else {
          service->mHost->StopLEScan();
        }
      },
      android::sp<BluetoothTevService>(this), start));
}

// IPC thread. Takes no lock, so a busy scan never contends with the GATT registries.
void BluetoothTevService::OnLEDeviceFound(tev::mojom::BluetoothAddressPtr addr, int32_t rssi,
                                          const std::vector<uint8_t>& eir) {
  DCHECK(onIpcThread());
  const btgatt_scanner_callbacks_t* scanner = gattScannerCallbacks();
  if (!scanner || !scanner->scan_result_cb) return;
  auto address = std::make_shared<RawAddress>(toRawAddress(addr));
  auto data = std::make_shared<std::vector<uint8_t>>(eir);
  // Two's-complement truncation: the stack's rssi is 8 bits.
  const auto narrowedRssi = static_cast<int8_t>(rssi);
  postCallback(
      [](const btgatt_scanner_callbacks_t* scanner, std::shared_ptr<RawAddress> address,
         int8_t rssi, std::shared_ptr<std::vector<uint8_t>> data) {
        scanner->scan_result_cb(kEventTypeLegacyConnectableScannable, kAddressTypePublic,
                                address.get(), kPrimaryPhyLe1m, kSecondaryPhyNone,
                                kAdvertisingSidNone, kTxPowerNotPresent, rssi, kNoPeriodicInterval,
                                *data, address.get());
      },
      scanner, std::move(address), narrowedRssi, std::move(data));
}

}  // namespace tev
