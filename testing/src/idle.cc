#include "tev/testing/idle.h"

#include <gtest/gtest.h>

#include <string>

#include "base/threading/process_idle.h"
#include "tev/testing/event.h"

namespace tev {
namespace testing {

bool WaitForIdle(const char* file, int line) {
  std::string busy;
  if (base::WaitForProcessIdle(kDeadlockGuardTimeout, &busy)) return true;
  internal::ReportTimeout("the process to become idle (" + busy + ")", kDeadlockGuardTimeout, file,
                          line);
  return false;
}

}  // namespace testing
}  // namespace tev
