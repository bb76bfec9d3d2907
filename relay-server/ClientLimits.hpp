#pragma once

#include <boost/asio/ip/address.hpp>
#include <boost/beast/http/fields.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "AddressLimits.hpp"
#include "ClientAddress.hpp"
#include "RelayLimits.hpp"

namespace tallyfox::server {

/// How often each client may connect and ask before it has proved who it is. Knows no clock and no sockets.
class ClientLimits {
 public:
  using Time = AddressLimits::Time;
  using Refusal = std::optional<std::chrono::seconds>;  ///< when the client may come again

  ClientLimits(const RelayLimits& limits, std::vector<Network> trustedProxies);

  /// From now on these are the listed proxies.
  void trust(std::vector<Network> proxies) { trustedProxies_ = std::move(proxies); }
  [[nodiscard]] bool isTrustedProxy(const boost::asio::ip::address& peer) const;
  /// For each accepted connection. Proxies connect as often as they like.
  [[nodiscard]] Refusal connectionRefusal(const boost::asio::ip::address& peer, Time now);
  /// For each request, once its header is there.
  [[nodiscard]] Refusal requestRefusal(const boost::asio::ip::address& peer, const boost::beast::http::fields& fields,
                                       Time now);
  /// For each registration of a token, besides.
  [[nodiscard]] Refusal registrationRefusal(const boost::asio::ip::address& peer,
                                            const boost::beast::http::fields& fields, Time now);
  /// For each socket of a pairing's agent.
  [[nodiscard]] Refusal agentRefusal(std::string_view pairingID, Time now);
  /// A place among the connections that are being refused with words, given up with the last pointer to it; null when
  /// all are taken. Must not outlive this.
  [[nodiscard]] std::shared_ptr<void> politeRefusal();

 private:
  std::vector<Network> trustedProxies_;
  AddressLimits connections_;
  AddressLimits requests_;
  AddressLimits registrations_;
  AddressLimits agents_;        ///< by pairing
  std::size_t politeRefusals_;  ///< places that are free
};

}  // namespace tallyfox::server
