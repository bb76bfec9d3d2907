#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <expected>
#include <memory>
#include <optional>
#include <string>

#include "ClientLimits.hpp"
#include "RelayHub.hpp"
#include "RelayLimits.hpp"
#include "RelayLog.hpp"
#include "RelayOptions.hpp"
#include "UnauthenticatedConnections.hpp"
#include "page/PageFiles.hpp"
#include "storage/PairingStore.hpp"

namespace tallyfox::server {

/// The whole relay on one thread.
class RelayServer {
 public:
  /// Opens the database and listens. The error is one line for the person who started it. `console` gets the log.
  [[nodiscard]] static std::expected<std::unique_ptr<RelayServer>, std::string> open(const RelayOptions& options,
                                                                                     const RelayLimits& limits,
                                                                                     Console& console);

  /// Where it listens, as address:port.
  [[nodiscard]] std::string address() const;
  [[nodiscard]] std::uint16_t port() const { return endpoint_.port(); }

  /// Lets SIGTERM and SIGINT stop this relay; a second one then ends the process at once.
  void stopOnSignals();
  /// Serves until it is stopped and every socket is closed.
  void run();
  /// Closes every socket with 1001 and ends run(). From any thread.
  void stop();

 private:
  RelayServer(std::unique_ptr<PairingStore> store, std::optional<PageFiles> page, const RelayOptions& options,
              const RelayLimits& limits, Console& console);
  [[nodiscard]] boost::system::error_code listen(const boost::asio::ip::tcp::endpoint& endpoint);
  boost::asio::awaitable<void> acceptConnections();
  void serve(boost::asio::ip::tcp::socket socket);
  void closeEverything();

  RelayLimits limits_;
  RelayLog log_;
  std::unique_ptr<PairingStore> store_;
  RelayHub hub_;
  std::optional<PageFiles> page_;
  UnauthenticatedConnections unauthenticated_;
  ClientLimits clientLimits_;
  boost::asio::io_context io_{1};  ///< after everything that its coroutines refer to
  boost::asio::ip::tcp::acceptor acceptor_{io_};
  boost::asio::ip::tcp::endpoint endpoint_;
  boost::asio::signal_set signals_{io_};
};

}  // namespace tallyfox::server
