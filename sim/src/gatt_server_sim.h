#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "bluetooth/uuid.h"
#include "mojom/bluetooth.mojom.h"
#include "tev/sim/handle_allocator.h"

namespace tev {
namespace sim {

// One attribute of a service that the Android side published; its value lives there.
struct LocalAttribute {
  uint16_t handle = 0;
  tev::mojom::BluetoothGattDBAttributeType type = tev::mojom::BluetoothGattDBAttributeType::CHARACTERISTIC;
  bluetooth::Uuid uuid;
  uint8_t properties = 0;
  uint16_t permissions = 0;
  // Of the characteristic that holds a descriptor.
  uint16_t charHandle = 0;
};

struct PublishedService {
  bluetooth::Uuid uuid;
  bool primary = true;
  uint16_t first = 0;
  int count = 0;
  // The next handle of the block to hand out.
  int next = 0;
  bool started = false;
  // Characteristics and descriptors, in the order they were added.
  std::vector<LocalAttribute> attributes;
};

// The host's side of the services that the Android side publishes: handle blocks and start
// state. Host sequence only.
class GattServerSim {
 public:

  // The first handle of a new block of `num_handles`, or -1.
  int32_t AddService(const tev::mojom::BluetoothGattServiceIDPtr& service_id, int32_t num_handles);
  // The next handle of the service's block, or -1 when the block is used up or unknown.
  int32_t AddCharacteristic(int32_t service_handle, const bluetooth::Uuid& uuid,
                            int32_t properties, int32_t permissions);
  int32_t AddDescriptor(int32_t service_handle, const bluetooth::Uuid& uuid, int32_t permissions);
  tev::mojom::BluetoothGattStatus StartService(int32_t service_handle);
  tev::mojom::BluetoothGattStatus StopService(int32_t service_handle);
  tev::mojom::BluetoothGattStatus DeleteService(int32_t service_handle);

  // Started services, in handle order.
  std::vector<const PublishedService*> Started() const;
  // Whether any service has been started since the last reset.
  bool EverStarted() const { return ever_started_; }

  void Reset();

 private:
  PublishedService* Find(int32_t service_handle);
  int32_t NextHandle(int32_t service_handle, LocalAttribute attribute);

  HandleAllocator allocator_;
  std::map<uint16_t, PublishedService> services_;
  bool ever_started_ = false;
};

}  // namespace sim
}  // namespace tev
