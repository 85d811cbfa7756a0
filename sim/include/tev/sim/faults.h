#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "base/time/time.h"

namespace tev {
namespace sim {

// The three pipes between the host and the library.
enum class Pipe {
  kBridge,             // TevBridgeHost
  kBluetoothHost,      // the library's commands
  kBluetoothInstance,  // the host's events
};

const char* PipeName(Pipe pipe);

// What goes wrong with calls of one BluetoothHost method.
struct Fault {
  // Answer with this instead of doing the work: a status for methods that reply with one (or
  // whose outcome event carries one: GetAdapterProperty, SetAdapterProperty, CreateBond,
  // SearchService), the handle for AddService/AddCharacteristic/AddDescriptor, the state for
  // EnableAdapter/DisableAdapter, the RSSI for ReadRemoteRssi. Ignored by the other methods.
  std::optional<int32_t> result;
  // The reply (or, for methods without one, the whole handling) comes this much later.
  base::TimeDelta delay;
  // The reply is never sent; a method without one is swallowed.
  bool never = false;
  // This pipe is closed when the call arrives, before anything else happens.
  std::optional<Pipe> sever;
  // How many calls it applies to; 0 or less for every call.
  int times = -1;
};

// Faults by method name. Set from any thread; taken on the host thread as calls arrive.
class Faults {
 public:
  void Set(const std::string& method, const Fault& fault);
  void Clear(const std::string& method);
  void ClearAll();

  // The fault for one call of `method`, using up one of its `times`.
  std::optional<Fault> Take(const std::string& method);

 private:
  std::mutex mutex_;
  std::map<std::string, Fault> faults_;
};

}  // namespace sim
}  // namespace tev
