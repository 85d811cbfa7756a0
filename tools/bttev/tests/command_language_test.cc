// The command language: words, values, expectations, matching, and the queue they wait on.
#include <gtest/gtest.h>

#include <set>

#include "base/bind.h"
#include "base/threading/thread.h"
#include "callback_tables.h"
#include "command_parser.h"
#include "event_queue.h"
#include "record_fields.h"
#include "script_values.h"

namespace tev {
namespace bttev {
namespace {

std::vector<Token> words(const std::string& text) {
  std::vector<Token> tokens;
  std::string error;
  EXPECT_TRUE(Tokenize(text, &tokens, &error)) << error;
  return tokens;
}

TEST(CommandLanguageTest, WordsQuotesAndComments) {
  std::vector<Token> tokens = words(R"(set_name "My \"Phone\"" bdname="Two words" # a comment)");
  ASSERT_EQ(tokens.size(), 3u);
  EXPECT_EQ(tokens[0].text, "set_name");
  EXPECT_FALSE(tokens[0].quoted);
  EXPECT_EQ(tokens[1].text, "My \"Phone\"");
  EXPECT_TRUE(tokens[1].quoted);
  EXPECT_EQ(tokens[2].text, "bdname=Two words");
  EXPECT_TRUE(tokens[2].quoted);
  EXPECT_TRUE(words("   # only a comment").empty());
  EXPECT_EQ(words("say \"#1\"")[1].text, "#1");

  std::vector<Token> ignored;
  std::string error;
  EXPECT_FALSE(Tokenize("say \"open", &ignored, &error));
  EXPECT_FALSE(Tokenize("expect bdname=\"open", &ignored, &error));

  std::vector<ScriptLine> lines;
  ASSERT_TRUE(ParseScript("init\n\n# note\nenable\r\n", "a.bttev", &lines, &error)) << error;
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1].Where(), "a.bttev:4");
  EXPECT_EQ(lines[1].tokens[0].text, "enable");
  EXPECT_FALSE(ParseScript("init\nsay \"x\n", "b.bttev", &lines, &error));
  EXPECT_EQ(error, "b.bttev:2: unterminated quoted text");
}

TEST(CommandLanguageTest, Values) {
  int64_t number = 0;
  EXPECT_TRUE(ParseInteger("0x13", &number) && number == 19);
  EXPECT_TRUE(ParseInteger("-60", &number) && number == -60);
  EXPECT_TRUE(ParseInteger("true", &number) && number == 1);
  EXPECT_FALSE(ParseInteger("12ab", &number));
  EXPECT_FALSE(ParseInteger("", &number));

  std::chrono::microseconds micros;
  EXPECT_TRUE(ParseDurationMicros("1.5s", &micros) && micros.count() == 1500000);
  EXPECT_TRUE(ParseDurationMicros("250ms", &micros) && micros.count() == 250000);
  EXPECT_TRUE(ParseDurationMicros("20us", &micros) && micros.count() == 20);
  EXPECT_FALSE(ParseDurationMicros("2", &micros));
  EXPECT_FALSE(ParseDurationMicros("2h", &micros));
  EXPECT_FALSE(ParseDurationMicros("ms", &micros));
  EXPECT_FALSE(ParseDurationMicros("2000m", &micros));

  RawAddress address;
  EXPECT_TRUE(ParseAddress("02:51:B0:00:00:0a", &address));
  EXPECT_EQ(address.ToString(), "02:51:b0:00:00:0a");
  EXPECT_FALSE(ParseAddress("02:51:b0:00:00", &address));
  EXPECT_FALSE(ParseAddress("02-51-b0-00-00-0a", &address));

  std::vector<uint8_t> bytes;
  EXPECT_TRUE(ParseBytes("0a:0B", false, &bytes) && bytes == std::vector<uint8_t>({0x0a, 0x0b}));
  EXPECT_TRUE(ParseBytes("0x0648", false, &bytes) && bytes == std::vector<uint8_t>({0x06, 0x48}));
  EXPECT_TRUE(ParseBytes("hi", true, &bytes) && bytes == std::vector<uint8_t>({'h', 'i'}));
  EXPECT_TRUE(ParseBytes("-", false, &bytes) && bytes.empty());
  EXPECT_FALSE(ParseBytes("abc", false, &bytes));
  EXPECT_FALSE(ParseBytes("0x", false, &bytes));
  EXPECT_FALSE(ParseBytes("zz", false, &bytes));

  bluetooth::Uuid uuid;
  EXPECT_TRUE(ParseUuid("180d", &uuid));
  EXPECT_EQ(UuidText(uuid), "180d");
  EXPECT_TRUE(ParseUuid("0000180d-0000-1000-8000-00805f9b34fb", &uuid));
  EXPECT_EQ(UuidText(uuid), "180d");
  EXPECT_FALSE(ParseUuid("18", &uuid));
}

Expectation expectation(const std::string& text) {
  Expectation parsed;
  std::string error;
  EXPECT_TRUE(ParseExpectation(words(text), &parsed, &error)) << error;
  return parsed;
}

std::string expectationError(const std::string& text) {
  Expectation parsed;
  std::string error;
  EXPECT_FALSE(ParseExpectation(words(text), &parsed, &error)) << text;
  return error;
}

TEST(CommandLanguageTest, ExpectationsResolveTheirNames) {
  Expectation e = expectation("open_cb conn_id=?conn addr=02:51:b0:00:00:01 within 2s");
  EXPECT_EQ(e.pattern.callback, "client.open_cb");
  ASSERT_EQ(e.pattern.fields.size(), 2u);
  EXPECT_EQ(e.pattern.fields[0].capture, "conn");
  EXPECT_TRUE(e.hasWithin);
  EXPECT_EQ(e.within.count(), 2000);

  e = expectation("no server.congestion_cb");
  EXPECT_TRUE(e.negated);
  EXPECT_EQ(e.pattern.callback, "server.congestion_cb");
  e = expectation("log \"AddService failed\" within 1s");
  EXPECT_TRUE(e.log);
  EXPECT_EQ(e.logText, "AddService failed");
  e = expectation("get_gatt_db_cb char:0x2A37=?hr desc:00002902-0000-1000-8000-00805f9b34fb=?cccd");
  EXPECT_EQ(e.pattern.fields[0].name, "char:2a37");
  EXPECT_EQ(e.pattern.fields[1].name, "desc:2902");

  EXPECT_NE(expectationError("congestion_cb").find("say client.congestion_cb or server.congestion_cb"),
            std::string::npos);
  EXPECT_NE(expectationError("opened_cb").find("unknown callback"), std::string::npos);
  EXPECT_NE(expectationError("open_cb handle=3").find("has no field 'handle'"), std::string::npos);
  EXPECT_NE(expectationError("open_cb conn_id").find("FIELD=VALUE"), std::string::npos);
  EXPECT_NE(expectationError("no open_cb within 1s").find("no 'within'"), std::string::npos);
  EXPECT_NE(expectationError("open_cb within 1s conn_id=1").find("ends the line"), std::string::npos);
  EXPECT_NE(expectationError("open_cb within soon").find("bad duration"), std::string::npos);
}

CallbackEvent sample() {
  CallbackEvent event;
  event.table = Table::kGattClient;
  event.slot = "get_gatt_db_cb";
  event.fields = {NumberField("conn_id", 3),
                  NumberField("status", 0, "success"),
                  NumberField("char:2a37", 2),
                  NumberField("char:2a37", 9),
                  UuidField("uuid", bluetooth::Uuid::From16Bit(0x180d)),
                  AddressField("addr", nullptr),
                  TextField("name", "Pulse HR"),
                  BytesField("value", reinterpret_cast<const uint8_t*>("hi"), 2)};
  return event;
}

TEST(CommandLanguageTest, MatchingComparesByKindAndCaptures) {
  const CallbackEvent event = sample();
  Variables captured;
  EXPECT_TRUE(Matches(event, expectation("get_gatt_db_cb conn_id=0x3 status=SUCCESS").pattern, nullptr));
  EXPECT_TRUE(Matches(
      event, expectation("get_gatt_db_cb char:2a37=9 uuid=0000180D-0000-1000-8000-00805f9b34fb").pattern, nullptr));
  EXPECT_TRUE(Matches(event, expectation("get_gatt_db_cb value=\"hi\" value=6869 value=68:69").pattern, nullptr));
  EXPECT_TRUE(Matches(event, expectation("get_gatt_db_cb name=\"Pulse HR\"").pattern, nullptr));
  EXPECT_FALSE(Matches(event, expectation("get_gatt_db_cb name=\"pulse hr\"").pattern, nullptr));
  EXPECT_FALSE(Matches(event, expectation("get_gatt_db_cb conn_id=\"3\"").pattern, nullptr));
  EXPECT_FALSE(Matches(event, expectation("get_gatt_db_cb char:2a38=?x").pattern, &captured));
  EXPECT_FALSE(Matches(event, expectation("open_cb").pattern, &captured));
  EXPECT_TRUE(captured.empty());

  // A capture takes the first field of its name; a failed match binds nothing.
  EXPECT_FALSE(Matches(event, expectation("get_gatt_db_cb char:2a37=?hr conn_id=4").pattern, &captured));
  EXPECT_TRUE(captured.empty());
  EXPECT_TRUE(Matches(event, expectation("get_gatt_db_cb char:2a37=?hr conn_id=3").pattern, &captured));
  EXPECT_EQ(captured["hr"], "2");
  EXPECT_EQ(event.ToString(),
            "client.get_gatt_db_cb conn_id=3 status=0(success) char:2a37=2 char:2a37=9 uuid=180d addr=null "
            "name=\"Pulse HR\" value=6869");
}

TEST(CommandLanguageTest, TheQueueHandsOutTheOldestMatchAndWaitsForLaterOnes) {
  EventQueue queue;
  CallbackEvent first = sample();
  CallbackEvent second = sample();
  second.fields[0] = NumberField("conn_id", 4);
  queue.Push(first);
  queue.Push(second);
  Variables captured;
  std::optional<CallbackEvent> taken =
      queue.Take(expectation("get_gatt_db_cb conn_id=4").pattern, std::chrono::milliseconds(0), &captured);
  ASSERT_TRUE(taken);
  EXPECT_EQ(taken->Number("conn_id"), 4);
  ASSERT_EQ(queue.Pending().size(), 1u);
  EXPECT_FALSE(queue.Take(expectation("get_gatt_db_cb conn_id=4").pattern, std::chrono::milliseconds(0), nullptr));
  EXPECT_TRUE(queue.Find(expectation("get_gatt_db_cb").pattern));

  base::Thread pusher("pusher");
  ASSERT_TRUE(pusher.Start());
  pusher.task_runner()->PostTask(FROM_HERE,
                                 base::BindOnce([](EventQueue* q, CallbackEvent e) { q->Push(e); }, &queue, second));
  taken = queue.Take(expectation("get_gatt_db_cb conn_id=4").pattern, std::chrono::seconds(30), nullptr);
  EXPECT_TRUE(taken);
  pusher.Stop();
  queue.Clear();
  EXPECT_TRUE(queue.Pending().empty());
}

// Every callback the tables can make, with arguments the stack would accept, reports the fields
// its schema lists, so that expectations and help say what the tables do.
class SchemaSink : public CallbackSink {
 public:
  SchemaSink() { SetCallbackSink(this); }
  ~SchemaSink() override { SetCallbackSink(nullptr); }
  void OnCallback(CallbackEvent event) override { events.push_back(std::move(event)); }
  std::vector<CallbackEvent> events;
};

TEST(CommandLanguageTest, TheTablesReportWhatTheirSchemasList) {
  SchemaSink sink;
  RawAddress address({2, 0x51, 0xb0, 0, 0, 1});
  bluetooth::Uuid uuid = bluetooth::Uuid::From16Bit(0x180d);
  bt_callbacks_t* bt = AdapterCallbacks();
  bt->adapter_state_changed_cb(BT_STATE_ON);
  bt->adapter_properties_cb(BT_STATUS_SUCCESS, 0, nullptr);
  bt->remote_device_properties_cb(BT_STATUS_SUCCESS, &address, 0, nullptr);
  bt->device_found_cb(0, nullptr);
  bt->discovery_state_changed_cb(BT_DISCOVERY_STARTED);
  bt->pin_request_cb(&address, nullptr, 0, false);
  bt->ssp_request_cb(&address, nullptr, 0, BT_SSP_VARIANT_CONSENT, 0);
  bt->bond_state_changed_cb(BT_STATUS_SUCCESS, &address, BT_BOND_STATE_BONDED, 0);
  bt->address_consolidate_cb(&address, &address);
  bt->le_address_associate_cb(&address, &address);
  bt->acl_state_changed_cb(BT_STATUS_SUCCESS, &address, BT_ACL_STATE_CONNECTED, 0, 0);
  bt->thread_evt_cb(ASSOCIATE_JVM);
  bt->dut_mode_recv_cb(1, nullptr, 0);
  bt->le_test_mode_cb(BT_STATUS_SUCCESS, 0);
  bt_activity_energy_info energy{};
  bt->energy_info_cb(&energy, nullptr);
  bt->link_quality_report_cb(0, 0, 0, 0, 0, 0, 0);
  bt->generate_local_oob_data_cb(0, bt_oob_data_t{});
  bt->switch_buffer_size_cb(false);
  bt->switch_codec_cb(false);

  const btgatt_client_callbacks_t* client = GattCallbacks()->client;
  btgatt_read_params_t read{};
  btgatt_notify_params_t notify{};
  btgatt_db_element_t element{};
  client->register_client_cb(0, 1, uuid);
  client->open_cb(1, 0, 1, address);
  client->close_cb(1, 0, 1, address);
  client->search_complete_cb(1, 0);
  client->register_for_notification_cb(1, 1, 0, 2);
  client->notify_cb(1, notify);
  client->read_characteristic_cb(1, 0, &read);
  client->write_characteristic_cb(1, 0, 2, 0, nullptr);
  client->read_descriptor_cb(1, 0, read);
  client->write_descriptor_cb(1, 0, 3, 0, nullptr);
  client->execute_write_cb(1, 0);
  client->read_remote_rssi_cb(1, address, -60, 0);
  client->configure_mtu_cb(1, 0, 512);
  client->congestion_cb(1, false);
  client->get_gatt_db_cb(1, &element, 1);
  client->services_removed_cb(1, 1, 0xffff);
  client->services_added_cb(1, element, 1);
  client->phy_updated_cb(1, 1, 1, 0);
  client->conn_updated_cb(1, 6, 0, 100, 0);
  client->service_changed_cb(1);

  const btgatt_server_callbacks_t* server = GattCallbacks()->server;
  server->register_server_cb(0, 1, uuid);
  server->connection_cb(1, 1, 1, address);
  server->service_added_cb(0, 1, &element, 1);
  server->service_stopped_cb(0, 1, 40);
  server->service_deleted_cb(0, 1, 40);
  server->request_read_characteristic_cb(1, 1, address, 41, 0, false);
  server->request_read_descriptor_cb(1, 2, address, 42, 0, false);
  server->request_write_characteristic_cb(1, 3, address, 41, 0, true, false, nullptr, 0);
  server->request_write_descriptor_cb(1, 4, address, 42, 0, true, false, nullptr, 0);
  server->request_exec_write_cb(1, 5, address, 1);
  server->response_confirmation_cb(0, 41);
  server->indication_sent_cb(1, 0);
  server->congestion_cb(1, false);
  server->mtu_changed_cb(1, 185);
  server->phy_updated_cb(1, 1, 1, 0);
  server->conn_updated_cb(1, 6, 0, 100, 0);

  const btgatt_scanner_callbacks_t* scanner = GattCallbacks()->scanner;
  scanner->scan_result_cb(0x13, 0, &address, 1, 0, 0xff, 127, -60, 0, {0x04, 0x09, 'H', 'R', 'M'}, &address);
  scanner->batchscan_reports_cb(1, 0, 0, 0, {});
  scanner->batchscan_threshold_cb(1);
  btgatt_track_adv_info_t track{};
  scanner->track_adv_event_cb(&track);
  ScannerRegisteredCallback().Run(1, 0);
  ScannerStatusCallback("set_parameters_cb").Run(0);
  ScanFilterEnableCallback().Run(1, 0);
  ReadPhyCallback(Table::kGattClient).Run(1, 1, 0);
  ReadPhyCallback(Table::kGattServer).Run(1, 1, 0);

  std::set<std::string> made;
  for (const CallbackEvent& event : sink.events) {
    made.insert(event.Name());
    const CallbackSchema* schema = nullptr;
    for (const CallbackSchema& candidate : CallbackSchemas()) {
      if (candidate.Name() == event.Name()) schema = &candidate;
    }
    ASSERT_NE(schema, nullptr) << event.Name();
    EXPECT_EQ(schema->inlineResult, event.inlineResult) << event.Name();
    for (const Field& field : event.fields) {
      const bool listed = std::find(schema->fields.begin(), schema->fields.end(), field.name) != schema->fields.end();
      EXPECT_TRUE(listed || schema->openFields) << event.Name() << " reports " << field.name;
    }
    for (const std::string& name : schema->fields) {
      EXPECT_TRUE(event.Find(name)) << event.Name() << " lacks " << name;
    }
  }
  EXPECT_EQ(made.size(), CallbackSchemas().size());
}

}  // namespace
}  // namespace bttev
}  // namespace tev
