#include "host_sync.h"

#include <condition_variable>
#include <memory>
#include <mutex>

#include "base/bind.h"
#include "base/location.h"

namespace tev {
namespace sim {
namespace {

struct Done {
  std::mutex mutex;
  std::condition_variable cv;
  bool finished = false;
  bool ran = false;
};

// Travels with the task: its destruction, run or not, is what the waiter waits for.
class Completion {
 public:
  explicit Completion(std::shared_ptr<Done> done) : done_(std::move(done)) {}
  Completion(Completion&& other) noexcept = default;
  ~Completion() {
    if (!done_) return;
    std::lock_guard<std::mutex> lock(done_->mutex);
    done_->finished = true;
    done_->cv.notify_all();
  }
  void MarkRan() {
    std::lock_guard<std::mutex> lock(done_->mutex);
    done_->ran = true;
  }

 private:
  std::shared_ptr<Done> done_;
};

}  // namespace

bool RunAndWait(const scoped_refptr<base::SequencedTaskRunner>& runner, base::OnceClosure task) {
  auto done = std::make_shared<Done>();
  const bool posted = runner->PostTask(
      FROM_HERE, base::BindOnce(
                     [](Completion completion, base::OnceClosure task) {
                       std::move(task).Run();
                       completion.MarkRan();
                     },
                     Completion(done), std::move(task)));
  if (!posted) return false;
  std::unique_lock<std::mutex> lock(done->mutex);
  done->cv.wait(lock, [&] { return done->finished; });
  return done->ran;
}

}  // namespace sim
}  // namespace tev
