#pragma once

#include <gmock/gmock.h>

#include <tuple>

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

// Pins every GATT and LE scan call to none; expectations set afterwards take precedence, so a
// contract row can list exactly the host calls it leads to.
inline void ExpectNoGattCall(MockBluetoothHost& host) {
  using ::testing::_;
  EXPECT_CALL(host, ConnectLEDevice(_)).Times(0);
  EXPECT_CALL(host, DisconnectLEDevice(_)).Times(0);
  EXPECT_CALL(host, SearchService(_)).Times(0);
  EXPECT_CALL(host, GetGattDB(_)).Times(0);
  EXPECT_CALL(host, ReadGattCharacteristic(_, _, _, _)).Times(0);
  EXPECT_CALL(host, WriteGattCharacteristic(_, _, _, _, _, _)).Times(0);
  EXPECT_CALL(host, ReadGattDescriptor(_, _, _, _, _)).Times(0);
  EXPECT_CALL(host, WriteGattDescriptor(_, _, _, _, _, _)).Times(0);
  EXPECT_CALL(host, ExecuteWrite(_, _, _)).Times(0);
  EXPECT_CALL(host, RegisterForGattNotification(_, _, _, _)).Times(0);
  EXPECT_CALL(host, DeregisterForGattNotification(_, _, _, _)).Times(0);
  EXPECT_CALL(host, ReadRemoteRssi(_, _)).Times(0);
  EXPECT_CALL(host, StartLEScan()).Times(0);
  EXPECT_CALL(host, StopLEScan()).Times(0);
  EXPECT_CALL(host, AddService(_, _, _)).Times(0);
  EXPECT_CALL(host, AddCharacteristic(_, _, _, _, _)).Times(0);
  EXPECT_CALL(host, StartService(_, _)).Times(0);
  EXPECT_CALL(host, AddDescriptor(_, _, _, _)).Times(0);
  EXPECT_CALL(host, StopService(_, _)).Times(0);
  EXPECT_CALL(host, DeleteService(_, _)).Times(0);
  EXPECT_CALL(host, SendIndication(_, _, _, _, _)).Times(0);
}

// An action for a host call with a reply: runs the reply, always the call's last argument, with
// `values`.
template <typename... T>
auto ReplyWith(T... values) {
  return [values...](const auto&... args) {
    std::get<sizeof...(args) - 1>(std::tie(args...)).Run(values...);
  };
}

// Matches an address record holding exactly these bytes.
MATCHER_P(AddressIs, raw, "") {
  return !arg.is_null() && arg->address.size() == 6 &&
         std::equal(arg->address.begin(), arg->address.end(), raw.address);
}

}  // namespace testing
}  // namespace tev
