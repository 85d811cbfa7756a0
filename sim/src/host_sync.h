#pragma once

#include "base/callback.h"
#include "base/memory/scoped_refptr.h"
#include "base/sequenced_task_runner.h"

namespace tev {
namespace sim {

// Runs `task` on `runner` and blocks until it has run or been destroyed unrun (the runner
// stopped). Returns whether it ran. Never call it from `runner`'s own sequence.
bool RunAndWait(const scoped_refptr<base::SequencedTaskRunner>& runner, base::OnceClosure task);

}  // namespace sim
}  // namespace tev
