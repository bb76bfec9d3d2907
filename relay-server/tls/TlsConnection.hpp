#pragma once

#include <openssl/ssl.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <memory>
#include <optional>

namespace tallyfox::server {

/// The TLS of one socket: it reads and writes the socket itself, so that no buffer of ours lies between them and a
/// silent connection holds none at all. Every call makes one attempt and never waits.
class TlsConnection {
 public:
  /// The greatest TLS record; more is not written at once.
  static constexpr std::size_t recordBytes = 16'384;

  struct Attempt {
    boost::system::error_code error{};
    std::size_t bytes = 0;
    /// What the socket has to be ready for before the next attempt; absent when this one ended.
    std::optional<boost::asio::ip::tcp::socket::wait_type> wait{};
  };

  /// The server's end. The descriptor is borrowed and must not block. Null when memory is short.
  [[nodiscard]] static std::unique_ptr<TlsConnection> accepting(SSL_CTX& context, int descriptor);

  [[nodiscard]] Attempt handshake();
  [[nodiscard]] Attempt read(boost::asio::mutable_buffer buffer);
  /// After a wait the same bytes have to be offered again.
  [[nodiscard]] Attempt write(boost::asio::const_buffer buffer);
  /// Says that nothing more is written, if the socket takes that at once.
  void sayGoodbye();

 private:
  struct Free {
    void operator()(SSL* connection) const { SSL_free(connection); }
  };
  explicit TlsConnection(std::unique_ptr<SSL, Free> connection) : connection_(std::move(connection)) {}
  [[nodiscard]] Attempt outcome(int result, std::size_t bytes);

  std::unique_ptr<SSL, Free> connection_;
};

}  // namespace tallyfox::server
