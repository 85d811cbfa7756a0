// The process-wide idle point: exact while threads keep posting to each other, counting what a
// task's destruction posts, blind to delayed tasks not yet due, and naming what holds work when
// it gives up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "base/bind.h"
#include "base/threading/process_idle.h"
#include "base/threading/thread.h"
#include "tev/testing/event.h"
#include "tev/testing/idle.h"

namespace {

using ::testing::HasSubstr;
using tev::testing::Event;
using tev::testing::WaitForIdle;
using Runner = scoped_refptr<base::SingleThreadTaskRunner>;

class ProcessIdleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(alpha_.Start());
    ASSERT_TRUE(beta_.Start());
  }

  base::Thread alpha_{"alpha"};
  base::Thread beta_{"beta"};
};

// Each hop counts itself and posts the next to the other thread.
void Bounce(Runner here, Runner there, std::atomic<int>* hops, int left) {
  hops->fetch_add(1);
  if (left > 0) there->PostTask(FROM_HERE, base::BindOnce(&Bounce, there, here, hops, left - 1));
}

TEST_F(ProcessIdleTest, AChainOfPostsBetweenThreadsIsIdleOnlyAtItsEnd) {
  std::atomic<int> hops{0};
  alpha_.task_runner()->PostTask(
      FROM_HERE, base::BindOnce(&Bounce, alpha_.task_runner(), beta_.task_runner(), &hops, 999));
  ASSERT_TRUE(WaitForIdle());
  EXPECT_EQ(hops.load(), 1000);
}

// Posts `then` to `runner` when destroyed, as a task's bound state may.
class PostsWhenDestroyed {
 public:
  PostsWhenDestroyed(Runner runner, base::OnceClosure then)
      : runner_(std::move(runner)), then_(std::move(then)) {}
  ~PostsWhenDestroyed() { runner_->PostTask(FROM_HERE, std::move(then_)); }

 private:
  Runner runner_;
  base::OnceClosure then_;
};

TEST_F(ProcessIdleTest, WhatATaskDestroyedUnrunPostsIsWaitedFor) {
  base::Thread stopped("stopped");
  ASSERT_TRUE(stopped.Start());
  const Runner refusing = stopped.task_runner();
  stopped.Stop();
  std::atomic<int> tail_hops{0};
  // On alpha, a post that the stopped thread refuses; its destruction starts a chain on beta.
  alpha_.task_runner()->PostTask(
      FROM_HERE,
      base::BindOnce(
          [](Runner refusing, Runner alpha, Runner beta, std::atomic<int>* hops) {
            auto tail = std::make_unique<PostsWhenDestroyed>(
                beta, base::BindOnce(&Bounce, beta, alpha, hops, 99));
            EXPECT_FALSE(refusing->PostTask(
                FROM_HERE, base::BindOnce([](std::unique_ptr<PostsWhenDestroyed>) {},
                                          std::move(tail))));
          },
          refusing, alpha_.task_runner(), beta_.task_runner(), &tail_hops));
  ASSERT_TRUE(WaitForIdle());
  EXPECT_EQ(tail_hops.load(), 100);
}

TEST_F(ProcessIdleTest, ADelayedTaskNotYetDueIsNoWork) {
  std::atomic<bool> ran{false};
  alpha_.task_runner()->PostDelayedTask(
      FROM_HERE, base::BindOnce([](std::atomic<bool>* ran) { *ran = true; }, &ran),
      base::TimeDelta::FromSeconds(3600));
  ASSERT_TRUE(WaitForIdle());
  EXPECT_FALSE(ran.load());
}

TEST_F(ProcessIdleTest, GivingUpNamesTheThreadThatHoldsWork) {
  Event release;
  alpha_.task_runner()->PostTask(FROM_HERE, base::BindOnce(
                                                [](Event* release) { release->Wait(); }, &release));
  alpha_.task_runner()->PostTask(FROM_HERE, base::BindOnce([] {}));
  std::string busy;
  // The first task cannot end before `release` is signalled, so this wait must give up.
  EXPECT_FALSE(base::WaitForProcessIdle(std::chrono::milliseconds(20), &busy));
  EXPECT_THAT(busy, HasSubstr("alpha: "));
  EXPECT_THAT(busy, ::testing::Not(HasSubstr("beta")));
  release.Signal();
  EXPECT_TRUE(WaitForIdle());
}

}  // namespace
