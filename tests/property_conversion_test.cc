// Conversion of the host's address and property records into the HAL's byte layouts.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bluetooth_tev_service.h"
#include "tev/testing/log_capture.h"

namespace tev {
namespace testing {
namespace {

using tev::mojom::BluetoothProperty;
using tev::mojom::BluetoothPropertyPtr;

const RawAddress kDevice({0x00, 0x11, 0x22, 0x33, 0x44, 0x55});
const RawAddress kOther({0xa0, 0xb1, 0xc2, 0xd3, 0xe4, 0xf5});

struct Converted {
  std::vector<bt_property_t> out;
  std::vector<std::vector<uint8_t>> storage;
};

Converted convert(const std::vector<BluetoothPropertyPtr>& properties) {
  Converted c;
  BluetoothTevService::convertProperties(properties, &c.out, &c.storage);
  // Every value is a view into the storage entry at the same position.
  EXPECT_EQ(c.out.size(), c.storage.size());
  for (size_t i = 0; i < c.out.size() && i < c.storage.size(); ++i) {
    EXPECT_EQ(c.out[i].len, static_cast<int>(c.storage[i].size()));
    EXPECT_EQ(c.out[i].val, c.storage[i].empty() ? nullptr : c.storage[i].data());
  }
  return c;
}

std::vector<uint8_t> bytesOf(const bt_property_t& p) {
  const auto* bytes = static_cast<const uint8_t*>(p.val);
  return std::vector<uint8_t>(bytes, bytes + p.len);
}

// In host order, as the HAL reads them.
template <typename T>
std::vector<uint8_t> native(T value) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
  return std::vector<uint8_t>(bytes, bytes + sizeof(T));
}

std::vector<uint8_t> concat(std::initializer_list<std::vector<uint8_t>> parts, size_t size = 0) {
  std::vector<uint8_t> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  if (size) all.resize(size, 0);
  return all;
}

std::vector<uint8_t> text(const std::string& s) { return std::vector<uint8_t>(s.begin(), s.end()); }

std::vector<uint8_t> raw(const RawAddress& a) { return std::vector<uint8_t>(a.address, a.address + 6); }

TEST(PropertyConversionTest, EveryKindBecomesItsHalTypeAndLayout) {
  const auto uuidA = bluetooth::Uuid::FromString("0000180f-0000-1000-8000-00805f9b34fb");
  const auto uuidB = bluetooth::Uuid::FromString("12345678-9abc-def0-1234-56789abcdef0");
  std::vector<tev::mojom::BluetoothAddressPtr> bonded;
  bonded.push_back(BluetoothTevService::toMojoAddress(kOther));
  bonded.push_back(nullptr);
  std::vector<BluetoothPropertyPtr> in;
  in.push_back(BluetoothProperty::NewBdname("guest"));
  in.push_back(BluetoothProperty::NewBdaddr(BluetoothTevService::toMojoAddress(kDevice)));
  in.push_back(BluetoothProperty::NewUuids({uuidA, uuidB}));
  in.push_back(BluetoothProperty::NewDeviceClass(0x5a020c));
  in.push_back(BluetoothProperty::NewDeviceType(3));
  in.push_back(BluetoothProperty::NewServiceRecord(
      tev::mojom::BluetoothServiceRecord::New(uuidB, 0x1234, "spp")));
  in.push_back(BluetoothProperty::NewAdapterScanMode(
      tev::mojom::BluetoothScanMode::CONNECTABLE_DISCOVERABLE));
  in.push_back(BluetoothProperty::NewBondedDevices(std::move(bonded)));
  in.push_back(BluetoothProperty::NewDiscoveryTimeout(120));
  in.push_back(BluetoothProperty::NewRemoteFriendlyName("kitchen"));
  in.push_back(BluetoothProperty::NewRemoteRssi(-60));
  in.push_back(BluetoothProperty::NewRemoteVersion(
      tev::mojom::BluetoothRemoteVersion::New(10, 0x1f, 0x00e0)));
  in.push_back(BluetoothProperty::NewLocalLeFeatures(tev::mojom::BluetoothLocalLEFeatures::New(
      0x0102, 1, 2, 3, 4, 5, 6, 0x0708, 0x090a, true, false)));

  Converted c = convert(in);
  ASSERT_EQ(c.out.size(), 13u);
  for (size_t i = 0; i < 13; ++i) EXPECT_EQ(c.out[i].type, static_cast<int>(i + 1)) << i;

  const auto& uA = uuidA.To128BitBE();
  const auto& uB = uuidB.To128BitBE();
  const std::vector<std::vector<uint8_t>> expected = {
      concat({text("guest")}, 249),
      raw(kDevice),
      concat({{uA.begin(), uA.end()}, {uB.begin(), uB.end()}}),
      native<uint32_t>(0x5a020c),
      native<int32_t>(3),
      concat({{uB.begin(), uB.end()}, native<uint16_t>(0x1234), text("spp")}, 274),
      native<int32_t>(2),
      concat({raw(kOther), raw(RawAddress::kEmpty)}),
      native<uint32_t>(120),
      concat({text("kitchen")}, 249),
      {0xc4},
      concat({native<int32_t>(10), native<int32_t>(0x1f), native<int32_t>(0xe0)}),
      concat({{0x02, 0x01, 1, 2, 3, 4, 5, 6, 0x08, 0x07, 0x0a, 0x09, 1, 0}}, 28),
  };
  for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(bytesOf(c.out[i]), expected[i]) << i;
}

TEST(PropertyConversionTest, NamesAreCutAt248AndServiceRecordNamesAt255) {
  const std::string longName(300, 'x');
  std::vector<BluetoothPropertyPtr> in;
  in.push_back(BluetoothProperty::NewBdname(longName));
  in.push_back(BluetoothProperty::NewRemoteFriendlyName(std::string(248, 'y')));
  in.push_back(BluetoothProperty::NewServiceRecord(
      tev::mojom::BluetoothServiceRecord::New(bluetooth::Uuid::kEmpty, 1, longName)));
  Converted c = convert(in);
  ASSERT_EQ(c.out.size(), 3u);
  EXPECT_EQ(bytesOf(c.out[0]), concat({text(std::string(248, 'x'))}, 249));
  EXPECT_EQ(bytesOf(c.out[1]), concat({text(std::string(248, 'y'))}, 249));
  const std::vector<uint8_t> record = bytesOf(c.out[2]);
  ASSERT_EQ(record.size(), 274u);
  EXPECT_EQ(std::vector<uint8_t>(record.begin() + 18, record.end()),
            concat({text(std::string(255, 'x'))}, 256));
}

TEST(PropertyConversionTest, NullAndEmptyInputsNeverCrashAndOnlyTheNullPropertyIsSkipped) {
  LogCapture logs;
  std::vector<BluetoothPropertyPtr> in;
  in.push_back(BluetoothProperty::NewUuids({}));
  in.push_back(nullptr);
  in.push_back(BluetoothProperty::NewBdaddr(nullptr));
  in.push_back(BluetoothProperty::NewServiceRecord(nullptr));
  in.push_back(BluetoothProperty::NewRemoteVersion(nullptr));
  in.push_back(BluetoothProperty::NewLocalLeFeatures(nullptr));
  Converted c = convert(in);
  ASSERT_EQ(c.out.size(), 5u);
  EXPECT_EQ(c.out[0].type, BT_PROPERTY_UUIDS);
  EXPECT_EQ(c.out[0].len, 0);
  EXPECT_EQ(c.out[0].val, nullptr);
  EXPECT_EQ(c.out[1].type, BT_PROPERTY_BDADDR);
  EXPECT_EQ(bytesOf(c.out[1]), raw(RawAddress::kEmpty));
  EXPECT_EQ(bytesOf(c.out[2]), std::vector<uint8_t>(274, 0));
  EXPECT_EQ(bytesOf(c.out[3]), std::vector<uint8_t>(12, 0));
  EXPECT_EQ(bytesOf(c.out[4]), std::vector<uint8_t>(28, 0));
  EXPECT_EQ(logs.Count("BluetoothTev: unknown property union tag, skipping"), 1u);
  EXPECT_TRUE(logs.Contains(logging::LOG_WARNING, "unknown property union tag"));

  // An empty input also clears what the vectors held before.
  BluetoothTevService::convertProperties({}, &c.out, &c.storage);
  EXPECT_TRUE(c.out.empty());
  EXPECT_TRUE(c.storage.empty());
}

TEST(AddressConversionTest, BytesKeepTheirOrderBothWays) {
  auto record = BluetoothTevService::toMojoAddress(kDevice);
  ASSERT_FALSE(record.is_null());
  EXPECT_EQ(record->address, raw(kDevice));
  EXPECT_EQ(BluetoothTevService::toRawAddress(record), kDevice);
  EXPECT_EQ(BluetoothTevService::toRawAddress(nullptr), RawAddress::kEmpty);
  // A short array is read as far as it goes, the rest as zero, never past its end.
  record->address = {0x01, 0x02, 0x03};
  EXPECT_EQ(BluetoothTevService::toRawAddress(record).ToString(), "01:02:03:00:00:00");
}

}  // namespace
}  // namespace testing
}  // namespace tev
