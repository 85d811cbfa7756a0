#ifndef ANDROID_INCLUDE_BLE_ADVERTISER_H
#define ANDROID_INCLUDE_BLE_ADVERTISER_H

#include <base/callback_forward.h>
#include <raw_address.h>
#include <stdint.h>

#include <vector>

#include "bt_common_types.h"
#include "bt_gatt_types.h"

struct AdvertiseParameters {
  uint16_t advertising_event_properties;
  uint32_t min_interval;
  uint32_t max_interval;
  uint8_t channel_map;
  int8_t tx_power;
  uint8_t primary_advertising_phy;
  uint8_t secondary_advertising_phy;
  uint8_t scan_request_notification_enable;
  int8_t own_address_type;
};

struct PeriodicAdvertisingParameters {
  uint8_t enable;
  uint16_t min_interval;
  uint16_t max_interval;
  uint16_t periodic_advertising_properties;
};

// Implemented by the framework's native layer; the stack reports advertising
// events through it.
class AdvertisingCallbacks {
 public:
  virtual ~AdvertisingCallbacks() = default;
  virtual void OnAdvertisingSetStarted(int reg_id, uint8_t advertiser_id, int8_t tx_power, uint8_t status) = 0;
  virtual void OnAdvertisingEnabled(uint8_t advertiser_id, bool enable, uint8_t status) = 0;
  virtual void OnAdvertisingDataSet(uint8_t advertiser_id, uint8_t status) = 0;
  virtual void OnScanResponseDataSet(uint8_t advertiser_id, uint8_t status) = 0;
  virtual void OnAdvertisingParametersUpdated(uint8_t advertiser_id, int8_t tx_power, uint8_t status) = 0;
  virtual void OnPeriodicAdvertisingParametersUpdated(uint8_t advertiser_id, uint8_t status) = 0;
  virtual void OnPeriodicAdvertisingDataSet(uint8_t advertiser_id, uint8_t status) = 0;
  virtual void OnPeriodicAdvertisingEnabled(uint8_t advertiser_id, bool enable, uint8_t status) = 0;
  virtual void OnOwnAddressRead(uint8_t advertiser_id, uint8_t address_type, RawAddress address) = 0;
};

class BleAdvertiserInterface {
 public:
  virtual ~BleAdvertiserInterface() = default;

  using StatusCallback = base::Callback<void(uint8_t status)>;
  using IdStatusCallback = base::Callback<void(uint8_t advertiser_id, uint8_t status)>;
  using IdTxPowerStatusCallback = base::Callback<void(uint8_t advertiser_id, int8_t tx_power, uint8_t status)>;
  using ParametersCallback = base::Callback<void(uint8_t status, int8_t tx_power)>;
  using GetAddressCallback = base::Callback<void(uint8_t address_type, RawAddress address)>;

  virtual void RegisterAdvertiser(IdStatusCallback) = 0;
  virtual void GetOwnAddress(uint8_t advertiser_id, GetAddressCallback cb) = 0;
  virtual void SetParameters(uint8_t advertiser_id, AdvertiseParameters params, ParametersCallback cb) = 0;
  virtual void SetData(int advertiser_id, bool set_scan_rsp, std::vector<uint8_t> data, StatusCallback cb) = 0;
  virtual void Enable(uint8_t advertiser_id, bool enable, StatusCallback cb, uint16_t duration,
                      uint8_t maxExtAdvEvents, StatusCallback timeout_cb) = 0;
  virtual void Unregister(uint8_t advertiser_id) = 0;

  virtual void StartAdvertising(uint8_t advertiser_id, StatusCallback cb, AdvertiseParameters params,
                                std::vector<uint8_t> advertise_data, std::vector<uint8_t> scan_response_data,
                                int timeout_s, StatusCallback timeout_cb) = 0;
  virtual void StartAdvertisingSet(int reg_id, IdTxPowerStatusCallback register_cb, AdvertiseParameters params,
                                   std::vector<uint8_t> advertise_data, std::vector<uint8_t> scan_response_data,
                                   PeriodicAdvertisingParameters periodic_params, std::vector<uint8_t> periodic_data,
                                   uint16_t duration, uint8_t maxExtAdvEvents, IdStatusCallback timeout_cb) = 0;

  virtual void SetPeriodicAdvertisingParameters(int advertiser_id, PeriodicAdvertisingParameters parameters,
                                                StatusCallback cb) = 0;
  virtual void SetPeriodicAdvertisingData(int advertiser_id, std::vector<uint8_t> data, StatusCallback cb) = 0;
  virtual void SetPeriodicAdvertisingEnable(int advertiser_id, bool enable, StatusCallback cb) = 0;

  virtual void RegisterCallbacks(AdvertisingCallbacks* callbacks) = 0;
};

#endif  // ANDROID_INCLUDE_BLE_ADVERTISER_H
