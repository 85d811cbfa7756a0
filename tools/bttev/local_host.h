#pragma once

#include <memory>

#include "session_host.h"

namespace tev {
namespace bttev {

// The simulated host running in this process: the bridge is offered here, and waiting for this
// process to be idle covers the host too.
class LocalHost : public SessionHost {
 public:
  // Starts a host with `options`.
  explicit LocalHost(const sim::SimulatedHost::Options& options);
  ~LocalHost() override;

  sim::SimulatedHost* local() override { return &host_; }
  bool virtualTime() const override { return options_.time == sim::SimulatedHost::Time::kVirtual; }
  const sim::World& world() const override { return options_.world; }

  bool SetFault(const std::string& method, const sim::Fault& fault, std::string* error) override;
  bool ClearFaults(const std::string& method, std::string* error) override;
  bool Sever(sim::Pipe pipe, base::TimeDelta delay, std::string* error) override;
  bool Restart(std::string* error) override;
  bool CallInit(std::string* error) override;
  bool ReadJournal(size_t first, std::vector<sim::JournalEntry>* entries, std::string* error) override;
  base::TimeDelta Now() const override { return host_.Now(); }
  bool AdvanceTime(base::TimeDelta duration, std::string* error) override;
  bool Settle(const std::function<bool(std::string*)>& localIdle, std::string* error) override;
  void Stop() override { host_.Stop(); }

 private:
  const sim::SimulatedHost::Options options_;
  sim::SimulatedHost host_;
};

}  // namespace bttev
}  // namespace tev
