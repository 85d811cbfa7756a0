#include "tev/sim/faults.h"

namespace tev {
namespace sim {

const char* PipeName(Pipe pipe) {
  switch (pipe) {
    case Pipe::kBridge:
      return "TevBridgeHost";
    case Pipe::kBluetoothHost:
      return "BluetoothHost";
    case Pipe::kBluetoothInstance:
      return "BluetoothInstance";
  }
  return "?";
}

void Faults::Set(const std::string& method, const Fault& fault) {
  std::lock_guard<std::mutex> lock(mutex_);
  faults_[method] = fault;
}

void Faults::Clear(const std::string& method) {
  std::lock_guard<std::mutex> lock(mutex_);
  faults_.erase(method);
}

void Faults::ClearAll() {
  std::lock_guard<std::mutex> lock(mutex_);
  faults_.clear();
}

std::optional<Fault> Faults::Take(const std::string& method) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = faults_.find(method);
  if (it == faults_.end()) return std::nullopt;
  Fault fault = it->second;
  if (it->second.times > 0 && --it->second.times == 0) faults_.erase(it);
  return fault;
}

}  // namespace sim
}  // namespace tev
