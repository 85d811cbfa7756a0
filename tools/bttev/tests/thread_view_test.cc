// The driver's view of every thread's tasks: the timeline it writes.
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "base/bind.h"
#include "base/threading/thread.h"
#include "stack_side.h"
#include "task_monitor.h"
#include "tev/testing/event.h"
#include "tev/testing/idle.h"
#include "trace_writer.h"

namespace tev {
namespace bttev {
namespace {

class ThreadViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SetCurrentThreadName("stack");
    monitor_ = TaskMonitor::Install();
    ASSERT_TRUE(alpha_.Start());
    ASSERT_TRUE(beta_.Start());
  }
  void TearDown() override {
    alpha_.Stop();
    beta_.Stop();
    monitor_->SetObserver(nullptr);
  }

  TaskMonitor* monitor_ = nullptr;
  // Outlives the threads: a task may still be finishing after the wait that saw it end.
  TraceWriter writer_;
  base::Thread alpha_{"alpha"};
  base::Thread beta_{"beta"};
};

TEST_F(ThreadViewTest, TheTimelineFollowsAPostFromThreadToThread) {
  TraceWriter& writer = writer_;
  monitor_->SetObserver(&writer);
  testing::Event delivered;
  const scoped_refptr<base::SingleThreadTaskRunner> beta = beta_.task_runner();
  writer.BeginSlice("enable()", "hal");
  alpha_.task_runner()->PostTask(
      FROM_HERE, base::BindOnce(
                     [](scoped_refptr<base::SingleThreadTaskRunner> next, base::RepeatingClosure done) {
                       // Messages are named by their method, with the interface in place of a file.
                       next->PostTask(base::Location("EnableAdapter", "tev.mojom.BluetoothHost", 0), done);
                     },
                     beta, delivered.GetCallback()));
  ASSERT_TRUE(delivered.Wait());
  writer.EndSlice();
  // The task that signalled has ended, and its slice with it, once the process is idle.
  ASSERT_TRUE(testing::WaitForIdle());

  const nlohmann::json trace = nlohmann::json::parse(writer.ToJson());
  std::map<std::string, uint64_t> threads;
  std::map<uint64_t, int> depth;
  std::map<uint64_t, uint64_t> flowStart;
  std::map<uint64_t, uint64_t> flowEnd;
  std::vector<std::string> slices;
  for (const nlohmann::json& event : trace.at("traceEvents")) {
    const std::string phase = event.at("ph");
    const uint64_t tid = event.at("tid");
    if (phase == "M" && event.at("name") == "thread_name") threads[event.at("args").at("name")] = tid;
    if (phase == "B") {
      ++depth[tid];
      slices.push_back(event.at("name"));
    }
    if (phase == "E") {
      --depth[tid];
      EXPECT_GE(depth[tid], 0);
    }
    if (phase == "s") flowStart[event.at("id")] = tid;
    if (phase == "f") {
      EXPECT_EQ(event.at("bp"), "e");
      flowEnd[event.at("id")] = tid;
    }
  }
  ASSERT_TRUE(threads.count("stack") && threads.count("alpha") && threads.count("beta"));
  for (const auto& [tid, open] : depth) EXPECT_EQ(open, 0) << "thread " << tid;

  // Two arrows: stack -> alpha, alpha -> beta; and every arrow that starts also ends.
  ASSERT_EQ(flowStart.size(), 2u);
  std::multiset<std::pair<uint64_t, uint64_t>> hops;
  for (const auto& [id, from] : flowStart) {
    ASSERT_TRUE(flowEnd.count(id)) << "flow " << id;
    hops.insert({from, flowEnd[id]});
  }
  EXPECT_EQ(hops, (std::multiset<std::pair<uint64_t, uint64_t>>{{threads["stack"], threads["alpha"]},
                                                                {threads["alpha"], threads["beta"]}}));
  EXPECT_EQ(slices[0], "enable()");
  EXPECT_NE(slices[1].find("TestBody thread_view_test.cc:"), std::string::npos) << slices[1];
  EXPECT_EQ(slices[2], "EnableAdapter");
}

}  // namespace
}  // namespace bttev
}  // namespace tev
