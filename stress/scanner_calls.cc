// The scanner's and advertiser's entries, as random calls. The scanner answers on the calling
// thread before returning; the advertiser never answers, so its callbacks are null.
#include <memory>
#include <vector>

#include "hal_calls.h"
#include "records.h"

namespace tev {
namespace stress {
namespace {

using Scanner = BleScannerInterface;
using Advertiser = BleAdvertiserInterface;

Scanner& scanner() { return *Gatt().scanner; }
Advertiser& advertiser() { return *Gatt().advertiser; }

// Runs `call` with a callback that must be answered before it returns, or now and then with a
// null one.
template <typename... Args, typename Call>
void withAnswer(Choices& c, CheckingStack& stack, const char* name, Call call) {
  if (c.OneIn(4)) {
    call(base::Callback<void(Args...)>());
    return;
  }
  CheckingStack::ImmediateAnswer answer(stack, name);
  call(answer.Callback<Args...>());
}

}  // namespace

const std::vector<HalEntry>& ScannerEntries() {
  static const std::vector<HalEntry> entries = {
      {"scanner.RegisterScanner",
       [](Choices& c, CheckingStack& s) {
         const bluetooth::Uuid uuid = MakeUuid(c);
         withAnswer<uint8_t, uint8_t>(c, s, "RegisterScanner",
                                      [&](auto cb) { scanner().RegisterScanner(uuid, cb); });
       }},
      {"scanner.Unregister",
       [](Choices& c, CheckingStack&) { scanner().Unregister(c.Any<int32_t>()); }},
      {"scanner.Scan", [](Choices& c, CheckingStack&) { scanner().Scan(c.Bool()); }},
      {"scanner.ScanFilterParamSetup",
       [](Choices& c, CheckingStack& s) {
         const auto action = c.Any<uint8_t>();
         std::unique_ptr<btgatt_filt_param_setup_t> params;
         if (c.Bool()) params = std::make_unique<btgatt_filt_param_setup_t>();
         withAnswer<uint8_t, uint8_t, uint8_t>(c, s, "ScanFilterParamSetup", [&](auto cb) {
           scanner().ScanFilterParamSetup(0, action, 0, std::move(params), cb);
         });
       }},
      {"scanner.ScanFilterAdd",
       [](Choices& c, CheckingStack& s) {
         std::vector<ApcfCommand> filters(c.Below(3));
         withAnswer<uint8_t, uint8_t, uint8_t, uint8_t>(c, s, "ScanFilterAdd", [&](auto cb) {
           scanner().ScanFilterAdd(0, std::move(filters), cb);
         });
       }},
      {"scanner.ScanFilterClear",
       [](Choices& c, CheckingStack& s) {
         withAnswer<uint8_t, uint8_t, uint8_t, uint8_t>(
             c, s, "ScanFilterClear", [&](auto cb) { scanner().ScanFilterClear(0, cb); });
       }},
      {"scanner.ScanFilterEnable",
       [](Choices& c, CheckingStack& s) {
         const bool enable = c.Bool();
         withAnswer<uint8_t, uint8_t>(c, s, "ScanFilterEnable",
                                      [&](auto cb) { scanner().ScanFilterEnable(enable, cb); });
       }},
      {"scanner.SetScanParameters",
       [](Choices& c, CheckingStack& s) {
         withAnswer<uint8_t>(c, s, "SetScanParameters",
                             [&](auto cb) { scanner().SetScanParameters(1, 96, 48, cb); });
       }},
      {"scanner.BatchscanConfigStorage",
       [](Choices& c, CheckingStack& s) {
         withAnswer<uint8_t>(c, s, "BatchscanConfigStorage",
                             [&](auto cb) { scanner().BatchscanConfigStorage(1, 50, 50, 95, cb); });
       }},
      {"scanner.BatchscanEnable",
       [](Choices& c, CheckingStack& s) {
         withAnswer<uint8_t>(c, s, "BatchscanEnable",
                             [&](auto cb) { scanner().BatchscanEnable(2, 96, 48, 0, 0, cb); });
       }},
      {"scanner.BatchscanDisable",
       [](Choices& c, CheckingStack& s) {
         withAnswer<uint8_t>(c, s, "BatchscanDisable",
                             [&](auto cb) { scanner().BatchscanDisable(cb); });
       }},
      {"scanner.BatchscanReadReports",
       [](Choices&, CheckingStack&) { scanner().BatchscanReadReports(1, 2); }},
      {"scanner.StartSync",
       [](Choices& c, CheckingStack&) { scanner().StartSync(0, PickAddress(c), 0, 100, 1); }},
      {"scanner.StopSync",
       [](Choices& c, CheckingStack&) { scanner().StopSync(c.Any<uint16_t>()); }},
      {"scanner.RegisterCallbacks",
       [](Choices&, CheckingStack&) { scanner().RegisterCallbacks(nullptr); }},
      {"scanner.CancelCreateSync",
       [](Choices& c, CheckingStack&) { scanner().CancelCreateSync(0, PickAddress(c)); }},
      {"scanner.TransferSync",
       [](Choices& c, CheckingStack&) { scanner().TransferSync(PickAddress(c), 0, 1, 0); }},
      {"scanner.TransferSetInfo",
       [](Choices& c, CheckingStack&) { scanner().TransferSetInfo(PickAddress(c), 0, 1, 0); }},
      {"scanner.SyncTxParameters",
       [](Choices& c, CheckingStack&) {
         scanner().SyncTxParameters(PickAddress(c), 0, 0, 100, 1);
       }},
      {"advertiser.RegisterAdvertiser",
       [](Choices&, CheckingStack&) {
         advertiser().RegisterAdvertiser(Advertiser::IdStatusCallback());
       }},
      {"advertiser.SetData",
       [](Choices& c, CheckingStack&) {
         advertiser().SetData(1, false, c.Bytes(31), Advertiser::StatusCallback());
       }},
      {"advertiser.StartAdvertisingSet",
       [](Choices& c, CheckingStack&) {
         advertiser().StartAdvertisingSet(
             1, Advertiser::IdTxPowerStatusCallback(), AdvertiseParameters{}, c.Bytes(31), {},
             PeriodicAdvertisingParameters{}, {}, 0, 0, Advertiser::IdStatusCallback());
       }},
      {"advertiser.Unregister",
       [](Choices& c, CheckingStack&) { advertiser().Unregister(c.Any<uint8_t>()); }},
      {"advertiser.RegisterCallbacks",
       [](Choices&, CheckingStack&) { advertiser().RegisterCallbacks(nullptr); }},
  };
  return entries;
}

}  // namespace stress
}  // namespace tev
