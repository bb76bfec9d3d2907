#include "platform/linux/RelayProbe.hpp"

#include <openssl/x509.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/verify_context.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/none.hpp>
#include <chrono>
#include <ctime>
#include <memory>
#include <utility>

#include "base/HttpDate.hpp"
#include "base/HttpHeaders.hpp"
#include "base/Limits.hpp"
#include "platform/linux/NetworkErrors.hpp"
#include "platform/linux/NetworkStreams.hpp"

namespace tallyfox::linux_os {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using Message = http::request<http::empty_body>;

std::optional<Date> expiryOf(const X509* certificate) {
  std::tm parts{};
  if (certificate == nullptr || ::ASN1_TIME_to_tm(::X509_get0_notAfter(certificate), &parts) != 1) return std::nullopt;
  return Date(std::chrono::seconds(::timegm(&parts)));
}

/// One request and the head of its answer; kept by its coroutine.
template <typename Stream>
struct Probe {
  Stream stream;
  NetworkRoute route;
  Message message;
  NetworkDeadline deadline;
  DoctorFacts::RelayHost seen;
  bool isOver = false;
  boost::beast::flat_buffer buffer = {};
  http::response_parser<http::empty_body> parser = {};
};

/// A certificate is looked at before it is judged, so that one that is refused is seen too.
void watchCertificate(Probe<PlainStream>& /*probe*/) {}
void watchCertificate(Probe<TlsStream>& probe) {
  probe.stream.set_verify_callback([&seen = probe.seen](bool isAccepted, asio::ssl::verify_context& context) {
    X509_STORE_CTX* const chain = context.native_handle();
    if (::X509_STORE_CTX_get_error_depth(chain) == 0)
      seen.certificateExpiry = expiryOf(::X509_STORE_CTX_get_current_cert(chain));
    return isAccepted;
  });
}

template <typename Stream>
asio::awaitable<std::optional<std::string>> exchange(Probe<Stream>& probe) {
  const auto refused = co_await connectStream(probe.stream, probe.route, probe.deadline);
  if (refused) co_return refused->description;
  error_code error;
  co_await http::async_write(probe.stream, probe.message, asio::redirect_error(asio::use_awaitable, error));
  if (error) co_return networkErrorDescription(error);
  probe.parser.header_limit(static_cast<std::uint32_t>(limits::httpHeadBytes));
  probe.parser.body_limit(boost::none);  // a body is not read
  co_await http::async_read_header(probe.stream, probe.buffer, probe.parser,
                                   asio::redirect_error(asio::use_awaitable, error));
  if (error) co_return networkErrorDescription(error);
  co_return std::nullopt;
}

template <typename Stream>
asio::awaitable<void> run(std::shared_ptr<Probe<Stream>> probe) {
  probe->seen.failure = co_await exchange(*probe);
  probe->isOver = true;
  probe->seen.askedAt = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
  closeStream(probe->stream);
  if (probe->seen.failure) co_return;
  const auto& head = probe->parser.get();
  probe->seen.status = static_cast<int>(head.result_int());
  const auto date = head[http::field::date];
  probe->seen.relayTime = parsedHttpDate({date.data(), date.size()});
}

template <typename Stream>
DoctorFacts::RelayHost outcome(NetworkCore& core, Stream stream, NetworkRoute route, Message message, Seconds timeout,
                               DoctorFacts::RelayHost seen) {
  const NetworkDeadline deadline = deadlineAfter(timeout);
  const std::shared_ptr<Probe<Stream>> probe(
      new Probe<Stream>{std::move(stream), std::move(route), std::move(message), deadline, std::move(seen)});
  watchCertificate(*probe);
  asio::co_spawn(core.context, run(probe), [](const std::exception_ptr& failure) {
    if (failure) std::rethrow_exception(failure);
  });
  core.context.run_until(deadline);
  DoctorFacts::RelayHost result = probe->seen;
  if (!probe->isOver) result.failure = timedOutText;
  return result;
}

Message messageOf(const HttpRequest& request, const NetworkAddress& address) {
  Message message;
  message.version(11);
  message.method_string(request.method);
  message.target(address.target);
  message.set(http::field::host, address.hostHeader);
  message.set(http::field::user_agent, "Tallyfox");
  message.set(http::field::connection, "close");
  for (const auto& [name, value] : request.headers)
    message.set(name, value);
  return message;
}

}  // namespace

DoctorFacts::RelayHost probedRelay(const HttpRequest& request, const ProxySettings& proxies) {
  const auto address = NetworkAddress::parsed(request.url, "http", "https");
  if (!address || !areHeadersWellFormed(request.headers)) return {.host = "It", .failure = invalidRequestText};
  NetworkCore core(proxies);
  DoctorFacts::RelayHost seen{.host = address->hostHeader, .isSecure = address->isSecure};
  const NetworkRoute route{*address, core.proxies.proxyFor(*address)};
  if (route.proxy && *route.proxy) seen.proxy = (*route.proxy)->address.host + ":" + (*route.proxy)->address.port;
  PlainStream plain(core.context);
  auto message = messageOf(request, *address);
  if (!address->isSecure)
    return outcome(core, std::move(plain), route, std::move(message), request.timeout, std::move(seen));
  return outcome(core, TlsStream(std::move(plain), core.tls), route, std::move(message), request.timeout,
                 std::move(seen));
}

}  // namespace tallyfox::linux_os
