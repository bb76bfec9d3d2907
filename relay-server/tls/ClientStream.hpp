#pragma once

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/compose.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/role.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tls/LingeringClose.hpp"
#include "tls/TlsConnection.hpp"

namespace tallyfox::server {

/// One accepted connection, plain or encrypted, as a stream of Asio's. What is built on it is compiled once for both,
/// and plain connections pay a pointer. Must not be moved while anything waits on it.
class ClientStream {
 public:
  using executor_type = boost::asio::ip::tcp::socket::executor_type;

  explicit ClientStream(boost::asio::ip::tcp::socket socket) : socket_(std::move(socket)) {}

  [[nodiscard]] executor_type get_executor() { return socket_.get_executor(); }
  [[nodiscard]] boost::asio::ip::tcp::socket& socket() { return socket_; }

  /// Encrypts everything from here on; a handshake has to come first.
  [[nodiscard]] boost::system::error_code encrypt(SSL_CTX& context);
  /// Says that nothing more is written.
  void shutdownSend();
  /// Ends every wait.
  void cancel();
  void close();

  template <typename Token>
  auto async_handshake(Token&& token) {
    return boost::asio::async_compose<Token, void(boost::system::error_code, std::size_t)>(
        operation([this] { return tls_->handshake(); }), token, socket_);
  }

  template <typename Buffers, typename Token>
  auto async_read_some(const Buffers& buffers, Token&& token) {
    if (!tls_) return socket_.async_read_some(buffers, std::forward<Token>(token));
    return boost::asio::async_compose<Token, void(boost::system::error_code, std::size_t)>(
        operation([this, buffer = firstOf<boost::asio::mutable_buffer>(buffers)] { return tls_->read(buffer); }), token,
        socket_);
  }

  template <typename Buffers, typename Token>
  auto async_write_some(const Buffers& buffers, Token&& token) {
    if (!tls_) return socket_.async_write_some(buffers, std::forward<Token>(token));
    return boost::asio::async_compose<Token, void(boost::system::error_code, std::size_t)>(
        operation([this, record = Record(buffers)] { return tls_->write(record.view()); }), token, socket_);
  }

  friend void beast_close_socket(ClientStream& stream) { stream.close(); }
  /// The end of a WebSocket. Whoever waits for it need not wait for the peer to take notice.
  template <typename Handler>
  friend void async_teardown(boost::beast::role_type, ClientStream& stream, Handler&& handler) {
    stream.shutdownSend();
    closeLingering(std::move(stream.socket_));
    boost::asio::post(stream.get_executor(),
                      boost::beast::bind_front_handler(std::forward<Handler>(handler), boost::system::error_code()));
  }

 private:
  /// Attempts until one ends. Its handler is never called from within the call that starts it.
  template <typename Try>
  struct Operation {
    boost::asio::ip::tcp::socket& socket;
    Try attempt;
    bool waited = false;
    std::optional<TlsConnection::Attempt> ended{};

    template <typename Self>
    void operator()(Self& self, boost::system::error_code error = {}) {
      if (ended) return self.complete(ended->error, ended->bytes);
      // The descriptor of a socket that was closed meanwhile may be another connection's by now.
      if (!error && !socket.is_open()) error = boost::asio::error::operation_aborted;
      const TlsConnection::Attempt now = error ? TlsConnection::Attempt{.error = error} : attempt();
      auto& waiting = socket;
      if (now.wait) {
        waited = true;
        waiting.async_wait(*now.wait, std::move(self));
      } else if (waited) {
        self.complete(now.error, now.bytes);
      } else {
        ended = now;
        boost::asio::post(waiting.get_executor(), std::move(self));
      }
    }
  };
  template <typename Try>
  [[nodiscard]] Operation<Try> operation(Try attempt) {
    return {.socket = socket_, .attempt = std::move(attempt)};
  }

  /// The first buffer that is not empty.
  template <typename Buffer, typename Buffers>
  [[nodiscard]] static Buffer firstOf(const Buffers& buffers) {
    for (auto each = boost::asio::buffer_sequence_begin(buffers); each != boost::asio::buffer_sequence_end(buffers);
         ++each) {
      if (const Buffer buffer = *each; buffer.size() > 0) return buffer;
    }
    return {};
  }

  /// What goes into one TLS record: a long first buffer as it is, else the beginning of all of them as one, so that the
  /// head of a frame does not travel by itself.
  class Record {
   public:
    template <typename Buffers>
    explicit Record(const Buffers& buffers) : first_(firstOf<boost::asio::const_buffer>(buffers)) {
      const std::size_t size = std::min(boost::asio::buffer_size(buffers), TlsConnection::recordBytes);
      if (first_.size() >= size) return;
      joined_.resize(size);
      boost::asio::buffer_copy(boost::asio::buffer(joined_), buffers);
    }
    [[nodiscard]] boost::asio::const_buffer view() const {
      return joined_.empty() ? first_ : boost::asio::buffer(joined_);
    }

   private:
    boost::asio::const_buffer first_;
    std::string joined_;
  };

  boost::asio::ip::tcp::socket socket_;
  std::unique_ptr<TlsConnection> tls_;
};

}  // namespace tallyfox::server
