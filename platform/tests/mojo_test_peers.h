#pragma once

// Both ends of the test interfaces for the runtime and bindings tests: a server and a sink that
// record what reaches them, and a fixture that serves an Echo pipe between two threads.

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/threading/thread.h"
#include "bluetooth/uuid.h"
#include "mojo/public/cpp/bindings/binding.h"
#include "tev/testing/idle.h"
#include "tev/testing/run_on.h"
#include "tev/testing/thread_name.h"
#include "testmojom/test_types.mojom.h"

namespace tev {
namespace mojopeers {

// What happened, in order, each entry followed by " @" and the thread it happened on.
class Journal {
 public:
  void Add(const std::string& what) {
    std::string entry = what + " @" + tev::testing::CurrentThreadName();
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.push_back(std::move(entry));
  }

  // Everything noted since the last Take().
  std::vector<std::string> Take() {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(entries_, {});
  }

  // Notes `what` each time it runs: a connection-error handler or an empty reply.
  base::RepeatingClosure Noting(std::string what) {
    return base::BindRepeating(&Journal::Add, base::Unretained(this), std::move(what));
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> entries_;
};

inline mojotest::Echo::AddCallback NoteSum(Journal* journal, std::string label = "sum") {
  return base::BindRepeating(
      [](Journal* journal, const std::string& label, int32_t sum) {
        journal->Add(label + " " + std::to_string(sum));
      },
      journal, std::move(label));
}

// A record with every kind of field filled in.
inline mojotest::SamplePtr MakeSample() {
  mojotest::SamplePtr sample = mojotest::Sample::New();
  sample->name = "sensor";
  sample->origin = mojotest::Point::New(1, 2);
  sample->extra = mojotest::Point::New(-3, 4);
  sample->tag = {1, 2, 3, 4};
  sample->values = {7, -8, 9};
  sample->path.push_back(mojotest::Point::New(5, 6));
  sample->path.push_back(mojotest::Point::New(7, 8));
  sample->gaps.push_back(nullptr);
  sample->gaps.push_back(mojotest::Point::New(9, 10));
  sample->color = mojotest::Color::BLUE;
  sample->level = mojotest::Level::HIGH;
  sample->flag = true;
  sample->ratio = 0.25;
  sample->big = int64_t{1} << 40;
  sample->id = bluetooth::Uuid::From16Bit(0x180d);
  sample->choice = mojotest::Choice::NewText("choice");
  return sample;
}

// One of each union member, each value distinct from the others' under a plain comparison.
inline std::vector<mojotest::ChoicePtr> EveryChoice() {
  std::vector<mojotest::ChoicePtr> choices;
  choices.push_back(mojotest::Choice::NewNumber(5));
  choices.push_back(mojotest::Choice::NewText("five"));
  choices.push_back(mojotest::Choice::NewPoint(mojotest::Point::New(5, 5)));
  choices.push_back(mojotest::Choice::NewBytes({5}));
  choices.push_back(mojotest::Choice::NewColor(mojotest::Color::GREEN));
  return choices;
}

// Serves Sink wherever it is bound.
class RecordingSink : public mojotest::Sink {
 public:
  RecordingSink(Journal* journal, std::string name) : journal_(journal), name_(std::move(name)) {}

  void Push(int32_t value) override { journal_->Add(name_ + " push " + std::to_string(value)); }
  void DeliverPoint(mojotest::PointPtr point, mojotest::PointPtr other) override {
    journal_->Add(name_ + " point " + std::to_string(point->x) + "," + std::to_string(point->y) +
                  (other ? " other" : " no-other"));
  }

 private:
  Journal* journal_;
  std::string name_;
};

// Serves Echo; server thread. Holding replies keeps each reply callback for the test to run.
class EchoServer : public mojotest::Echo {
 public:
  explicit EchoServer(Journal* journal) : journal_(journal), sink_impl_(journal, "server sink") {}

  void set_hold_replies(bool hold) { hold_replies_ = hold; }
  std::vector<AddCallback>& held_adds() { return held_adds_; }
  std::vector<EchoSampleCallback>& held_samples() { return held_samples_; }
  mojotest::SinkPtr& sink() { return sink_; }

  void Poke(int32_t value) override { journal_->Add("poke " + std::to_string(value)); }

  void Add(int32_t a, int32_t b, const AddCallback& callback) override {
    journal_->Add("add " + std::to_string(a) + "+" + std::to_string(b));
    if (hold_replies_) {
      held_adds_.push_back(callback);
    } else {
      callback.Run(a + b);
    }
  }

  void EchoSample(mojotest::SamplePtr sample, const EchoSampleCallback& callback) override {
    journal_->Add("echo " + sample->name);
    if (hold_replies_) {
      held_samples_.push_back(callback);
    } else {
      callback.Run(std::move(sample));
    }
  }

  void Ping(const PingCallback& callback) override { callback.Run(); }

  void AttachSink(mojotest::SinkPtr sink) override {
    journal_->Add(std::string("attach bound=") + (sink.is_bound() ? "1" : "0"));
    sink_ = std::move(sink);
  }

  void OpenSink(mojotest::SinkRequest request) override {
    journal_->Add("open");
    sink_binding_.Bind(std::move(request));
  }

  void CallSink(int32_t value, const CallSinkCallback& callback) override {
    if (sink_) sink_->Push(value);
    callback.Run(sink_.is_bound());
  }

 private:
  Journal* journal_;
  bool hold_replies_ = false;
  std::vector<AddCallback> held_adds_;
  std::vector<EchoSampleCallback> held_samples_;
  mojotest::SinkPtr sink_;
  RecordingSink sink_impl_;
  mojo::Binding<mojotest::Sink> sink_binding_{&sink_impl_};
};

// An Echo pipe whose calling end lives on thread "client" and whose serving end lives on thread
// "server". Mojo objects are only touched on their own thread, through RunOn.
class EchoPipeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(client_.Start());
    ASSERT_TRUE(server_.Start());
  }

  void TearDown() override {
    tev::testing::RunOn(client_.task_runner(), [this] { echo_.reset(); });
    tev::testing::RunOn(server_.task_runner(), [this] {
      binding_.reset();
      impl_.reset();
    });
    client_.Stop();
    server_.Stop();
  }

  // Binds echo_ on the client and returns its serving end, not yet served.
  mojotest::EchoRequest MakeEchoRequest() {
    return tev::testing::RunOn(client_.task_runner(), [this] { return mojo::MakeRequest(&echo_); });
  }

  void Serve(mojotest::EchoRequest request) {
    tev::testing::RunOn(server_.task_runner(), [this, &request] {
      binding_ = std::make_unique<mojo::Binding<mojotest::Echo>>(impl_.get(), std::move(request));
      binding_->set_connection_error_handler(server_log_.Noting("server error"));
    });
  }

  void Connect() {
    Serve(MakeEchoRequest());
    tev::testing::RunOn(client_.task_runner(), [this] {
      echo_.set_connection_error_handler(client_log_.Noting("client error"));
    });
  }

  template <typename F>
  void OnClient(F task) {
    tev::testing::RunOn(client_.task_runner(), std::move(task));
  }
  template <typename F>
  void OnServer(F task) {
    tev::testing::RunOn(server_.task_runner(), std::move(task));
  }

  // Lets every message in flight arrive, however many times it bounces between the threads.
  void Settle() { ASSERT_TRUE(tev::testing::WaitForIdle()); }

  Journal server_log_;
  Journal client_log_;
  std::unique_ptr<EchoServer> impl_ = std::make_unique<EchoServer>(&server_log_);
  std::unique_ptr<mojo::Binding<mojotest::Echo>> binding_;  // Server thread.
  mojotest::EchoPtr echo_;                                   // Client thread.
  base::Thread client_{"client"};
  base::Thread server_{"server"};
};

}  // namespace mojopeers
}  // namespace tev
