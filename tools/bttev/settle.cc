#include "settle.h"

#include <condition_variable>
#include <memory>
#include <mutex>

#include "base/bind.h"

namespace tev {
namespace bttev {
namespace {

// Rides in the marker task: destroyed when the task ran or when the runner dropped it.
class Marker {
 public:
  struct State {
    std::mutex mutex;
    std::condition_variable done_cv;
    bool done = false;
  };

  explicit Marker(std::shared_ptr<State> state) : state_(std::move(state)) {}
  Marker(Marker&& other) noexcept = default;
  Marker(const Marker&) = delete;
  Marker& operator=(const Marker&) = delete;
  ~Marker() {
    if (!state_) return;
    std::lock_guard<std::mutex> lock(state_->mutex);
    state_->done = true;
    state_->done_cv.notify_all();
  }

 private:
  std::shared_ptr<State> state_;
};

}  // namespace

bool FlushRunner(const scoped_refptr<base::SequencedTaskRunner>& runner, std::chrono::milliseconds limit) {
  if (!runner) return true;
  auto state = std::make_shared<Marker::State>();
  runner->PostTask(base::Location(TaskMonitor::kDriverTaskName, __FILE__, __LINE__),
                   base::BindOnce([](Marker) {}, Marker(state)));
  std::unique_lock<std::mutex> lock(state->mutex);
  return state->done_cv.wait_for(lock, limit, [&] { return state->done; });
}

bool Settle(const std::vector<scoped_refptr<base::SequencedTaskRunner>>& runners, const TaskMonitor& monitor,
            std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const uint64_t before = monitor.ForeignTasksStarted();
    for (const auto& runner : runners) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0 || !FlushRunner(runner, left)) return false;
    }
    if (monitor.ForeignTasksStarted() == before) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
  }
}

}  // namespace bttev
}  // namespace tev
