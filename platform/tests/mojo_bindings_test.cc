// Generated records, unions and enums, on their own and through a pipe, and the receiving end's
// refusal of messages that break their definitions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth/uuid.h"
#include "mojo_test_peers.h"
#include "tev/testing/flush.h"
#include "tev/testing/future.h"
#include "tev/testing/log_capture.h"

namespace tev {
namespace mojopeers {
namespace {

using ::testing::ElementsAre;
using mojotest::Choice;
using mojotest::ChoicePtr;
using mojotest::Color;
using mojotest::Level;
using mojotest::Point;
using mojotest::Sample;
using mojotest::SamplePtr;
using tev::testing::Future;
using tev::testing::LogCapture;

TEST(GeneratedRecordTest, NewRecordsCarryTheirFixedArraysAndClonesAreDeep) {
  // A record built field by field must not fail validation on a fixed array left empty.
  SamplePtr blank = Sample::New();
  EXPECT_THAT(blank->tag, ElementsAre(0, 0, 0, 0));
  EXPECT_TRUE(blank->origin.is_null());

  SamplePtr sample = MakeSample();
  SamplePtr copy = sample.Clone();
  ASSERT_TRUE(copy.Equals(sample));
  copy->origin->x = 100;
  copy->path[0]->y = 100;
  copy->gaps[1]->x = 100;
  copy->choice->set_text("changed");
  EXPECT_EQ(sample->origin->x, 1);
  EXPECT_EQ(sample->path[0]->y, 6);
  EXPECT_EQ(sample->gaps[1]->x, 9);
  EXPECT_EQ(sample->choice->get_text(), "choice");
  EXPECT_TRUE(copy->gaps[0].is_null());

  SamplePtr none;
  EXPECT_TRUE(none.Clone().is_null());
  EXPECT_TRUE(none.Equals(SamplePtr()));
  EXPECT_FALSE(none.Equals(sample));
  EXPECT_FALSE(sample.Equals(none));
}

TEST(GeneratedRecordTest, EqualsLooksAtEveryField) {
  const std::vector<std::pair<const char*, std::function<void(Sample&)>>> changes = {
      {"name", [](Sample& s) { s.name += "!"; }},
      {"origin", [](Sample& s) { s.origin->y += 1; }},
      {"extra cleared", [](Sample& s) { s.extra = nullptr; }},
      {"tag", [](Sample& s) { s.tag[3] = 0; }},
      {"values", [](Sample& s) { s.values.push_back(0); }},
      {"path", [](Sample& s) { s.path[1]->x += 1; }},
      {"gap filled", [](Sample& s) { s.gaps[0] = Point::New(); }},
      {"color", [](Sample& s) { s.color = Color::RED; }},
      {"level", [](Sample& s) { s.level = Level::LOW; }},
      {"flag", [](Sample& s) { s.flag = false; }},
      {"ratio", [](Sample& s) { s.ratio = 0.5; }},
      {"big", [](Sample& s) { s.big += 1; }},
      {"id", [](Sample& s) { s.id = bluetooth::Uuid::From16Bit(0x180f); }},
      {"choice value", [](Sample& s) { s.choice->set_text("other"); }},
      {"choice cleared", [](Sample& s) { s.choice = nullptr; }},
  };
  const SamplePtr base = MakeSample();
  for (const auto& [field, change] : changes) {
    SamplePtr changed = base.Clone();
    change(*changed);
    EXPECT_FALSE(changed.Equals(base)) << field;
    EXPECT_FALSE(base.Equals(changed)) << field;
  }
}

TEST(GeneratedUnionTest, EachTagHoldsItsOwnValueAndTagsNeverCompareEqual) {
  std::vector<ChoicePtr> choices = EveryChoice();
  EXPECT_EQ(choices[0]->which(), Choice::Tag::NUMBER);
  EXPECT_EQ(choices[0]->get_number(), 5);
  EXPECT_EQ(choices[1]->which(), Choice::Tag::TEXT);
  EXPECT_EQ(choices[1]->get_text(), "five");
  EXPECT_EQ(choices[2]->which(), Choice::Tag::POINT);
  EXPECT_EQ(choices[2]->get_point()->y, 5);
  EXPECT_EQ(choices[3]->which(), Choice::Tag::BYTES);
  EXPECT_THAT(choices[3]->get_bytes(), ElementsAre(5));
  EXPECT_EQ(choices[4]->which(), Choice::Tag::COLOR);
  EXPECT_EQ(choices[4]->get_color(), Color::GREEN);

  for (size_t i = 0; i < choices.size(); ++i) {
    EXPECT_TRUE(choices[i].Clone().Equals(choices[i])) << i;
    EXPECT_EQ(choices[i]->is_number(), i == 0) << i;
    EXPECT_EQ(choices[i]->is_text(), i == 1) << i;
    EXPECT_EQ(choices[i]->is_point(), i == 2) << i;
    EXPECT_EQ(choices[i]->is_bytes(), i == 3) << i;
    EXPECT_EQ(choices[i]->is_color(), i == 4) << i;
    for (size_t j = 0; j < choices.size(); ++j) {
      if (i != j) {
        EXPECT_FALSE(choices[i].Equals(choices[j])) << i << " vs " << j;
      }
    }
  }

  ChoicePtr switched = Choice::NewNumber(1);
  switched->set_point(Point::New(3, 4));
  EXPECT_EQ(switched->which(), Choice::Tag::POINT);
  EXPECT_FALSE(switched->is_number());
  EXPECT_EQ(switched->get_point()->x, 3);
}

TEST(GeneratedEnumTest, OnlyDeclaredValuesAreKnown) {
  EXPECT_TRUE(mojotest::IsKnownEnumValue(Color::RED));
  EXPECT_TRUE(mojotest::IsKnownEnumValue(Color::GREEN));
  EXPECT_TRUE(mojotest::IsKnownEnumValue(Color::BLUE));
  EXPECT_EQ(static_cast<int>(Color::BLUE), 6);
  for (int unknown : {-1, 1, 4, 7}) {
    EXPECT_FALSE(mojotest::IsKnownEnumValue(static_cast<Color>(unknown))) << unknown;
  }
  EXPECT_TRUE(mojotest::IsKnownEnumValue(Level::HIGH));
  EXPECT_FALSE(mojotest::IsKnownEnumValue(static_cast<Level>(2)));
}

using BindingsTest = EchoPipeTest;

mojotest::Echo::EchoSampleCallback NoteEcho(Journal* journal) {
  return base::BindRepeating(
      [](Journal* journal, SamplePtr sample) { journal->Add("echoed " + sample->name); }, journal);
}

TEST_F(BindingsTest, EveryRecordKindSurvivesTheTripThereAndBack) {
  std::vector<SamplePtr> samples;
  samples.push_back(MakeSample());
  SamplePtr sparse = MakeSample();
  sparse->extra = nullptr;
  sparse->choice = nullptr;
  sparse->values.clear();
  sparse->path.clear();
  sparse->gaps.clear();
  sparse->gaps.resize(2);
  samples.push_back(std::move(sparse));
  for (ChoicePtr& choice : EveryChoice()) {
    SamplePtr sample = MakeSample();
    sample->choice = std::move(choice);
    samples.push_back(std::move(sample));
  }
  // An [Extensible] enum lets values it does not know through.
  SamplePtr newer = MakeSample();
  newer->level = static_cast<Level>(42);
  samples.push_back(std::move(newer));

  Connect();
  for (size_t i = 0; i < samples.size(); ++i) {
    Future<SamplePtr> reply;
    OnClient([&] { echo_->EchoSample(samples[i].Clone(), reply.GetCallback()); });
    SamplePtr back = reply.Take();
    EXPECT_TRUE(back.Equals(samples[i])) << "sample " << i;
  }
  Settle();
  EXPECT_THAT(client_log_.Take(), ::testing::IsEmpty());
}

TEST_F(BindingsTest, MalformedRequestsCloseThePipeUnseenByTheServer) {
  const std::vector<std::pair<const char*, std::function<void(Sample&)>>> breaks = {
      {"short fixed array", [](Sample& s) { s.tag.resize(3); }},
      {"long fixed array", [](Sample& s) { s.tag.push_back(5); }},
      {"null struct", [](Sample& s) { s.origin = nullptr; }},
      {"null array element", [](Sample& s) { s.path.push_back(nullptr); }},
      {"null struct in a union", [](Sample& s) { s.choice = Choice::NewPoint(nullptr); }},
      {"unknown enum value", [](Sample& s) { s.color = static_cast<Color>(1); }},
      {"unknown enum value in a union",
       [](Sample& s) { s.choice = Choice::NewColor(static_cast<Color>(7)); }},
  };
  for (const auto& [what, breakIt] : breaks) {
    SCOPED_TRACE(what);
    LogCapture logs;
    Connect();
    SamplePtr bad = MakeSample();
    breakIt(*bad);
    OnClient([&] {
      echo_->Poke(1);
      echo_->EchoSample(std::move(bad), NoteEcho(&client_log_));
      echo_->Poke(2);
    });
    Settle();
    EXPECT_THAT(server_log_.Take(), ElementsAre("poke 1 @server", "server error @server"));
    EXPECT_THAT(client_log_.Take(), ElementsAre("client error @client"));
    EXPECT_TRUE(logs.Contains(logging::LOG_ERROR, "malformed tev.mojotest.Echo.EchoSample message"))
        << ::testing::PrintToString(logs.Messages());
  }
}

TEST_F(BindingsTest, AMalformedMessageClosesOnlyItsOwnPipe) {
  LogCapture logs;
  Connect();
  mojotest::SinkPtr sink;  // Client thread.
  OnClient([&] {
    echo_->OpenSink(mojo::MakeRequest(&sink));
    sink.set_connection_error_handler(client_log_.Noting("sink error"));
    sink->DeliverPoint(Point::New(1, 1), nullptr);
    sink->DeliverPoint(nullptr, Point::New(2, 2));
    sink->Push(3);
  });
  Settle();
  OnClient([this] { echo_->Poke(4); });
  Settle();
  EXPECT_THAT(server_log_.Take(), ElementsAre("open @server", "server sink point 1,1 no-other @server",
                                              "poke 4 @server"));
  EXPECT_THAT(client_log_.Take(), ElementsAre("sink error @client"));
  EXPECT_TRUE(logs.Contains(logging::LOG_ERROR, "malformed tev.mojotest.Sink.DeliverPoint message"));
  OnClient([&] { sink.reset(); });
}

TEST_F(BindingsTest, AMalformedReplyClosesThePipeWithoutRunningTheCallback) {
  LogCapture logs;
  Connect();
  OnServer([this] { impl_->set_hold_replies(true); });
  OnClient([this] { echo_->EchoSample(MakeSample(), NoteEcho(&client_log_)); });
  ASSERT_TRUE(tev::testing::FlushThread(server_));
  OnServer([this] {
    SamplePtr bad = MakeSample();
    bad->tag.clear();
    impl_->held_samples()[0].Run(std::move(bad));
  });
  Settle();
  EXPECT_THAT(client_log_.Take(), ElementsAre("client error @client"));
  EXPECT_THAT(server_log_.Take(), ElementsAre("echo sensor @server", "server error @server"));
  EXPECT_TRUE(logs.Contains(logging::LOG_ERROR, "malformed tev.mojotest.Echo.EchoSample reply"));
}

}  // namespace
}  // namespace mojopeers
}  // namespace tev
