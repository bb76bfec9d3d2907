#pragma once

// Servers on loopback for the tests of the network classes: each with a thread of its own, on a free port.

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tallyfox::testing_network {

using Tcp = boost::asio::ip::tcp;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

/// Looks at a condition again and again for some seconds; says whether it came to hold.
inline bool waitUntil(const std::function<bool()>& condition) {
  for (int round = 0; round < 4000; ++round) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return condition();
}

/// Accepts connections and serves each on a thread, by a handler that may block on its socket: at the end all sockets
/// are shut down under it.
class LoopbackServer {
 public:
  using Handler = std::function<void(Tcp::socket)>;

  explicit LoopbackServer(Handler handler)
      : handler_(std::move(handler)), acceptor_(io_, {boost::asio::ip::address_v4::loopback(), 0}) {
    thread_ = std::thread([this] { accept(); });
  }
  ~LoopbackServer() {
    // Not every system wakes who accepts when the socket is shut down: one more connection does everywhere.
    isEnding_ = true;
    boost::system::error_code ignored;
    boost::asio::io_context io;
    Tcp::socket(io).connect(acceptor_.local_endpoint(), ignored);
    thread_.join();
    for (const int copy : copies_)
      ::shutdown(copy, SHUT_RDWR);
    for (auto& worker : workers_)
      worker.join();
    for (const int copy : copies_)
      ::close(copy);
  }
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  [[nodiscard]] std::string port() const { return std::to_string(acceptor_.local_endpoint().port()); }
  [[nodiscard]] std::string authority() const { return "127.0.0.1:" + port(); }

 private:
  void accept() {
    for (;;) {
      boost::system::error_code error;
      Tcp::socket socket = acceptor_.accept(error);
      if (error || isEnding_) return;
      const int copy = ::dup(socket.native_handle());
      copies_.push_back(copy);
      workers_.emplace_back([this, copy, socket = std::move(socket)]() mutable {
        try {
          handler_(std::move(socket));
        } catch (const std::exception&) {
          // The client went away, as many tests have it.
        }
        ::shutdown(copy, SHUT_RDWR);  // the copy would otherwise hold the connection open
      });
    }
  }

  Handler handler_;
  boost::asio::io_context io_;
  Tcp::acceptor acceptor_;
  std::atomic<bool> isEnding_ = false;
  std::vector<int> copies_;
  std::vector<std::thread> workers_;
  std::thread thread_;
};

/// Takes connections into its backlog and never says a word.
class SilentServer {
 public:
  SilentServer() : acceptor_(io_, {boost::asio::ip::address_v4::loopback(), 0}) {}
  [[nodiscard]] std::string authority() const {
    return "127.0.0.1:" + std::to_string(acceptor_.local_endpoint().port());
  }

 private:
  boost::asio::io_context io_;
  Tcp::acceptor acceptor_;
};

/// A port on which nobody listens: bound, so that nobody else gets it, but deaf.
class RefusingPort {
 public:
  RefusingPort() : socket_(io_, Tcp::endpoint{boost::asio::ip::address_v4::loopback(), 0}) {}
  [[nodiscard]] std::string authority() const { return "127.0.0.1:" + std::to_string(socket_.local_endpoint().port()); }

 private:
  boost::asio::io_context io_;
  Tcp::socket socket_;
};

/// Reads until the head of a request is complete, and gives the connection's bytes so far.
inline std::string readHead(Tcp::socket& socket) {
  std::string text;
  while (text.find("\r\n\r\n") == std::string::npos) {
    char part[1024];
    const std::size_t count = socket.read_some(boost::asio::buffer(part));
    text.append(part, count);
  }
  return text;
}

/// Waits for the client to end the connection.
inline void readToEnd(Tcp::socket& socket) {
  boost::system::error_code error;
  char part[1024];
  while (!error)
    socket.read_some(boost::asio::buffer(part), error);
}

/// A handler that takes a request's head, answers with these bytes, and keeps the connection open.
inline LoopbackServer::Handler answeringWith(std::string bytes) {
  return [bytes = std::move(bytes)](Tcp::socket socket) {
    readHead(socket);
    boost::asio::write(socket, boost::asio::buffer(bytes));
    readToEnd(socket);
  };
}

}  // namespace tallyfox::testing_network
