#include "sim_world.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/threading/process_idle.h"
#include "bench_support.h"

namespace tev {
namespace bench {
namespace {

SimWorld* gWorld = nullptr;

}  // namespace

SimWorld::SimWorld() {
  gWorld = this;
  host_.Start();
  link_ = ConnectToMonitor(
      [this] { host_.journal().WaitFor("Init", sim::JournalEntry::Direction::kReplyReceived); },
      [this](int milliseconds) { Advance(milliseconds); });
  Settle();
  host_.journal().Clear();
}

SimWorld::~SimWorld() {
  CleanUpLibrary();
  Settle();
  host_.Stop();
  gWorld = nullptr;
}

SimWorld& SimWorld::Get() { return *gWorld; }

void SimWorld::Settle() {
  std::string busy;
  if (base::WaitForProcessIdle(kDeadlockGuard, &busy)) return;
  std::fprintf(stderr, "the threads did not run out of work within %llds: %s\n",
               static_cast<long long>(kDeadlockGuard.count()), busy.c_str());
  std::abort();
}

void SimWorld::Advance(int milliseconds) {
  Settle();
  host_.AdvanceTime(base::TimeDelta::FromMilliseconds(milliseconds));
  Settle();
}

}  // namespace bench
}  // namespace tev
