#pragma once

// The servers that the contracts of the network ask for, on loopback.

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Text.hpp"
#include "platform/HttpClient.hpp"
#include "platform/LoopbackServers.hpp"

namespace tallyfox::contract {

namespace asio = boost::asio;
using testing_network::Tcp;
namespace beast_http = boost::beast::http;
namespace beast_websocket = boost::beast::websocket;

/// Sends every frame back; what the test sends goes between. All work on one thread.
class EchoServer {
 public:
  EchoServer() : acceptor_(io_, {asio::ip::address_v4::loopback(), 0}) {
    asio::co_spawn(io_, accept(), asio::detached);
    thread_ = std::thread([this] { io_.run(); });
  }
  ~EchoServer() {
    io_.stop();
    thread_.join();
  }
  [[nodiscard]] std::string authority() const {
    return "127.0.0.1:" + std::to_string(acceptor_.local_endpoint().port());
  }
  std::optional<std::string> requestHeader(const std::string& name) {
    const std::scoped_lock lock(mutex_);
    const auto found = request_.find(name);
    if (found == request_.end()) return std::nullopt;
    return std::string(found->value());
  }
  std::optional<std::uint16_t> closeCode() {
    const std::scoped_lock lock(mutex_);
    return closeCode_;
  }
  void send(std::string text) {
    asio::post(io_, [this, text = std::move(text)]() mutable { newest_->write(std::move(text)); });
  }
  void close() {
    asio::post(io_, [this] { newest_->socket.async_close(beast_websocket::close_code::normal, [](auto) {}); });
  }

 private:
  struct Connection : std::enable_shared_from_this<Connection> {
    explicit Connection(Tcp::socket accepted) : socket(std::move(accepted)) { socket.read_message_max(64U << 20U); }
    void write(std::string text) {
      outgoing.push_back(std::move(text));
      if (outgoing.size() == 1) writeNext();
    }
    void writeNext() {
      socket.async_write(asio::buffer(outgoing.front()), [self = shared_from_this()](auto error, std::size_t) {
        self->outgoing.pop_front();
        if (!error && !self->outgoing.empty()) self->writeNext();
      });
    }
    beast_websocket::stream<Tcp::socket> socket;
    std::deque<std::string> outgoing;
  };

  asio::awaitable<void> accept() {
    for (;;) {
      auto connection = std::make_shared<Connection>(co_await acceptor_.async_accept(asio::use_awaitable));
      asio::co_spawn(io_, serve(std::move(connection)), asio::detached);
    }
  }

  asio::awaitable<void> serve(std::shared_ptr<Connection> connection) {
    boost::system::error_code error;
    boost::beast::flat_buffer buffer;
    beast_http::request<beast_http::string_body> request;
    co_await beast_http::async_read(connection->socket.next_layer(), buffer, request,
                                    asio::redirect_error(asio::use_awaitable, error));
    if (error) co_return;
    {
      const std::scoped_lock lock(mutex_);
      request_ = request;
      closeCode_.reset();
    }
    newest_ = connection;
    co_await connection->socket.async_accept(request, asio::redirect_error(asio::use_awaitable, error));
    while (!error) {
      boost::beast::flat_buffer frame;
      co_await connection->socket.async_read(frame, asio::redirect_error(asio::use_awaitable, error));
      if (!error) connection->write(boost::beast::buffers_to_string(frame.data()));
    }
    if (error != beast_websocket::error::closed) co_return;
    const std::scoped_lock lock(mutex_);
    closeCode_ = connection->socket.reason().code;
  }

  asio::io_context io_{1};
  Tcp::acceptor acceptor_;
  std::shared_ptr<Connection> newest_;
  std::mutex mutex_;
  beast_http::request<beast_http::string_body> request_;
  std::optional<std::uint16_t> closeCode_;
  std::thread thread_;
};

/// Answers every request with the status that its address names, as HttpClientContract asks for it.
class StatusServer {
 public:
  [[nodiscard]] std::string url(int status) const {
    return "http://" + server_.authority() + "/" + std::to_string(status);
  }
  std::vector<HttpRequest> received() {
    const std::scoped_lock lock(mutex_);
    return received_;
  }

 private:
  void serve(Tcp::socket socket) {
    boost::beast::flat_buffer buffer;
    beast_http::request<beast_http::string_body> request;
    beast_http::read(socket, buffer, request);
    HttpRequest seen{.method = std::string(request.method_string()),
                     .url = "http://" + server_.authority() + std::string(request.target()),
                     .headers = {},
                     .body = request.body()};
    for (const auto& field : request)
      seen.headers.emplace_back(lowercased(std::string(field.name_string())), std::string(field.value()));
    {
      const std::scoped_lock lock(mutex_);
      received_.push_back(std::move(seen));
    }
    const auto status = static_cast<unsigned>(std::stoi(std::string(request.target().substr(1))));
    beast_http::response<beast_http::string_body> response{beast_http::int_to_status(status), 11};
    if (status == 302) response.set(beast_http::field::location, url(200));
    response.prepare_payload();
    beast_http::write(socket, response);
  }

  std::mutex mutex_;
  std::vector<HttpRequest> received_;
  testing_network::LoopbackServer server_{[this](Tcp::socket socket) { serve(std::move(socket)); }};
};

}  // namespace tallyfox::contract
