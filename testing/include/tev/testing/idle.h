#pragma once

namespace tev {
namespace testing {

// Blocks until the whole process is idle: every task posted anywhere, and every task those
// posted in turn, has run, and no message waits in a pipe. Past kDeadlockGuardTimeout it fails
// the test, naming the threads and pipes that still hold work, and returns false. Call it from
// the test's own thread while no other thread outside the base::Threads posts.
bool WaitForIdle(const char* file = __builtin_FILE(), int line = __builtin_LINE());

}  // namespace testing
}  // namespace tev
