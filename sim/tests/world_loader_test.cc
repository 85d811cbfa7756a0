// World descriptions: the built-in world, defaults, advertising payloads, and the errors that
// name the file, the field and the reason.
#include <gtest/gtest.h>

#include <string>

#include "advertising.h"
#include "attribute_db.h"
#include "tev/sim/world_loader.h"

namespace tev {
namespace sim {
namespace {

using bluetooth::Uuid;

World Parse(const std::string& text) {
  World world;
  WorldError error;
  EXPECT_TRUE(ParseWorld(text, "test.json", &world, &error)) << error.ToString();
  return world;
}

WorldError Refuse(const std::string& text) {
  World world;
  WorldError error;
  EXPECT_FALSE(ParseWorld(text, "bad.json", &world, &error)) << text;
  return error;
}

TEST(WorldLoaderTest, DefaultWorldHoldsTheRecognisableDevices) {
  const World& world = DefaultWorld();
  EXPECT_EQ(world.adapter.name, "Quarne Desk");
  EXPECT_FALSE(world.adapter.enabled);
  ASSERT_EQ(world.classicDevices.size(), 1u);
  EXPECT_EQ(world.classicDevices[0].name, "Quarne Buds");
  EXPECT_EQ(world.classicDevices[0].classOfDevice, 0x240404u);
  ASSERT_EQ(world.peripherals.size(), 2u);
  ASSERT_EQ(world.centrals.size(), 1u);
  EXPECT_FALSE(world.centrals[0].script.empty());

  // The heart-rate measurement notifies, so it gained its configuration descriptor; its
  // source cycles through the listed values.
  const Peripheral& hr = world.peripherals[0];
  EXPECT_EQ(hr.services[0].uuid, Uuid::From16Bit(0x180d));
  const Characteristic& measurement = hr.services[0].characteristics[0];
  EXPECT_EQ(measurement.properties, kPropNotify);
  ASSERT_EQ(measurement.descriptors.size(), 1u);
  EXPECT_EQ(measurement.descriptors[0].uuid, Uuid::From16Bit(kCccdUuid16));
  EXPECT_EQ(measurement.descriptors[0].value, (Bytes{0x00, 0x00}));
  ASSERT_EQ(hr.notifications.size(), 1u);
  EXPECT_EQ(hr.notifications[0].values.size(), 4u);

  // The tag's Device Information is text.
  const Characteristic& maker = world.peripherals[1].services[1].characteristics[0];
  EXPECT_EQ(std::string(maker.value.begin(), maker.value.end()), "Quarne Labs");
  EXPECT_EQ(DefaultWorldJson().front(), '{');
}

TEST(WorldLoaderTest, DefaultsAndDerivedValues) {
  const World world = Parse(R"({
    "classic_devices": [{"address": "00:00:00:00:00:0a"}, {"address": "00:00:00:00:00:0B"}],
    "le_peripherals": [{"address": "00:00:00:00:01:00", "gatt": [{"uuid": "180f",
      "characteristics": [
        {"uuid": "2a19", "properties": ["read", "write"]},
        {"uuid": "2a1a", "properties": 2, "behaviour": "fails", "status": "0x0e"},
        {"uuid": "12345678-1234-5678-1234-56789abcdef0", "properties": ["indicate"],
         "descriptors": [{"uuid": "2902", "value": "0200"}]}]}]}]
  })");
  EXPECT_EQ(world.adapter.name, "Quarne");
  EXPECT_EQ(world.classicDevices[1].address, (Address{0, 0, 0, 0, 0, 0x0b}));
  // Found one second after another, in the order listed.
  EXPECT_EQ(world.classicDevices[0].foundAfter.InMilliseconds(), 1000);
  EXPECT_EQ(world.classicDevices[1].foundAfter.InMilliseconds(), 2000);

  const std::vector<Characteristic>& chars = world.peripherals[0].services[0].characteristics;
  EXPECT_EQ(chars[0].permissions, kPermRead | kPermWrite);
  EXPECT_EQ(chars[0].behaviour.kind, Behaviour::Kind::kStoresWrites);
  EXPECT_EQ(chars[1].behaviour.kind, Behaviour::Kind::kFails);
  EXPECT_EQ(chars[1].behaviour.failStatus, 0x0e);
  // A listed configuration descriptor is not doubled.
  ASSERT_EQ(chars[2].descriptors.size(), 1u);
  EXPECT_EQ(chars[2].descriptors[0].value, (Bytes{0x02, 0x00}));
}

TEST(WorldLoaderTest, DatabaseHandlesAndBehaviours) {
  World world = Parse(R"({"le_peripherals": [{"address": "00:00:00:00:01:00", "gatt": [
      {"uuid": "1800", "characteristics": [{"uuid": "2a00", "text": "x"}]},
      {"uuid": "180d", "characteristics": [
        {"uuid": "2a37", "properties": ["read", "notify"], "behaviour": "counter", "value": "ff00"},
        {"uuid": "2a39", "properties": ["write"], "value": "00", "behaviour": "static"}]}]}]})");
  AttributeDb db(world.peripherals[0].services);
  std::vector<tev::mojom::BluetoothGattDBElementPtr> elements = db.Elements();
  // Service, characteristic, descriptors, in order from handle 1; a service spans its contents.
  ASSERT_EQ(elements.size(), 6u);
  EXPECT_EQ(elements[0]->attribute_handle, 1);
  EXPECT_EQ(elements[0]->end_handle, 2);
  EXPECT_EQ(elements[2]->type, tev::mojom::BluetoothGattDBAttributeType::PRIMARY_SERVICE);
  EXPECT_EQ(elements[2]->start_handle, 3);
  EXPECT_EQ(elements[2]->end_handle, 6);
  EXPECT_EQ(elements[4]->type, tev::mojom::BluetoothGattDBAttributeType::DESCRIPTOR);
  EXPECT_EQ(db.Cccd(4)->handle, 5);

  Bytes value;
  Attribute& counter = *db.Find(4);
  EXPECT_EQ(db.Read(counter, &value), tev::mojom::BluetoothGattStatus::SUCCESS);
  EXPECT_EQ(value, (Bytes{0xff, 0x00}));
  db.Read(counter, &value);
  EXPECT_EQ(value, (Bytes{0x00, 0x01}));  // little-endian carry

  Attribute& control = *db.Find(6);
  EXPECT_EQ(db.Read(control, &value), tev::mojom::BluetoothGattStatus::READ_NOT_PERMITTED);
  EXPECT_EQ(db.Write(control, {0x07}), tev::mojom::BluetoothGattStatus::SUCCESS);
  EXPECT_EQ(control.value, (Bytes{0x00}));  // static: accepted and forgotten
  EXPECT_EQ(db.Write(*db.Find(2), {0x01}), tev::mojom::BluetoothGattStatus::WRITE_NOT_PERMITTED);
}

TEST(WorldLoaderTest, AdvertisingPayload) {
  const World world = Parse(R"({"le_peripherals": [{"address": "00:00:00:00:01:00", "name": "HR",
      "advertising": {"flags": 6, "service_uuids": ["180d"],
                      "manufacturer": {"company": "0x1234", "data": "aa"}}}]})");
  EXPECT_EQ(BuildAdvertisingData(world.peripherals[0]),
            (Bytes{0x02, 0x01, 0x06, 0x03, 0x03, 0x0d, 0x18, 0x03, 0x09, 'H', 'R', 0x04, 0xff,
                   0x34, 0x12, 0xaa}));
}

struct BadCase {
  const char* json;
  const char* field;
  const char* reason;
};

TEST(WorldLoaderTest, ErrorsNameTheFieldAndTheReason) {
  const BadCase cases[] = {
      {R"({"adaptor": {}})", "adaptor", "unknown field"},
      {R"({"adapter": {"name": 5}})", "adapter.name", "expected a string"},
      {R"({"adapter": {"scan_mode": "visible"}})", "adapter.scan_mode", "is not one of"},
      {R"({"classic_devices": [{"name": "x"}]})", "classic_devices[0].address", "missing"},
      {R"({"classic_devices": [{"address": "00:11:22:33:44"}]})", "classic_devices[0].address",
       "not a Bluetooth address"},
      {R"({"classic_devices": [{"address": "00:11:22:33:44:55", "rssi": -200}]})",
       "classic_devices[0].rssi", "out of range -127..20"},
      {R"({"le_peripherals": [{"address": "00:11:22:33:44:55", "gatt": [{"uuid": "180d",
          "characteristics": [{"uuid": "2a37"}, {"uuid": "xyz"}]}]}]})",
       "le_peripherals[0].gatt[0].characteristics[1].uuid", "not a UUID"},
      {R"({"le_peripherals": [{"address": "00:11:22:33:44:55", "gatt": [{"uuid": "180d",
          "characteristics": [{"uuid": "2a37", "value": "123"}]}]}]})",
       "le_peripherals[0].gatt[0].characteristics[0].value", "odd number"},
      {R"({"le_peripherals": [{"address": "00:11:22:33:44:55", "gatt": [{"uuid": "180d",
          "characteristics": [{"uuid": "2a37", "properties": ["reed"]}]}]}]})",
       "le_peripherals[0].gatt[0].characteristics[0].properties[0]", "unknown name \"reed\""},
      {R"({"le_peripherals": [{"address": "00:11:22:33:44:55", "gatt": [{"uuid": "180d",
          "characteristics": [{"uuid": "2a37", "behaviour": "fails"}]}]}]})",
       "le_peripherals[0].gatt[0].characteristics[0].status", "missing"},
      {R"({"le_peripherals": [{"address": "00:11:22:33:44:55", "gatt": [{"uuid": "180d",
          "characteristics": [{"uuid": "2a38"}]}],
          "notifications": [{"characteristic": "2a38"}]}]})",
       "le_peripherals[0].notifications[0].characteristic", "neither notifies nor indicates"},
      {R"({"le_peripherals": [{"address": "00:11:22:33:44:55",
          "name": "A name far too long to be advertised"}]})",
       "le_peripherals[0]", "would be 41 bytes; a legacy advertisement holds 31"},
      {R"({"classic_devices": [{"address": "00:11:22:33:44:55"}],
          "remote_centrals": [{"address": "00:11:22:33:44:55"}]})",
       "remote_centrals[0].address", "already used by classic_devices[0]"},
      {R"({"remote_centrals": [{"address": "00:11:22:33:44:55", "script": [{"op": "jump"}]}]})",
       "remote_centrals[0].script[0].op", "is not one of"},
      {R"({"remote_centrals": [{"address": "00:11:22:33:44:55",
          "script": [{"op": "read", "value": "01"}]}]})",
       "remote_centrals[0].script[0].value", "unknown field"},
      {R"({"timing": {"bond_ms": 1.5}})", "timing.bond_ms", "expected an integer"},
      {R"([1, 2])", "", "expected an object"},
  };
  for (const BadCase& c : cases) {
    const WorldError error = Refuse(c.json);
    EXPECT_EQ(error.file, "bad.json");
    EXPECT_EQ(error.field, c.field) << c.json;
    EXPECT_NE(error.reason.find(c.reason), std::string::npos) << error.ToString();
  }
}

TEST(WorldLoaderTest, FileLevelErrors) {
  const WorldError syntax = Refuse("{\n  \"adapter\": {,\n}");
  EXPECT_EQ(syntax.field, "");
  EXPECT_EQ(syntax.reason.rfind("not valid JSON: ", 0), 0u) << syntax.reason;
  EXPECT_NE(syntax.reason.find("line 2"), std::string::npos) << syntax.reason;
  EXPECT_EQ(syntax.reason.find("[json.exception"), std::string::npos) << syntax.reason;

  World world;
  world.adapter.name = "untouched";
  WorldError error;
  EXPECT_FALSE(LoadWorldFile("/nonexistent/world.json", &world, &error));
  EXPECT_EQ(error.ToString(), "/nonexistent/world.json: cannot be read: No such file or directory");
  EXPECT_EQ(world.adapter.name, "untouched");

  const WorldError field = Refuse(R"({"adapter": {"class": "0xzz"}})");
  EXPECT_EQ(field.ToString(), "bad.json: adapter.class: expected an integer or \"0x...\"");
}

}  // namespace
}  // namespace sim
}  // namespace tev
