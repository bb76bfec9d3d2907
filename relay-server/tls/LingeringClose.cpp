#include "tls/LingeringClose.hpp"

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <memory>
#include <utility>

namespace tallyfox::server {
namespace {

/// More than a round trip and what was on its way takes.
constexpr std::chrono::seconds lingerTime{2};
/// Two frames of the greatest size.
constexpr std::size_t lingerBytes = 16U * 1024U * 1024U;

/// Lives as long as it reads.
class Lingering : public std::enable_shared_from_this<Lingering> {
 public:
  explicit Lingering(boost::asio::ip::tcp::socket socket)
      : socket_(std::move(socket)), end_(socket_.get_executor(), lingerTime) {}

  void start() {
    end_.async_wait([weak = weak_from_this()](boost::system::error_code cancelled) {
      if (const auto self = weak.lock(); self && !cancelled) self->close();
    });
    read();
  }

 private:
  void read() {
    socket_.async_read_some(boost::asio::buffer(scrap_),
                            [self = shared_from_this()](boost::system::error_code error, std::size_t size) {
                              self->discarded_ += size;
                              if (error || self->discarded_ > lingerBytes) return self->close();
                              self->read();
                            });
  }
  void close() {
    boost::system::error_code ignored;
    end_.cancel();
    socket_.close(ignored);
  }

  boost::asio::ip::tcp::socket socket_;
  boost::asio::steady_timer end_;
  std::size_t discarded_ = 0;
  std::array<char, 4096> scrap_{};
};

}  // namespace

void closeLingering(boost::asio::ip::tcp::socket socket) {
  if (socket.is_open()) std::make_shared<Lingering>(std::move(socket))->start();
}

}  // namespace tallyfox::server
