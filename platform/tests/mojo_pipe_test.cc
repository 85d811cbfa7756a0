// The pipe runtime seen through generated bindings: ordering, sequences, connection errors,
// replies and pipes that change hands.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/bind.h"
#include "base/threading/process_idle.h"
#include "base/threading/thread.h"
#include "mojo_test_peers.h"
#include "tev/testing/event.h"
#include "tev/testing/flush.h"
#include "tev/testing/idle.h"
#include "tev/testing/run_on.h"

namespace tev {
namespace mojopeers {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using tev::testing::Event;
using tev::testing::FlushThread;
using tev::testing::RunOn;

using mojotest::Echo;
using PipeTest = EchoPipeTest;

TEST_F(PipeTest, CallsRunInOrderOnTheServerAndRepliesInOrderOnTheCaller) {
  Connect();
  OnClient([this] {
    for (int i = 0; i < 100; ++i) {
      echo_->Poke(i);
      echo_->Add(i, 1000, NoteSum(&client_log_));
    }
    echo_->Ping(client_log_.Noting("pong"));
  });
  Settle();

  std::vector<std::string> expected_server;
  std::vector<std::string> expected_client;
  for (int i = 0; i < 100; ++i) {
    expected_server.push_back("poke " + std::to_string(i) + " @server");
    expected_server.push_back("add " + std::to_string(i) + "+1000 @server");
    expected_client.push_back("sum " + std::to_string(i + 1000) + " @client");
  }
  expected_client.push_back("pong @client");
  EXPECT_EQ(server_log_.Take(), expected_server);
  EXPECT_EQ(client_log_.Take(), expected_client);
}

TEST_F(PipeTest, ClosingTheCallerDeliversEarlierCallsThenTheServersErrorOnce) {
  Connect();
  OnClient([this] {
    echo_->Poke(1);
    echo_->Poke(2);
    echo_->Add(3, 4, NoteSum(&client_log_));
    echo_.reset();
    EXPECT_FALSE(echo_.is_bound());
  });
  Settle();

  EXPECT_THAT(server_log_.Take(),
              ElementsAre("poke 1 @server", "poke 2 @server", "add 3+4 @server", "server error @server"));
  // The caller's own close runs none of its handlers, and the answer to a gone caller is lost.
  EXPECT_THAT(client_log_.Take(), IsEmpty());
  OnServer([this] { EXPECT_TRUE(binding_->is_bound()); });
}

TEST_F(PipeTest, ClosingTheServerDeliversItsRepliesThenTheCallersErrorAndDropsPendingOnes) {
  Connect();
  OnServer([this] { impl_->set_hold_replies(true); });
  OnClient([this] {
    echo_->Add(1, 2, NoteSum(&client_log_));
    echo_->Add(3, 4, NoteSum(&client_log_));
  });
  ASSERT_TRUE(FlushThread(server_));
  OnServer([this] {
    impl_->held_adds()[0].Run(3);
    binding_->Close();
  });
  Settle();
  EXPECT_THAT(client_log_.Take(), ElementsAre("sum 3 @client", "client error @client"));

  // Answers and calls after the close go nowhere.
  Echo::AddCallback late = RunOn(server_.task_runner(), [this] { return impl_->held_adds()[1]; });
  late.Run(7);
  OnClient([this] {
    EXPECT_TRUE(echo_.is_bound());
    EXPECT_TRUE(echo_.encountered_error());
    echo_->Add(5, 6, NoteSum(&client_log_));
  });
  Settle();
  EXPECT_THAT(client_log_.Take(), IsEmpty());
  EXPECT_THAT(server_log_.Take(), ElementsAre("add 1+2 @server", "add 3+4 @server"));
  OnClient([this] {
    echo_.reset();
    EXPECT_FALSE(echo_.is_bound());
  });
}

TEST_F(PipeTest, ReplyCallbacksAnswerOnceFromAnyThreadAndNotAtAllOnceTheCallerIsGone) {
  Connect();
  OnServer([this] { impl_->set_hold_replies(true); });
  OnClient([this] {
    echo_->Add(1, 1, NoteSum(&client_log_));
    echo_->Add(2, 2, NoteSum(&client_log_));
  });
  ASSERT_TRUE(FlushThread(server_));
  std::vector<Echo::AddCallback> held =
      RunOn(server_.task_runner(), [this] { return impl_->held_adds(); });
  ASSERT_EQ(held.size(), 2u);

  held[0].Run(2);
  held[0].Run(99);
  ASSERT_TRUE(FlushThread(client_));
  EXPECT_THAT(client_log_.Take(), ElementsAre("sum 2 @client"));

  OnClient([this] { echo_.reset(); });
  Settle();
  held[1].Run(4);
  OnServer([&held] { held[1].Run(4); });
  Settle();
  EXPECT_THAT(client_log_.Take(), IsEmpty());
  EXPECT_THAT(server_log_.Take(), ElementsAre("add 1+1 @server", "add 2+2 @server", "server error @server"));
}

TEST_F(PipeTest, MessagesSentBeforeTheServerBindsArriveInOrderOnceItDoes) {
  mojotest::EchoRequest request = MakeEchoRequest();
  OnClient([this] {
    echo_->Poke(1);
    echo_->Add(2, 3, NoteSum(&client_log_));
    echo_->Poke(4);
  });
  ASSERT_TRUE(FlushThread(server_));
  EXPECT_THAT(server_log_.Take(), IsEmpty());

  Serve(std::move(request));
  Settle();
  EXPECT_THAT(server_log_.Take(), ElementsAre("poke 1 @server", "add 2+3 @server", "poke 4 @server"));
  EXPECT_THAT(client_log_.Take(), ElementsAre("sum 5 @client"));
}

TEST_F(PipeTest, ACloseBeforeTheServerBindsIsSeenAfterTheMessagesSentBeforeIt) {
  mojotest::EchoRequest request = MakeEchoRequest();
  OnClient([this] {
    echo_->Poke(7);
    echo_->Add(1, 1, NoteSum(&client_log_));
    echo_.reset();
  });
  Serve(std::move(request));
  Settle();
  EXPECT_THAT(server_log_.Take(),
              ElementsAre("poke 7 @server", "add 1+1 @server", "server error @server"));
  EXPECT_THAT(client_log_.Take(), IsEmpty());
}

TEST_F(PipeTest, AMessageNothingReadsYetKeepsTheProcessBusyAndIsNamed) {
  mojotest::EchoRequest request = MakeEchoRequest();
  OnClient([this] { echo_->Poke(1); });
  std::string busy;
  // Nothing can read the message before Serve(), so this wait must give up.
  EXPECT_FALSE(base::WaitForProcessIdle(std::chrono::milliseconds(20), &busy));
  EXPECT_THAT(busy, HasSubstr("1 message(s), the first tev.mojotest.Echo.Poke"));
  Serve(std::move(request));
  ASSERT_TRUE(tev::testing::WaitForIdle());
  EXPECT_THAT(server_log_.Take(), ElementsAre("poke 1 @server"));
}

TEST_F(PipeTest, InterfacePointersAndRequestsTravelInMessages) {
  Connect();
  RecordingSink client_sink(&client_log_, "client sink");
  std::unique_ptr<mojo::Binding<mojotest::Sink>> client_sink_binding;  // Client thread.
  mojotest::SinkPtr opened;                                            // Client thread.
  OnClient([&] {
    mojotest::SinkPtr sink;
    client_sink_binding =
        std::make_unique<mojo::Binding<mojotest::Sink>>(&client_sink, mojo::MakeRequest(&sink));
    echo_->AttachSink(std::move(sink));
    echo_->CallSink(5, base::BindRepeating(
                           [](Journal* journal, bool sent) { journal->Add(sent ? "sent" : "unsent"); },
                           &client_log_));
    // Sent before the server has bound the request, so these wait in the pipe.
    echo_->OpenSink(mojo::MakeRequest(&opened));
    opened->Push(9);
    opened->DeliverPoint(mojotest::Point::New(1, 2), nullptr);
  });
  Settle();

  // The pointer arrives bound on the server's sequence (a pointer used off its sequence fails a
  // check), and the request is served there.
  EXPECT_THAT(server_log_.Take(), ElementsAre("attach bound=1 @server", "open @server",
                                              "server sink push 9 @server",
                                              "server sink point 1,2 no-other @server"));
  EXPECT_THAT(client_log_.Take(), UnorderedElementsAre("client sink push 5 @client", "sent @client"));
  OnClient([&] {
    client_sink_binding.reset();
    opened.reset();
  });
}

TEST_F(PipeTest, PassInterfaceMovesTheCallingEndAndDropsRepliesStillAwaited) {
  Connect();
  OnServer([this] { impl_->set_hold_replies(true); });
  base::Thread other("other");
  ASSERT_TRUE(other.Start());
  Journal other_log;
  mojotest::EchoPtr moved;  // Thread "other".

  OnClient([this] { echo_->Add(1, 2, NoteSum(&client_log_)); });
  mojotest::EchoPtrInfo info = RunOn(client_.task_runner(), [this] {
    mojotest::EchoPtrInfo passed = echo_.PassInterface();
    EXPECT_FALSE(echo_.is_bound());
    return passed;
  });
  ASSERT_TRUE(info.is_valid());
  RunOn(other.task_runner(), [&] {
    moved.Bind(std::move(info));
    moved->Add(10, 20, NoteSum(&other_log));
  });
  ASSERT_TRUE(FlushThread(server_));
  OnServer([this] {
    ASSERT_EQ(impl_->held_adds().size(), 2u);
    impl_->held_adds()[0].Run(3);
    impl_->held_adds()[1].Run(30);
  });
  ASSERT_TRUE(FlushThread(other));
  ASSERT_TRUE(FlushThread(client_));

  // The answer to the call made before passing must not reach a call made after it.
  EXPECT_THAT(other_log.Take(), ElementsAre("sum 30 @other"));
  EXPECT_THAT(client_log_.Take(), IsEmpty());
  EXPECT_THAT(server_log_.Take(), ElementsAre("add 1+2 @server", "add 10+20 @server"));
  RunOn(other.task_runner(), [&] { moved.reset(); });
}

TEST_F(PipeTest, AConnectionErrorPendingWhenTheEndIsPassedReachesItsNewSequence) {
  Connect();
  base::Thread other("other");
  ASSERT_TRUE(other.Start());
  Journal other_log;
  mojotest::EchoPtr moved;  // Thread "other".
  mojotest::EchoPtrInfo info;

  // The client passes its end while the notice of the server's close waits behind it.
  Event closed;
  client_.task_runner()->PostTask(
      FROM_HERE, base::BindOnce(
                     [](Event* closed, mojotest::EchoPtr* echo, mojotest::EchoPtrInfo* info) {
                       closed->Wait();
                       *info = echo->PassInterface();
                     },
                     &closed, &echo_, &info));
  OnServer([this] { binding_.reset(); });
  closed.Signal();
  ASSERT_TRUE(FlushThread(client_));
  ASSERT_TRUE(info.is_valid());

  RunOn(other.task_runner(), [&] {
    moved.Bind(std::move(info));
    moved.set_connection_error_handler(other_log.Noting("moved error"));
  });
  ASSERT_TRUE(FlushThread(other));
  EXPECT_THAT(other_log.Take(), ElementsAre("moved error @other"));
  EXPECT_THAT(client_log_.Take(), IsEmpty());
  RunOn(other.task_runner(), [&] { moved.reset(); });
}

}  // namespace
}  // namespace mojopeers
}  // namespace tev
