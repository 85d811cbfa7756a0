#include "base/trace/task_tracer.h"

#include <atomic>

namespace base {
namespace {
std::atomic<TaskTracer*> gTaskTracer{nullptr};
}  // namespace

void SetTaskTracer(TaskTracer* tracer) { gTaskTracer.store(tracer, std::memory_order_release); }

TaskTracer* GetTaskTracer() { return gTaskTracer.load(std::memory_order_acquire); }

}  // namespace base
