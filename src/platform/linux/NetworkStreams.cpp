#include "platform/linux/NetworkStreams.hpp"

#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/stream_base.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/NetworkErrors.hpp"
#include "platform/linux/ProxyTunnel.hpp"

namespace tallyfox::linux_os {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

TransportError failure(const error_code& error) {
  return {networkErrorDescription(error)};
}

bool isAddressLiteral(const std::string& host) {
  error_code error;
  asio::ip::make_address(host, error);
  return !error;
}

/// Names the host to the server and binds the certificate check to it. False when the host cannot be one.
bool prepareVerification(SSL* tls, const std::string& host) {
  if (isAddressLiteral(host)) return ::X509_VERIFY_PARAM_set1_ip_asc(::SSL_get0_param(tls), host.c_str()) == 1;
  ::SSL_set_hostflags(tls, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
  return SSL_set_tlsext_host_name(tls, host.c_str()) == 1 && ::SSL_set1_host(tls, host.c_str()) == 1;
}

/// Where to try to connect, in this order. "localhost" is this machine itself, whatever a resolver says of it: it is
/// the one name that may be reached without encryption.
asio::awaitable<std::vector<asio::ip::tcp::endpoint>> endpointsOf(asio::any_io_executor executor,
                                                                  const NetworkAddress& address, error_code& error) {
  std::vector<asio::ip::tcp::endpoint> endpoints;
  if (address.host == "localhost") {
    std::uint16_t port = 0;
    std::from_chars(address.port.data(), address.port.data() + address.port.size(), port);
    endpoints.emplace_back(asio::ip::address_v4::loopback(), port);
    endpoints.emplace_back(asio::ip::address_v6::loopback(), port);
    co_return endpoints;
  }
  asio::ip::tcp::resolver resolver(executor);
  const auto results =
      co_await resolver.async_resolve(address.host, address.port, asio::redirect_error(asio::use_awaitable, error));
  for (const auto& result : results)
    endpoints.push_back(result.endpoint());
  co_return endpoints;
}

asio::awaitable<std::optional<TransportError>> connectTo(PlainStream& stream, const NetworkAddress& address,
                                                         NetworkDeadline deadline) {
  error_code error;
  const auto endpoints = co_await endpointsOf(stream.get_executor(), address, error);
  if (error) co_return failure(error);
  std::size_t left = endpoints.size();
  for (const asio::ip::tcp::endpoint& endpoint : endpoints) {
    const auto share = (deadline - std::chrono::steady_clock::now()) / static_cast<std::int64_t>(left--);
    if (share <= std::chrono::steady_clock::duration::zero()) co_return TransportError{timedOutText};
    closeStream(stream);
    stream.expires_after(std::chrono::duration_cast<std::chrono::nanoseconds>(share));
    co_await stream.async_connect(endpoint, asio::redirect_error(asio::use_awaitable, error));
    if (!error) break;
  }
  if (error) co_return failure(error);
  stream.expires_never();
  error_code ignored;
  stream.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
  co_return std::nullopt;
}

/// Connects to the proxy and from there on.
asio::awaitable<std::optional<TransportError>> connectThrough(const Proxy& proxy, PlainStream& stream,
                                                              const NetworkAddress& address, NetworkDeadline deadline) {
  const auto refused = co_await connectTo(stream, proxy.address, deadline);
  if (refused) co_return proxyFailure(*refused);
  co_return co_await openTunnel(stream, proxy, address);
}

TransportError handshakeFailure(SSL* tls, const error_code& error) {
  const long verdict = ::SSL_get_verify_result(tls);
  if (verdict == X509_V_OK) return failure(error);
  return {std::string("The certificate could not be verified: ") + ::X509_verify_cert_error_string(verdict) + "."};
}

}  // namespace

NetworkDeadline deadlineAfter(Seconds timeout) {
  constexpr double longest = 24.0 * 3600;  // no exchange of ours is meant to take a day
  const double seconds =
      timeout.count() > 0 ? std::min(timeout.count(), longest) : (std::isnan(timeout.count()) ? longest : 0);
  return std::chrono::steady_clock::now() +
         std::chrono::duration_cast<std::chrono::steady_clock::duration>(Seconds(seconds));
}

asio::awaitable<std::optional<TransportError>> connectStream(PlainStream& stream, const NetworkRoute& route,
                                                             NetworkDeadline deadline) {
  return connectTo(stream, route.address, deadline);
}

asio::awaitable<std::optional<TransportError>> connectStream(TlsStream& stream, const NetworkRoute& route,
                                                             NetworkDeadline deadline) {
  if (!route.proxy) co_return route.proxy.error();
  if (!prepareVerification(stream.native_handle(), route.address.host)) co_return TransportError{invalidRequestText};
  const std::optional<Proxy>& proxy = *route.proxy;
  PlainStream& plain = stream.next_layer();
  // GCC 12 destroys the values of a conditional expression around co_await twice.
  std::optional<TransportError> refused;
  if (proxy)
    refused = co_await connectThrough(*proxy, plain, route.address, deadline);
  else
    refused = co_await connectTo(plain, route.address, deadline);
  if (refused) co_return refused;
  error_code error;
  co_await stream.async_handshake(asio::ssl::stream_base::client, asio::redirect_error(asio::use_awaitable, error));
  if (error) co_return handshakeFailure(stream.native_handle(), error);
  co_return std::nullopt;
}

void closeStream(PlainStream& stream) {
  stream.close();
}

void closeStream(TlsStream& stream) {
  stream.next_layer().close();
}

}  // namespace tallyfox::linux_os
