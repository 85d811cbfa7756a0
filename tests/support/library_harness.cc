#include "library_harness.h"

#include <gtest/gtest.h>

#include "tev/testing/event.h"
#include "tev/testing/flush.h"
#include "tev/testing/idle.h"

namespace tev {
namespace testing {

LibraryHarness::LibraryHarness() : LibraryHarness(Options()) {}

LibraryHarness::LibraryHarness(const Options& options)
    : options_(options), host_(options.host) {}

LibraryHarness::~LibraryHarness() {
  if (!started_) return;
  if (options_.initGatt) gatt()->cleanup();
  bt()->cleanup();
  WaitForIdle();
}

void LibraryHarness::Start() {
  started_ = true;
  ASSERT_EQ(bt()->init(stack_.callbacks(), false, false, 0, nullptr, false, nullptr),
            BT_STATUS_SUCCESS);
  if (options_.host.autoInit && options_.host.bridgeVersion >= 20) {
    ASSERT_TRUE(host_.WaitForInitReply());
  }
  if (options_.initGatt) {
    ASSERT_EQ(gatt()->init(stack_.gattCallbacks()), BT_STATUS_SUCCESS);
  }
}

const btgatt_interface_t* LibraryHarness::gatt() const {
  return static_cast<const btgatt_interface_t*>(bt()->get_profile_interface(BT_PROFILE_GATT_ID));
}

scoped_refptr<base::SingleThreadTaskRunner> LibraryHarness::IpcTaskRunner() {
  MojoThread* thread = MojoProcessSupport::GetInstance()->getThread();
  return thread ? thread->getTaskRunner() : nullptr;
}

void LibraryHarness::FlushIpc() { FlushTaskRunner(IpcTaskRunner()); }

void LibraryHarness::FlushCallbacks() {
  Event delivered;
  service()->postToCallback(delivered.GetCallback());
  delivered.Wait();
}

void LibraryHarness::Settle() { WaitForIdle(); }

}  // namespace testing
}  // namespace tev
