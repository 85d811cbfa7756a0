#pragma once

#include <gmock/gmock.h>

#include "mojom/bluetooth.mojom.h"

namespace tev {
namespace testing {

// The host's command interface, for exact call checks. Its methods run on the host thread.
class MockBluetoothHost : public tev::mojom::BluetoothHost {
 public:
  using Address = tev::mojom::BluetoothAddressPtr;
  using ServiceId = tev::mojom::BluetoothGattServiceIDPtr;
  using GattId = tev::mojom::BluetoothGattIDPtr;
  using GattValue = tev::mojom::BluetoothGattValuePtr;

  MOCK_METHOD(void, EnableAdapter, (const EnableAdapterCallback&), (override));
  MOCK_METHOD(void, DisableAdapter, (const DisableAdapterCallback&), (override));
  MOCK_METHOD(void, GetAdapterProperty, (tev::mojom::BluetoothPropertyType), (override));
  MOCK_METHOD(void, SetAdapterProperty, (tev::mojom::BluetoothPropertyPtr), (override));
  MOCK_METHOD(void, StartDiscovery, (), (override));
  MOCK_METHOD(void, CancelDiscovery, (), (override));
  MOCK_METHOD(void, CreateBond, (Address, int32_t), (override));
  MOCK_METHOD(void, RemoveBond, (Address), (override));
  MOCK_METHOD(void, CancelBond, (Address), (override));
  MOCK_METHOD(void, ConnectLEDevice, (Address), (override));
  MOCK_METHOD(void, DisconnectLEDevice, (Address), (override));
  MOCK_METHOD(void, SearchService, (Address), (override));
  MOCK_METHOD(void, GetGattDB, (Address), (override));
  MOCK_METHOD(void, ReadGattCharacteristic,
              (Address, ServiceId, GattId, const ReadGattCharacteristicCallback&), (override));
  MOCK_METHOD(void, WriteGattCharacteristic,
              (Address, ServiceId, GattId, GattValue, bool,
               const WriteGattCharacteristicCallback&),
              (override));
  MOCK_METHOD(void, ReadGattDescriptor,
              (Address, ServiceId, GattId, GattId, const ReadGattDescriptorCallback&), (override));
  MOCK_METHOD(void, WriteGattDescriptor,
              (Address, ServiceId, GattId, GattId, GattValue, const WriteGattDescriptorCallback&),
              (override));
  MOCK_METHOD(void, ExecuteWrite, (Address, bool, const ExecuteWriteCallback&), (override));
  MOCK_METHOD(void, RegisterForGattNotification,
              (Address, ServiceId, GattId, const RegisterForGattNotificationCallback&),
              (override));
  MOCK_METHOD(void, DeregisterForGattNotification,
              (Address, ServiceId, GattId, const DeregisterForGattNotificationCallback&),
              (override));
  MOCK_METHOD(void, ReadRemoteRssi, (Address, const ReadRemoteRssiCallback&), (override));
  MOCK_METHOD(void, StartLEScan, (), (override));
  MOCK_METHOD(void, StopLEScan, (), (override));
  MOCK_METHOD(void, AddService, (ServiceId, int32_t, const AddServiceCallback&), (override));
  MOCK_METHOD(void, AddCharacteristic,
              (int32_t, bluetooth::Uuid, int32_t, int32_t, const AddCharacteristicCallback&),
              (override));
  MOCK_METHOD(void, StartService, (int32_t, const StartServiceCallback&), (override));
  MOCK_METHOD(void, AddDescriptor,
              (int32_t, bluetooth::Uuid, int32_t, const AddDescriptorCallback&), (override));
  MOCK_METHOD(void, StopService, (int32_t, const StopServiceCallback&), (override));
  MOCK_METHOD(void, DeleteService, (int32_t, const DeleteServiceCallback&), (override));
  MOCK_METHOD(void, SendIndication,
              (int32_t, Address, bool, const std::vector<uint8_t>&, const SendIndicationCallback&),
              (override));
};

// Matches an address record holding exactly these bytes.
MATCHER_P(AddressIs, raw, "") {
  return !arg.is_null() && arg->address.size() == 6 &&
         std::equal(arg->address.begin(), arg->address.end(), raw.address);
}

}  // namespace testing
}  // namespace tev
