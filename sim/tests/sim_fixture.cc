#include "sim_fixture.h"

#include <gtest/gtest.h>

#include "tev/testing/idle.h"

namespace tev {
namespace sim {

SimFixture::SimFixture(SimulatedHost::Options options) : host_(std::move(options)) {}

SimFixture::~SimFixture() {
  if (!started_) return;
  gatt()->cleanup();
  bt()->cleanup();
  tev::testing::WaitForIdle();
  host_.Stop();
}

void SimFixture::Start(bool await_init) {
  started_ = true;
  host_.Start();
  ASSERT_EQ(bt()->init(stack_.callbacks(), false, false, 0, nullptr, false, nullptr), BT_STATUS_SUCCESS);
  if (await_init) {
    ASSERT_TRUE(host_.journal().WaitFor("Init", JournalEntry::Direction::kReplyReceived));
  }
  ASSERT_EQ(gatt()->init(stack_.gattCallbacks()), BT_STATUS_SUCCESS);
}

void SimFixture::Enable() {
  ASSERT_EQ(bt()->enable(), BT_STATUS_SUCCESS);
  Settle();
  ASSERT_EQ(stack_.Calls("adapter_state_changed_cb").back(), "adapter_state_changed_cb(1)");
}

const btgatt_interface_t* SimFixture::gatt() const {
  return static_cast<const btgatt_interface_t*>(bt()->get_profile_interface(BT_PROFILE_GATT_ID));
}

void SimFixture::Settle() { tev::testing::WaitForIdle(); }

void SimFixture::Advance(int milliseconds) {
  Settle();
  ASSERT_TRUE(host_.AdvanceTime(base::TimeDelta::FromMilliseconds(milliseconds)));
  Settle();
}

std::vector<std::string> SimFixture::Journal(const std::string& method,
                                             JournalEntry::Direction direction) const {
  std::vector<std::string> summaries;
  for (const JournalEntry& entry : host_.journal().Find(method, direction)) summaries.push_back(entry.summary);
  return summaries;
}

}  // namespace sim
}  // namespace tev
