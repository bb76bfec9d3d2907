#include "tls/ClientStream.hpp"

namespace tallyfox::server {

boost::system::error_code ClientStream::encrypt(SSL_CTX& context) {
  boost::system::error_code error;
  socket_.native_non_blocking(true, error);
  if (error) return error;
  tls_ = TlsConnection::accepting(context, socket_.native_handle());
  if (!tls_) return boost::asio::error::no_memory;
  return {};
}

void ClientStream::shutdownSend() {
  if (tls_) tls_->sayGoodbye();
  boost::system::error_code ignored;
  socket_.shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
}

void ClientStream::cancel() {
  boost::system::error_code ignored;
  socket_.cancel(ignored);
}

void ClientStream::close() {
  boost::system::error_code ignored;
  socket_.close(ignored);
}

}  // namespace tallyfox::server
