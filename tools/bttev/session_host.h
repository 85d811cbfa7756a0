#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/time/time.h"
#include "tev/sim/faults.h"
#include "tev/sim/journal.h"
#include "tev/sim/simulated_host.h"
#include "tev/sim/world.h"

namespace tev {
namespace bttev {

// The host a session drives: the simulated host in this process (LocalHost), or the one a
// `bttev host` daemon runs in another, reached over a control connection (RemoteHost). Stack
// thread only.
class SessionHost {
 public:
  virtual ~SessionHost() = default;

  // The host when it runs in this process, for the commands that reach into it (events, bridge
  // versions, worlds); null for a daemon's.
  virtual sim::SimulatedHost* local() = 0;
  virtual bool virtualTime() const = 0;
  virtual const sim::World& world() const = 0;

  virtual bool SetFault(const std::string& method, const sim::Fault& fault, std::string* error) = 0;
  // An empty method clears every fault.
  virtual bool ClearFaults(const std::string& method, std::string* error) = 0;
  // Closes the host's end of `pipe`, `delay` from now on the host's clock.
  virtual bool Sever(sim::Pipe pipe, base::TimeDelta delay, std::string* error) = 0;
  virtual bool Restart(std::string* error) = 0;
  virtual bool CallInit(std::string* error) = 0;
  // The journal entries from index `first` of those made since the session began.
  virtual bool ReadJournal(size_t first, std::vector<sim::JournalEntry>* entries, std::string* error) = 0;
  // The host's clock (a daemon's as of the last ReadJournal).
  virtual base::TimeDelta Now() const = 0;
  // Virtual clock: runs the host's timers due within `duration`. Real clock: lets it pass.
  virtual bool AdvanceTime(base::TimeDelta duration, std::string* error) = 0;
  // Waits until this process and the host are both idle with nothing on its way between them;
  // `localIdle` waits until this process is.
  virtual bool Settle(const std::function<bool(std::string*)>& localIdle, std::string* error) = 0;
  // Lets go of the host; the journal stays readable for a local one.
  virtual void Stop() = 0;
};

}  // namespace bttev
}  // namespace tev
