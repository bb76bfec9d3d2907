#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "NatsHandles.hpp"
#include "NatsOptions.hpp"

namespace tallyfox::server {

/// The connection to NATS. The library's calls block, so they are made by a few threads of its own; its callbacks only
/// post to the relay's executor. It connects again by itself, for ever, and what is published while it is cut is
/// refused, never sent late.
class NatsConnection {
 public:
  struct Message {
    std::string subject, reply, data;
    bool nobodyThere = false;  ///< no message: the question had no subscriber
  };
  using Handler = std::function<void(Message)>;

  /// Hears one subject until it is destroyed, which is done by the executor's thread.
  class Subscription {
   public:
    Subscription(NatsConnection& connection, NatsSubscriptionHandle handle, std::shared_ptr<Handler> handler)
        : connection_(connection), handle_(std::move(handle)), handler_(std::move(handler)) {}
    ~Subscription();
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

   private:
    NatsConnection& connection_;
    NatsSubscriptionHandle handle_;
    std::shared_ptr<Handler> handler_;
  };

  /// Blocks until it is connected. The error is one line without user and password.
  [[nodiscard]] static std::expected<std::unique_ptr<NatsConnection>, std::string> open(
      const NatsOptions& options, boost::asio::any_io_executor executor);
  ~NatsConnection();
  NatsConnection(const NatsConnection&) = delete;
  NatsConnection& operator=(const NatsConnection&) = delete;

  [[nodiscard]] boost::asio::any_io_executor executor() const { return executor_; }
  [[nodiscard]] natsConnection* handle() const { return connection_.get(); }
  [[nodiscard]] bool connected() const;
  [[nodiscard]] std::int64_t greatestMessage() const { return natsConnection_GetMaxPayload(connection_.get()); }
  /// Told by the executor's thread when the connection was cut, and when it is there again.
  void onChange(std::function<void(bool connected)> changed) { *changed_ = std::move(changed); }

  /// Runs what blocks in another thread and goes on with its outcome in this one. `work` has a name where it is passed:
  /// GCC 12 destroys twice what a temporary closure in an awaited call has captured.
  template <typename Work>
  boost::asio::awaitable<std::invoke_result_t<Work>> run(Work work) {
    co_return co_await boost::asio::co_spawn(threads_, resultOf(std::move(work)), boost::asio::use_awaitable);
  }
  /// The same, after everything else that was given to `runInOrder` and `publish`.
  template <typename Work>
  boost::asio::awaitable<std::invoke_result_t<Work>> runInOrder(Work work) {
    co_return co_await boost::asio::co_spawn(order_, resultOf(std::move(work)), boost::asio::use_awaitable);
  }

  /// Sends it after what was published before, or never. `done`, if any, is told by the executor's thread whether the
  /// library took it.
  void publish(std::string subject, std::string reply, std::string data, std::function<void(bool)> done = {});
  /// Null when the library refuses.
  [[nodiscard]] boost::asio::awaitable<std::unique_ptr<Subscription>> subscribe(std::string subject, Handler handler);

  /// Ends the threads and the callbacks; before the executor's context goes away.
  void close();

 private:
  using Changed = std::shared_ptr<std::function<void(bool)>>;
  struct Closing;

  explicit NatsConnection(boost::asio::any_io_executor executor);

  template <typename Work>
  static boost::asio::awaitable<std::invoke_result_t<Work>> resultOf(Work work) {
    co_return work();
  }

  boost::asio::any_io_executor executor_;
  Changed changed_ = std::make_shared<std::function<void(bool)>>();
  std::unique_ptr<Closing> closing_;
  NatsConnectionHandle connection_;
  boost::asio::thread_pool threads_;
  boost::asio::strand<boost::asio::thread_pool::executor_type> order_;
  std::size_t outgoingBytes_ = 0;  ///< waiting for the library; counted by the executor's thread
};

}  // namespace tallyfox::server
