#include "remote_host.h"

#include "base/bind.h"
#include "base/location.h"
#include "base/strings/stringprintf.h"
#include "control_types.h"
#include "mojo/public/cpp/bindings/interface_ptr_info.h"
#include "tev/sim/world_loader.h"
#include "tevbridge/TevBridgeSocket.h"

namespace tev {
namespace bttev {
namespace {

// The bridge version a control connection states; the daemon answers with the one it offers.
constexpr unsigned int kControlVersion = 20;

struct Traffic {
  uint64_t sent = 0;
  uint64_t received = 0;
  bool operator==(const Traffic& other) const { return sent == other.sent && received == other.received; }
};

Traffic guestTraffic() {
  Traffic traffic;
  bridge::HostConnectionTraffic(&traffic.sent, &traffic.received);
  return traffic;
}

// A reply that carries nothing but its arrival.
RemoteHost::Send plain(void (control::HostControl::*method)(const base::RepeatingClosure&)) {
  return base::BindOnce([](void (control::HostControl::*method)(const base::RepeatingClosure&),
                           control::HostControl* control,
                           const base::RepeatingClosure& replied) { (control->*method)(replied); },
                        method);
}

}  // namespace

RemoteHost::RemoteHost(std::string path, std::chrono::milliseconds guard) : path_(std::move(path)), guard_(guard) {}

std::unique_ptr<RemoteHost> RemoteHost::Connect(const std::string& path, std::chrono::milliseconds guard,
                                                std::string* error) {
  std::unique_ptr<RemoteHost> host(new RemoteHost(path, guard));
  if (!host->connect(error)) return nullptr;
  return host;
}

RemoteHost::~RemoteHost() { Stop(); }

bool RemoteHost::connect(std::string* error) {
  unsigned int offered = 0;
  const int fd = bridge::DialHost(path_, bridge::Purpose::kControl, kControlVersion, &offered, error);
  if (fd < 0) return false;
  connection_ = std::make_unique<mojo::SocketConnection>(fd, mojo::SocketConnection::Side::kInitiator,
                                                         "control of " + path_);
  mojo::ScopedMessagePipeHandle pipe = connection_->TakeFirstPipe<control::HostControl>();
  thread_.Start();
  thread_.task_runner()->PostTask(FROM_HERE,
                                  base::BindOnce(&RemoteHost::bind, base::Unretained(this), std::move(pipe)));
  connection_->Start(base::OnceClosure());

  control::HostInfoPtr info;
  const bool described = call(
      "Describe",
      base::BindOnce(
          [](control::HostInfoPtr* out, control::HostControl* control, const base::RepeatingClosure& replied) {
            control->Describe(base::BindRepeating(
                [](control::HostInfoPtr* out, const base::RepeatingClosure& replied, control::HostInfoPtr info) {
                  *out = std::move(info);
                  replied.Run();
                },
                out, replied));
          },
          &info),
      error);
  if (!described) return false;
  sim::WorldError worldError;
  const std::string source = info->world_file.empty() ? "the daemon's built-in world" : info->world_file;
  if (!sim::ParseWorld(info->world_json, source, &world_, &worldError)) {
    *error = "the host daemon plays a world this driver cannot read: " + worldError.ToString();
    return false;
  }
  pid_ = info->pid;
  virtualTime_ = info->virtual_clock;
  worldFile_ = info->world_file;
  journalBase_ = info->journal_size;
  return true;
}

std::string RemoteHost::Description() const {
  return base::StringPrintf("pid %d, %s clock, %s", pid_, virtualTime_ ? "virtual" : "real",
                            worldFile_.empty() ? "the built-in world" : ("world " + worldFile_).c_str());
}

void RemoteHost::Stop() {
  if (!thread_.IsRunning()) return;
  thread_.task_runner()->PostTask(FROM_HERE, base::BindOnce([](RemoteHost* self) { self->control_.reset(); },
                                                            base::Unretained(this)));
  thread_.Stop();
  connection_.reset();
}

void RemoteHost::bind(mojo::ScopedMessagePipeHandle pipe) {
  control_.Bind(mojo::InterfacePtrInfo<control::HostControl>(std::move(pipe)));
  control_.set_connection_error_handler(base::BindOnce(&RemoteHost::onLost, base::Unretained(this)));
}

bool RemoteHost::call(const std::string& what, Send send, std::string* error) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    finished_ = false;
    replied_ = false;
  }
  if (!thread_.IsRunning() ||
      !thread_.task_runner()->PostTask(FROM_HERE,
                                       base::BindOnce(&RemoteHost::send, base::Unretained(this), std::move(send)))) {
    *error = "the control connection to the host daemon is closed (" + what + " not sent)";
    return false;
  }
  std::unique_lock<std::mutex> lock(mutex_);
  finished_cv_.wait(lock, [this] { return finished_; });
  if (replied_) return true;
  *error = "the host daemon at " + path_ + " went away (" + what + " not answered)";
  return false;
}

void RemoteHost::send(Send send) {
  if (lost_) {
    finish(false);
    return;
  }
  inFlight_ = true;
  std::move(send).Run(control_.get(), base::BindRepeating(&RemoteHost::finish, base::Unretained(this), true));
}

void RemoteHost::finish(bool replied) {
  inFlight_ = false;
  std::lock_guard<std::mutex> lock(mutex_);
  finished_ = true;
  replied_ = replied;
  finished_cv_.notify_all();
}

// Replies still in the pipe have run by now; the call in flight, if any, gets none.
void RemoteHost::onLost() {
  lost_ = true;
  if (inFlight_) finish(false);
}

bool RemoteHost::SetFault(const std::string& method, const sim::Fault& fault, std::string* error) {
  return call("SetFault",
              base::BindOnce(
                  [](const std::string& method, const sim::Fault& fault, control::HostControl* control,
                     const base::RepeatingClosure& replied) { control->SetFault(method, ToControl(fault), replied); },
                  method, fault),
              error);
}

bool RemoteHost::ClearFaults(const std::string& method, std::string* error) {
  return call("ClearFaults",
              base::BindOnce([](const std::string& method, control::HostControl* control,
                                const base::RepeatingClosure& replied) { control->ClearFaults(method, replied); },
                             method),
              error);
}

bool RemoteHost::Sever(sim::Pipe pipe, base::TimeDelta delay, std::string* error) {
  return call("Sever",
              base::BindOnce(
                  [](sim::Pipe pipe, base::TimeDelta delay, control::HostControl* control,
                     const base::RepeatingClosure& replied) {
                    control->Sever(ToControl(pipe), delay.InMicroseconds(), replied);
                  },
                  pipe, delay),
              error);
}

bool RemoteHost::Restart(std::string* error) { return call("Restart", plain(&control::HostControl::Restart), error); }

bool RemoteHost::CallInit(std::string* error) {
  return call("CallInit", plain(&control::HostControl::CallInit), error);
}

bool RemoteHost::ReadJournal(size_t first, std::vector<sim::JournalEntry>* entries, std::string* error) {
  std::vector<control::JournalEntryPtr> read;
  int64_t nowUs = 0;
  const bool ok = call(
      "ReadJournal",
      base::BindOnce(
          [](uint64_t first, std::vector<control::JournalEntryPtr>* out, int64_t* nowOut,
             control::HostControl* control, const base::RepeatingClosure& replied) {
            control->ReadJournal(
                first, base::BindRepeating(
                           [](std::vector<control::JournalEntryPtr>* out, int64_t* nowOut,
                              const base::RepeatingClosure& replied, std::vector<control::JournalEntryPtr> entries,
                              int64_t now) {
                             *out = std::move(entries);
                             *nowOut = now;
                             replied.Run();
                           },
                           out, nowOut, replied));
          },
          journalBase_ + first, &read, &nowUs),
      error);
  if (!ok) return false;
  now_ = base::TimeDelta::FromMicroseconds(nowUs);
  entries->clear();
  for (const control::JournalEntryPtr& entry : read) entries->push_back(FromControl(*entry));
  return true;
}

bool RemoteHost::AdvanceTime(base::TimeDelta duration, std::string* error) {
  if (!virtualTime_) {
    *error = "the host daemon runs on the real clock; 'advance' needs one started with --clock virtual";
    return false;
  }
  bool advanced = false;
  const bool ok = call(
      "AdvanceTime",
      base::BindOnce(
          [](base::TimeDelta duration, bool* out, control::HostControl* control,
             const base::RepeatingClosure& replied) {
            control->AdvanceTime(duration.InMicroseconds(),
                                 base::BindRepeating(
                                     [](bool* out, const base::RepeatingClosure& replied, bool advanced) {
                                       *out = advanced;
                                       replied.Run();
                                     },
                                     out, replied));
          },
          duration, &advanced),
      error);
  if (ok && !advanced) *error = "the host daemon did not advance its clock";
  return ok && advanced;
}

bool RemoteHost::Settle(const std::function<bool(std::string*)>& localIdle, std::string* error) {
  const auto deadline = std::chrono::steady_clock::now() + guard_;
  for (;;) {
    const Traffic before = guestTraffic();
    if (!localIdle(error)) return false;
    bool idle = false;
    std::string busy;
    Traffic host;
    const bool answered = call(
        "WaitIdle",
        base::BindOnce(
            [](bool* idle, std::string* busy, Traffic* host, control::HostControl* control,
               const base::RepeatingClosure& replied) {
              control->WaitIdle(base::BindRepeating(
                  [](bool* idleOut, std::string* busyOut, Traffic* hostOut, const base::RepeatingClosure& replied,
                     bool idle, const std::string& busy, control::TrafficPtr bridge) {
                    *idleOut = idle;
                    *busyOut = busy;
                    *hostOut = Traffic{bridge->sent, bridge->received};
                    replied.Run();
                  },
                  idle, busy, host, replied));
            },
            &idle, &busy, &host),
        error);
    if (!answered) return false;
    if (!idle) {
      *error = "the host daemon's threads did not run out of work within " +
               std::to_string(guard_.count() / 1000) + "s: " + busy;
      return false;
    }
    // A process with no bridge yet has nothing on its way, whichever guest the daemon serves.
    const Traffic after = guestTraffic();
    const bool quiet = after == Traffic() || (host.sent == after.received && host.received == after.sent);
    if (before == after && quiet) return true;
    if (std::chrono::steady_clock::now() > deadline) {
      *error = base::StringPrintf(
          "the bridge to the host daemon did not come to rest within %llds (this side sent %llu and received "
          "%llu; the guest the daemon serves sent %llu and received %llu): does it serve another guest?",
          static_cast<long long>(guard_.count() / 1000), static_cast<unsigned long long>(after.sent),
          static_cast<unsigned long long>(after.received), static_cast<unsigned long long>(host.sent),
          static_cast<unsigned long long>(host.received));
      return false;
    }
  }
}

}  // namespace bttev
}  // namespace tev
