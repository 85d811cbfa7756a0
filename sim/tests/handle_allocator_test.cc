// Handles of the services the Android side publishes: contiguous blocks, handed out in order
// within a block, freed by deletion.
#include <gtest/gtest.h>

#include "gatt_server_sim.h"
#include "tev/sim/handle_allocator.h"

namespace tev {
namespace sim {
namespace {

using bluetooth::Uuid;
using tev::mojom::BluetoothGattStatus;

TEST(HandleAllocatorTest, FirstFitContiguousBlocks) {
  HandleAllocator allocator(1, 20);
  EXPECT_EQ(allocator.Reserve(5), 1);
  EXPECT_EQ(allocator.Reserve(3), 6);
  EXPECT_EQ(allocator.Reserve(4), 9);
  EXPECT_EQ(allocator.BlockSize(6), 3);
  EXPECT_FALSE(allocator.Reserve(0));
  EXPECT_FALSE(allocator.Reserve(-2));

  // A freed block is reused by what fits in it; what does not goes past the others.
  EXPECT_TRUE(allocator.Release(6));
  EXPECT_FALSE(allocator.Release(6));
  EXPECT_EQ(allocator.Reserve(4), 13);
  EXPECT_EQ(allocator.Reserve(2), 6);
  EXPECT_EQ(allocator.Reserve(1), 8);
  EXPECT_EQ(allocator.Reserve(4), 17);  // fits the space left exactly
  EXPECT_FALSE(allocator.Reserve(1));
}

TEST(HandleAllocatorTest, EndOfTheHandleSpace) {
  HandleAllocator allocator(0xfff0, 0xffff);
  EXPECT_EQ(allocator.Reserve(16), 0xfff0);
  EXPECT_FALSE(allocator.Reserve(1));
  EXPECT_TRUE(allocator.Release(0xfff0));
  EXPECT_FALSE(allocator.Reserve(17));
  EXPECT_EQ(allocator.Reserve(16), 0xfff0);
}

tev::mojom::BluetoothGattServiceIDPtr ServiceId(uint16_t uuid) {
  return tev::mojom::BluetoothGattServiceID::New(
      tev::mojom::BluetoothGattID::New(Uuid::From16Bit(uuid), 0, 0), true);
}

TEST(GattServerHandlesTest, AttributesTakeTheNextHandlesOfTheirServiceBlock) {
  GattServerSim server;
  const int32_t first = server.AddService(ServiceId(0x180d), 4);
  const int32_t second = server.AddService(ServiceId(0x180f), 2);
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 5);

  // Interleaved additions to two services stay within their own blocks, in order.
  EXPECT_EQ(server.AddCharacteristic(first, Uuid::From16Bit(0x2a37), 0x10, 0), 2);
  EXPECT_EQ(server.AddCharacteristic(second, Uuid::From16Bit(0x2a19), 0x02, 1), 6);
  EXPECT_EQ(server.AddDescriptor(first, Uuid::From16Bit(0x2902), 0x11), 3);
  EXPECT_EQ(server.AddCharacteristic(first, Uuid::From16Bit(0x2a38), 0x02, 1), 4);
  // Both blocks are used up; unknown services get nothing either.
  EXPECT_EQ(server.AddDescriptor(first, Uuid::From16Bit(0x2901), 0x01), -1);
  EXPECT_EQ(server.AddCharacteristic(second, Uuid::From16Bit(0x2a1a), 0x02, 1), -1);
  EXPECT_EQ(server.AddCharacteristic(99, Uuid::From16Bit(0x2a1a), 0x02, 1), -1);
  EXPECT_EQ(server.AddService(ServiceId(0x1800), 0), -1);

  EXPECT_TRUE(server.Started().empty());
  EXPECT_EQ(server.StartService(first), BluetoothGattStatus::SUCCESS);
  EXPECT_EQ(server.StartService(3), BluetoothGattStatus::FAILURE);
  ASSERT_EQ(server.Started().size(), 1u);
  const std::vector<LocalAttribute>& attributes = server.Started()[0]->attributes;
  ASSERT_EQ(attributes.size(), 3u);
  // The descriptor belongs to the characteristic added before it.
  EXPECT_EQ(attributes[1].charHandle, 2);

  // Deleting frees the block for the next service that fits.
  EXPECT_EQ(server.DeleteService(first), BluetoothGattStatus::SUCCESS);
  EXPECT_EQ(server.DeleteService(first), BluetoothGattStatus::FAILURE);
  EXPECT_TRUE(server.Started().empty());
  EXPECT_EQ(server.AddService(ServiceId(0x1802), 3), 1);
  EXPECT_EQ(server.AddService(ServiceId(0x1803), 3), 7);
}

}  // namespace
}  // namespace sim
}  // namespace tev
