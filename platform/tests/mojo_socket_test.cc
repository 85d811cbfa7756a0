// Pipes over a Unix socket: calls, replies and the pipes they carry cross it as bytes, closing
// one pipe leaves the others, and anything malformed ends the whole connection on both sides.

#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "mojo/public/cpp/system/socket_connection.h"
#include "mojo_test_peers.h"
#include "tev/testing/future.h"
#include "tev/testing/log_capture.h"

namespace tev {
namespace mojopeers {
namespace {

using mojo::SocketConnection;

// Echo's ordinals: the methods' places in its declaration.
constexpr uint32_t kPoke = 0;
constexpr uint32_t kAttachSink = 4;

class FutureSink final : public mojotest::Sink {
 public:
  void Push(int32_t value) override { pushed.GetCallback().Run(value); }
  void DeliverPoint(mojotest::PointPtr, mojotest::PointPtr) override {}
  tev::testing::Future<int32_t> pushed;
};

// A frame written by hand, little-endian, so that the tests pin the format.
std::vector<uint8_t> RawFrame(uint32_t pipe, uint32_t kind, uint32_t name, uint32_t flags,
                              const std::vector<uint32_t>& new_pipes,
                              const std::vector<uint8_t>& bytes, uint32_t length_override = 0) {
  std::vector<uint8_t> out;
  auto u32 = [&out](uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<uint8_t>(value >> shift));
  };
  u32(length_override ? length_override
                      : static_cast<uint32_t>(28 + 4 * new_pipes.size() + bytes.size()));
  u32(pipe);
  u32(kind);
  u32(name);
  u32(flags);
  u32(0);
  u32(0);
  u32(static_cast<uint32_t>(new_pipes.size()));
  for (uint32_t id : new_pipes) u32(id);
  out.insert(out.end(), bytes.begin(), bytes.end());
  return out;
}

// The Echo fixture's client and server, each behind its own connection on one socket pair.
class SocketPipeTest : public EchoPipeTest {
 protected:
  void SetUp() override {
    EchoPipeTest::SetUp();
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    client_side_ = std::make_unique<SocketConnection>(fds[0], SocketConnection::Side::kInitiator, "client");
    server_side_ = std::make_unique<SocketConnection>(fds[1], SocketConnection::Side::kAcceptor, "server");
    mojo::ScopedMessagePipeHandle client_end = client_side_->TakeFirstPipe<mojotest::Echo>();
    Serve(mojotest::EchoRequest(server_side_->TakeFirstPipe<mojotest::Echo>()));
    OnClient([this, &client_end] {
      echo_.Bind(mojo::InterfacePtrInfo<mojotest::Echo>(std::move(client_end)));
      echo_.set_connection_error_handler(client_error_.GetCallback());
    });
    OnServer([this] { binding_->set_connection_error_handler(server_error_.GetCallback()); });
    client_side_->Start(client_ended_.GetCallback());
    server_side_->Start(server_ended_.GetCallback());
  }

  void TearDown() override {
    client_side_.reset();
    server_side_.reset();
    EchoPipeTest::TearDown();
  }

  int32_t Add(int32_t a, int32_t b) {
    tev::testing::Future<int32_t> sum;
    OnClient([&] { echo_->Add(a, b, sum.GetCallback()); });
    return sum.Take();
  }

  void Ping() {
    tev::testing::Event pong;
    OnClient([&] { echo_->Ping(pong.GetCallback()); });
    ASSERT_TRUE(pong.Wait());
  }

  std::unique_ptr<SocketConnection> client_side_;
  std::unique_ptr<SocketConnection> server_side_;
  tev::testing::Event client_error_;
  tev::testing::Event server_error_;
  tev::testing::Event client_ended_;
  tev::testing::Event server_ended_;
  FutureSink client_sink_;
};

TEST_F(SocketPipeTest, CallsRepliesAndThePipesTheyCarryCrossTheSocket) {
  EXPECT_EQ(Add(2, 3), 5);

  // A record with every kind of field comes back equal.
  tev::testing::Future<mojotest::SamplePtr> echoed;
  OnClient([&] { echo_->EchoSample(MakeSample(), echoed.GetCallback()); });
  EXPECT_TRUE(echoed.Take().Equals(MakeSample()));

  // An interface pointer sent over: the server calls back through it.
  mojo::Binding<mojotest::Sink> sink_binding(&client_sink_);
  OnClient([&] {
    mojotest::SinkPtr sink;
    sink_binding.Bind(mojo::MakeRequest(&sink));
    echo_->AttachSink(std::move(sink));
  });
  tev::testing::Future<bool> sent;
  OnClient([&] { echo_->CallSink(9, sent.GetCallback()); });
  EXPECT_TRUE(sent.Take());
  EXPECT_EQ(client_sink_.pushed.Take(), 9);

  // A request sent over: the client's calls reach the server's binding of it, in order.
  mojotest::SinkPtr opened;
  OnClient([&] {
    echo_->OpenSink(mojo::MakeRequest(&opened));
    opened->Push(1);
    opened->Push(2);
  });
  Ping();
  Ping();
  EXPECT_EQ(server_log_.Take(), (std::vector<std::string>{"add 2+3 @server", "echo sensor @server",
                                                         "attach bound=1 @server", "open @server",
                                                         "server sink push 1 @server",
                                                         "server sink push 2 @server"}));
  EXPECT_FALSE(client_ended_.IsSignaled());
  OnClient([&] {
    opened.reset();
    sink_binding.Close();
  });
}

TEST_F(SocketPipeTest, ClosingOnePipeLeavesTheOthersOpen) {
  mojo::Binding<mojotest::Sink> sink_binding(&client_sink_);
  OnClient([&] {
    mojotest::SinkPtr sink;
    sink_binding.Bind(mojo::MakeRequest(&sink));
    echo_->AttachSink(std::move(sink));
  });
  EXPECT_EQ(Add(1, 1), 2);

  OnServer([this] { binding_.reset(); });
  EXPECT_TRUE(client_error_.Wait());
  OnServer([this] { impl_->sink()->Push(4); });
  EXPECT_EQ(client_sink_.pushed.Take(), 4);
  EXPECT_FALSE(client_ended_.IsSignaled());
  EXPECT_FALSE(server_ended_.IsSignaled());
  OnClient([&] { sink_binding.Close(); });
}

TEST_F(SocketPipeTest, EitherSideEndingClosesEveryPipeOnBoth) {
  EXPECT_EQ(Add(1, 2), 3);
  client_side_->Close();
  EXPECT_TRUE(client_error_.Wait());
  EXPECT_TRUE(server_error_.Wait());
  EXPECT_TRUE(client_ended_.Wait());
  EXPECT_TRUE(server_ended_.Wait());
  // Calls made afterwards go nowhere and hang nothing.
  OnClient([this] { echo_->Poke(1); });
}

// A serving connection whose peer is the test, writing bytes by hand.
class RawPeerTest : public EchoPipeTest {
 protected:
  void SetUp() override {
    EchoPipeTest::SetUp();
    Connect();
  }

  void TearDown() override {
    Disconnect();
    EchoPipeTest::TearDown();
  }

  void Connect() {
    error_ = tev::testing::Event();
    ended_ = tev::testing::Event();
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    peer_ = fds[0];
    connection_ = std::make_unique<SocketConnection>(fds[1], SocketConnection::Side::kAcceptor, "under test");
    Serve(mojotest::EchoRequest(connection_->TakeFirstPipe<mojotest::Echo>()));
    OnServer([this] { binding_->set_connection_error_handler(error_.GetCallback()); });
    connection_->Start(ended_.GetCallback());
  }

  void Disconnect() {
    connection_.reset();
    OnServer([this] { binding_.reset(); });
    close(peer_);
  }

  void Write(const std::vector<uint8_t>& bytes) {
    ASSERT_EQ(send(peer_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }

  // Every byte the peer reads until the connection ends.
  std::vector<uint8_t> ReadUntilEnd() {
    std::vector<uint8_t> all;
    uint8_t buffer[256];
    for (;;) {
      const ssize_t got = recv(peer_, buffer, sizeof(buffer), 0);
      if (got <= 0) return all;
      all.insert(all.end(), buffer, buffer + got);
    }
  }

  int peer_ = -1;
  std::unique_ptr<SocketConnection> connection_;
  tev::testing::Event error_;
  tev::testing::Event ended_;
};

TEST_F(RawPeerTest, WhatCannotBeAMessageEndsTheConnectionWithOneLine) {
  const std::vector<uint8_t> poke = {7, 0, 0, 0};
  const std::vector<uint8_t> firstPipe = {0, 0, 0, 0};
  std::vector<uint8_t> overcounted = RawFrame(0, 0, kAttachSink, 0, {}, firstPipe);
  overcounted[28] = 2;
  std::vector<uint8_t> reusedId = RawFrame(0, 0, kAttachSink, 0, {1}, firstPipe);
  const std::vector<uint8_t> again = reusedId;
  reusedId.insert(reusedId.end(), again.begin(), again.end());
  struct Case {
    const char* label;
    std::vector<uint8_t> bytes;
    const char* problem;
    // Messages that reached the server before the bad one.
    size_t accepted = 0;
  } cases[] = {
      {"oversized", RawFrame(0, 0, 0, 0, {}, {}, 0x7fffffff), "a frame of 2147483647 bytes"},
      {"unknown kind", RawFrame(0, 9, 0, 0, {}, {}), "a frame of unknown kind 9"},
      {"unopened pipe", RawFrame(5, 0, 0, 0, {}, poke), "a frame for pipe 5, which was never opened"},
      {"pipe id of the wrong side", RawFrame(0, 0, kAttachSink, 0,
                                             {0x80000001u}, {0, 0, 0, 0}),
       "a new pipe with id 2147483649"},
      {"short message", RawFrame(0, 0, kPoke, 0, {}, {7, 0}),
       "a malformed tev.mojotest.Echo message (ordinal 0)"},
      {"reply flag on a one-way call", RawFrame(0, 0, kPoke, 2, {}, poke),
       "a malformed tev.mojotest.Echo message (ordinal 0)"},
      {"truncated", RawFrame(0, 0, 0, 0, {}, poke, 40), "the socket ended inside a frame"},
      {"truncated length", {28, 0}, "the socket ended inside a frame's length"},
      {"more new pipes than bytes", overcounted, "a frame naming 2 new pipes"},
      {"a pipe id given twice", reusedId, "a new pipe with id 1", 1},
      {"a closing notice with contents", RawFrame(0, 1, 0, 0, {}, poke), "a pipe-closed frame with contents"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    Disconnect();
    tev::testing::LogCapture log;
    Connect();
    Write(c.bytes);
    shutdown(peer_, SHUT_WR);
    EXPECT_TRUE(ended_.Wait());
    EXPECT_TRUE(error_.Wait());
    EXPECT_TRUE(ReadUntilEnd().empty());
    EXPECT_EQ(log.Messages(), (std::vector<std::string>{"mojo: under test: " + std::string(c.problem) +
                                                        "; closing the connection"}));
    EXPECT_EQ(server_log_.Take().size(), c.accepted) << "a malformed message reached the server";
  }
}

TEST_F(RawPeerTest, AMessageForAPipeClosedHereIsDroppedAndTheClosingIsAnnounced) {
  OnServer([this] { binding_.reset(); });
  // The closing notice for pipe 0 is all that comes back.
  std::vector<uint8_t> closed = RawFrame(0, 1, 0, 0, {}, {});
  std::vector<uint8_t> got(closed.size());
  ASSERT_EQ(recv(peer_, got.data(), got.size(), MSG_WAITALL), static_cast<ssize_t>(got.size()));
  EXPECT_EQ(got, closed);

  // A late message that carries a pipe: that pipe is closed at once, and the peer told.
  Write(RawFrame(0, 0, kAttachSink, 0, {1}, {0, 0, 0, 0}));
  closed = RawFrame(1, 1, 0, 0, {}, {});
  ASSERT_EQ(recv(peer_, got.data(), got.size(), MSG_WAITALL), static_cast<ssize_t>(got.size()));
  EXPECT_EQ(got, closed);

  tev::testing::LogCapture log;
  Write(RawFrame(0, 0, kPoke, 0, {}, {8, 0, 0, 0}));
  // Only a frame that is wrong in itself ends it; the one before it was merely late.
  Write(RawFrame(3, 0, 0, 0, {}, {}));
  EXPECT_TRUE(ended_.Wait());
  EXPECT_EQ(log.Messages(), (std::vector<std::string>{
                                "mojo: under test: a frame for pipe 3, which was never opened; closing the connection"}));
  EXPECT_TRUE(server_log_.Take().empty());
}

}  // namespace
}  // namespace mojopeers
}  // namespace tev
