// The clocks every delay of the host goes through: virtual time runs timers in due order, on the
// host thread, only when advanced, but for those due at once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/bind.h"
#include "base/threading/thread.h"
#include "tev/sim/clock.h"
#include "tev/testing/event.h"
#include "tev/testing/idle.h"
#include "tev/testing/run_on.h"
#include "tev/testing/thread_name.h"
#include "timer_set.h"

namespace tev {
namespace sim {
namespace {

using base::TimeDelta;
using ::testing::ElementsAre;
using tev::testing::RunOn;

class VirtualClockTest : public ::testing::Test {
 public:
  VirtualClockTest() {
    thread_.Start();
    clock_ = std::make_unique<VirtualClock>(thread_.task_runner());
  }
  ~VirtualClockTest() override {
    RunOn(thread_.task_runner(), [this] { clock_->CancelAll(); });
    thread_.Stop();
  }

  // Schedules, from the host thread, a timer that records its name, the clock and its thread.
  TimerId At(int ms, const std::string& name) {
    return RunOn(thread_.task_runner(), [=] { return clock_->Schedule(TimeDelta::FromMilliseconds(ms), Record(name)); });
  }
  base::OnceClosure Record(const std::string& name) {
    return base::BindOnce(
        [](VirtualClockTest* t, std::string name) {
          t->ran_.push_back(name + "@" + std::to_string(t->clock_->Now().InMilliseconds()) +
                            (tev::testing::CurrentThreadName() == "sim_host" ? "" : " off-thread"));
        },
        this, name);
  }

  base::Thread thread_{"sim_host"};
  std::unique_ptr<VirtualClock> clock_;
  // Written on the host thread only; read after Advance, which waits for it.
  std::vector<std::string> ran_;
};

TEST_F(VirtualClockTest, RunsDueTimersInOrderOnTheHostThreadOnlyWhenAdvanced) {
  At(300, "c");
  At(100, "a");
  At(200, "b1");
  At(200, "b2");
  At(900, "late");
  EXPECT_TRUE(ran_.empty());
  EXPECT_EQ(clock_->Now(), TimeDelta());

  ASSERT_TRUE(clock_->Advance(TimeDelta::FromMilliseconds(300)));
  // Ties run in the order scheduled; each sees the clock at its own due time.
  EXPECT_THAT(ran_, ElementsAre("a@100", "b1@200", "b2@200", "c@300"));
  EXPECT_EQ(clock_->Now().InMilliseconds(), 300);

  ran_.clear();
  ASSERT_TRUE(clock_->Advance(TimeDelta::FromMilliseconds(599)));
  EXPECT_TRUE(ran_.empty());
  EXPECT_EQ(clock_->Now().InMilliseconds(), 899);
  ASSERT_TRUE(clock_->Advance(TimeDelta::FromMilliseconds(1)));
  EXPECT_THAT(ran_, ElementsAre("late@900"));
}

TEST_F(VirtualClockTest, ATimerDueAtOnceRunsBeforeTheProcessIsIdle) {
  At(0, "now");
  At(1, "later");
  ASSERT_TRUE(tev::testing::WaitForIdle());
  EXPECT_THAT(ran_, ElementsAre("now@0"));
  EXPECT_EQ(clock_->Now(), TimeDelta());
}

TEST_F(VirtualClockTest, TimersScheduledByTimersRunWithinTheSameAdvance) {
  // A repeating timer every 250 ms, and one that cancels another before it is due.
  RunOn(thread_.task_runner(), [this] {
    struct Repeat {
      static void Tick(VirtualClockTest* t, int left) {
        t->ran_.push_back("tick@" + std::to_string(t->clock_->Now().InMilliseconds()));
        if (left > 0) {
          t->clock_->Schedule(TimeDelta::FromMilliseconds(250), base::BindOnce(&Tick, t, left - 1));
        }
      }
    };
    clock_->Schedule(TimeDelta::FromMilliseconds(250), base::BindOnce(&Repeat::Tick, this, 10));
    const TimerId doomed = clock_->Schedule(TimeDelta::FromMilliseconds(600), Record("doomed"));
    clock_->Schedule(TimeDelta::FromMilliseconds(500),
                     base::BindOnce([](VirtualClock* clock, TimerId id) { clock->Cancel(id); },
                                    clock_.get(), doomed));
  });
  ASSERT_TRUE(clock_->Advance(TimeDelta::FromMilliseconds(1000)));
  EXPECT_THAT(ran_, ElementsAre("tick@250", "tick@500", "tick@750", "tick@1000"));
}

TEST(TimerSetTest, CancelAllDropsOnlyItsOwnPendingTimers) {
  base::Thread thread("sim_host");
  thread.Start();
  VirtualClock clock(thread.task_runner());
  std::vector<std::string> ran;
  auto timers = std::make_unique<TimerSet>(&clock);
  RunOn(thread.task_runner(), [&] {
    auto note = [&](const char* name) {
      return base::BindOnce([](std::vector<std::string>* ran, const char* name) { ran->push_back(name); },
                            &ran, name);
    };
    timers->Schedule(TimeDelta::FromMilliseconds(10), note("first"));
    timers->Schedule(TimeDelta::FromMilliseconds(30), note("dropped"));
    clock.Schedule(TimeDelta::FromMilliseconds(40), note("other"));
  });
  ASSERT_TRUE(clock.Advance(TimeDelta::FromMilliseconds(20)));
  RunOn(thread.task_runner(), [&] { timers.reset(); });
  ASSERT_TRUE(clock.Advance(TimeDelta::FromMilliseconds(30)));
  EXPECT_THAT(ran, ElementsAre("first", "other"));
  thread.Stop();
  // Once the host thread is gone, advancing reports that nothing could run.
  EXPECT_FALSE(clock.Advance(TimeDelta::FromMilliseconds(1)));
}

TEST(RealClockTest, RunsTimersOnTheHostThreadAndHonoursCancel) {
  base::Thread thread("sim_host");
  thread.Start();
  RealClock clock(thread.task_runner());
  tev::testing::Event done;
  bool cancelled_ran = false;
  std::string thread_name;
  RunOn(thread.task_runner(), [&] {
    const TimerId cancelled = clock.Schedule(TimeDelta(), base::BindOnce([](bool* ran) { *ran = true; },
                                                                         &cancelled_ran));
    clock.Cancel(cancelled);
    clock.Schedule(TimeDelta(), base::BindOnce(
                                    [](std::string* name, base::RepeatingClosure done) {
                                      *name = tev::testing::CurrentThreadName();
                                      done.Run();
                                    },
                                    &thread_name, done.GetCallback()));
  });
  ASSERT_TRUE(done.Wait());
  // The cancelled timer was posted first, so it would have run first.
  EXPECT_FALSE(cancelled_ran);
  EXPECT_EQ(thread_name, "sim_host");
  thread.Stop();
}

}  // namespace
}  // namespace sim
}  // namespace tev
