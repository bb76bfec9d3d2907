#include "ClientLimits.hpp"

#include <utility>

#include "ForwardedClient.hpp"

namespace tallyfox::server {

ClientLimits::ClientLimits(const RelayLimits& limits, std::vector<Network> trustedProxies)
    : trustedProxies_(std::move(trustedProxies)),
      connections_(limits.connectionsPerAddress, limits.limitedAddresses),
      requests_(limits.requestsPerAddress, limits.limitedAddresses),
      politeRefusals_(limits.politeRefusals) {}

bool ClientLimits::isTrustedProxy(const boost::asio::ip::address& peer) const {
  return isListed(trustedProxies_, peer);
}

ClientLimits::Refusal ClientLimits::connectionRefusal(const boost::asio::ip::address& peer, Time now) {
  if (isTrustedProxy(peer)) return std::nullopt;
  return connections_.refusal(limitedClient(peer), now);
}

ClientLimits::Refusal ClientLimits::requestRefusal(const boost::asio::ip::address& peer,
                                                   const boost::beast::http::fields& fields, Time now) {
  return requests_.refusal(limitedClient(forwardedClient(peer, fields, trustedProxies_)), now);
}

std::shared_ptr<void> ClientLimits::politeRefusal() {
  if (politeRefusals_ == 0) return nullptr;
  --politeRefusals_;
  return {this, [](void* all) { ++static_cast<ClientLimits*>(all)->politeRefusals_; }};
}

}  // namespace tallyfox::server
