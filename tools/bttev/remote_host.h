#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "base/threading/thread.h"
#include "bttevmojom/host_control.mojom.h"
#include "mojo/public/cpp/system/socket_connection.h"
#include "session_host.h"

namespace tev {
namespace bttev {

// The host a `bttev host` daemon runs in another process. The library reaches it over the
// daemon's socket by itself (named in this process's environment); the driver controls it
// over a control connection of its own, whose calls the stack thread makes and waits for.
class RemoteHost : public SessionHost {
 public:
  // Connects to the daemon listening at `path`; null with `error`. `guard` bounds each wait for
  // idle, as a deadlock's.
  static std::unique_ptr<RemoteHost> Connect(const std::string& path, std::chrono::milliseconds guard,
                                             std::string* error);
  ~RemoteHost() override;

  sim::SimulatedHost* local() override { return nullptr; }
  bool virtualTime() const override { return virtualTime_; }
  const sim::World& world() const override { return world_; }
  // "pid N, virtual clock, the built-in world".
  std::string Description() const;

  bool SetFault(const std::string& method, const sim::Fault& fault, std::string* error) override;
  bool ClearFaults(const std::string& method, std::string* error) override;
  bool Sever(sim::Pipe pipe, base::TimeDelta delay, std::string* error) override;
  bool Restart(std::string* error) override;
  bool CallInit(std::string* error) override;
  bool ReadJournal(size_t first, std::vector<sim::JournalEntry>* entries, std::string* error) override;
  base::TimeDelta Now() const override { return now_; }
  bool AdvanceTime(base::TimeDelta duration, std::string* error) override;
  // Rounds of: this process idle, then the daemon's, until neither side's count of bridge
  // messages moved during the round and each side has received all the other sent.
  bool Settle(const std::function<bool(std::string*)>& localIdle, std::string* error) override;
  void Stop() override;

  // A control call, made on the control thread; `replied` runs once its reply has been taken.
  using Send = base::OnceCallback<void(control::HostControl* control, const base::RepeatingClosure& replied)>;

 private:
  RemoteHost(std::string path, std::chrono::milliseconds guard);
  bool connect(std::string* error);
  // Makes the call on the control thread and waits for its reply; false with `error` when the
  // daemon goes away first.
  bool call(const std::string& what, Send send, std::string* error);
  // Control thread.
  void bind(mojo::ScopedMessagePipeHandle pipe);
  void send(Send send);
  void finish(bool replied);
  void onLost();

  const std::string path_;
  const std::chrono::milliseconds guard_;
  base::Thread thread_{"bttev_control"};
  std::unique_ptr<mojo::SocketConnection> connection_;
  // Control thread only.
  control::HostControlPtr control_;
  bool inFlight_ = false;
  bool lost_ = false;

  std::mutex mutex_;
  std::condition_variable finished_cv_;
  bool finished_ = false;
  bool replied_ = false;

  // What Describe told.
  int pid_ = 0;
  bool virtualTime_ = false;
  std::string worldFile_;
  sim::World world_;
  uint64_t journalBase_ = 0;
  base::TimeDelta now_;
};

}  // namespace bttev
}  // namespace tev
