#include "ClusterNode.hpp"

#include <fmt/format.h>

#include <array>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <stdexcept>

#include "base/Crypto.hpp"
#include "base/Encoding.hpp"

namespace tallyfox::server {

namespace asio = boost::asio;

std::expected<std::unique_ptr<ClusterNode>, std::string> ClusterNode::open(const NatsOptions& options,
                                                                           const RelayLimits& limits, RelayLog& log,
                                                                           asio::any_io_executor executor) {
  std::array<std::uint8_t, 12> name{};
  if (!fillWithSecureRandom(name)) return std::unexpected("Unable to name this node: no random numbers");
  auto connection = NatsConnection::open(options, executor);
  if (!connection) return std::unexpected(connection.error());
  const auto needed = static_cast<std::int64_t>(limits.agentFrameBytes + ClusterMessage::greatestEnvelope);
  if (const std::int64_t greatest = (*connection)->greatestMessage(); greatest < needed) {
    return std::unexpected(
        fmt::format("NATS at {} takes messages of {} bytes at most: set max_payload in its configuration to {} or more",
                    options.publicName(), greatest, needed));
  }
  std::unique_ptr<ClusterNode> node(new ClusterNode(std::move(*connection), options, limits, log, hexEncoded(name)));
  if (const auto made = node->buckets_.make(); !made) {
    return std::unexpected(
        fmt::format("Unable to keep pairings in NATS at {}: {}", options.publicName(), made.error().description));
  }
  return node;
}

ClusterNode::ClusterNode(std::unique_ptr<NatsConnection> connection, const NatsOptions& options,
                         const RelayLimits& limits, RelayLog& log, const std::string& node)
    : connection_(std::move(connection)),
      buckets_(*connection_, options, limits.snapshotBytes),
      transport_(*connection_, buckets_, options, node),
      bus_(transport_, log, node, ClusterBus::Clock::now, timing_) {}

ClusterNode::~ClusterNode() = default;

asio::awaitable<void> ClusterNode::run() {
  if (!co_await transport_.open()) throw std::runtime_error("NATS went away");
  asio::steady_timer beat(connection_->executor());
  beat_ = &beat;
  while (!stopped_) {
    bus_.beat();
    beat.expires_after(timing_.beat);
    co_await beat.async_wait(asio::as_tuple(asio::use_awaitable));
  }
  beat_ = nullptr;
}

void ClusterNode::stop() {
  if (stopped_) return;
  stopped_ = true;
  bus_.stop();
  if (beat_ != nullptr) beat_->cancel();
}

}  // namespace tallyfox::server
