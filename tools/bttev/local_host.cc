#include "local_host.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace tev {
namespace bttev {

LocalHost::LocalHost(const sim::SimulatedHost::Options& options) : options_(options), host_(options) {
  host_.Start();
}

LocalHost::~LocalHost() { host_.Stop(); }

bool LocalHost::SetFault(const std::string& method, const sim::Fault& fault, std::string*) {
  host_.faults().Set(method, fault);
  return true;
}

bool LocalHost::ClearFaults(const std::string& method, std::string*) {
  if (method.empty()) {
    host_.faults().ClearAll();
  } else {
    host_.faults().Clear(method);
  }
  return true;
}

bool LocalHost::Sever(sim::Pipe pipe, base::TimeDelta delay, std::string*) {
  if (delay.is_zero()) {
    host_.Sever(pipe);
  } else {
    host_.SeverAfter(pipe, delay);
  }
  return true;
}

bool LocalHost::Restart(std::string*) {
  host_.Restart();
  return true;
}

bool LocalHost::CallInit(std::string*) {
  host_.CallInit();
  return true;
}

bool LocalHost::ReadJournal(size_t first, std::vector<sim::JournalEntry>* entries, std::string*) {
  *entries = host_.journal().Entries();
  entries->erase(entries->begin(), entries->begin() + static_cast<std::ptrdiff_t>(std::min(first, entries->size())));
  return true;
}

bool LocalHost::AdvanceTime(base::TimeDelta duration, std::string* error) {
  if (!virtualTime()) {
    std::this_thread::sleep_for(std::chrono::microseconds(duration.InMicroseconds()));
    return true;
  }
  if (host_.AdvanceTime(duration)) return true;
  *error = "the host did not advance its clock";
  return false;
}

bool LocalHost::Settle(const std::function<bool(std::string*)>& localIdle, std::string* error) {
  return localIdle(error);
}

}  // namespace bttev
}  // namespace tev
