// The least that a WebSocket server on this library can do: every message goes back where it came from.
// usage: echo-server PORT

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <cstdlib>
#include <utility>

namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using asio::ip::tcp;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);

asio::awaitable<void> echo(tcp::socket connection) {
  connection.set_option(tcp::no_delay(true));
  websocket::stream<tcp::socket, false> socket(std::move(connection));
  socket.text(true);
  socket.auto_fragment(false);
  if (const auto [error] = co_await socket.async_accept(resultOf); error) co_return;
  boost::beast::flat_buffer buffer;
  while (true) {
    if (const auto [error, size] = co_await socket.async_read(buffer, resultOf); error) co_return;
    if (const auto [error, size] = co_await socket.async_write(buffer.data(), resultOf); error) co_return;
    buffer.consume(buffer.size());
  }
}

asio::awaitable<void> listen(tcp::endpoint endpoint) {
  asio::io_context& io = static_cast<asio::io_context&>((co_await asio::this_coro::executor).context());
  tcp::acceptor acceptor(io, endpoint);
  while (true) {
    auto [error, connection] = co_await acceptor.async_accept(resultOf);
    if (!error) asio::co_spawn(io, echo(std::move(connection)), asio::detached);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  asio::io_context io(1);
  const auto port = static_cast<std::uint16_t>(std::atoi(argv[1]));
  asio::co_spawn(io, listen({asio::ip::address_v4::loopback(), port}), asio::detached);
  io.run();
}
