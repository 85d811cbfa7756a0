#pragma once

#include <memory>
#include <utility>

#include "base/callback.h"
#include "base/sequenced_task_runner.h"
#include "mojo/public/cpp/bindings/interface_ptr.h"
#include "mojo/public/cpp/bindings/interface_request.h"
#include "mojo/public/cpp/bindings/lib/router.h"

namespace mojo {

// Serves one pipe end with an implementation, on one sequence. Malformed messages close the pipe
// instead of reaching the implementation.
template <typename Interface>
class Binding {
 public:
  using Stub = typename Interface::Stub_;

  explicit Binding(Interface* impl) : impl_(impl), stub_(impl) {}
  Binding(Interface* impl, InterfaceRequest<Interface> request,
          scoped_refptr<base::SequencedTaskRunner> task_runner = nullptr)
      : Binding(impl) {
    Bind(std::move(request), std::move(task_runner));
  }
  ~Binding() { Close(); }
  Binding(const Binding&) = delete;
  Binding& operator=(const Binding&) = delete;

  // Serves on `task_runner`, or on the current sequence when it is null.
  void Bind(InterfaceRequest<Interface> request,
            scoped_refptr<base::SequencedTaskRunner> task_runner = nullptr) {
    Close();
    if (!request.is_pending()) return;
    internal::Router::Config config;
    config.interface_name = Interface::Name_;
    config.request_validator = &Interface::RequestValidator_;
    router_ = internal::Router::Create(request.PassMessagePipe(), config, &stub_,
                                       std::move(task_runner));
  }

  // Binds a new pipe and returns its calling end.
  InterfacePtr<Interface> CreateInterfacePtrAndBind() {
    InterfacePtr<Interface> ptr;
    Bind(MakeRequest(&ptr));
    return ptr;
  }

  void Close() {
    if (router_) {
      router_->Close();
      router_.reset();
    }
  }

  bool is_bound() const { return router_ != nullptr; }
  void set_connection_error_handler(base::OnceClosure handler) {
    if (router_) router_->set_connection_error_handler(std::move(handler));
  }
  Interface* impl() const { return impl_; }

 private:
  Interface* impl_;
  Stub stub_;
  std::shared_ptr<internal::Router> router_;
};

}  // namespace mojo
