#pragma once

#include <chrono>
#include <vector>

#include "base/memory/scoped_refptr.h"
#include "base/sequenced_task_runner.h"
#include "task_monitor.h"

namespace tev {
namespace bttev {

// Posts a marker task to `runner` and waits until it ran or was dropped (a stopped thread
// drops it). False if neither happened within `limit`.
bool FlushRunner(const scoped_refptr<base::SequencedTaskRunner>& runner, std::chrono::milliseconds limit);

// Flushes every runner in turn, again and again, until a whole round passes without any other
// task starting anywhere: then no thread has work left that was due (timers that are not due
// yet, virtual or real, stay pending). False if that did not happen within `limit`.
bool Settle(const std::vector<scoped_refptr<base::SequencedTaskRunner>>& runners, const TaskMonitor& monitor,
            std::chrono::milliseconds limit);

}  // namespace bttev
}  // namespace tev
