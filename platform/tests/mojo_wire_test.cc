// The byte form of generated records and messages: what the proxies send survives encoding and
// decoding unchanged, pipe ends included, and bytes that break a definition are refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mojo/public/cpp/bindings/lib/router.h"
#include "mojo/public/cpp/bindings/lib/wire.h"
#include "mojo_test_peers.h"
#include "mojom/bluetooth.mojom.h"
#include "tev/testing/idle.h"
#include "tev/testing/run_on.h"

namespace tev {
namespace mojopeers {
namespace {

using ::testing::ElementsAre;
using mojo::internal::WireMessage;
using mojo::internal::WireReader;
using mojo::internal::WireWriter;
using mojotest::Choice;
using mojotest::Echo;
using mojotest::Sink;

// Keeps every request that reaches one pipe end, unanswered.
class Capture final : public mojo::MessageReceiverWithResponder {
 public:
  bool Accept(mojo::Message* message) override {
    messages.push_back(std::move(*message));
    return true;
  }
  bool AcceptWithResponder(mojo::Message* message,
                           std::unique_ptr<mojo::MessageReceiverWithStatus>) override {
    return Accept(message);
  }
  std::vector<mojo::Message> messages;
};

// Keeps the replies a stub sends.
class ReplyCapture final : public mojo::MessageReceiverWithStatus {
 public:
  explicit ReplyCapture(std::vector<mojo::Message>* replies) : replies_(replies) {}
  bool Accept(mojo::Message* message) override {
    replies_->push_back(std::move(*message));
    return true;
  }
  bool IsConnected() const override { return true; }

 private:
  std::vector<mojo::Message>* replies_;
};

// Little-endian bytes, written out by hand so that the tests pin the format.
struct Bytes {
  Bytes& u8(uint8_t value) {
    data.push_back(value);
    return *this;
  }
  Bytes& u32(uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) u8(static_cast<uint8_t>(value >> shift));
    return *this;
  }
  std::vector<uint8_t> data;
};

WireMessage MakeWire(uint32_t name, uint32_t flags, const Bytes& bytes, size_t endpoints = 0) {
  WireMessage wire;
  wire.name = name;
  wire.flags = flags;
  wire.bytes = bytes.data;
  for (size_t i = 0; i < endpoints; ++i) wire.endpoints.push_back(mojo::MessagePipe().handle0);
  return wire;
}

// Decodes, checks the result against the in-process validator, and encodes it again: the bytes
// and the number of pipe ends must come back unchanged. Leaves the decoded message in `wire`'s
// place by decoding the second encoding once more.
template <typename Interface>
mojo::Message RoundTrip(WireMessage* wire) {
  const std::vector<uint8_t> bytes = wire->bytes;
  const size_t endpoints = wire->endpoints.size();
  mojo::Message message;
  EXPECT_TRUE(Interface::DecodeMessage_(wire, &message));
  const bool is_response = message.has_flag(mojo::Message::kFlagIsResponse);
  EXPECT_TRUE(is_response ? Interface::ResponseValidator_(message)
                          : Interface::RequestValidator_(message));
  WireMessage again;
  EXPECT_TRUE(Interface::EncodeMessage_(&message, &again));
  EXPECT_EQ(again.bytes, bytes) << message.method_name();
  EXPECT_EQ(again.endpoints.size(), endpoints) << message.method_name();
  EXPECT_TRUE(Interface::DecodeMessage_(&again, &message));
  return message;
}

class WireTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(wire_thread_.Start()); }
  void TearDown() override { wire_thread_.Stop(); }

  template <typename F>
  void OnWire(F task) {
    tev::testing::RunOn(wire_thread_.task_runner(), std::move(task));
  }

  // The requests `calls` makes through an Interface pointer, as bytes.
  template <typename Interface>
  std::vector<WireMessage> Encoded(std::function<void(mojo::InterfacePtr<Interface>&)> calls) {
    Capture capture;
    std::shared_ptr<mojo::internal::Router> router;
    mojo::InterfacePtr<Interface> ptr;
    OnWire([&] {
      mojo::MessagePipe pipe;
      ptr.Bind(mojo::InterfacePtrInfo<Interface>(std::move(pipe.handle0)));
      mojo::internal::Router::Config config;
      config.interface_name = Interface::Name_;
      config.request_validator = &Interface::RequestValidator_;
      router = mojo::internal::Router::Create(std::move(pipe.handle1), config, &capture, nullptr);
      calls(ptr);
    });
    EXPECT_TRUE(tev::testing::WaitForIdle());
    std::vector<WireMessage> encoded;
    OnWire([&] {
      for (mojo::Message& message : capture.messages) {
        encoded.emplace_back();
        EXPECT_TRUE(Interface::EncodeMessage_(&message, &encoded.back()));
      }
      router.reset();
      ptr.reset();
    });
    return encoded;
  }

  base::Thread wire_thread_{"wire"};
};

TEST_F(WireTest, EchoCallsAndRepliesSurviveBytesAndPipeEndsStayConnected) {
  Journal journal;
  RecordingSink sink_impl(&journal, "sink");
  std::unique_ptr<mojo::Binding<Sink>> sink_binding;
  mojotest::SinkPtr sink;
  OnWire([&] {
    sink_binding = std::make_unique<mojo::Binding<Sink>>(&sink_impl, mojo::MakeRequest(&sink));
  });

  std::vector<WireMessage> requests = Encoded<Echo>([&](mojotest::EchoPtr& echo) {
    echo->Poke(3);
    echo->Add(1, 2, {});
    echo->EchoSample(MakeSample(), {});
    echo->Ping({});
    echo->AttachSink(std::move(sink));
    echo->CallSink(5, {});
  });
  ASSERT_EQ(requests.size(), 6u);
  EXPECT_EQ(requests[4].endpoints.size(), 1u);

  std::vector<mojo::Message> replies;
  OnWire([&] {
    EchoServer server(&journal);
    mojotest::EchoStub stub(&server);
    for (WireMessage& wire : requests) {
      mojo::Message message = RoundTrip<Echo>(&wire);
      if (message.has_flag(mojo::Message::kFlagExpectsResponse)) {
        stub.AcceptWithResponder(&message, std::make_unique<ReplyCapture>(&replies));
      } else {
        stub.Accept(&message);
      }
    }
  });
  ASSERT_TRUE(tev::testing::WaitForIdle());
  EXPECT_THAT(journal.Take(), ElementsAre("poke 3 @wire", "add 1+2 @wire", "echo sensor @wire",
                                          "attach bound=1 @wire", "sink push 5 @wire"));

  ASSERT_EQ(replies.size(), 4u);
  std::vector<std::vector<uint8_t>> reply_bytes;
  for (mojo::Message& reply : replies) {
    WireMessage wire;
    ASSERT_TRUE(Echo::EncodeMessage_(&reply, &wire));
    reply_bytes.push_back(wire.bytes);
    RoundTrip<Echo>(&wire);
  }
  EXPECT_EQ(reply_bytes[0], Bytes().u32(3).data);            // Add: sum
  EXPECT_EQ(reply_bytes[1], requests[2].bytes);              // EchoSample: the same sample back
  EXPECT_TRUE(reply_bytes[2].empty());                       // Ping
  EXPECT_EQ(reply_bytes[3], Bytes().u8(1).data);             // CallSink: sent
  OnWire([&] { sink_binding.reset(); });
}

TEST_F(WireTest, RecordsComeBackEqual) {
  std::vector<std::pair<std::string, mojotest::SamplePtr>> samples;
  samples.emplace_back("full", MakeSample());
  for (mojotest::ChoicePtr& choice : EveryChoice()) {
    mojotest::SamplePtr sample = MakeSample();
    sample->choice = std::move(choice);
    samples.emplace_back("choice " + std::to_string(static_cast<int>(sample->choice->which())),
                         std::move(sample));
  }
  mojotest::SamplePtr sparse = MakeSample();
  sparse->extra = nullptr;
  sparse->choice = nullptr;
  sparse->gaps.clear();
  sparse->level = static_cast<mojotest::Level>(7);  // Extensible: an unknown value is kept.
  samples.emplace_back("sparse", std::move(sparse));

  for (auto& [label, sample] : samples) {
    mojotest::SamplePtr original = sample.Clone();
    WireMessage wire;
    WireWriter writer(&wire);
    mojotest::internal::EncodeSample(writer, *sample);
    mojotest::Sample decoded;
    WireReader reader(&wire);
    ASSERT_TRUE(mojotest::internal::DecodeSample(reader, &decoded)) << label;
    EXPECT_TRUE(reader.AtEnd()) << label;
    EXPECT_TRUE(decoded.Equals(*original)) << label;
  }
}

TEST(WireRejectionTest, MessagesThatBreakTheirDefinitionAreRefused) {
  enum class To { kSink, kEcho };
  constexpr uint32_t kRequest = 0;
  constexpr uint32_t kExpects = mojo::Message::kFlagExpectsResponse;
  constexpr uint32_t kReply = mojo::Message::kFlagIsResponse;
  const Bytes point = Bytes().u8(1).u32(3).u32(4);
  struct Case {
    const char* what;
    To to;
    uint32_t name;
    uint32_t flags;
    Bytes bytes;
    size_t endpoints;
    bool accepted;
  };
  const Case cases[] = {
      {"push", To::kSink, 0, kRequest, Bytes().u32(7), 0, true},
      {"push, short", To::kSink, 0, kRequest, Bytes().u8(7).u8(0).u8(0), 0, false},
      {"push, trailing byte", To::kSink, 0, kRequest, Bytes().u32(7).u8(0), 0, false},
      {"push expecting a reply", To::kSink, 0, kExpects, Bytes().u32(7), 0, false},
      {"reply to a one-way call", To::kSink, 0, kReply, Bytes().u32(7), 0, false},
      {"unknown method", To::kSink, 9, kRequest, Bytes(), 0, false},
      {"unexpected pipe end", To::kSink, 0, kRequest, Bytes().u32(7), 1, false},
      {"point, no other", To::kSink, 1, kRequest, Bytes(point).u8(0), 0, true},
      {"point and other", To::kSink, 1, kRequest, Bytes(point).u8(1).u32(5).u32(6), 0, true},
      {"null point", To::kSink, 1, kRequest, Bytes().u8(0).u8(0), 0, false},
      {"presence byte 2", To::kSink, 1, kRequest, Bytes().u8(2).u32(3).u32(4).u8(0), 0, false},
      {"add without expecting a reply", To::kEcho, 1, kRequest, Bytes().u32(1).u32(2), 0, false},
      {"sum", To::kEcho, 1, kReply, Bytes().u32(3), 0, true},
      {"sent", To::kEcho, 6, kReply, Bytes().u8(1), 0, true},
      {"sent, bool 2", To::kEcho, 6, kReply, Bytes().u8(2), 0, false},
      {"attach", To::kEcho, 4, kRequest, Bytes().u32(0), 1, true},
      {"attach, end out of range", To::kEcho, 4, kRequest, Bytes().u32(1), 1, false},
      {"attach, null end", To::kEcho, 4, kRequest, Bytes().u32(0xFFFFFFFF), 0, false},
      {"attach, end left unused", To::kEcho, 4, kRequest, Bytes().u32(0), 2, false},
      {"open, end given", To::kEcho, 5, kRequest, Bytes().u32(0), 1, true},
      {"open, no end", To::kEcho, 5, kRequest, Bytes().u32(0), 0, false},
  };
  for (const Case& test : cases) {
    WireMessage wire = MakeWire(test.name, test.flags, test.bytes, test.endpoints);
    mojo::Message message;
    const bool accepted = test.to == To::kSink ? Sink::DecodeMessage_(&wire, &message)
                                               : Echo::DecodeMessage_(&wire, &message);
    EXPECT_EQ(accepted, test.accepted) << test.what;
    EXPECT_EQ(message.is_null(), !accepted) << test.what;
  }
}

TEST(WireRejectionTest, UnionMembersAndTheirBoundsAreChecked) {
  struct Case {
    const char* what;
    Bytes bytes;
    bool accepted;
  };
  const Case cases[] = {
      {"number", Bytes().u32(0).u32(5), true},
      {"text", Bytes().u32(1).u32(2).u8('h').u8('i'), true},
      {"text longer than the bytes", Bytes().u32(1).u32(3).u8('h').u8('i'), false},
      {"bytes, huge count", Bytes().u32(3).u32(0xFFFFFFFF), false},
      {"known color", Bytes().u32(4).u32(5), true},
      {"unknown color", Bytes().u32(4).u32(3), false},
      {"unknown tag", Bytes().u32(5).u32(0), false},
      {"tag cut short", Bytes().u8(0).u8(0), false},
  };
  for (const Case& test : cases) {
    WireMessage wire = MakeWire(0, 0, test.bytes);
    WireReader reader(&wire);
    Choice choice;
    const bool accepted = mojotest::internal::DecodeChoice(reader, &choice) && reader.AtEnd();
    EXPECT_EQ(accepted, test.accepted) << test.what;
  }
}

// Every message cut short anywhere is refused, and so is one with a byte too many.
template <typename Interface>
void ExpectEveryCutRefused(const std::vector<WireMessage>& messages) {
  for (const WireMessage& whole : messages) {
    for (size_t size = 0; size <= whole.bytes.size(); ++size) {
      Bytes bytes;
      bytes.data.assign(whole.bytes.begin(), whole.bytes.begin() + size);
      if (size == whole.bytes.size()) bytes.u8(0);
      WireMessage cut = MakeWire(whole.name, whole.flags, bytes, whole.endpoints.size());
      mojo::Message message;
      EXPECT_FALSE(Interface::DecodeMessage_(&cut, &message))
          << "method " << whole.name << ", " << size << " of " << whole.bytes.size() << " bytes";
    }
  }
}

TEST_F(WireTest, BluetoothEventsSurviveBytesAndEveryCutIsRefused) {
  using namespace tev::mojom;
  const bluetooth::Uuid uuid = bluetooth::Uuid::From16Bit(0x180d);
  auto address = [] { return BluetoothAddress::New(std::vector<uint8_t>{1, 2, 3, 4, 5, 6}); };
  auto every_property = [&] {
    std::vector<BluetoothPropertyPtr> properties;
    properties.push_back(BluetoothProperty::NewBdname("tev"));
    properties.push_back(BluetoothProperty::NewBdaddr(address()));
    properties.push_back(BluetoothProperty::NewUuids({uuid, uuid}));
    properties.push_back(BluetoothProperty::NewDeviceClass(0x240404));
    properties.push_back(BluetoothProperty::NewDeviceType(2));
    properties.push_back(BluetoothProperty::NewServiceRecord(
        BluetoothServiceRecord::New(uuid, 3, "serial")));
    properties.push_back(BluetoothProperty::NewAdapterScanMode(BluetoothScanMode::CONNECTABLE));
    std::vector<BluetoothAddressPtr> bonded;
    bonded.push_back(address());
    bonded.push_back(nullptr);
    properties.push_back(BluetoothProperty::NewBondedDevices(std::move(bonded)));
    properties.push_back(BluetoothProperty::NewDiscoveryTimeout(120));
    properties.push_back(BluetoothProperty::NewRemoteFriendlyName("headset"));
    properties.push_back(BluetoothProperty::NewRemoteRssi(-60));
    properties.push_back(BluetoothProperty::NewRemoteVersion(BluetoothRemoteVersion::New(1, 2, 3)));
    properties.push_back(BluetoothProperty::NewLocalLeFeatures(BluetoothLocalLEFeatures::New()));
    return properties;
  };
  auto service = [&] {
    return BluetoothGattServiceID::New(BluetoothGattID::New(uuid, 1, 10), true);
  };

  std::vector<WireMessage> events = Encoded<BluetoothInstance>([&](BluetoothInstancePtr& instance) {
    BluetoothHostPtr host;
    mojo::MakeRequest(&host);
    instance->Init(std::move(host), {});
    instance->OnAdapterProperties(BluetoothStatus::SUCCESS, every_property());
    instance->OnBondStateChanged(static_cast<BluetoothStatus>(99), nullptr,
                                 BluetoothBondState::BONDED);
    instance->OnGattNotify(address(), service(), BluetoothGattID::New(uuid, 2, 12), true, {9, 8});
    instance->RequestGattRead(address(), 12, 0, false, BluetoothGattDBAttributeType::CHARACTERISTIC,
                              {});
  });
  std::vector<WireMessage> commands = Encoded<BluetoothHost>([&](BluetoothHostPtr& host) {
    host->SetAdapterProperty(BluetoothProperty::NewBdname("guest"));
    host->WriteGattCharacteristic(address(), service(), BluetoothGattID::New(uuid, 2, 12),
                                  BluetoothGattValue::New(BluetoothGattStatus::SUCCESS,
                                                          std::vector<uint8_t>{1, 2}),
                                  false, {});
    host->AddCharacteristic(4, uuid, 0x12, 0x01, {});
  });
  ASSERT_EQ(events.size(), 5u);
  ASSERT_EQ(commands.size(), 3u);
  EXPECT_EQ(events[0].endpoints.size(), 1u);

  ExpectEveryCutRefused<BluetoothInstance>(events);
  ExpectEveryCutRefused<BluetoothHost>(commands);
  OnWire([&] {
    for (WireMessage& wire : events) RoundTrip<BluetoothInstance>(&wire);
    for (WireMessage& wire : commands) RoundTrip<BluetoothHost>(&wire);
  });
}

}  // namespace
}  // namespace mojopeers
}  // namespace tev
