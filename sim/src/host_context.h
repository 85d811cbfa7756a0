#pragma once

#include <string>
#include <utility>

#include "mojom/bluetooth.mojom.h"
#include "prng.h"
#include "tev/sim/clock.h"
#include "tev/sim/journal.h"
#include "tev/sim/world.h"

namespace tev {
namespace sim {

// What every part of the simulated host shares: the world, the adapter's live settings, the
// clock, the journal, the random source and the library's BluetoothInstance pipe. Host
// sequence only.
class HostContext {
 public:
  using Direction = JournalEntry::Direction;

  HostContext(const World& world, Clock* clock, Journal* journal, uint64_t seed);

  const World& world() const { return world_; }
  const Timing& timing() const { return world_.timing; }
  // The adapter as it is now: settings changed by the library, bonds made or removed.
  Adapter& adapter() { return adapter_; }
  Clock* clock() { return clock_; }

  // Unbound while the library has no pipe to the host.
  tev::mojom::BluetoothInstancePtr& instance() { return instance_; }

  void Record(Direction direction, const std::string& method, const std::string& summary);
  void Note(const std::string& what, const std::string& summary = "");

  // Calls `call(instance)` and journals the event; without a pipe, journals a note instead.
  template <typename F>
  void Send(const char* method, const std::string& summary, F call) {
    if (!instance_) {
      Note(std::string(method) + " not sent: no BluetoothInstance pipe", summary);
      return;
    }
    Record(Direction::kEventSent, method, summary);
    call(instance_.get());
  }

  // `rssi` moved by up to the world's variation either way.
  int8_t VaryRssi(int8_t rssi);
  // A value in [0, bound), for spreading out timers.
  int64_t Phase(int64_t bound) { return rng_.Uniform(0, bound - 1); }

 private:
  const World world_;
  Adapter adapter_;
  Clock* clock_;
  Journal* journal_;
  Prng rng_;
  tev::mojom::BluetoothInstancePtr instance_;
};

}  // namespace sim
}  // namespace tev
