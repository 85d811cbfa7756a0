#include "tev/testing/thread_name.h"

#include <pthread.h>

namespace tev {
namespace testing {

std::string CurrentThreadName() {
  char name[16] = {};
  if (pthread_getname_np(pthread_self(), name, sizeof(name)) != 0) return std::string();
  return name;
}

}  // namespace testing
}  // namespace tev
