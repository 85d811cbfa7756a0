#include "answering_host.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace tev {
namespace stress {
namespace {

using ::testing::_;
using ::testing::WithArg;
using tev::mojom::BluetoothAdapterState;
using tev::mojom::BluetoothGattStatus;

// Handles the host hands out for published services and their attributes; wraps well before
// the 16 bits of an attribute handle run out.
int32_t nextHandle() {
  static std::atomic<int32_t> next{1};
  return next.fetch_add(1) % 0x7fff + 1;
}

tev::mojom::BluetoothGattValuePtr shortValue() {
  return tev::mojom::BluetoothGattValue::New(BluetoothGattStatus::SUCCESS,
                                             std::vector<uint8_t>{0x01, 0x02, 0x03});
}

}  // namespace

void AnswerEveryCall(::testing::NiceMock<tev::testing::MockBluetoothHost>& mock) {
  auto success = [](const auto& reply) { reply.Run(BluetoothGattStatus::SUCCESS); };
  auto handle = [](const auto& reply) { reply.Run(nextHandle()); };
  auto value = [](const auto& reply) { reply.Run(shortValue()); };
  ON_CALL(mock, EnableAdapter(_)).WillByDefault([](const auto& reply) {
    reply.Run(BluetoothAdapterState::ON);
  });
  ON_CALL(mock, DisableAdapter(_)).WillByDefault([](const auto& reply) {
    reply.Run(BluetoothAdapterState::OFF);
  });
  ON_CALL(mock, ReadGattCharacteristic(_, _, _, _)).WillByDefault(WithArg<3>(value));
  ON_CALL(mock, ReadGattDescriptor(_, _, _, _, _)).WillByDefault(WithArg<4>(value));
  ON_CALL(mock, WriteGattCharacteristic(_, _, _, _, _, _)).WillByDefault(WithArg<5>(success));
  ON_CALL(mock, WriteGattDescriptor(_, _, _, _, _, _)).WillByDefault(WithArg<5>(success));
  ON_CALL(mock, ExecuteWrite(_, _, _)).WillByDefault(WithArg<2>(success));
  ON_CALL(mock, RegisterForGattNotification(_, _, _, _)).WillByDefault(WithArg<3>(success));
  ON_CALL(mock, DeregisterForGattNotification(_, _, _, _)).WillByDefault(WithArg<3>(success));
  ON_CALL(mock, ReadRemoteRssi(_, _)).WillByDefault(WithArg<1>([](const auto& reply) {
    reply.Run(-60);
  }));
  ON_CALL(mock, AddService(_, _, _)).WillByDefault(WithArg<2>(handle));
  ON_CALL(mock, AddCharacteristic(_, _, _, _, _)).WillByDefault(WithArg<4>(handle));
  ON_CALL(mock, AddDescriptor(_, _, _, _)).WillByDefault(WithArg<3>(handle));
  ON_CALL(mock, StartService(_, _)).WillByDefault(WithArg<1>(success));
  ON_CALL(mock, StopService(_, _)).WillByDefault(WithArg<1>(success));
  ON_CALL(mock, DeleteService(_, _)).WillByDefault(WithArg<1>(success));
  ON_CALL(mock, SendIndication(_, _, _, _, _)).WillByDefault(WithArg<4>(success));
}

}  // namespace stress
}  // namespace tev
