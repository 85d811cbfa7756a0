#include "tev/sim/simulated_host.h"

#include "base/bind.h"
#include "base/location.h"
#include "base/logging.h"
#include "host_core.h"
#include "host_sync.h"
#include "tev/sim/world_loader.h"
#include "tevbridge/TevBridgeHostOffer.h"

namespace tev {
namespace sim {
SimulatedHost::Options::Options() : world(DefaultWorld()) {}

SimulatedHost::SimulatedHost() : SimulatedHost(Options()) {}

SimulatedHost::SimulatedHost(Options options) : options_(std::move(options)) {}

SimulatedHost::~SimulatedHost() { Stop(); }

void SimulatedHost::Start() {
  CHECK(!started_) << "a SimulatedHost starts once";
  started_ = true;
  thread_.Start();
  if (options_.time == Time::kVirtual) {
    auto clock = std::make_unique<VirtualClock>(thread_.task_runner());
    virtual_clock_ = clock.get();
    clock_ = std::move(clock);
  } else {
    clock_ = std::make_unique<RealClock>(thread_.task_runner());
  }
  RunAndWait(thread_.task_runner(), base::BindOnce(
                                        [](SimulatedHost* self) {
                                          self->core_ = std::make_unique<HostCore>(
                                              self->options_.world, self->clock_.get(),
                                              &self->journal_, &self->faults_, self->options_.seed,
                                              self->options_.autoInit);
                                        },
                                        this));
  // The offer's callback runs on the IPC thread and may outlive this object, so it holds the
  // host thread's runner; a request arriving once that thread has stopped is dropped.
  scoped_refptr<base::SingleThreadTaskRunner> host = thread_.task_runner();
  tev::bridge::OfferTevBridgeHost(
      options_.bridgeVersion,
      base::BindRepeating(
          [](scoped_refptr<base::SingleThreadTaskRunner> host, SimulatedHost* self,
             mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request) {
            host->PostTask(FROM_HERE, base::BindOnce(&SimulatedHost::BindBridge,
                                                     base::Unretained(self), std::move(request)));
          },
          host, base::Unretained(this)));
}

void SimulatedHost::Stop() {
  if (!started_ || stopped_) return;
  stopped_ = true;
  tev::bridge::WithdrawTevBridgeHost();
  RunAndWait(thread_.task_runner(),
             base::BindOnce(&SimulatedHost::TearDownOnHost, base::Unretained(this)));
  thread_.Stop();
}

void SimulatedHost::TearDownOnHost() {
  core_.reset();
  clock_->CancelAll();
}

void SimulatedHost::BindBridge(mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request) {
  if (core_) core_->BindBridge(std::move(request));
}

bool SimulatedHost::AdvanceTime(base::TimeDelta duration) {
  if (!virtual_clock_ || !started_ || stopped_) return false;
  return virtual_clock_->Advance(duration);
}

base::TimeDelta SimulatedHost::Now() const { return clock_ ? clock_->Now() : base::TimeDelta(); }

void SimulatedHost::PostToHost(base::OnceCallback<void(HostCore*)> task) {
  if (!started_ || stopped_) return;
  RunAndWait(thread_.task_runner(), base::BindOnce(
                                        [](SimulatedHost* self, base::OnceCallback<void(HostCore*)> task) {
                                          if (self->core_) std::move(task).Run(self->core_.get());
                                        },
                                        this, std::move(task)));
}

void SimulatedHost::Sever(Pipe pipe) {
  PostToHost(base::BindOnce([](Pipe pipe, HostCore* core) { core->Sever(pipe); }, pipe));
}

void SimulatedHost::SeverAfter(Pipe pipe, base::TimeDelta delay) {
  PostToHost(base::BindOnce([](Pipe pipe, base::TimeDelta delay, HostCore* core) { core->SeverAfter(pipe, delay); },
                            pipe, delay));
}

void SimulatedHost::CallInit() {
  PostToHost(base::BindOnce([](HostCore* core) { core->CallInit(); }));
}

void SimulatedHost::Restart() {
  PostToHost(base::BindOnce([](HostCore* core) { core->Restart(); }));
}

void SimulatedHost::SendEvent(const std::string& method, const std::string& summary, InstanceCall call) {
  PostToHost(base::BindOnce(
      [](const std::string& method, const std::string& summary, InstanceCall call, HostCore* core) {
        core->SendEvent(method, summary, std::move(call));
      },
      method, summary, std::move(call)));
}

void SimulatedHost::Flush() {
  if (started_ && !stopped_) RunAndWait(thread_.task_runner(), base::BindOnce([] {}));
}

void SimulatedHost::RunOnHost(base::OnceClosure task) {
  if (started_ && !stopped_) RunAndWait(thread_.task_runner(), std::move(task));
}

scoped_refptr<base::SingleThreadTaskRunner> SimulatedHost::task_runner() const {
  return thread_.task_runner();
}

}  // namespace sim
}  // namespace tev
