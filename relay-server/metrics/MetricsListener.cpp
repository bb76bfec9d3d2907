#include "MetricsListener.hpp"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <exception>
#include <string_view>
#include <utility>

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using Request = http::request<http::empty_body>;
using Response = http::response<http::string_body>;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);
/// A scraper needs one; a few at once, and a person who looks.
constexpr std::size_t greatestConnections = 16;
constexpr std::chrono::seconds requestTime{10};
constexpr std::uint32_t headerBytes = 8U * 1024U;
/// After a failed accept, mostly for want of descriptors.
constexpr std::chrono::milliseconds acceptPause{100};

Response plain(http::status status, std::string body) {
  Response response(status, 11);
  response.keep_alive(false);
  response.set(http::field::cache_control, "no-store");
  response.set(http::field::content_type, "text/plain; charset=utf-8");
  response.body() = std::move(body);
  return response;
}

Response answerTo(const Request& request, const MetricsListener::Answers& answers) {
  const std::string target(request.target().data(), request.target().size());
  const std::string path = target.substr(0, target.find('?'));
  if (path != "/metrics" && path != "/healthz") return plain(http::status::not_found, "Not Found\n");
  if (request.method() != http::verb::get && request.method() != http::verb::head) {
    Response refusal = plain(http::status::method_not_allowed, "Method Not Allowed\n");
    refusal.set(http::field::allow, "GET, HEAD");
    return refusal;
  }
  if (path == "/healthz") {
    const std::string trouble = answers.trouble();
    if (trouble.empty()) return plain(http::status::ok, "ok\n");
    return plain(http::status::service_unavailable, trouble + "\n");
  }
  Response response = plain(http::status::ok, answers.metrics());
  response.set(http::field::content_type, "text/plain; version=0.0.4; charset=utf-8");
  return response;
}

}  // namespace

boost::system::error_code MetricsListener::listen(const tcp::endpoint& endpoint) {
  auto acceptor = opened(endpoint);
  if (!acceptor) return acceptor.error();
  use(std::move(*acceptor));
  return {};
}

std::expected<MetricsListener::Acceptor, boost::system::error_code> MetricsListener::opened(
    const tcp::endpoint& endpoint) {
  const auto acceptor = std::make_shared<tcp::acceptor>(io_);
  boost::system::error_code error;
  acceptor->open(endpoint.protocol(), error);
  if (!error) acceptor->set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) acceptor->bind(endpoint, error);
  if (!error) acceptor->listen(asio::socket_base::max_listen_connections, error);
  if (error) return std::unexpected(error);
  return acceptor;
}

void MetricsListener::use(Acceptor acceptor) {
  close();
  acceptor_ = acceptor;
  asio::co_spawn(io_, accept(std::move(acceptor)), [](const std::exception_ptr&) {});
}

tcp::endpoint MetricsListener::endpoint() const {
  boost::system::error_code error;
  return acceptor_ ? acceptor_->local_endpoint(error) : tcp::endpoint();
}

void MetricsListener::close() {
  if (!acceptor_) return;
  boost::system::error_code ignored;
  acceptor_->close(ignored);
  acceptor_.reset();
}

asio::awaitable<void> MetricsListener::accept(Acceptor acceptor) {
  asio::steady_timer pause(io_);
  while (acceptor->is_open()) {
    auto [error, socket] = co_await acceptor->async_accept(resultOf);
    if (!acceptor->is_open()) co_return;
    if (error) {
      pause.expires_after(acceptPause);
      co_await pause.async_wait(resultOf);
    } else if (connections_ < greatestConnections) {
      ++connections_;
      asio::co_spawn(io_, answer(std::move(socket)), [this](const std::exception_ptr&) { --connections_; });
    }
  }
}

asio::awaitable<void> MetricsListener::answer(tcp::socket socket) {
  boost::beast::tcp_stream stream(std::move(socket));
  stream.expires_after(requestTime);
  boost::beast::flat_buffer buffer(headerBytes);
  http::request_parser<http::empty_body> parser;
  parser.header_limit(headerBytes);
  const auto [readError, read] = co_await http::async_read_header(stream, buffer, parser, resultOf);
  if (readError) co_return;
  Response response = answerTo(parser.get(), answers_);
  response.prepare_payload();
  if (parser.get().method() == http::verb::head) response.body().clear();
  co_await http::async_write(stream, response, resultOf);
  boost::system::error_code ignored;
  stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
}

}  // namespace tallyfox::server
