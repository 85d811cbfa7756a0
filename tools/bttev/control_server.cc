#include "control_server.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "base/bind.h"
#include "base/location.h"
#include "base/threading/process_idle.h"
#include "control_types.h"
#include "mojo/public/cpp/bindings/interface_request.h"

namespace tev {
namespace bttev {
namespace {

// How long a wait for idle may take before it counts as a deadlock.
constexpr std::chrono::milliseconds kIdleGuard{5000};

}  // namespace

ControlServer::ControlServer(sim::SimulatedHost* host, Info info, GuestTraffic guestTraffic, Print print)
    : host_(host), info_(std::move(info)), guestTraffic_(std::move(guestTraffic)), print_(std::move(print)) {
  thread_.Start();
}

ControlServer::~ControlServer() { Stop(); }

void ControlServer::Serve(std::unique_ptr<mojo::SocketConnection> connection) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (stopped_) return;
  const int number = ++connections_;
  print_.Run("control " + std::to_string(number) + " connected");
  thread_.task_runner()->PostTask(FROM_HERE, base::BindOnce(&ControlServer::add, base::Unretained(this), number,
                                                            std::move(connection)));
}

void ControlServer::Stop() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (stopped_) return;
    stopped_ = true;
  }
  waiter_.Stop();
  thread_.task_runner()->PostTask(FROM_HERE,
                                  base::BindOnce([](ControlServer* self) { self->clients_.clear(); },
                                                 base::Unretained(this)));
  thread_.Stop();
}

void ControlServer::add(int number, std::unique_ptr<mojo::SocketConnection> connection) {
  Client& client = clients_[number];
  client.binding = std::make_unique<mojo::Binding<control::HostControl>>(this);
  client.binding->Bind(mojo::InterfaceRequest<control::HostControl>(connection->TakeFirstPipe<control::HostControl>()));
  // The end is told on the connection's reader thread, which must not destroy it.
  connection->Start(base::BindOnce(
      [](scoped_refptr<base::SingleThreadTaskRunner> runner, ControlServer* self, int number) {
        runner->PostTask(FROM_HERE, base::BindOnce(&ControlServer::remove, base::Unretained(self), number));
      },
      thread_.task_runner(), base::Unretained(this), number));
  client.connection = std::move(connection);
}

void ControlServer::remove(int number) {
  if (clients_.erase(number)) print_.Run("control " + std::to_string(number) + " gone");
}

void ControlServer::Describe(const DescribeCallback& callback) {
  callback.Run(control::HostInfo::New(static_cast<int32_t>(getpid()), info_.virtualClock, info_.worldFile,
                                      info_.worldJson, host_->journal().Entries().size()));
}

void ControlServer::SetFault(const std::string& method, control::FaultPtr fault, const SetFaultCallback& callback) {
  host_->faults().Set(method, FromControl(*fault));
  callback.Run();
}

void ControlServer::ClearFaults(const std::string& method, const ClearFaultsCallback& callback) {
  if (method.empty()) {
    host_->faults().ClearAll();
  } else {
    host_->faults().Clear(method);
  }
  callback.Run();
}

void ControlServer::Sever(control::Pipe pipe, int64_t delay_us, const SeverCallback& callback) {
  if (delay_us <= 0) {
    host_->Sever(FromControl(pipe));
  } else {
    host_->SeverAfter(FromControl(pipe), base::TimeDelta::FromMicroseconds(delay_us));
  }
  callback.Run();
}

void ControlServer::Restart(const RestartCallback& callback) {
  host_->Restart();
  callback.Run();
}

void ControlServer::CallInit(const CallInitCallback& callback) {
  host_->CallInit();
  callback.Run();
}

void ControlServer::ReadJournal(uint64_t first, const ReadJournalCallback& callback) {
  const std::vector<sim::JournalEntry> entries = host_->journal().Entries();
  std::vector<control::JournalEntryPtr> out;
  for (size_t i = static_cast<size_t>(std::min<uint64_t>(first, entries.size())); i < entries.size(); ++i) {
    out.push_back(ToControl(entries[i]));
  }
  callback.Run(std::move(out), host_->Now().InMicroseconds());
}

void ControlServer::AdvanceTime(int64_t duration_us, const AdvanceTimeCallback& callback) {
  callback.Run(duration_us >= 0 && host_->AdvanceTime(base::TimeDelta::FromMicroseconds(duration_us)));
}

void ControlServer::WaitIdle(const WaitIdleCallback& callback) {
  waiter_.Post(base::BindOnce(&ControlServer::waitIdle, base::Unretained(this), callback));
}

// Idle, and no bridge message arrived or left while it waited: what arrived before has been
// handled, and what this side sends has been sent.
void ControlServer::waitIdle(const WaitIdleCallback& callback) {
  const auto deadline = std::chrono::steady_clock::now() + kIdleGuard;
  uint64_t sent = 0;
  uint64_t received = 0;
  for (;;) {
    uint64_t sentBefore = 0;
    uint64_t receivedBefore = 0;
    guestTraffic_.Run(&sentBefore, &receivedBefore);
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    std::string busy;
    if (left.count() <= 0 || !base::WaitForProcessIdle(left, &busy)) {
      callback.Run(false, busy.empty() ? "work kept coming" : busy, control::Traffic::New(0, 0));
      return;
    }
    guestTraffic_.Run(&sent, &received);
    if (sent == sentBefore && received == receivedBefore) break;
  }
  callback.Run(true, "", control::Traffic::New(sent, received));
}

}  // namespace bttev
}  // namespace tev
