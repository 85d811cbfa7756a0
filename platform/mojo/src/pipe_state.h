#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "base/sequenced_task_runner.h"
#include "base/threading/process_idle.h"
#include "mojo/public/cpp/bindings/lib/pipe_end_reader.h"
#include "mojo/public/cpp/bindings/message.h"
#include "mojo/public/cpp/system/message_pipe.h"

namespace mojo {
namespace internal {

// The two ends of one pipe. Messages written to an end that has no reader yet wait there and
// are delivered, in order, when one attaches; until then they count as work the process has
// not finished. Safe from any thread.
class PipeState final : public base::WorkHolder {
 public:
  PipeState();
  ~PipeState();
  PipeState(const PipeState&) = delete;
  PipeState& operator=(const PipeState&) = delete;

  // False when either end is closed: the message is dropped.
  bool Send(int from_side, Message message);
  void Close(int side);
  bool IsPeerClosed(int side);

  void Attach(int side, scoped_refptr<base::SequencedTaskRunner> task_runner,
              std::weak_ptr<PipeEndReader> reader);
  void Detach(int side);

  std::string DescribeWork() override;

 private:
  struct QueuedMessage {
    // First, so that it is given back once the message is gone.
    base::PendingWork work;
    Message message;
  };

  struct End {
    bool closed = false;
    bool peer_closed = false;
    scoped_refptr<base::SequencedTaskRunner> task_runner;
    std::weak_ptr<PipeEndReader> reader;
    std::deque<QueuedMessage> queued;
  };

  // Posting under the lock keeps delivery in the order of writing.
  static void PostMessageLocked(End& to, Message message);
  static void PostPeerClosedLocked(End& to);

  std::mutex mutex_;
  End ends_[2];
};

}  // namespace internal
}  // namespace mojo
