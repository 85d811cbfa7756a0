#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <cstdint>
#include <functional>

#include "base/memory/scoped_refptr.h"
#include "base/single_thread_task_runner.h"

// The library brought up and taken down as the stack does it, through its exported tables and
// the counting stack's callbacks, whatever host answers it. Stack thread (the benchmark's main).
namespace tev {
namespace bench {

const btgatt_interface_t* Gatt();
// The library's IPC thread ("mojo_ipc"), where the pipes' stubs enter it.
scoped_refptr<base::SingleThreadTaskRunner> LibraryIpcTaskRunner();

// init through both tables; `host_initialized` blocks until the host has had its Init answered,
// since the library drops commands made before that.
void InitLibrary(const std::function<void()>& host_initialized);

// What the stack holds once connected to the default world's heart-rate monitor.
struct MonitorLink {
  // The monitor's attributes: 2 measurement (notify), 4 body sensor location (read),
  // 5 control point (write).
  static constexpr uint16_t kMeasurement = 2;
  static constexpr uint16_t kLocation = 4;
  static constexpr uint16_t kControlPoint = 5;

  RawAddress monitor;
  int clientIf = 0;
  int connId = 0;
};

// InitLibrary, then enable, a client registered, the monitor connected and its database
// discovered. `let_time_pass(milliseconds)` runs the host's clock on (a virtual clock needs it to
// answer a connection or a search; a real one needs nothing).
MonitorLink ConnectToMonitor(const std::function<void()>& host_initialized,
                             const std::function<void(int)>& let_time_pass);

// cleanup through both tables, then waits for the IPC thread to run what that posted.
void CleanUpLibrary();

}  // namespace bench
}  // namespace tev
