#pragma once

#include <boost/asio/awaitable.hpp>
#include <optional>

#include "platform/WebSocketTransport.hpp"
#include "platform/linux/NetworkStreams.hpp"
#include "platform/linux/ProxySettings.hpp"

namespace tallyfox::linux_os {

/// A failure on the way to the proxy or with it, told apart from one of the relay.
[[nodiscard]] TransportError proxyFailure(const TransportError& failure);

/// Asks the proxy at the other end of a connected stream for a tunnel to an address. Gives the failure, or nothing when
/// the stream leads to that address. The proxy learns its own credentials and the address, nothing of the request.
[[nodiscard]] boost::asio::awaitable<std::optional<TransportError>> openTunnel(PlainStream& stream, const Proxy& proxy,
                                                                               const NetworkAddress& address);

}  // namespace tallyfox::linux_os
