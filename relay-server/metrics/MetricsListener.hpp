#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <expected>
#include <functional>
#include <memory>
#include <string>

namespace tallyfox::server {

/// Answers /metrics and /healthz on an address of its own. It knows no clients and no tokens: whoever reaches the
/// address may ask. Must outlive the context's run.
class MetricsListener {
 public:
  struct Answers {
    std::function<std::string()> metrics;  ///< the text of /metrics
    std::function<std::string()> trouble;  ///< why /healthz answers 503; empty when all is well
  };

  MetricsListener(boost::asio::io_context& io, Answers answers) : io_(io), answers_(std::move(answers)) {}

  using Acceptor = std::shared_ptr<boost::asio::ip::tcp::acceptor>;

  /// Listens there and no longer elsewhere; after an error, as before.
  [[nodiscard]] boost::system::error_code listen(const boost::asio::ip::tcp::endpoint& endpoint);
  /// The first half of it, which may fail, and the second.
  [[nodiscard]] std::expected<Acceptor, boost::system::error_code> opened(
      const boost::asio::ip::tcp::endpoint& endpoint);
  void use(Acceptor acceptor);
  /// Where it listens; port 0 when it does not.
  [[nodiscard]] boost::asio::ip::tcp::endpoint endpoint() const;
  /// Takes no further connections; those that are open end by themselves.
  void close();

 private:
  boost::asio::awaitable<void> accept(Acceptor acceptor);
  boost::asio::awaitable<void> answer(boost::asio::ip::tcp::socket socket);

  boost::asio::io_context& io_;
  Answers answers_;
  Acceptor acceptor_;  ///< shared with its own coroutine
  std::size_t connections_ = 0;
};

}  // namespace tallyfox::server
