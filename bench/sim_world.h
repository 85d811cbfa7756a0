#pragma once

#include <hardware/bt_gatt.h>

#include "tev/sim/simulated_host.h"

namespace tev {
namespace bench {

// The library brought up as the stack brings it up against the simulated host on virtual time,
// connected to the default world's heart-rate monitor with its database discovered. One per
// process, made by main() before the benchmarks run.
class SimWorld {
 public:
  // The monitor's attributes: 2 measurement (notify), 4 body sensor location (read),
  // 5 control point (write).
  static constexpr uint16_t kMeasurement = 2;
  static constexpr uint16_t kLocation = 4;
  static constexpr uint16_t kControlPoint = 5;

  SimWorld();
  // cleanup through both tables, then stops the host.
  ~SimWorld();
  SimWorld(const SimWorld&) = delete;
  SimWorld& operator=(const SimWorld&) = delete;

  static SimWorld& Get();

  const btgatt_client_interface_t* client() const;
  int clientIf() const { return client_if_; }
  int connId() const { return conn_id_; }
  const RawAddress& monitor() const { return monitor_; }
  sim::SimulatedHost& host() { return host_; }

  // Every chain started so far (IPC -> host -> IPC -> callback) has run to its end: the process
  // is idle.
  void Settle();

 private:
  void Advance(int milliseconds);

  sim::SimulatedHost host_;
  RawAddress monitor_;
  int client_if_ = 0;
  int conn_id_ = 0;
};

}  // namespace bench
}  // namespace tev
