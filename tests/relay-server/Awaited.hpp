#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

namespace tallyfox::server::testing {

/// The outcome of an operation that is going on; absent until it has ended.
template <typename Value>
class Pending {
 public:
  Pending(boost::asio::io_context& io, boost::asio::awaitable<Value> operation) {
    // Shared, as an operation may last longer than whoever waits for it.
    if constexpr (std::is_void_v<Value>) {
      boost::asio::co_spawn(io, std::move(operation), [outcome = outcome_](const std::exception_ptr& failure) {
        if (failure) std::rethrow_exception(failure);
        outcome->emplace();
      });
    } else {
      boost::asio::co_spawn(io, std::move(operation),
                            [outcome = outcome_](const std::exception_ptr& failure, Value value) {
                              if (failure) std::rethrow_exception(failure);
                              outcome->emplace(std::move(value));
                            });
    }
  }
  Pending(const Pending&) = delete;
  Pending& operator=(const Pending&) = delete;

  [[nodiscard]] bool ended() const { return outcome_->has_value(); }
  [[nodiscard]] const auto& value() const {
    if (!ended()) throw std::logic_error("the operation has not ended");
    return **outcome_;
  }

 private:
  using Stored = std::conditional_t<std::is_void_v<Value>, std::monostate, Value>;
  std::shared_ptr<std::optional<Stored>> outcome_ = std::make_shared<std::optional<Stored>>();
};

/// Runs an operation that nothing but itself keeps waiting.
template <typename Value>
Value awaited(boost::asio::awaitable<Value> operation) {
  boost::asio::io_context io;
  const Pending<Value> pending(io, std::move(operation));
  io.run();
  if constexpr (std::is_void_v<Value>) {
    static_cast<void>(pending.value());
  } else {
    return pending.value();
  }
}

}  // namespace tallyfox::server::testing
