#pragma once

#include <boost/asio/ip/tcp.hpp>

namespace tallyfox::server {

/// Closes a connection to which nothing more is written, such that the peer gets to see what was written last: what it
/// still sends is thrown away until it closes too, for a few seconds. Closed at once, a socket with unread bytes would
/// reset the connection, and a peer that is reset may lose what it has not read. Nobody has to wait for it.
void closeLingering(boost::asio::ip::tcp::socket socket);

}  // namespace tallyfox::server
