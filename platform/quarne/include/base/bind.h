#pragma once

#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

#include "base/callback.h"

namespace base {

template <typename T>
class UnretainedWrapper {
 public:
  explicit UnretainedWrapper(T* pointer) : pointer_(pointer) {}
  T* get() const { return pointer_; }
  T& operator*() const { return *pointer_; }

 private:
  T* pointer_;
};

// Binds a pointer whose lifetime the caller guarantees.
template <typename T>
UnretainedWrapper<T> Unretained(T* pointer) {
  return UnretainedWrapper<T>(pointer);
}

namespace internal {

template <typename... Ts>
struct TypeList {};

// Keyed on N == 0 too: otherwise both specializations match N == 0 with types left, which is
// ambiguous and breaks every partial application.
template <size_t N, typename List, bool = (N == 0)>
struct DropTypes;
template <size_t N, typename List>
struct DropTypes<N, List, true> {
  using Type = List;
};
template <size_t N, typename T, typename... Ts>
struct DropTypes<N, TypeList<T, Ts...>, false> {
  using Type = typename DropTypes<N - 1, TypeList<Ts...>>::Type;
};

// The signature of anything callable: functions, member functions (receiver first), lambdas.
template <typename F, typename = void>
struct FunctorTraits;
template <typename R, typename... Args>
struct FunctorTraits<R (*)(Args...)> {
  using ReturnType = R;
  using Params = TypeList<Args...>;
};
template <typename R, typename... Args>
struct FunctorTraits<R(Args...)> : FunctorTraits<R (*)(Args...)> {};
template <typename R, typename C, typename... Args>
struct FunctorTraits<R (C::*)(Args...)> {
  using ReturnType = R;
  using Params = TypeList<C*, Args...>;
};
template <typename R, typename C, typename... Args>
struct FunctorTraits<R (C::*)(Args...) const> {
  using ReturnType = R;
  using Params = TypeList<const C*, Args...>;
};
template <typename R, typename C, typename... Args>
struct FunctorTraits<R (C::*)(Args...)&&> : FunctorTraits<R (C::*)(Args...)> {};
template <typename F>
struct FunctorTraits<F, std::void_t<decltype(&F::operator())>> {
  using CallTraits = FunctorTraits<decltype(&F::operator())>;
  using ReturnType = typename CallTraits::ReturnType;
  using Params = typename DropTypes<1, typename CallTraits::Params>::Type;
};
template <typename Signature>
struct FunctorTraits<OnceCallback<Signature>> : FunctorTraits<Signature> {};
template <typename Signature>
struct FunctorTraits<RepeatingCallback<Signature>> : FunctorTraits<Signature> {};

template <typename T>
struct IsUnretained : std::false_type {};
template <typename T>
struct IsUnretained<UnretainedWrapper<T>> : std::true_type {};

template <typename T>
decltype(auto) Unwrap(T&& value) {
  if constexpr (IsUnretained<std::decay_t<T>>::value) {
    return value.get();
  } else {
    return std::forward<T>(value);
  }
}

template <typename F, typename... Args>
decltype(auto) InvokeFunctor(F&& functor, Args&&... args) {
  using Functor = std::decay_t<F>;
  if constexpr (std::is_same_v<Functor, OnceCallback<typename Functor::RunType>>) {
    return std::move(functor).Run(std::forward<Args>(args)...);
  } else if constexpr (std::is_same_v<Functor, RepeatingCallback<typename Functor::RunType>>) {
    return functor.Run(std::forward<Args>(args)...);
  } else {
    return std::invoke(std::forward<F>(functor), std::forward<Args>(args)...);
  }
}

template <typename T, typename = void>
struct HasRunType : std::false_type {};
template <typename T>
struct HasRunType<T, std::void_t<typename T::RunType>> : std::true_type {};

template <typename F, typename... Args>
decltype(auto) Invoke(F&& functor, Args&&... args) {
  if constexpr (HasRunType<std::decay_t<F>>::value) {
    return InvokeFunctor(std::forward<F>(functor), std::forward<Args>(args)...);
  } else {
    return std::invoke(std::forward<F>(functor), std::forward<Args>(args)...);
  }
}

// A OnceCallback's state moves its functor and bound arguments into the call; a
// RepeatingCallback's passes them as lvalues and keeps them.
template <bool kIsOnce, typename Functor, typename BoundTuple, typename R, typename... Args>
class BindState final : public CallableBase<R, Args...> {
 public:
  template <typename F, typename... Bound>
  explicit BindState(F&& functor, Bound&&... bound)
      : functor_(std::forward<F>(functor)), bound_(std::forward<Bound>(bound)...) {}

  R Run(Args&&... args) override {
    return std::apply(
        [&](auto&... bound) -> R {
          if constexpr (kIsOnce) {
            return Invoke(std::move(functor_), Unwrap(std::move(bound))...,
                          std::forward<Args>(args)...);
          } else {
            return Invoke(functor_, Unwrap(bound)..., std::forward<Args>(args)...);
          }
        },
        bound_);
  }

 private:
  Functor functor_;
  BoundTuple bound_;
};

template <template <typename> class CallbackType, typename R, typename Unbound>
struct MakeCallback;
template <template <typename> class CallbackType, typename R, typename... Args>
struct MakeCallback<CallbackType, R, TypeList<Args...>> {
  using Type = CallbackType<R(Args...)>;

  template <typename F, typename... Bound>
  static Type Make(F&& functor, Bound&&... bound) {
    constexpr bool kIsOnce = std::is_same_v<Type, OnceCallback<R(Args...)>>;
    using State =
        BindState<kIsOnce, std::decay_t<F>, std::tuple<std::decay_t<Bound>...>, R, Args...>;
    return Type(std::make_shared<State>(std::forward<F>(functor), std::forward<Bound>(bound)...));
  }
};

template <template <typename> class CallbackType, typename F, typename... Bound>
auto Bind(F&& functor, Bound&&... bound) {
  using Traits = FunctorTraits<std::decay_t<F>>;
  using Unbound = typename DropTypes<sizeof...(Bound), typename Traits::Params>::Type;
  return MakeCallback<CallbackType, typename Traits::ReturnType, Unbound>::Make(
      std::forward<F>(functor), std::forward<Bound>(bound)...);
}

}  // namespace internal

// Bound arguments are stored by value; a OnceCallback moves them into the call, so they may be
// move-only.
template <typename F, typename... Bound>
auto BindOnce(F&& functor, Bound&&... bound) {
  return internal::Bind<OnceCallback>(std::forward<F>(functor), std::forward<Bound>(bound)...);
}

template <typename F, typename... Bound>
auto BindRepeating(F&& functor, Bound&&... bound) {
  return internal::Bind<RepeatingCallback>(std::forward<F>(functor), std::forward<Bound>(bound)...);
}

template <typename F, typename... Bound>
auto Bind(F&& functor, Bound&&... bound) {
  return BindRepeating(std::forward<F>(functor), std::forward<Bound>(bound)...);
}

}  // namespace base
