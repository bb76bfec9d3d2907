#include "RelayServer.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <csignal>
#include <exception>
#include <random>
#include <utility>

#include "HttpSession.hpp"
#include "base/Json.hpp"
#include "storage/RelayDatabase.hpp"
#include "storage/SqlitePairingStore.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);
/// After a failed accept, mostly for want of descriptors: time for some to become free.
constexpr std::chrono::milliseconds acceptPause{100};

std::string textOf(const tcp::endpoint& endpoint) {
  const std::string address = endpoint.address().to_string();
  if (endpoint.address().is_v6()) return fmt::format("[{}]:{}", address, endpoint.port());
  return fmt::format("{}:{}", address, endpoint.port());
}

/// Its address was read as one.
tcp::endpoint endpointOf(const ListenAddress& address) {
  return {asio::ip::make_address(address.address), address.port};
}

}  // namespace

RelayServer::RelayServer(Files files, const RelayOptions& options, const RelayLimits& limits, Console& console)
    : options_(options),
      limits_(limits),
      log_(console, options.log),
      page_(std::move(files.page)),
      tls_(std::move(files.tls)),
      pushClient_(std::move(files.pushClient)),
      unauthenticated_(limits.unauthenticatedConnections),
      clientLimits_(limits_, options.trustedProxies),
      metricsListener_(io_, {.metrics = [this] { return metricsText(); },
                             .trouble = [this] { return drain_.isUnderWay() ? "draining" : ""; }}) {
  addOwnReloadHooks();
}

std::expected<std::unique_ptr<RelayServer>, std::string> RelayServer::open(const RelayOptions& options,
                                                                           const RelayLimits& limits,
                                                                           Console& console) {
  boost::system::error_code error;
  const tcp::endpoint endpoint(asio::ip::make_address(options.address, error), options.port);
  if (error) return std::unexpected(fmt::format("Unable to listen on {}: {}", options.address, error.message()));
  auto files = opened(options, limits);
  if (!files) return std::unexpected(std::move(files.error()));
  std::unique_ptr<RelayServer> server(new RelayServer(std::move(*files), options, limits, console));
  if (const auto stored = server->openStore(options); !stored) return std::unexpected(stored.error());
  server->offerPush();
  error = server->listen(endpoint);
  if (error) return std::unexpected(fmt::format("Unable to listen on {}: {}", textOf(endpoint), error.message()));
  if (options.metrics) {
    if (auto listening = server->listenForMetrics(*options.metrics); !listening)
      return std::unexpected(std::move(listening.error()));
  }
  server->warnOfCertificates();
  return server;
}

std::expected<RelayServer::Files, std::string> RelayServer::opened(const RelayOptions& options,
                                                                   const RelayLimits& limits) {
  std::unique_ptr<PushClient> pushClient;
  if (options.push) {
    auto client = PushClient::make(*options.push, limits.push);
    if (!client) return std::unexpected(std::move(client.error()));
    pushClient = std::move(*client);
  }
  std::optional<PageFiles> page;
  if (options.pageDirectory && !options.pageDirectory->empty()) {
    auto files = PageFiles::read(*options.pageDirectory, {});
    if (!files) return std::unexpected(fmt::format("Unable to serve the page: {}", files.error()));
    page = std::move(*files);
    const Json pushKey = pushClient ? Json(pushClient->publicKey()) : Json();
    page->add("/page-config.json", jsonText({{"version", 1}, {"pushKey", pushKey}}));
  }
  std::optional<TlsContext> tls;
  if (options.tls) {
    auto context = TlsContext::load(*options.tls);
    if (!context) return std::unexpected(std::move(context.error()));
    tls = std::move(*context);
  }
  return Files{.page = std::move(page), .tls = std::move(tls), .pushClient = std::move(pushClient)};
}

std::expected<void, std::string> RelayServer::openStore(const RelayOptions& options) {
  if (options.nats) {
    auto node = ClusterNode::open(*options.nats, limits_, log_, io_.get_executor());
    if (!node) return std::unexpected(node.error());
    cluster_ = std::move(*node);
    store_.emplace(cluster_->makeStore(), metrics_);
    hub_.emplace(*store_, log_, limits_, metrics_, &cluster_->bus());
    return {};
  }
  auto database = RelayDatabase::open(options.dataDirectory);
  if (!database) return std::unexpected(fmt::format("Unable to open the database: {}", database.error().description));
  store_.emplace(std::make_unique<SqlitePairingStore>(std::move(*database)), metrics_);
  hub_.emplace(*store_, log_, limits_, metrics_);
  return {};
}

void RelayServer::offerPush() {
  if (!pushClient_) return;
  const auto isConnected = [this](const PhoneAddress& phone) { return hub_->isConnected(phone); };
  push_.emplace(
      io_.get_executor(),
      PushNotifier::Dependencies{
          .store = *store_, .log = log_, .metrics = metrics_, .client = *pushClient_, .isConnected = isConnected});
  hub_->setPush(*push_);
}

RelayServer::~RelayServer() {
  // Other threads come back to the context, which goes before what its coroutines refer to.
  if (push_) push_->stop();
  if (cluster_) cluster_->close();
}

std::expected<void, std::string> RelayServer::listenForMetrics(const ListenAddress& address) {
  const tcp::endpoint endpoint = endpointOf(address);
  if (const auto error = metricsListener_.listen(endpoint)) {
    return std::unexpected(fmt::format("Unable to listen on {} for metrics: {}", textOf(endpoint), error.message()));
  }
  log_.write(log_event::metricsListening, {LogField::address(metricsListener_.endpoint())});
  return {};
}

std::string RelayServer::metricsText() const {
  return metrics_.text(
      {.unauthenticated = unauthenticated_.count(), .rooms = hub_->rooms(), .snapshotBytes = hub_->snapshotBytes()});
}

std::string RelayServer::address() const {
  return textOf(endpoint_);
}

boost::system::error_code RelayServer::listen(const tcp::endpoint& endpoint) {
  boost::system::error_code error;
  acceptor_.open(endpoint.protocol(), error);
  // A restart must not wait for the old connections to be forgotten.
  if (!error) acceptor_.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) acceptor_.bind(endpoint, error);
  if (!error) acceptor_.listen(asio::socket_base::max_listen_connections, error);
  if (!error) endpoint_ = acceptor_.local_endpoint(error);
  return error;
}

void RelayServer::obeySignals() {
  endSignals_.add(SIGTERM);
  endSignals_.add(SIGINT);
  endSignals_.async_wait([this](boost::system::error_code cancelled, int) {
    if (!cancelled) beginDrain();
  });
  reloadSignals_.add(SIGHUP);
  awaitReload();
}

void RelayServer::awaitReload() {
  reloadSignals_.async_wait([this](boost::system::error_code cancelled, int) {
    if (cancelled) return;
    takeSettings();
    awaitReload();
  });
}

void RelayServer::reload() {
  asio::post(io_, [this] { takeSettings(); });
}

void RelayServer::takeSettings() {
  told_(State::reloading);
  auto fresh = settingsNow();
  auto done = fresh ? reloadHooks_.run(fresh->options) : std::unexpected(fresh.error());
  if (done) {
    options_ = std::move(fresh->options);
    log_.write(log_event::reloaded);
    tellChanges(std::move(fresh->texts));
  } else {
    log_.write(log_event::reloadRefused, {LogField::reason(done.error())});
  }
  told_(State::ready);
}

void RelayServer::run() {
  if (cluster_) {
    asio::co_spawn(io_, cluster_->run(), [this](const std::exception_ptr& failure) {
      if (failure) closeEverything();
    });
  }
  asio::co_spawn(io_, acceptConnections(), [this](const std::exception_ptr& failure) {
    if (failure) closeEverything();
  });
  told_(State::ready);
  io_.run();
}

void RelayServer::stop() {
  asio::post(io_, [this] { closeEverything(); });
}

void RelayServer::readSettingsBy(ReadSettings read, GivenOptions::Texts now) {
  readSettings_ = std::move(read);
  settingTexts_ = std::move(now);
}

std::expected<GivenOptions, SettingsError> RelayServer::settingsNow() const {
  if (!readSettings_) return GivenOptions{.options = options_, .texts = settingTexts_};
  auto given = readSettings_();
  if (!given) return std::unexpected(SettingsError{std::move(given.error())});
  given->options.log.priorities = options_.log.priorities;
  return std::move(*given);
}

void RelayServer::addOwnReloadHooks() {
  onReload([this](const RelayOptions& fresh) { return freshCertificates(fresh); });
  onReload([this](const RelayOptions& fresh) { return freshMetrics(fresh); });
  onReload([this](const RelayOptions& fresh) -> ReloadHooks::Prepared {
    return [this, log = fresh.log, proxies = fresh.trustedProxies] {
      log_.configure(log);
      clientLimits_.trust(proxies);
    };
  });
}

ReloadHooks::Prepared RelayServer::freshMetrics(const RelayOptions& options) {
  if (options.metrics == options_.metrics) return [] {};
  if (!options.metrics) return [this] { metricsListener_.close(); };
  auto prepared = metricsListener_.opened(endpointOf(*options.metrics));
  if (!prepared) {
    return std::unexpected(
        SettingsError{fmt::format("Unable to listen on {}: {}", options.metrics->address, prepared.error().message())});
  }
  return [this, acceptor = std::move(*prepared)] { metricsListener_.use(acceptor); };
}

void RelayServer::tellChanges(GivenOptions::Texts fresh) {
  for (const std::string& name : changedOptions(settingTexts_, fresh)) {
    const bool isTls = name.starts_with("--tls-");
    const bool isTaken = isTakenAtRunTime(name) && !(isTls && settingTexts_.contains(name) != fresh.contains(name));
    log_.write(isTaken ? log_event::settingChanged : log_event::settingNeedsRestart,
               {LogField::setting(std::string_view(name).substr(2))});
    if (!isTaken) continue;
    // Others are told again, as long as they differ from what is in use.
    if (const auto now = fresh.find(name); now != fresh.end()) {
      settingTexts_[name] = now->second;
    } else {
      settingTexts_.erase(name);
    }
  }
}

ReloadHooks::Prepared RelayServer::freshCertificates(const RelayOptions& options) {
  if (!tls_ || !options.tls) return [] {};
  auto fresh = TlsContext::load(*options.tls);
  if (!fresh) return std::unexpected(SettingsError{std::move(fresh.error())});
  return [this, loaded = std::make_shared<TlsContext>(std::move(*fresh))] {
    tls_ = std::move(*loaded);
    log_.write(log_event::certificateRead);
    warnOfCertificates();
  };
}

void RelayServer::warnOfCertificates() {
  if (!tls_) return;
  for (const std::string& warning : tls_->warnings())
    log_.write(log_event::certificateWarning, {LogField::reason(SettingsError{warning})});
}

asio::awaitable<void> RelayServer::acceptConnections() {
  asio::steady_timer pause(io_);
  while (acceptor_.is_open()) {
    auto [error, socket] = co_await acceptor_.async_accept(resultOf);
    if (!acceptor_.is_open()) co_return;
    if (!error) {
      asio::co_spawn(io_, serve(std::move(socket)), [this](const std::exception_ptr& failure) {
        if (failure) log_.write(log_event::connectionFailed);
      });
      continue;
    }
    log_.write(log_event::acceptFailed, {LogField::reason(error)});
    pause.expires_after(acceptPause);
    co_await pause.async_wait(resultOf);
  }
}

asio::awaitable<void> RelayServer::serve(tcp::socket socket) {
  boost::system::error_code ignored;
  socket.set_option(tcp::no_delay(true), ignored);
  ++metrics_.connections;
  auto session = std::make_shared<HttpSession>(std::move(socket),
                                               HttpSession::Dependencies{.hub = *hub_,
                                                                         .unauthenticated = unauthenticated_,
                                                                         .log = log_,
                                                                         .limits = limits_,
                                                                         .clientLimits = clientLimits_,
                                                                         .metrics = metrics_,
                                                                         .drain = drain_,
                                                                         .page = page_ ? &*page_ : nullptr,
                                                                         .tls = tls_ ? &tls_->current() : nullptr});
  const auto upgraded = co_await session->run();
  // Most connections are WebSockets for a long time, which have no use for what their request took.
  session.reset();
  if (upgraded) co_await upgraded->run();
}

void RelayServer::drain() {
  asio::post(io_, [this] { beginDrain(); });
}

void RelayServer::beginDrain() {
  if (drain_.isUnderWay() || !acceptor_.is_open()) return;
  // A second signal ends the process.
  boost::system::error_code ignored;
  endSignals_.clear(ignored);
  auto seats = hub_->seats();
  const Drain::Length length =
      options_.drainTime ? Drain::Length(*options_.drainTime) : Drain::usualLength(seats.size());
  drain_.begin(std::chrono::steady_clock::now(), length, seats.size());
  told_(State::stopping);
  log_.write(log_event::draining, {LogField::count(seats.size())});
  // So that one pairing's sockets do not all go at once.
  std::ranges::shuffle(seats, std::minstd_rand(std::random_device{}()));
  asio::co_spawn(io_, letGo(std::move(seats)), [this](const std::exception_ptr&) { closeEverything(); });
}

asio::awaitable<void> RelayServer::letGo(std::vector<RelayHub::Seat> seats) {
  for (std::size_t number = 0; number <= seats.size() && acceptor_.is_open(); ++number) {
    const auto due = number < seats.size() ? drain_.departure(number) : drain_.end();
    if (const auto now = std::chrono::steady_clock::now(); due > now) {
      drainTimer_.expires_at(due);
      co_await drainTimer_.async_wait(resultOf);
    }
    if (number < seats.size() && acceptor_.is_open())
      hub_->restart(seats[number], drain_.reconnectAfter(std::chrono::steady_clock::now()));
  }
}

void RelayServer::closeEverything() {
  if (!acceptor_.is_open()) return;
  log_.write(log_event::stopping);
  boost::system::error_code ignored;
  acceptor_.close(ignored);
  endSignals_.clear(ignored);
  // Not cleared: a SIGHUP must not end what is ending in order.
  reloadSignals_.cancel(ignored);
  metricsListener_.close();
  drainTimer_.cancel();
  unauthenticated_.turnAllAway(CloseCode::goingAway);
  hub_->close();
  if (cluster_) cluster_->stop();
  if (push_) push_->stop();
}

}  // namespace tallyfox::server
