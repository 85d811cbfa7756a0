#pragma once

#include <hardware/bt_gatt.h>

#include "stack_bring_up.h"
#include "tev/sim/simulated_host.h"

namespace tev {
namespace bench {

// The library brought up as the stack brings it up against the simulated host on virtual time,
// connected to the default world's heart-rate monitor with its database discovered. One per
// process, made by main() before the benchmarks run.
class SimWorld {
 public:
  SimWorld();
  // cleanup through both tables, then stops the host.
  ~SimWorld();
  SimWorld(const SimWorld&) = delete;
  SimWorld& operator=(const SimWorld&) = delete;

  static SimWorld& Get();

  const btgatt_client_interface_t* client() const { return Gatt()->client; }
  const MonitorLink& link() const { return link_; }
  sim::SimulatedHost& host() { return host_; }

  // Every chain started so far (IPC -> host -> IPC -> callback) has run to its end: the process
  // is idle.
  void Settle();

 private:
  void Advance(int milliseconds);

  sim::SimulatedHost host_;
  MonitorLink link_;
};

}  // namespace bench
}  // namespace tev
