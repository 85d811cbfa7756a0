#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/threading/sequenced_task_runner_handle.h"
#include "base/threading/thread.h"
#include "base/threading/thread_task_runner_handle.h"
#include "tev/testing/event.h"
#include "tev/testing/flush.h"
#include "tev/testing/run_on.h"
#include "tev/testing/thread_name.h"

namespace {

using tev::testing::Event;
using tev::testing::FlushThread;
using tev::testing::RunOn;

// Sets a flag when destroyed, so a test can see that a task's bound arguments were released.
class DestructionFlag {
 public:
  explicit DestructionFlag(std::atomic<bool>* destroyed) : destroyed_(destroyed) {}
  ~DestructionFlag() { *destroyed_ = true; }

 private:
  std::atomic<bool>* destroyed_;
};

// A task that records whether it ran and, through its bound flag, when it was destroyed.
base::OnceClosure FlaggedTask(std::atomic<bool>* ran, std::atomic<bool>* destroyed) {
  return base::BindOnce(
      [](std::atomic<bool>* ran, std::unique_ptr<DestructionFlag>) { *ran = true; }, ran,
      std::make_unique<DestructionFlag>(destroyed));
}

// Appends to a list that only the worker thread touches until the test flushes or stops it.
base::OnceClosure Append(std::vector<std::string>* log, std::string entry) {
  return base::BindOnce(
      [](std::vector<std::string>* log, std::string entry) { log->push_back(std::move(entry)); },
      log, std::move(entry));
}

// Keeps the calling worker busy until Stop() has begun on `thread`, so that whatever is queued
// behind it is still pending when Stop() looks at the queue.
void BlockUntilStopBegins(const base::Thread* thread) {
  const auto give_up = std::chrono::steady_clock::now() + tev::testing::kDeadlockGuardTimeout;
  while (thread->IsRunning()) {
    ASSERT_LT(std::chrono::steady_clock::now(), give_up) << "Stop() never began";
    std::this_thread::yield();
  }
}

TEST(ThreadTaskOrderTest, TasksRunInPostingOrderAndFollowUpsQueueBehind) {
  base::Thread thread("order");
  ASSERT_TRUE(thread.Start());
  scoped_refptr<base::SingleThreadTaskRunner> runner = thread.task_runner();
  std::vector<std::string> log;
  // Held shut until everything is queued, so the follow-up is posted after "c" is.
  Event gate;
  runner->PostTask(FROM_HERE, base::BindOnce([](Event* gate) { gate->Wait(); }, &gate));
  runner->PostTask(FROM_HERE, Append(&log, "a"));
  runner->PostTask(FROM_HERE, base::BindOnce(
                                  [](std::vector<std::string>* log) {
                                    log->push_back("b");
                                    base::ThreadTaskRunnerHandle::Get()->PostTask(
                                        FROM_HERE, Append(log, "b-follow-up"));
                                  },
                                  &log));
  runner->PostTask(FROM_HERE, Append(&log, "c"));
  gate.Signal();
  // The first flush may be queued ahead of the follow-up.
  ASSERT_TRUE(FlushThread(thread));
  ASSERT_TRUE(FlushThread(thread));
  EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "c", "b-follow-up"}));
}

TEST(ThreadTaskOrderTest, EachPostersTasksKeepTheirOrderUnderConcurrentPosting) {
  constexpr int kPosters = 4;
  constexpr int kTasksEach = 200;
  base::Thread target("target");
  ASSERT_TRUE(target.Start());
  std::vector<std::pair<int, int>> ran;
  std::vector<std::unique_ptr<base::Thread>> posters;
  for (int p = 0; p < kPosters; ++p) {
    posters.push_back(std::make_unique<base::Thread>("poster"));
    ASSERT_TRUE(posters.back()->Start());
    posters.back()->task_runner()->PostTask(
        FROM_HERE, base::BindOnce(
                       [](scoped_refptr<base::SingleThreadTaskRunner> target,
                          std::vector<std::pair<int, int>>* ran, int p) {
                         for (int i = 0; i < kTasksEach; ++i) {
                           target->PostTask(
                               FROM_HERE,
                               base::BindOnce([](std::vector<std::pair<int, int>>* ran, int p,
                                                 int i) { ran->emplace_back(p, i); },
                                              ran, p, i));
                         }
                       },
                       target.task_runner(), &ran, p));
  }
  for (const auto& poster : posters) ASSERT_TRUE(FlushThread(*poster));
  ASSERT_TRUE(FlushThread(target));
  ASSERT_EQ(ran.size(), static_cast<size_t>(kPosters * kTasksEach));
  std::vector<int> next(kPosters, 0);
  for (const auto& [p, i] : ran) EXPECT_EQ(i, next[p]++) << "poster " << p;
}

TEST(ThreadDelayedTaskTest, ASoonerTaskIsNotHeldUpByALaterOnePostedFirst) {
  base::Thread thread("delayed");
  ASSERT_TRUE(thread.Start());
  // Held past Stop(): a runner kept by someone must not keep the dropped task alive.
  scoped_refptr<base::SingleThreadTaskRunner> runner = thread.task_runner();
  std::atomic<bool> later_ran{false};
  std::atomic<bool> later_destroyed{false};
  runner->PostDelayedTask(FROM_HERE, FlaggedTask(&later_ran, &later_destroyed),
                          base::TimeDelta::FromSeconds(3600));
  Event sooner;
  runner->PostDelayedTask(FROM_HERE, sooner.GetCallback(), base::TimeDelta::FromMilliseconds(1));
  ASSERT_TRUE(sooner.Wait());
  EXPECT_FALSE(later_ran);

  // Not yet due at Stop(): destroyed unrun, its bound arguments released before Stop() returns.
  thread.Stop();
  EXPECT_FALSE(later_ran);
  EXPECT_TRUE(later_destroyed);
}

TEST(ThreadDelayedTaskTest, EqualDelaysKeepPostingOrder) {
  base::Thread thread("delayed");
  ASSERT_TRUE(thread.Start());
  std::vector<std::string> log;
  Event last;
  for (const char* entry : {"1", "2", "3", "4", "5"}) {
    thread.task_runner()->PostDelayedTask(FROM_HERE, Append(&log, entry),
                                          base::TimeDelta::FromMilliseconds(5));
  }
  thread.task_runner()->PostDelayedTask(FROM_HERE, last.GetCallback(),
                                        base::TimeDelta::FromMilliseconds(5));
  ASSERT_TRUE(last.Wait());
  EXPECT_EQ(log, (std::vector<std::string>{"1", "2", "3", "4", "5"}));
}

TEST(ThreadDelayedTaskTest, NeverRunsBeforeItsDelay) {
  base::Thread thread("delayed");
  ASSERT_TRUE(thread.Start());
  constexpr auto kDelay = std::chrono::milliseconds(20);
  tev::testing::Future<std::chrono::steady_clock::time_point> ran_at;
  const auto posted_at = std::chrono::steady_clock::now();
  thread.task_runner()->PostDelayedTask(
      FROM_HERE,
      base::BindOnce(
          [](base::OnceCallback<void(std::chrono::steady_clock::time_point)> done) {
            std::move(done).Run(std::chrono::steady_clock::now());
          },
          ran_at.GetCallback()),
      base::TimeDelta::FromMilliseconds(kDelay.count()));
  EXPECT_GE(ran_at.Get() - posted_at, kDelay);
}

TEST(ThreadStopTest, RunsEveryQueuedTaskAndTheTasksTheyPostBeforeJoining) {
  base::Thread thread("stop");
  ASSERT_TRUE(thread.Start());
  scoped_refptr<base::SingleThreadTaskRunner> runner = thread.task_runner();
  std::vector<std::string> log;
  runner->PostTask(FROM_HERE, base::BindOnce(&BlockUntilStopBegins, &thread));
  runner->PostTask(FROM_HERE, Append(&log, "1"));
  runner->PostTask(FROM_HERE, base::BindOnce(
                                  [](std::vector<std::string>* log) {
                                    log->push_back("2");
                                    base::ThreadTaskRunnerHandle::Get()->PostTask(
                                        FROM_HERE,
                                        base::BindOnce(
                                            [](std::vector<std::string>* log) {
                                              log->push_back("2a");
                                              base::ThreadTaskRunnerHandle::Get()->PostTask(
                                                  FROM_HERE, Append(log, "2b"));
                                            },
                                            log));
                                  },
                                  &log));
  runner->PostTask(FROM_HERE, Append(&log, "3"));
  thread.Stop();
  EXPECT_EQ(log, (std::vector<std::string>{"1", "2", "3", "2a", "2b"}));
  EXPECT_FALSE(thread.IsRunning());
}

TEST(ThreadStopTest, LaterPostsAreRefusedAndReleaseTheirArgumentsAtOnce) {
  base::Thread thread("stop");
  ASSERT_TRUE(thread.Start());
  scoped_refptr<base::SingleThreadTaskRunner> runner = thread.task_runner();
  thread.Stop();
  EXPECT_EQ(thread.task_runner(), nullptr);

  std::atomic<bool> ran{false};
  std::atomic<bool> destroyed{false};
  EXPECT_FALSE(runner->PostTask(FROM_HERE, FlaggedTask(&ran, &destroyed)));
  EXPECT_TRUE(destroyed);

  std::atomic<bool> delayed_ran{false};
  std::atomic<bool> delayed_destroyed{false};
  EXPECT_FALSE(runner->PostDelayedTask(FROM_HERE, FlaggedTask(&delayed_ran, &delayed_destroyed),
                                       base::TimeDelta::FromMilliseconds(1)));
  EXPECT_TRUE(delayed_destroyed);
  EXPECT_FALSE(ran);
  EXPECT_FALSE(delayed_ran);
}

TEST(ThreadStopTest, DestructorStopsAfterRunningWhatWasPosted) {
  scoped_refptr<base::SingleThreadTaskRunner> runner;
  int ran = 0;
  {
    base::Thread thread("dtor");
    ASSERT_TRUE(thread.Start());
    runner = thread.task_runner();
    for (int i = 0; i < 10; ++i) {
      runner->PostTask(FROM_HERE, base::BindOnce([](int* ran) { ++*ran; }, &ran));
    }
  }
  EXPECT_EQ(ran, 10);
  std::atomic<bool> late_ran{false};
  std::atomic<bool> late_destroyed{false};
  EXPECT_FALSE(runner->PostTask(FROM_HERE, FlaggedTask(&late_ran, &late_destroyed)));
  EXPECT_TRUE(late_destroyed);
}

TEST(ThreadStopTest, RestartsWithAFreshRunnerAndTheOldOneStaysDead) {
  base::Thread thread("restart");
  ASSERT_TRUE(thread.Start());
  EXPECT_FALSE(thread.Start());
  scoped_refptr<base::SingleThreadTaskRunner> old_runner = thread.task_runner();
  thread.Stop();
  thread.Stop();

  ASSERT_TRUE(thread.Start());
  scoped_refptr<base::SingleThreadTaskRunner> new_runner = thread.task_runner();
  EXPECT_NE(new_runner, old_runner);
  // The OS hands the new thread the old one's id more often than not.
  EXPECT_FALSE(
      RunOn(new_runner, [old_runner] { return old_runner->RunsTasksInCurrentSequence(); }));
  EXPECT_TRUE(RunOn(new_runner, [new_runner] { return new_runner->RunsTasksInCurrentSequence(); }));
  std::atomic<bool> ran{false};
  std::atomic<bool> destroyed{false};
  EXPECT_FALSE(old_runner->PostTask(FROM_HERE, FlaggedTask(&ran, &destroyed)));
}

TEST(ThreadNameTest, TheOsSeesTheNameCutTo15Characters) {
  base::Thread callback_thread("bt_tev_callback");
  ASSERT_TRUE(callback_thread.Start());
  EXPECT_EQ(RunOn(callback_thread.task_runner(), &tev::testing::CurrentThreadName),
            "bt_tev_callback");

  base::Thread long_thread("a_thread_name_longer_than_fifteen");
  ASSERT_TRUE(long_thread.Start());
  EXPECT_EQ(RunOn(long_thread.task_runner(), &tev::testing::CurrentThreadName), "a_thread_name_l");
  EXPECT_EQ(long_thread.thread_name(), "a_thread_name_longer_than_fifteen");
}

TEST(TaskRunnerHandleTest, SetToTheRunningThreadsRunnerInsideItsTasksOnly) {
  base::Thread thread("handles");
  ASSERT_TRUE(thread.Start());
  scoped_refptr<base::SingleThreadTaskRunner> runner = thread.task_runner();
  EXPECT_FALSE(base::ThreadTaskRunnerHandle::IsSet());
  EXPECT_FALSE(base::SequencedTaskRunnerHandle::IsSet());
  EXPECT_EQ(base::ThreadTaskRunnerHandle::Get(), nullptr);

  EXPECT_TRUE(RunOn(runner, [runner] {
    return base::ThreadTaskRunnerHandle::IsSet() && base::SequencedTaskRunnerHandle::IsSet() &&
           base::ThreadTaskRunnerHandle::Get() == runner &&
           base::SequencedTaskRunnerHandle::Get() == runner;
  }));
}

TEST(TaskRunnerHandleTest, ANestedHandleRestoresTheOuterOne) {
  base::Thread first("first");
  base::Thread second("second");
  ASSERT_TRUE(first.Start());
  ASSERT_TRUE(second.Start());
  {
    base::ThreadTaskRunnerHandle outer(first.task_runner());
    {
      base::ThreadTaskRunnerHandle inner(second.task_runner());
      EXPECT_EQ(base::ThreadTaskRunnerHandle::Get(), second.task_runner());
    }
    EXPECT_EQ(base::ThreadTaskRunnerHandle::Get(), first.task_runner());
  }
  EXPECT_FALSE(base::ThreadTaskRunnerHandle::IsSet());
}

TEST(TaskRunnerHandleTest, RunsTasksInCurrentSequenceOnlyOnItsOwnThread) {
  base::Thread first("first");
  base::Thread second("second");
  ASSERT_TRUE(first.Start());
  ASSERT_TRUE(second.Start());
  scoped_refptr<base::SingleThreadTaskRunner> first_runner = first.task_runner();
  EXPECT_FALSE(first_runner->RunsTasksInCurrentSequence());
  EXPECT_FALSE(first_runner->BelongsToCurrentThread());
  EXPECT_TRUE(
      RunOn(first_runner, [first_runner] { return first_runner->BelongsToCurrentThread(); }));
  EXPECT_FALSE(RunOn(second.task_runner(),
                     [first_runner] { return first_runner->RunsTasksInCurrentSequence(); }));
}

}  // namespace
