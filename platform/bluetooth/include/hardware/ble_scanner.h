#ifndef ANDROID_INCLUDE_BLE_SCANNER_H
#define ANDROID_INCLUDE_BLE_SCANNER_H

#include <bluetooth/uuid.h>
#include <raw_address.h>
#include <stdint.h>

#include <memory>
#include <vector>

#include "bt_common_types.h"
#include "bt_gatt_client.h"
#include "bt_gatt_types.h"

typedef void (*scan_result_callback)(uint16_t event_type, uint8_t addr_type, RawAddress* bda, uint8_t primary_phy,
                                     uint8_t secondary_phy, uint8_t advertising_sid, int8_t tx_power, int8_t rssi,
                                     uint16_t periodic_adv_int, std::vector<uint8_t> adv_data,
                                     RawAddress* original_bda);

typedef void (*batchscan_reports_callback)(int client_if, int status, int report_format, int num_records,
                                           std::vector<uint8_t> data);

typedef void (*batchscan_threshold_callback)(int client_if);

typedef void (*track_adv_event_callback)(btgatt_track_adv_info_t* p_track_adv_info);

typedef struct {
  scan_result_callback scan_result_cb;
  batchscan_reports_callback batchscan_reports_cb;
  batchscan_threshold_callback batchscan_threshold_cb;
  track_adv_event_callback track_adv_event_cb;
} btgatt_scanner_callbacks_t;

class AdvertisingTrackInfo {
 public:
  uint8_t scanner_id;
  uint8_t filter_index;
  uint8_t advertiser_state;
  uint8_t advertiser_info_present;
  RawAddress advertiser_address;
  uint8_t advertiser_address_type;
  uint8_t tx_power;
  int8_t rssi;
  uint16_t time_stamp;
  uint8_t adv_packet_len;
  std::vector<uint8_t> adv_packet;
  uint8_t scan_response_len;
  std::vector<uint8_t> scan_response;
};

// Implemented by the framework's native layer; the stack reports scanning
// events through it.
class ScanningCallbacks {
 public:
  virtual ~ScanningCallbacks() = default;
  virtual void OnScannerRegistered(const bluetooth::Uuid app_uuid, uint8_t scannerId, uint8_t status) = 0;
  virtual void OnSetScannerParameterComplete(uint8_t scannerId, uint8_t status) = 0;
  virtual void OnScanResult(uint16_t event_type, uint8_t addr_type, RawAddress bda, uint8_t primary_phy,
                            uint8_t secondary_phy, uint8_t advertising_sid, int8_t tx_power, int8_t rssi,
                            uint16_t periodic_adv_int, std::vector<uint8_t> adv_data) = 0;
  virtual void OnTrackAdvFoundLost(AdvertisingTrackInfo advertising_track_info) = 0;
  virtual void OnBatchScanReports(int client_if, int status, int report_format, int num_records,
                                  std::vector<uint8_t> data) = 0;
  virtual void OnBatchScanThresholdCrossed(int client_if) = 0;
  virtual void OnPeriodicSyncStarted(int reg_id, uint8_t status, uint16_t sync_handle, uint8_t advertising_sid,
                                     uint8_t address_type, RawAddress address, uint8_t phy, uint16_t interval) = 0;
  virtual void OnPeriodicSyncReport(uint16_t sync_handle, int8_t tx_power, int8_t rssi, uint8_t status,
                                    std::vector<uint8_t> data) = 0;
  virtual void OnPeriodicSyncLost(uint16_t sync_handle) = 0;
  virtual void OnPeriodicSyncTransferred(int pa_source, uint8_t status, RawAddress address) = 0;
};

class BleScannerInterface {
 public:
  virtual ~BleScannerInterface() = default;

  using RegisterCallback = base::Callback<void(uint8_t scanner_id, uint8_t btm_status)>;
  using Callback = base::Callback<void(uint8_t btm_status)>;
  using EnableCallback = base::Callback<void(uint8_t action, uint8_t btm_status)>;
  using FilterParamSetupCallback = base::Callback<void(uint8_t avbl_space, uint8_t action_type, uint8_t btm_status)>;
  using FilterConfigCallback =
      base::Callback<void(uint8_t filt_type, uint8_t avbl_space, uint8_t action, uint8_t btm_status)>;

  virtual void RegisterScanner(const bluetooth::Uuid& app_uuid, RegisterCallback) = 0;
  virtual void Unregister(int scanner_id) = 0;
  virtual void Scan(bool start) = 0;

  virtual void ScanFilterParamSetup(uint8_t client_if, uint8_t action, uint8_t filt_index,
                                    std::unique_ptr<btgatt_filt_param_setup_t> filt_param,
                                    FilterParamSetupCallback cb) = 0;
  virtual void ScanFilterAdd(int filter_index, std::vector<ApcfCommand> filters, FilterConfigCallback cb) = 0;
  virtual void ScanFilterClear(int filt_index, FilterConfigCallback cb) = 0;
  virtual void ScanFilterEnable(bool enable, EnableCallback cb) = 0;

  // Interval and window are in units of 0.625 ms.
  virtual void SetScanParameters(int scanner_id, int scan_interval, int scan_window, Callback cb) = 0;

  virtual void BatchscanConfigStorage(int client_if, int batch_scan_full_max, int batch_scan_trunc_max,
                                      int batch_scan_notify_threshold, Callback cb) = 0;
  virtual void BatchscanEnable(int scan_mode, int scan_interval, int scan_window, int addr_type, int discard_rule,
                               Callback cb) = 0;
  virtual void BatchscanDisable(Callback cb) = 0;
  virtual void BatchscanReadReports(int client_if, int scan_mode) = 0;

  virtual void StartSync(uint8_t sid, RawAddress address, uint16_t skip, uint16_t timeout, int reg_id) = 0;
  virtual void StopSync(uint16_t handle) = 0;

  virtual void RegisterCallbacks(ScanningCallbacks* callbacks) = 0;

  virtual void CancelCreateSync(uint8_t sid, RawAddress address) = 0;
  virtual void TransferSync(RawAddress address, uint16_t service_data, uint16_t sync_handle, int pa_source) = 0;
  virtual void TransferSetInfo(RawAddress address, uint16_t service_data, uint8_t adv_handle, int pa_source) = 0;
  virtual void SyncTxParameters(RawAddress addr, uint8_t mode, uint16_t skip, uint16_t timeout, int reg_id) = 0;
};

#endif  // ANDROID_INCLUDE_BLE_SCANNER_H
