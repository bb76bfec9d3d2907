#include "platform/linux/ProxyTunnel.hpp"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <string>

#include "base/Limits.hpp"
#include "platform/linux/NetworkErrors.hpp"

namespace tallyfox::linux_os {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;

http::request<http::empty_body> tunnelRequest(const Proxy& proxy, const NetworkAddress& address) {
  const bool isIPv6 = address.host.find(':') != std::string::npos;
  const std::string target = (isIPv6 ? "[" + address.host + "]" : address.host) + ":" + address.port;
  http::request<http::empty_body> request(http::verb::connect, target, 11);
  request.set(http::field::host, target);
  request.set(http::field::user_agent, "Tallyfox");
  if (!proxy.authorization.empty()) request.set(http::field::proxy_authorization, proxy.authorization);
  return request;
}

TransportError refusal(unsigned status) {
  constexpr unsigned authenticationRequired = 407;
  if (status == authenticationRequired) return {"The proxy does not accept the credentials (HTTP 407)."};
  return {"The proxy refused the connection with HTTP " + std::to_string(status) + "."};
}

}  // namespace

TransportError proxyFailure(const TransportError& failure) {
  return {"The proxy failed: " + failure.description};
}

asio::awaitable<std::optional<TransportError>> openTunnel(PlainStream& stream, const Proxy& proxy,
                                                          const NetworkAddress& address) {
  const auto request = tunnelRequest(proxy, address);
  error_code error;
  co_await http::async_write(stream, request, asio::redirect_error(asio::use_awaitable, error));
  if (error) co_return proxyFailure({networkErrorDescription(error)});
  boost::beast::flat_buffer buffer;
  http::response_parser<http::empty_body> parser;
  parser.header_limit(static_cast<std::uint32_t>(limits::httpHeadBytes));
  parser.skip(true);  // what follows the head of a tunnel's answer is the tunnel
  co_await http::async_read_header(stream, buffer, parser, asio::redirect_error(asio::use_awaitable, error));
  if (error) co_return proxyFailure({networkErrorDescription(error)});
  const unsigned status = parser.get().result_int();
  if (status < 200 || status > 299) co_return refusal(status);
  // In TLS the client speaks first: bytes that are here already are not the relay's.
  if (buffer.size() > 0) co_return TransportError{"The proxy sent what is no answer."};
  co_return std::nullopt;
}

}  // namespace tallyfox::linux_os
