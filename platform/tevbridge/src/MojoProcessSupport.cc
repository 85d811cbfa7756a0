#include "tevbridge/MojoProcessSupport.h"

#include <atomic>

#include "base/threading/thread.h"

namespace tev {
namespace {
std::atomic<bool> gIpcAvailable{true};
}  // namespace

MojoThread::MojoThread() : mThread(std::make_unique<base::Thread>("mojo_ipc")) { mThread->Start(); }

MojoThread::~MojoThread() { mThread->Stop(); }

scoped_refptr<base::SingleThreadTaskRunner> MojoThread::getTaskRunner() const {
  return mThread->task_runner();
}

MojoProcessSupport::MojoProcessSupport() = default;

MojoProcessSupport::~MojoProcessSupport() = default;

MojoProcessSupport* MojoProcessSupport::GetInstance() {
  // Destroyed at exit, which stops the IPC thread after the tasks already posted to it.
  static MojoProcessSupport instance;
  return &instance;
}

MojoThread* MojoProcessSupport::getThread() {
  if (!gIpcAvailable.load()) return nullptr;
  std::lock_guard<std::mutex> lock(mMutex);
  if (!mThread) mThread = std::make_unique<MojoThread>();
  return mThread.get();
}

void MojoProcessSupport::SetIpcAvailableForTesting(bool available) { gIpcAvailable.store(available); }

}  // namespace tev
