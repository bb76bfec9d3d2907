#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "base/Require.hpp"

namespace tallyfox {

template <typename Signature>
class MoveOnlyFunction;

/// A callable that may own what cannot be copied, or none. What std::move_only_function is where the C++ library has
/// it; the Mac's does not yet. Calling an empty one ends the process.
template <typename Result, typename... Arguments>
class MoveOnlyFunction<Result(Arguments...)> {
 public:
  MoveOnlyFunction() = default;
  MoveOnlyFunction(std::nullptr_t) {}

  template <typename Callable>
    requires(!std::same_as<std::remove_cvref_t<Callable>, MoveOnlyFunction> &&
             std::is_invocable_r_v<Result, std::decay_t<Callable>&, Arguments...>)
  MoveOnlyFunction(Callable&& callable) {
    using Held = std::decay_t<Callable>;
    if constexpr (requires { static_cast<bool>(callable == nullptr); }) {
      if (callable == nullptr) return;
    }
    held_ = std::make_unique<Holder<Held>>(std::forward<Callable>(callable));
  }

  [[nodiscard]] explicit operator bool() const { return held_ != nullptr; }

  Result operator()(Arguments... arguments) {
    require(held_ != nullptr, "an empty function is never called");
    return held_->call(std::forward<Arguments>(arguments)...);
  }

 private:
  struct Base {
    virtual ~Base() = default;
    virtual Result call(Arguments... arguments) = 0;
  };
  template <typename Held>
  struct Holder : Base {
    explicit Holder(auto&& callable) : held(std::forward<decltype(callable)>(callable)) {}
    Result call(Arguments... arguments) override {
      if constexpr (std::is_void_v<Result>) {
        std::invoke(held, std::forward<Arguments>(arguments)...);
      } else {
        return std::invoke(held, std::forward<Arguments>(arguments)...);
      }
    }
    Held held;
  };

  std::unique_ptr<Base> held_;
};

}  // namespace tallyfox
