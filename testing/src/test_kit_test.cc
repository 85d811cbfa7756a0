#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "base/bind.h"
#include "base/logging.h"
#include "base/threading/thread.h"
#include "tev/testing/event.h"
#include "tev/testing/flush.h"
#include "tev/testing/future.h"
#include "tev/testing/log_capture.h"
#include "tev/testing/run_on.h"
#include "tev/testing/thread_name.h"

namespace tev {
namespace testing {
namespace {

using std::chrono::milliseconds;

// Short enough for tests that exercise the guard itself: nothing ever sets what they wait for.
constexpr milliseconds kNeverArrives{1};

// Accepts every task and destroys it unrun, as a runner that is shutting down might.
class DroppingTaskRunner : public base::SequencedTaskRunner {
 public:
  bool PostDelayedTask(const base::Location&, base::OnceClosure, base::TimeDelta) override {
    return true;
  }
  bool RunsTasksInCurrentSequence() const override { return false; }
};

class RefusingTaskRunner : public base::SequencedTaskRunner {
 public:
  bool PostDelayedTask(const base::Location&, base::OnceClosure, base::TimeDelta) override {
    return false;
  }
  bool RunsTasksInCurrentSequence() const override { return false; }
};

TEST(FlushTest, EverythingPostedBeforeHasRunAndIsVisible) {
  base::Thread thread("kit_flush");
  ASSERT_TRUE(thread.Start());
  // Plain ints: only the flush orders the worker's writes before the reads here.
  std::vector<int> ran;
  for (int i = 0; i < 100; ++i) {
    thread.task_runner()->PostTask(
        FROM_HERE,
        base::BindOnce([](std::vector<int>* ran, int i) { ran->push_back(i); }, &ran, i));
  }
  ASSERT_TRUE(FlushThread(thread));
  ASSERT_EQ(ran.size(), 100u);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(ran[i], i);
}

TEST(FlushTest, ReturnsFalseInsteadOfWaitingWhenTheTaskCannotRun) {
  base::Thread thread("kit_flush");
  ASSERT_TRUE(thread.Start());
  scoped_refptr<base::SequencedTaskRunner> runner = thread.task_runner();
  thread.Stop();
  EXPECT_FALSE(FlushThread(thread));
  EXPECT_FALSE(FlushTaskRunner(runner));
  EXPECT_FALSE(FlushTaskRunner(nullptr));
  EXPECT_FALSE(FlushTaskRunner(base::MakeRefCounted<RefusingTaskRunner>()));
  EXPECT_FALSE(FlushTaskRunner(base::MakeRefCounted<DroppingTaskRunner>()));
}

TEST(FlushTest, FlushingFromTheFlushedSequenceFailsInsteadOfDeadlocking) {
  base::Thread thread("kit_flush");
  ASSERT_TRUE(thread.Start());
  bool flushed = true;
  EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(
      flushed = RunOn(thread.task_runner(), [&thread] { return FlushThread(thread); }),
      "on the sequence it would wait for");
  EXPECT_FALSE(flushed);
}

TEST(FutureTest, DeliversAValueProducedOnAnotherThread) {
  base::Thread thread("kit_future");
  ASSERT_TRUE(thread.Start());
  Future<std::string> future;
  // The value is built on the worker; reading it here must not race with that.
  thread.task_runner()->PostTask(FROM_HERE, base::BindOnce(
                                                [](base::OnceCallback<void(std::string)> done) {
                                                  std::move(done).Run(std::string(1000, 'x'));
                                                },
                                                future.GetCallback()));
  EXPECT_EQ(future.Get(), std::string(1000, 'x'));
  EXPECT_TRUE(future.IsReady());
}

TEST(FutureTest, HoldsSeveralArgumentsMoveOnlyOnesAndCopiesOfReferences) {
  Future<int, std::unique_ptr<int>> pair;
  pair.GetCallback().Run(1, std::make_unique<int>(2));
  auto [first, second] = pair.Take();
  EXPECT_EQ(first, 1);
  ASSERT_TRUE(second);
  EXPECT_EQ(*second, 2);

  Future<const std::string&> by_reference;
  {
    const std::string temporary = "copied";
    by_reference.SetValue(temporary);
  }
  EXPECT_EQ(by_reference.Get(), "copied");
}

TEST(FutureTest, ASecondValueBeforeTakeFailsAndTakeMakesRoomForTheNext) {
  Future<int> future;
  base::RepeatingCallback<void(int)> callback = future.GetCallback();
  callback.Run(1);
  EXPECT_NONFATAL_FAILURE(callback.Run(2), "second value");
  EXPECT_EQ(future.Take(), 1);
  EXPECT_FALSE(future.IsReady());
  callback.Run(3);
  EXPECT_EQ(future.Take(), 3);
}

TEST(FutureTest, CallbacksMayRunAfterTheFutureAndEventAreGone) {
  base::RepeatingCallback<void(std::unique_ptr<int>)> value_callback;
  base::RepeatingClosure event_callback;
  {
    Future<std::unique_ptr<int>> future;
    Event event;
    value_callback = future.GetCallback();
    event_callback = event.GetCallback();
  }
  value_callback.Run(std::make_unique<int>(1));
  event_callback.Run();
}

TEST(FutureTest, TheDeadlockGuardFailsTheTestInsteadOfHanging) {
  Future<int> future(kNeverArrives);
  bool waited = true;
  EXPECT_NONFATAL_FAILURE(waited = future.Wait(), "Gave up waiting for tev::testing::Future");
  EXPECT_FALSE(waited);
  EXPECT_NONFATAL_FAILURE(EXPECT_THROW(future.Get(), WaitFailed), "Gave up waiting");
  EXPECT_NONFATAL_FAILURE(EXPECT_THROW(future.Take(), WaitFailed), "Gave up waiting");
}

TEST(EventTest, SignalledFromAnotherThreadThroughAOnceClosure) {
  base::Thread thread("kit_event");
  ASSERT_TRUE(thread.Start());
  Event event;
  base::OnceClosure signal = event.GetCallback();
  thread.task_runner()->PostTask(FROM_HERE, std::move(signal));
  EXPECT_TRUE(event.Wait());
  EXPECT_TRUE(event.IsSignaled());
}

TEST(EventTest, TheDeadlockGuardFailsTheTestInsteadOfHanging) {
  Event event(kNeverArrives);
  bool waited = true;
  EXPECT_NONFATAL_FAILURE(waited = event.Wait(), "Gave up waiting for tev::testing::Event");
  EXPECT_FALSE(waited);
}

TEST(RunOnTest, ReturnsWhatTheTaskReturnedOnItsThread) {
  base::Thread thread("kit_run_on");
  ASSERT_TRUE(thread.Start());
  EXPECT_EQ(RunOn(thread.task_runner(), [] { return CurrentThreadName(); }), "kit_run_on");
  int set_there = 0;
  RunOn(thread.task_runner(), [&set_there] { set_there = 1; });
  EXPECT_EQ(set_there, 1);
}

TEST(RunOnTest, ARefusedTaskFailsTheTest) {
  base::Thread thread("kit_run_on");
  ASSERT_TRUE(thread.Start());
  scoped_refptr<base::SingleThreadTaskRunner> runner = thread.task_runner();
  thread.Stop();
  EXPECT_NONFATAL_FAILURE(EXPECT_THROW(RunOn(runner, [] { return 1; }), WaitFailed),
                          "refused the task");
}

// Stands in for whatever handler was installed before a capture.
int outside_handler_calls = 0;
bool OutsideHandler(int, const char*, int, size_t, const std::string&) {
  ++outside_handler_calls;
  return true;
}

TEST(LogCaptureTest, RecordsLinesFromOtherThreadsWithoutTheHeader) {
  LogCapture capture;
  base::Thread thread("kit_log");
  ASSERT_TRUE(thread.Start());
  const int line = __LINE__ + 2;
  thread.task_runner()->PostTask(FROM_HERE,
                                 base::BindOnce([] { LOG(WARNING) << "from the worker " << 7; }));
  ASSERT_TRUE(capture.WaitFor("from the worker"));
  const std::vector<LogLine> lines = capture.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].severity, logging::LOG_WARNING);
  EXPECT_EQ(lines[0].file, __FILE__);
  EXPECT_EQ(lines[0].line, line);
  EXPECT_EQ(lines[0].message, "from the worker 7");
  EXPECT_TRUE(capture.Contains(logging::LOG_WARNING, "worker"));
  EXPECT_FALSE(capture.Contains(logging::LOG_ERROR, "worker"));
}

TEST(LogCaptureTest, NestsAndRestoresWhateverHandlerWasThereBefore) {
  logging::SetLogMessageHandler(&OutsideHandler);
  outside_handler_calls = 0;
  {
    LogCapture outer;
    {
      LogCapture inner;
      LOG(INFO) << "inner";
    }
    LOG(INFO) << "outer";
    EXPECT_EQ(outer.Messages(), std::vector<std::string>{"outer"});
  }
  LOG(INFO) << "outside";
  EXPECT_EQ(outside_handler_calls, 1);
  EXPECT_EQ(logging::GetLogMessageHandler(), &OutsideHandler);
  logging::SetLogMessageHandler(nullptr);
}

TEST(LogCaptureTest, KeepsLinesOffStderrUnlessAskedToPassThemOn) {
  ::testing::internal::CaptureStderr();
  {
    LogCapture capture;
    LOG(ERROR) << "kept quiet";
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

  ::testing::internal::CaptureStderr();
  {
    LogCapture capture(LogCapture::Stderr::kPassThrough);
    LOG(ERROR) << "passed on";
    EXPECT_TRUE(capture.Contains("passed on"));
  }
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("passed on"), std::string::npos);
}

TEST(LogCaptureTest, CountsEveryLineLoggedConcurrently) {
  LogCapture capture;
  std::vector<std::unique_ptr<base::Thread>> threads;
  for (int t = 0; t < 4; ++t) {
    threads.push_back(std::make_unique<base::Thread>("kit_log"));
    ASSERT_TRUE(threads.back()->Start());
    threads.back()->task_runner()->PostTask(FROM_HERE, base::BindOnce([] {
                                              for (int i = 0; i < 100; ++i)
                                                LOG(INFO) << "concurrent " << i;
                                            }));
  }
  for (const auto& thread : threads) ASSERT_TRUE(FlushThread(*thread));
  EXPECT_EQ(capture.Count("concurrent"), 400u);
  capture.Clear();
  EXPECT_EQ(capture.Count("concurrent"), 0u);
}

TEST(LogCaptureTest, WaitForFailsTheTestInsteadOfHanging) {
  LogCapture capture(LogCapture::Stderr::kSuppress, kNeverArrives);
  bool found = true;
  EXPECT_NONFATAL_FAILURE(found = capture.WaitFor("never logged"), "\"never logged\"");
  EXPECT_FALSE(found);
}

}  // namespace
}  // namespace testing
}  // namespace tev
