#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ClientLimits.hpp"
#include "Drain.hpp"
#include "MeasuredStore.hpp"
#include "PushNotifier.hpp"
#include "RelayHub.hpp"
#include "RelayLimits.hpp"
#include "RelayLog.hpp"
#include "RelayOptions.hpp"
#include "ReloadHooks.hpp"
#include "UnauthenticatedConnections.hpp"
#include "cluster/ClusterNode.hpp"
#include "metrics/MetricsListener.hpp"
#include "metrics/RelayMetrics.hpp"
#include "page/PageFiles.hpp"
#include "push/PushClient.hpp"
#include "storage/PairingStore.hpp"
#include "tls/TlsContext.hpp"

namespace tallyfox::server {

/// The whole relay on one thread.
class RelayServer {
 public:
  /// Opens the database, or meets the other relays, and listens. The error is one line for the person who started it.
  /// `console` gets the log.
  [[nodiscard]] static std::expected<std::unique_ptr<RelayServer>, std::string> open(const RelayOptions& options,
                                                                                     const RelayLimits& limits,
                                                                                     Console& console);

  ~RelayServer();

  /// Where it listens, as address:port.
  [[nodiscard]] std::string address() const;
  [[nodiscard]] std::uint16_t port() const { return endpoint_.port(); }
  /// Where metrics are; 0 for nowhere.
  [[nodiscard]] std::uint16_t metricsPort() const { return metricsListener_.endpoint().port(); }

  /// Lets SIGTERM and SIGINT stop this relay, a second one then ending the process at once, and SIGHUP reload it.
  void obeySignals();
  /// Adds a part that takes new settings on SIGHUP, before run(); ReloadHooks.hpp shows how.
  void onReload(ReloadHooks::Prepare prepare) { reloadHooks_.add(std::move(prepare)); }
  /// Where SIGHUP takes its settings from, before run(); without it the old ones count again. `now` are those in use.
  using ReadSettings = std::function<std::expected<GivenOptions, std::string>()>;
  void readSettingsBy(ReadSettings read, GivenOptions::Texts now);
  /// Does what SIGHUP asks for. From any thread.
  void reload();
  /// What a service manager is told.
  enum class State : std::uint8_t { ready, reloading, stopping };
  /// `told` hears of each change from run() on, in its thread.
  void onState(std::function<void(State)> told) { told_ = std::move(told); }
  /// Serves until it is stopped and every socket is closed.
  void run();
  /// Does what SIGTERM asks for: lets the sockets go one by one with 1012, and then stops. From any thread.
  void drain();
  /// Closes every socket with 1001 and ends run(). From any thread.
  void stop();

 private:
  /// What is read from files before there is a relay.
  struct Files {
    std::optional<PageFiles> page;
    std::optional<TlsContext> tls;
    std::unique_ptr<PushClient> pushClient;  ///< null without Web Push
  };
  RelayServer(Files files, const RelayOptions& options, const RelayLimits& limits, Console& console);
  [[nodiscard]] static std::expected<Files, std::string> opened(const RelayOptions& options, const RelayLimits& limits);
  /// What the hub stands on.
  [[nodiscard]] std::expected<void, std::string> openStore(const RelayOptions& options);
  /// Lets phones subscribe, when there is a key.
  void offerPush();
  [[nodiscard]] boost::system::error_code listen(const boost::asio::ip::tcp::endpoint& endpoint);
  boost::asio::awaitable<void> acceptConnections();
  boost::asio::awaitable<void> serve(boost::asio::ip::tcp::socket socket);
  void awaitReload();
  void takeSettings();
  [[nodiscard]] std::expected<GivenOptions, SettingsError> settingsNow() const;
  void addOwnReloadHooks();
  [[nodiscard]] ReloadHooks::Prepared freshMetrics(const RelayOptions& options);
  void tellChanges(GivenOptions::Texts fresh);
  [[nodiscard]] ReloadHooks::Prepared freshCertificates(const RelayOptions& options);
  [[nodiscard]] std::expected<void, std::string> listenForMetrics(const ListenAddress& address);
  [[nodiscard]] std::string metricsText() const;
  void beginDrain();
  boost::asio::awaitable<void> letGo(std::vector<RelayHub::Seat> seats);
  void closeEverything();
  void warnOfCertificates();

  RelayOptions options_;
  RelayLimits limits_;
  RelayLog log_;
  RelayMetrics metrics_;
  std::unique_ptr<ClusterNode> cluster_;  ///< of one relay of several
  std::optional<MeasuredStore> store_;
  std::optional<RelayHub> hub_;  ///< there once the store is
  std::optional<PageFiles> page_;
  std::optional<TlsContext> tls_;
  std::unique_ptr<PushClient> pushClient_;
  std::optional<PushNotifier> push_;
  UnauthenticatedConnections unauthenticated_;
  ClientLimits clientLimits_;
  ReloadHooks reloadHooks_;
  ReadSettings readSettings_;
  GivenOptions::Texts settingTexts_;
  std::function<void(State)> told_ = [](State) {};
  Drain drain_;
  boost::asio::io_context io_{1};  ///< after everything that its coroutines refer to
  boost::asio::ip::tcp::acceptor acceptor_{io_};
  MetricsListener metricsListener_;
  boost::asio::ip::tcp::endpoint endpoint_;
  boost::asio::steady_timer drainTimer_{io_};
  boost::asio::signal_set endSignals_{io_};
  boost::asio::signal_set reloadSignals_{io_};
};

}  // namespace tallyfox::server
