#include "platform/linux/NetworkErrors.hpp"

#include <boost/asio/error.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/websocket/error.hpp>

namespace tallyfox::linux_os {

std::string networkErrorDescription(const boost::system::error_code& error) {
  namespace asio = boost::asio;
  namespace beast = boost::beast;
  if (error == asio::error::connection_refused) return "Connection refused.";
  if (error == asio::error::host_not_found || error == asio::error::host_not_found_try_again ||
      error == asio::error::no_data)
    return "The host name does not resolve.";
  if (error == asio::error::timed_out || error == beast::error::timeout) return timedOutText;
  if (error == asio::error::network_unreachable) return "The network is unreachable.";
  if (error == asio::error::host_unreachable) return "The host is unreachable.";
  if (error == asio::error::eof || error == asio::error::connection_reset || error == asio::error::broken_pipe ||
      error == asio::error::connection_aborted || error == asio::ssl::error::stream_truncated ||
      error == beast::http::error::end_of_stream || error == beast::http::error::partial_message)
    return connectionLostText;
  if (error == beast::websocket::error::closed) return "The other side closed the connection.";
  if (error == beast::websocket::error::message_too_big) return "A message exceeds the size limit.";
  if (error == beast::websocket::condition::handshake_failed) return "The answer is no WebSocket answer.";
  if (error == beast::websocket::condition::protocol_violation) return "The other side broke the WebSocket protocol.";
  if (error.category() == beast::http::make_error_code(beast::http::error::end_of_stream).category())
    return "The answer is not valid HTTP.";
  if (error.category() == asio::error::get_ssl_category()) return "The secure connection could not be established.";
  return error.message() + ".";
}

}  // namespace tallyfox::linux_os
