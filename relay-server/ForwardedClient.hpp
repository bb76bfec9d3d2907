#pragma once

#include <boost/asio/ip/address.hpp>
#include <boost/beast/http/fields.hpp>
#include <span>

#include "ClientAddress.hpp"

namespace tallyfox::server {

/// Whether the address belongs to one of the networks.
[[nodiscard]] bool isListed(std::span<const Network> networks, const boost::asio::ip::address& address);

/// Whose request this is. A peer that is no listed proxy speaks for itself, whatever its headers say. From a proxy,
/// `Forwarded` or `X-Forwarded-For` is read from the right, where the proxies wrote, up to the first address that is
/// none of them. A header that is malformed before that point does not count, and neither of them does when they
/// disagree: one proxy writes one of them, and the other is then the client's invention. Without an answer the peer
/// itself is the client.
[[nodiscard]] boost::asio::ip::address forwardedClient(const boost::asio::ip::address& peer,
                                                       const boost::beast::http::fields& fields,
                                                       std::span<const Network> proxies);

}  // namespace tallyfox::server
