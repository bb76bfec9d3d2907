#include "tls/TlsConnection.hpp"

#include <openssl/err.h>

#include <algorithm>
#include <boost/asio/error.hpp>
#include <boost/asio/ssl/error.hpp>
#include <cerrno>
#include <utility>

#include "tls/SocketBio.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

/// OpenSSL looks at what earlier calls of this thread left behind.
void forgetErrors() {
  ERR_clear_error();
  errno = 0;
}

}  // namespace

std::unique_ptr<TlsConnection> TlsConnection::accepting(SSL_CTX& context, int descriptor) {
  std::unique_ptr<SSL, Free> connection(SSL_new(&context));
  BIO* const bio = makeSocketBio(descriptor);
  if (!connection || bio == nullptr) {
    BIO_free(bio);
    return nullptr;
  }
  SSL_set_bio(connection.get(), bio, bio);
  SSL_set_accept_state(connection.get());
  return std::unique_ptr<TlsConnection>(new TlsConnection(std::move(connection)));
}

TlsConnection::Attempt TlsConnection::handshake() {
  forgetErrors();
  return outcome(SSL_do_handshake(connection_.get()), 0);
}

TlsConnection::Attempt TlsConnection::read(asio::mutable_buffer buffer) {
  if (buffer.size() == 0) return {};
  forgetErrors();
  std::size_t bytes = 0;
  const int result = SSL_read_ex(connection_.get(), buffer.data(), buffer.size(), &bytes);
  return outcome(result, bytes);
}

TlsConnection::Attempt TlsConnection::write(asio::const_buffer buffer) {
  if (buffer.size() == 0) return {};
  forgetErrors();
  std::size_t bytes = 0;
  const int result = SSL_write_ex(connection_.get(), buffer.data(), std::min(buffer.size(), recordBytes), &bytes);
  return outcome(result, bytes);
}

void TlsConnection::sayGoodbye() {
  // OpenSSL forbids it during the handshake, and turns it into nothing after a failure (see below).
  if (SSL_is_init_finished(connection_.get()) == 0) return;
  forgetErrors();
  SSL_shutdown(connection_.get());
}

TlsConnection::Attempt TlsConnection::outcome(int result, std::size_t bytes) {
  if (result > 0) return {.bytes = bytes};
  const int systemError = errno;
  switch (SSL_get_error(connection_.get(), result)) {
    case SSL_ERROR_WANT_READ:
      return {.wait = asio::ip::tcp::socket::wait_read};
    case SSL_ERROR_WANT_WRITE:
      return {.wait = asio::ip::tcp::socket::wait_write};
    case SSL_ERROR_ZERO_RETURN:
      return {.error = asio::error::eof};
    case SSL_ERROR_SYSCALL:
      SSL_set_quiet_shutdown(connection_.get(), 1);
      if (systemError == 0) return {.error = asio::error::eof};
      return {.error = error_code(systemError, asio::error::get_system_category())};
    default:
      SSL_set_quiet_shutdown(connection_.get(), 1);
      const unsigned long reason = ERR_get_error();
      if (ERR_GET_REASON(reason) == SSL_R_UNEXPECTED_EOF_WHILE_READING) {
        return {.error = asio::ssl::error::stream_truncated};
      }
      return {.error = error_code(static_cast<int>(reason), asio::error::get_ssl_category())};
  }
}

}  // namespace tallyfox::server
