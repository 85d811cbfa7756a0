#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "base/callback.h"
#include "base/threading/thread.h"
#include "bttevmojom/host_control.mojom.h"
#include "idle_waiter.h"
#include "mojo/public/cpp/bindings/binding.h"
#include "mojo/public/cpp/system/socket_connection.h"
#include "tev/sim/simulated_host.h"

namespace tev {
namespace bttev {

// Serves HostControl on the control connections of a `bttev host` daemon, on a thread of its
// own, "bttev_control"; the waits for idle run on an IdleWaiter.
class ControlServer : public control::HostControl {
 public:
  struct Info {
    bool virtualClock = false;
    // Empty for the built-in world.
    std::string worldFile;
    std::string worldJson;
  };
  // The messages the bridge connection of the guest being served has sent and received.
  using GuestTraffic = base::RepeatingCallback<void(uint64_t* sent, uint64_t* received)>;
  // Prints a line of the daemon's own.
  using Print = base::RepeatingCallback<void(const std::string& line)>;

  // `host` outlives the server.
  ControlServer(sim::SimulatedHost* host, Info info, GuestTraffic guestTraffic, Print print);
  // Stop()s.
  ~ControlServer() override;

  // Any thread: serves `connection`, not started yet, until it ends.
  void Serve(std::unique_ptr<mojo::SocketConnection> connection);
  // Ends every control connection once the wait under way is over; later ones are closed at once.
  void Stop();

  // HostControl, on the control thread.
  void Describe(const DescribeCallback& callback) override;
  void SetFault(const std::string& method, control::FaultPtr fault, const SetFaultCallback& callback) override;
  void ClearFaults(const std::string& method, const ClearFaultsCallback& callback) override;
  void Sever(control::Pipe pipe, int64_t delay_us, const SeverCallback& callback) override;
  void Restart(const RestartCallback& callback) override;
  void CallInit(const CallInitCallback& callback) override;
  void ReadJournal(uint64_t first, const ReadJournalCallback& callback) override;
  void AdvanceTime(int64_t duration_us, const AdvanceTimeCallback& callback) override;
  void WaitIdle(const WaitIdleCallback& callback) override;

 private:
  struct Client {
    std::unique_ptr<mojo::SocketConnection> connection;
    std::unique_ptr<mojo::Binding<control::HostControl>> binding;
  };

  // Control thread.
  void add(int number, std::unique_ptr<mojo::SocketConnection> connection);
  void remove(int number);
  // The idle waiter's thread.
  void waitIdle(const WaitIdleCallback& callback);

  sim::SimulatedHost* const host_;
  const Info info_;
  const GuestTraffic guestTraffic_;
  const Print print_;
  base::Thread thread_{"bttev_control"};
  IdleWaiter waiter_;
  std::mutex mutex_;
  bool stopped_ = false;
  int connections_ = 0;
  // Control thread only.
  std::map<int, Client> clients_;
};

}  // namespace bttev
}  // namespace tev
