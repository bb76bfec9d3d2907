#include "ClientLimits.hpp"

#include <algorithm>
#include <utility>

#include "ForwardedClient.hpp"
#include "base/Crypto.hpp"

namespace tallyfox::server {

ClientLimits::ClientLimits(const RelayLimits& limits, std::vector<Network> trustedProxies)
    : trustedProxies_(std::move(trustedProxies)),
      connections_(limits.connectionsPerAddress, limits.limitedAddresses),
      requests_(limits.requestsPerAddress, limits.limitedAddresses),
      registrations_(limits.registrationsPerAddress, limits.limitedAddresses),
      agents_(limits.agentConnectionsPerPairing, limits.limitedAddresses),
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

ClientLimits::Refusal ClientLimits::registrationRefusal(const boost::asio::ip::address& peer,
                                                        const boost::beast::http::fields& fields, Time now) {
  return registrations_.refusal(limitedClient(forwardedClient(peer, fields, trustedProxies_)), now);
}

ClientLimits::Refusal ClientLimits::agentRefusal(std::string_view pairingID, Time now) {
  const Sha256Digest digest = sha256(tallyfox::bytesOf(pairingID));
  AddressBytes key{};
  std::copy_n(digest.begin(), key.size(), key.begin());
  return agents_.refusal(key, now);
}

std::shared_ptr<void> ClientLimits::politeRefusal() {
  if (politeRefusals_ == 0) return nullptr;
  --politeRefusals_;
  return {this, [](void* all) { ++static_cast<ClientLimits*>(all)->politeRefusals_; }};
}

}  // namespace tallyfox::server
