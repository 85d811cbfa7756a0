#pragma once

#include <string>

namespace tev {
namespace testing {

// The calling thread's name as the OS holds it (at most 15 characters).
std::string CurrentThreadName();

}  // namespace testing
}  // namespace tev
