#pragma once

#include <memory>
#include <utility>

#include "base/callback.h"
#include "base/sequenced_task_runner.h"
#include "mojo/public/cpp/bindings/interface_ptr_info.h"
#include "mojo/public/cpp/bindings/interface_request.h"
#include "mojo/public/cpp/bindings/lib/router.h"

namespace mojo {

// The calling end of a pipe, bound to one sequence. Calls made through it run on the serving
// end's sequence in the order made; replies run on this pointer's sequence.
template <typename Interface>
class InterfacePtr {
 public:
  using Proxy = typename Interface::Proxy_;

  InterfacePtr() = default;
  InterfacePtr(std::nullptr_t) {}
  InterfacePtr(InterfacePtr&& other) noexcept = default;
  InterfacePtr& operator=(InterfacePtr&& other) noexcept {
    reset();
    router_ = std::move(other.router_);
    proxy_ = std::move(other.proxy_);
    return *this;
  }
  InterfacePtr& operator=(std::nullptr_t) {
    reset();
    return *this;
  }
  ~InterfacePtr() { reset(); }

  // Binds to `task_runner`, or to the current sequence when it is null.
  void Bind(InterfacePtrInfo<Interface> info,
            scoped_refptr<base::SequencedTaskRunner> task_runner = nullptr) {
    reset();
    if (!info.is_valid()) return;
    internal::Router::Config config;
    config.interface_name = Interface::Name_;
    config.response_validator = &Interface::ResponseValidator_;
    router_ = internal::Router::Create(info.PassHandle(), config, nullptr, std::move(task_runner));
    proxy_ = std::make_unique<Proxy>(router_.get());
  }

  bool is_bound() const { return router_ != nullptr; }
  explicit operator bool() const { return is_bound(); }
  Interface* get() const { return proxy_.get(); }
  Interface* operator->() const { return get(); }
  Interface& operator*() const { return *get(); }

  // Closes the pipe; the serving end sees a connection error and pending replies are dropped.
  void reset() {
    proxy_.reset();
    if (router_) {
      router_->Close();
      router_.reset();
    }
  }

  void set_connection_error_handler(base::OnceClosure handler) {
    if (router_) router_->set_connection_error_handler(std::move(handler));
  }
  bool encountered_error() const { return router_ && router_->encountered_error(); }

  InterfacePtrInfo<Interface> PassInterface() {
    if (!router_) return InterfacePtrInfo<Interface>();
    proxy_.reset();
    ScopedMessagePipeHandle handle = router_->PassHandle();
    router_.reset();
    return InterfacePtrInfo<Interface>(std::move(handle));
  }

 private:
  std::shared_ptr<internal::Router> router_;
  std::unique_ptr<Proxy> proxy_;
};

// Creates a pipe, binds `ptr` to one end and returns the other end as a request.
template <typename Interface>
InterfaceRequest<Interface> MakeRequest(
    InterfacePtr<Interface>* ptr, scoped_refptr<base::SequencedTaskRunner> task_runner = nullptr) {
  MessagePipe pipe;
  ptr->Bind(InterfacePtrInfo<Interface>(std::move(pipe.handle0)), std::move(task_runner));
  return InterfaceRequest<Interface>(std::move(pipe.handle1));
}

// Creates a pipe whose calling end is returned unbound, for sending to another sequence.
template <typename Interface>
InterfaceRequest<Interface> MakeRequest(InterfacePtrInfo<Interface>* info) {
  MessagePipe pipe;
  *info = InterfacePtrInfo<Interface>(std::move(pipe.handle0));
  return InterfaceRequest<Interface>(std::move(pipe.handle1));
}

}  // namespace mojo
