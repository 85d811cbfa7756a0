// The command language: words, values, expectations, matching, and the queue they wait on.
#include <gtest/gtest.h>

#include "base/bind.h"
#include "base/threading/thread.h"
#include "command_parser.h"
#include "event_queue.h"
#include "script_values.h"
#include "stack_side.h"

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
  EXPECT_EQ(e.kind, Expectation::Kind::kLog);
  EXPECT_EQ(e.log.text, "AddService failed");
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

TEST(CommandLanguageTest, ExpectationsOfTheLogTheHostAndTheOrder) {
  struct Row {
    std::string text;
    Expectation::Kind kind;
    bool negated;
    bool next;
  };
  const Row rows[] = {
      {"next client.close_cb conn_id=1", Expectation::Kind::kCallback, false, true},
      {"log ERROR exact \"BluetoothTev: enable - host not ready\" within 1s", Expectation::Kind::kLog, false, false},
      {"no log WARNING \"99\"", Expectation::Kind::kLog, true, false},
      {"host ReadGattCharacteristic char=2a38@4 status=?s", Expectation::Kind::kHost, false, false},
      {"no host EnableAdapter", Expectation::Kind::kHost, true, false},
  };
  for (const Row& row : rows) {
    const Expectation e = expectation(row.text);
    EXPECT_EQ(e.kind, row.kind) << row.text;
    EXPECT_EQ(e.negated, row.negated) << row.text;
    EXPECT_EQ(e.next, row.next) << row.text;
  }
  Expectation e = expectation("log ERROR exact \"x\"");
  EXPECT_EQ(e.log.severity, 2);
  EXPECT_TRUE(e.log.exact);
  e = expectation("host ReadGattCharacteristic char=2a38@4 status=?s");
  EXPECT_EQ(e.host.method, "ReadGattCharacteristic");
  ASSERT_EQ(e.host.fields.size(), 2u);
  EXPECT_EQ(e.host.fields[1].capture, "s");

  EXPECT_NE(expectationError("log \"a\" \"b\"").find("one text"), std::string::npos);
  EXPECT_NE(expectationError("host").find("method name"), std::string::npos);
  EXPECT_NE(expectationError("host EnableAdapter within 1s").find("no 'within'"), std::string::npos);
  EXPECT_NE(expectationError("host EnableAdapter state").find("FIELD=VALUE"), std::string::npos);
  EXPECT_NE(expectationError("next log \"a\"").find("takes a callback"), std::string::npos);
}

TEST(CommandLanguageTest, LogAndHostPatternsMatch) {
  LogPattern contains;
  contains.text = "host not ready";
  LogPattern exactError;
  exactError.severity = 2;
  exactError.exact = true;
  exactError.text = "BluetoothTev: enable - host not ready";
  EXPECT_TRUE(contains.Matches(0, "BluetoothTev: enable - host not ready"));
  EXPECT_TRUE(exactError.Matches(2, "BluetoothTev: enable - host not ready"));
  EXPECT_FALSE(exactError.Matches(1, "BluetoothTev: enable - host not ready"));
  EXPECT_FALSE(exactError.Matches(2, "BluetoothTev: enable - host not ready now"));

  const std::string read = "addr=02:51:B0:00:00:01 service=180d@1 char=2a38@4";
  struct Row {
    std::string pattern;
    bool matches;
  };
  const Row rows[] = {
      {"host ReadGattCharacteristic", true},
      {"host ReadGattCharacteristic addr=02:51:b0:00:00:01 char=2a38@4", true},
      {"host ReadGattCharacteristic char=2a38@5", false},
      {"host ReadGattCharacteristic handle=4", false},
      {"host ReadGattDescriptor", false},
      {"host ReadGattCharacteristic service=?s char=?c", true},
  };
  for (const Row& row : rows) {
    Variables captured;
    EXPECT_EQ(MatchesHostEntry("ReadGattCharacteristic", read, expectation(row.pattern).host, &captured), row.matches)
        << row.pattern;
    EXPECT_EQ(captured.empty(), row.pattern.find('?') == std::string::npos) << row.pattern;
  }
  Variables captured;
  EXPECT_TRUE(MatchesHostEntry("RequestGattRead", "status=0 value=02",
                               expectation("host RequestGattRead status=0x0 value=?v").host, &captured));
  EXPECT_EQ(captured["v"], "02");
  const auto fields = SummaryFields("status=0 bdname=\"Quarne Buds\" rssi=-40");
  ASSERT_EQ(fields.size(), 3u);
  EXPECT_EQ(fields[1].second, "Quarne Buds");
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

TEST(CommandLanguageTest, NextMeansTheFirstCallbackAfterTheLastOneTaken) {
  EventQueue queue;
  CallbackEvent third = sample();
  third.fields[0] = NumberField("conn_id", 3);
  CallbackEvent fourth = sample();
  fourth.fields[0] = NumberField("conn_id", 4);
  CallbackEvent fifth = sample();
  fifth.fields[0] = NumberField("conn_id", 5);
  queue.Push(third);
  queue.Push(fourth);
  queue.Push(fifth);
  ASSERT_TRUE(queue.Take(expectation("get_gatt_db_cb conn_id=4").pattern, std::chrono::milliseconds(0), nullptr));
  // The older, untaken conn_id=3 does not count; conn_id=5 came next.
  bool matched = false;
  std::optional<CallbackEvent> next =
      queue.TakeNext(expectation("get_gatt_db_cb conn_id=5").pattern, std::chrono::milliseconds(0), nullptr, &matched);
  ASSERT_TRUE(next);
  EXPECT_TRUE(matched);
  EXPECT_FALSE(queue.TakeNext(expectation("get_gatt_db_cb").pattern, std::chrono::milliseconds(0), nullptr, &matched));

  queue.Push(fourth);
  next =
      queue.TakeNext(expectation("get_gatt_db_cb conn_id=3").pattern, std::chrono::milliseconds(0), nullptr, &matched);
  ASSERT_TRUE(next);
  EXPECT_FALSE(matched);
  EXPECT_EQ(next->Number("conn_id"), 4);

  queue.Push(fifth);
  queue.Clear();
  EXPECT_FALSE(queue.TakeNext(expectation("get_gatt_db_cb").pattern, std::chrono::milliseconds(0), nullptr, &matched));
}

}  // namespace
}  // namespace bttev
}  // namespace tev
