#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <expected>
#include <memory>
#include <string>

#include "ClusterBus.hpp"
#include "NatsPairingStore.hpp"
#include "NatsTransport.hpp"
#include "RelayLimits.hpp"

namespace tallyfox::server {

/// What makes a relay one of several: its connection to NATS, and on it the store and the bus.
class ClusterNode {
 public:
  /// Blocks until NATS has answered. The error is one line for the person who started the relay.
  [[nodiscard]] static std::expected<std::unique_ptr<ClusterNode>, std::string> open(
      const NatsOptions& options, const RelayLimits& limits, RelayLog& log, boost::asio::any_io_executor executor);
  ~ClusterNode();

  /// A store that stands on this node.
  [[nodiscard]] std::unique_ptr<PairingStore> makeStore() {
    return std::make_unique<NatsPairingStore>(*connection_, buckets_);
  }
  [[nodiscard]] PairingBus& bus() { return bus_; }

  /// Joins the others, once the hub listens; lasts until `stop`. Throws when NATS is gone already.
  [[nodiscard]] boost::asio::awaitable<void> run();
  /// Says goodbye and ends `run`.
  void stop();
  /// Ends the threads; before the executor's context goes away.
  void close() { connection_->close(); }

 private:
  ClusterNode(std::unique_ptr<NatsConnection> connection, const NatsOptions& options, const RelayLimits& limits,
              RelayLog& log, const std::string& node);

  std::unique_ptr<NatsConnection> connection_;
  NatsBuckets buckets_;
  NatsTransport transport_;
  ClusterTiming timing_;
  ClusterBus bus_;
  boost::asio::steady_timer* beat_ = nullptr;  ///< while it runs
  bool stopped_ = false;
};

}  // namespace tallyfox::server
