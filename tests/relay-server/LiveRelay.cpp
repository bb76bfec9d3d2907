#include "LiveRelay.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <stdexcept>

#include "RelayServer.hpp"

namespace tallyfox::server::testing {
namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;

/// Longer than anything takes that is going to happen at all.
constexpr std::chrono::seconds patience{100};

asio::ip::tcp::endpoint loopback(std::uint16_t port) {
  return {asio::ip::address_v4::loopback(), port};
}

}  // namespace

LiveRelay::LiveRelay(const std::filesystem::path& directory, const RelayLimits& limits, RelayOptions options) {
  options.address = "127.0.0.1";
  options.dataDirectory = directory;
  auto server = RelayServer::open(options, limits, console);
  if (!server) throw std::runtime_error(server.error());
  server_ = std::move(*server);
  port_ = server_->port();
  metricsPort_ = server_->metricsPort();
  thread_ = std::thread([this] { server_->run(); });
}

LiveRelay::~LiveRelay() {
  stop();
}

void LiveRelay::stop() {
  if (!thread_.joinable()) return;
  server_->stop();
  thread_.join();
  server_.reset();
}

void LiveRelay::reload() {
  server_->reload();
}

void LiveRelay::drain() {
  server_->drain();
}

void LiveRelay::awaitEnd() {
  thread_.join();
  server_.reset();
}

struct TestConnection::State {
  asio::io_context io;
  asio::ip::tcp::socket socket{io};
  std::string unread;

  /// Runs one operation; absent when it does not end.
  template <typename Initiation>
  std::optional<boost::system::error_code> run(Initiation initiate) {
    std::optional<boost::system::error_code> outcome;
    initiate([&outcome](boost::system::error_code error, std::size_t) { outcome = error; });
    io.restart();
    io.run_for(patience);
    if (outcome) return outcome;
    socket.close();
    io.restart();
    io.run();
    return std::nullopt;
  }
};

TestConnection::TestConnection(std::uint16_t port) : state_(std::make_unique<State>()) {
  state_->socket.connect(loopback(port));
}

TestConnection::~TestConnection() = default;

void TestConnection::write(const std::string& text) {
  // A relay that refuses early may close before all of it is written.
  boost::system::error_code ignored;
  asio::write(state_->socket, asio::buffer(text), ignored);
}

std::optional<std::string> TestConnection::readAnswer(bool hasBody) {
  auto buffer = asio::dynamic_buffer(state_->unread);
  const auto headed =
      state_->run([&](auto done) { asio::async_read_until(state_->socket, buffer, "\r\n\r\n", std::move(done)); });
  if (!headed || *headed) return std::nullopt;
  std::size_t size = state_->unread.find("\r\n\r\n") + 4;
  constexpr std::string_view lengthField = "\r\nContent-Length: ";
  const std::size_t length = state_->unread.find(lengthField);
  if (hasBody && length < size) size += std::stoul(state_->unread.substr(length + lengthField.size()));
  if (size > state_->unread.size()) {
    const std::size_t missing = size - state_->unread.size();
    const auto read = state_->run(
        [&](auto done) { asio::async_read(state_->socket, buffer, asio::transfer_exactly(missing), std::move(done)); });
    if (!read || *read) return std::nullopt;
  }
  std::string answer = state_->unread.substr(0, size);
  state_->unread.erase(0, size);
  return answer;
}

std::optional<std::string> TestConnection::readToEnd() {
  auto buffer = asio::dynamic_buffer(state_->unread);
  if (!state_->run([&](auto done) { asio::async_read(state_->socket, buffer, std::move(done)); })) return std::nullopt;
  return std::exchange(state_->unread, {});
}

HttpAnswer askedOver(std::uint16_t port, const std::string& request) {
  TestConnection connection(port);
  connection.write(request);
  const auto text = connection.readToEnd();
  if (!text || !text->starts_with("HTTP/1.1 ")) return {};
  const std::size_t end = text->find("\r\n\r\n");
  return {.status = static_cast<unsigned>(std::stoul(text->substr(9, 3))),
          .body = end == std::string::npos ? "" : text->substr(end + 4)};
}

HttpAnswer registered(std::uint16_t port, const std::string& pairingID, const std::string& token) {
  return askedOver(port, "PUT /api/pairings/" + pairingID +
                             "/relay-token HTTP/1.1\r\nHost: relay\r\nauthorization: Bearer " + token +
                             "\r\nContent-Length: 28\r\n\r\n{\"client\":\"mac\",\"version\":1}");
}

struct TestSocket::State {
  asio::io_context io;
  websocket::stream<boost::beast::tcp_stream> socket{io};

  template <typename Initiation>
  boost::system::error_code run(Initiation initiate) {
    std::optional<boost::system::error_code> outcome;
    initiate([&outcome](boost::system::error_code error, auto&&...) { outcome = error; });
    io.restart();
    io.run_for(patience);
    if (outcome) return *outcome;
    boost::beast::get_lowest_layer(socket).close();
    io.restart();
    io.run();
    return asio::error::timed_out;
  }
};

TestSocket::TestSocket(std::uint16_t port, const std::string& path, const std::string& token)
    : state_(std::make_unique<State>()) {
  asio::ip::tcp::socket& connection = boost::beast::get_lowest_layer(state_->socket).socket();
  connection.open(asio::ip::tcp::v4());
  // Bounded, so that little traffic shows what a reader does that does not read; far above a segment, so that it flows.
  connection.set_option(asio::socket_base::receive_buffer_size(512 * 1024));
  connection.connect(loopback(port));
  state_->socket.set_option(websocket::stream_base::decorator([token](websocket::request_type& request) {
    if (!token.empty()) request.set(boost::beast::http::field::authorization, "Bearer " + token);
  }));
  state_->socket.text(true);
  state_->socket.read_message_max(0);
  websocket::response_type response;
  state_->run([&](auto done) { state_->socket.async_handshake(response, "relay", path, done); });
  status = response.result_int();
}

TestSocket::TestSocket(TestSocket&&) noexcept = default;
TestSocket::~TestSocket() = default;

void TestSocket::send(const std::string& text) {
  state_->run([&](auto done) { state_->socket.async_write(asio::buffer(text), done); });
}

void TestSocket::sendBinary(const std::string& bytes) {
  state_->socket.binary(true);
  send(bytes);
  state_->socket.text(true);
}

std::string TestSocket::next() {
  std::string text;
  auto buffer = asio::dynamic_buffer(text);
  const auto error = state_->run([&](auto done) { state_->socket.async_read(buffer, done); });
  if (error == asio::error::timed_out) return "silence";
  if (error == websocket::error::closed) return "closed " + std::to_string(state_->socket.reason().code);
  if (error) return "cut";
  return text;
}

std::string TestSocket::closeReason() const {
  const auto& reason = state_->socket.reason().reason;
  return {reason.data(), reason.size()};
}

void TestSocket::close() {
  state_->run([&](auto done) { state_->socket.async_close(websocket::close_code::normal, done); });
}

}  // namespace tallyfox::server::testing
