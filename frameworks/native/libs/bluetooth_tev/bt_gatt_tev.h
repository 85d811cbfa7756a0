#pragma once

#include <hardware/bt_gatt.h>

#include <atomic>
#include <cstdint>

namespace tev {

// The GATT profile table handed out for "gatt"; the same static table every time.
const btgatt_interface_t* getGattInterface();

// Scanner registration is answered here; scanning itself runs on the host, always unfiltered.
// Every callback runs on the calling thread before the call returns.
class BleScannerTev : public BleScannerInterface {
 public:
  void RegisterScanner(const bluetooth::Uuid& app_uuid, RegisterCallback cb) override;
  void Unregister(int scanner_id) override;
  void Scan(bool start) override;
  void ScanFilterParamSetup(uint8_t client_id, uint8_t action, uint8_t filt_index,
                            std::unique_ptr<btgatt_filt_param_setup_t> filt_param,
                            FilterParamSetupCallback cb) override;
  void ScanFilterAdd(int filter_index, std::vector<ApcfCommand> filters,
                     FilterConfigCallback cb) override;
  void ScanFilterClear(int filter_index, FilterConfigCallback cb) override;
  void ScanFilterEnable(bool enable, EnableCallback cb) override;
  void SetScanParameters(int scanner_id, int scan_interval, int scan_window, Callback cb) override;
  void BatchscanConfigStorage(int client_if, int batch_scan_full_max, int batch_scan_trunc_max,
                              int batch_scan_notify_threshold, Callback cb) override;
  void BatchscanEnable(int scan_mode, int scan_interval, int scan_window, int addr_type,
                       int discard_rule, Callback cb) override;
  void BatchscanDisable(Callback cb) override;
  void BatchscanReadReports(int client_if, int scan_mode) override;
  void StartSync(uint8_t sid, RawAddress address, uint16_t skip, uint16_t timeout,
                 int reg_id) override;
  void StopSync(uint16_t handle) override;
  void RegisterCallbacks(ScanningCallbacks* callbacks) override;
  void CancelCreateSync(uint8_t sid, RawAddress address) override;
  void TransferSync(RawAddress address, uint16_t service_data, uint16_t sync_handle,
                    int pa_source) override;
  void TransferSetInfo(RawAddress address, uint16_t service_data, uint8_t adv_handle,
                       int pa_source) override;
  void SyncTxParameters(RawAddress addr, uint8_t mode, uint16_t skip, uint16_t timeout,
                        int reg_id) override;

 private:
  // Only grows, wrapping as 16 bits; the stack sees its low 8 bits. Atomic because stack
  // threads may register at the same time.
  std::atomic<uint16_t> mNextScannerId{1};
};

// The host offers no advertising: every call does nothing and never answers.
class BleAdvertiserTev : public BleAdvertiserInterface {
 public:
  void RegisterAdvertiser(IdStatusCallback cb) override;
  void GetOwnAddress(uint8_t advertiser_id, GetAddressCallback cb) override;
  void SetParameters(uint8_t advertiser_id, AdvertiseParameters params,
                     ParametersCallback cb) override;
  void SetData(int advertiser_id, bool set_scan_rsp, std::vector<uint8_t> data,
               StatusCallback cb) override;
  void Enable(uint8_t advertiser_id, bool enable, StatusCallback cb, uint16_t duration,
              uint8_t maxExtAdvEvents, StatusCallback timeout_cb) override;
  void Unregister(uint8_t advertiser_id) override;
  void StartAdvertising(uint8_t advertiser_id, StatusCallback cb, AdvertiseParameters params,
                        std::vector<uint8_t> advertise_data,
                        std::vector<uint8_t> scan_response_data, int timeout_s,
                        StatusCallback timeout_cb) override;
  void StartAdvertisingSet(int reg_id, IdTxPowerStatusCallback register_cb,
                           AdvertiseParameters params, std::vector<uint8_t> advertise_data,
                           std::vector<uint8_t> scan_response_data,
                           PeriodicAdvertisingParameters periodic_params,
                           std::vector<uint8_t> periodic_data, uint16_t duration,
                           uint8_t maxExtAdvEvents, IdStatusCallback timeout_cb) override;
  void SetPeriodicAdvertisingParameters(int advertiser_id,
                                        PeriodicAdvertisingParameters parameters,
                                        StatusCallback cb) override;
  void SetPeriodicAdvertisingData(int advertiser_id, std::vector<uint8_t> data,
                                  StatusCallback cb) override;
  void SetPeriodicAdvertisingEnable(int advertiser_id, bool enable, StatusCallback cb) override;
  void RegisterCallbacks(AdvertisingCallbacks* callbacks) override;
};

}  // namespace tev
