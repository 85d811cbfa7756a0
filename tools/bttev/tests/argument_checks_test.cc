// What the stack can and cannot use of the values the HAL hands to its callbacks.
#include "argument_checks.h"

#include <gtest/gtest.h>

#include <cstring>

#include "record_fields.h"

namespace tev {
namespace bttev {
namespace {

bt_property_t property(bt_property_type_t type, std::vector<uint8_t>& bytes) {
  return bt_property_t{type, static_cast<int>(bytes.size()), bytes.empty() ? nullptr : bytes.data()};
}

std::string joined(const Problems& problems) {
  std::string text;
  for (const std::string& problem : problems) text += problem + "\n";
  return text;
}

TEST(ArgumentChecksTest, PropertiesNeedTheSizeAndValuesTheirTypeHas) {
  std::vector<uint8_t> address = {1, 2, 3, 4, 5, 6};
  std::vector<uint8_t> name = {'B', 'u', 'd', 's', 0};
  std::vector<uint8_t> uuids(32, 0);
  std::vector<uint8_t> deviceType = {2, 0, 0, 0};
  std::vector<bt_property_t> good = {property(BT_PROPERTY_BDADDR, address), property(BT_PROPERTY_BDNAME, name),
                                     property(BT_PROPERTY_UUIDS, uuids),
                                     property(BT_PROPERTY_TYPE_OF_DEVICE, deviceType)};
  Problems problems;
  CheckProperties(static_cast<int>(good.size()), good.data(), &problems);
  CheckHasAddressProperty(static_cast<int>(good.size()), good.data(), &problems);
  EXPECT_TRUE(problems.empty()) << joined(problems);

  std::vector<uint8_t> shortAddress = {1, 2, 3, 4, 5};
  std::vector<uint8_t> unterminated = {'B', 'u', 'd', 's'};
  std::vector<uint8_t> oddUuids(20, 0);
  std::vector<uint8_t> badType = {7, 0, 0, 0};
  std::vector<uint8_t> longName(300, 'x');
  std::vector<bt_property_t> bad = {property(BT_PROPERTY_BDADDR, shortAddress),
                                    property(BT_PROPERTY_BDNAME, unterminated),
                                    property(BT_PROPERTY_UUIDS, oddUuids),
                                    property(BT_PROPERTY_TYPE_OF_DEVICE, badType),
                                    property(BT_PROPERTY_REMOTE_FRIENDLY_NAME, longName),
                                    bt_property_t{static_cast<bt_property_type_t>(40), 0, nullptr},
                                    bt_property_t{BT_PROPERTY_CLASS_OF_DEVICE, 4, nullptr}};
  problems.clear();
  CheckProperties(static_cast<int>(bad.size()), bad.data(), &problems);
  const std::string text = joined(problems);
  EXPECT_EQ(problems.size(), bad.size()) << text;
  EXPECT_NE(text.find("property 0 (type 2): length 5, the type needs 6"), std::string::npos) << text;
  EXPECT_NE(text.find("name without a terminating NUL"), std::string::npos) << text;
  EXPECT_NE(text.find("not a multiple of 16"), std::string::npos) << text;
  EXPECT_NE(text.find("device type 7 outside"), std::string::npos) << text;
  EXPECT_NE(text.find("name of 300 bytes"), std::string::npos) << text;
  EXPECT_NE(text.find("unknown property type"), std::string::npos) << text;
  EXPECT_NE(text.find("length 4 but no value"), std::string::npos) << text;

  problems.clear();
  CheckProperties(2, nullptr, &problems);
  CheckHasAddressProperty(1, &bad[1], &problems);
  EXPECT_EQ(problems.size(), 2u) << joined(problems);
}

btgatt_db_element_t element(bt_gatt_db_attribute_type_t type, uint16_t handle, uint16_t start = 0, uint16_t end = 0) {
  btgatt_db_element_t e;
  std::memset(&e, 0, sizeof(e));
  e.type = type;
  e.attribute_handle = handle;
  e.start_handle = start;
  e.end_handle = end;
  return e;
}

TEST(ArgumentChecksTest, APublishedServiceKeepsItsHandlesInsideItsRange) {
  std::vector<btgatt_db_element_t> service = {element(BTGATT_DB_PRIMARY_SERVICE, 40, 40, 43),
                                              element(BTGATT_DB_CHARACTERISTIC, 41), element(BTGATT_DB_DESCRIPTOR, 42),
                                              element(BTGATT_DB_INCLUDED_SERVICE, 0)};
  Problems problems;
  CheckDbElements(service.data(), static_cast<int64_t>(service.size()), true, &problems);
  EXPECT_TRUE(problems.empty()) << joined(problems);

  service[2].attribute_handle = 44;
  CheckDbElements(service.data(), static_cast<int64_t>(service.size()), true, &problems);
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_NE(problems[0].find("element 2 handle 44 outside the service's 40-43"), std::string::npos);

  // Before the host has given handles (a failed publication) only the types are checked.
  problems.clear();
  service[0].attribute_handle = 0;
  CheckDbElements(service.data(), static_cast<int64_t>(service.size()), false, &problems);
  EXPECT_TRUE(problems.empty()) << joined(problems);
  CheckDbElements(service.data(), static_cast<int64_t>(service.size()), true, &problems);
  EXPECT_NE(joined(problems).find("is not usable"), std::string::npos);

  problems.clear();
  std::vector<btgatt_db_element_t> discovered = {element(BTGATT_DB_PRIMARY_SERVICE, 1),
                                                 element(static_cast<bt_gatt_db_attribute_type_t>(7), 2)};
  CheckDbElements(discovered.data(), 2, false, &problems);
  CheckDbElements(nullptr, 3, false, &problems);
  CheckDbElements(nullptr, -1, false, &problems);
  EXPECT_EQ(problems.size(), 3u) << joined(problems);
  EXPECT_NE(problems[0].find("element 1 has unknown type 7"), std::string::npos);
}

TEST(ArgumentChecksTest, AdvertisingDataAndValuesHaveTheirLimits) {
  Problems problems;
  const std::vector<uint8_t> adv = {0x02, 0x01, 0x06, 0x05, 0x09, 'P', 'u', 'l', 's'};
  CheckAdvertisingData(0x13, adv, &problems);
  CheckAdvertisingData(0x13, {}, &problems);
  // Zero padding ends the structures.
  CheckAdvertisingData(0x13, {0x02, 0x01, 0x06, 0x00, 0x00}, &problems);
  CheckAdvertisingData(0x00, std::vector<uint8_t>(200, 0), &problems);
  CheckValue(600, "x", &problems);
  CheckValue(0, nullptr, &problems);
  EXPECT_TRUE(problems.empty()) << joined(problems);
  EXPECT_EQ(AdvertisedName(adv), "Puls");

  CheckAdvertisingData(0x13, {0x05, 0x09, 'P'}, &problems);
  CheckAdvertisingData(0x13, std::vector<uint8_t>(32, 0), &problems);
  CheckValue(601, "x", &problems);
  CheckValue(3, nullptr, &problems);
  CheckRange("rssi", -128, -127, 20, &problems);
  EXPECT_EQ(problems.size(), 5u) << joined(problems);
  EXPECT_EQ(AdvertisedName({0x05, 0x09, 'P'}), "");
}

}  // namespace
}  // namespace bttev
}  // namespace tev
