#include "host_context.h"

#include <algorithm>

namespace tev {
namespace sim {

HostContext::HostContext(const World& world, Clock* clock, Journal* journal, uint64_t seed)
    : world_(world), adapter_(world.adapter), clock_(clock), journal_(journal), rng_(seed) {}

void HostContext::Record(Direction direction, const std::string& method,
                         const std::string& summary) {
  journal_->Add(clock_->Now(), direction, method, summary);
}

void HostContext::Note(const std::string& what, const std::string& summary) {
  Record(Direction::kNote, what, summary);
}

int8_t HostContext::VaryRssi(int8_t rssi) {
  const int variation = world_.timing.rssiVariation;
  const int64_t varied = rssi + rng_.Uniform(-variation, variation);
  return static_cast<int8_t>(std::clamp<int64_t>(varied, -127, 20));
}

}  // namespace sim
}  // namespace tev
