#include "platform/linux/WebSocketSession.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <deque>
#include <optional>
#include <utility>

#include "base/Limits.hpp"
#include "platform/linux/NetworkErrors.hpp"
#include "platform/linux/NetworkStreams.hpp"

namespace tallyfox::linux_os {

/// How Beast ends the connection after the close frames, or after a frame that breaks the protocol. Its own way waits
/// for the other side to hang up, for as long as that likes; what was received is final already, so we hang up first.
template <typename Handler>
void async_teardown(boost::beast::role_type /*role*/, PlainStream& stream, Handler&& handler) {
  boost::system::error_code ignored;
  stream.socket().shutdown(boost::asio::socket_base::shutdown_send, ignored);
  boost::asio::post(stream.get_executor(),
                    boost::beast::bind_front_handler(std::forward<Handler>(handler), boost::system::error_code{}));
}

template <typename Handler>
void async_teardown(boost::beast::role_type role, TlsStream& stream, Handler&& handler) {
  async_teardown(role, stream.next_layer(), std::forward<Handler>(handler));
}

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using boost::system::error_code;

/// A relay pings every 20 seconds. After 30 seconds of silence Beast pings by itself, and after 60 the connection
/// counts as dead: an owner's network that vanished is noticed within a minute, and a sleeping laptop is not woken more
/// often.
constexpr std::chrono::seconds deadAfter{60};
/// How long the other side may take to answer a close frame.
constexpr std::chrono::seconds closingTime{5};
/// How long it may take to show a sign of life that was asked for: a network that comes back after sleep needs a
/// moment.
constexpr std::chrono::seconds proofTime{4};

template <typename Stream>
class StreamSession : public WebSocketSession, public std::enable_shared_from_this<StreamSession<Stream>> {
 public:
  StreamSession(Stream stream, NetworkRoute route, HeaderList headers, WebSocketEvents events,
                std::shared_ptr<CallbackGate> gate)
      : socket_(std::move(stream)),
        deadline_(socket_.get_executor()),
        frameTaken_(socket_.get_executor()),
        ownerGone_(socket_.get_executor()),
        proof_(socket_.get_executor()),
        route_(std::move(route)),
        headers_(std::move(headers)),
        events_(std::move(events)),
        gate_(std::move(gate)) {}

  void start(Seconds timeout) override {
    deadline_.expires_at(deadlineAfter(timeout));
    deadline_.async_wait([weak = this->weak_from_this()](const error_code& error) {
      const auto self = weak.lock();
      if (self && !error && self->phase_ == Phase::connecting) self->end({timedOutText});
    });
    // Keeps the session for its owner, which may ask for the last frame or the failure long after the end.
    ownerGone_.expires_at(asio::steady_timer::time_point::max());
    ownerGone_.async_wait([self = this->shared_from_this()](const error_code&) {});
    asio::co_spawn(socket_.get_executor(), run(this->shared_from_this()), [](const std::exception_ptr& failure) {
      if (failure) std::rethrow_exception(failure);
    });
  }

  void send(std::string text, SendCompletion completion) override {
    if (failure_) return gate_->call(completion, std::unexpected(*failure_));
    if (outgoingBytes_ + text.size() > limits::outgoingBytes)
      return gate_->call(completion, std::unexpected(TransportError{"Too much is waiting to be sent."}));
    outgoingBytes_ += text.size();
    outgoing_.push_back(std::make_shared<Outgoing>(Outgoing{std::move(text), std::move(completion)}));
    if (phase_ == Phase::open && outgoing_.size() == 1) writeNext();
  }

  void receive(ReceiveCompletion completion) override {
    if (waitingFrame_) {
      const Bytes frame = std::move(*waitingFrame_);
      waitingFrame_.reset();
      frameTaken_.cancel();
      return gate_->call(completion, frame);
    }
    if (failure_) return gate_->call(completion, std::unexpected(*failure_));
    receivers_.push_back(std::move(completion));
  }

  void cancel(std::uint16_t closeCode) override {
    if (phase_ == Phase::connecting) return end({"The connection was cancelled."});
    if (phase_ != Phase::open) return;
    phase_ = Phase::closing;
    failPending({"The connection was cancelled."});
    frameTaken_.cancel();
    socket_.async_close(websocket::close_reason(closeCode), [self = this->shared_from_this()](const error_code&) {
      self->end({"The connection was cancelled."});
    });
  }

  void demandProof() override {
    if (phase_ == Phase::connecting) return end({connectionLostText});
    if (phase_ != Phase::open || isProving_) return;
    isProving_ = true;
    proof_.expires_after(proofTime);
    proof_.async_wait([weak = this->weak_from_this()](const error_code& error) {
      const auto self = weak.lock();
      if (self && !error && self->isProving_) self->end({connectionLostText});
    });
    // One at a time: an earlier one may still wait behind a frame that does not get out.
    if (std::exchange(isPinging_, true)) return;
    socket_.async_ping({}, [self = this->shared_from_this()](const error_code&) { self->isPinging_ = false; });
  }

  void abandon() override {
    ownerGone_.cancel();
    if (phase_ != Phase::closing) end({"The connection was dropped."});
  }

 private:
  enum class Phase { connecting, open, closing, ended };
  struct Outgoing {
    std::string text;
    SendCompletion completion;
  };

  static asio::awaitable<void> run(std::shared_ptr<StreamSession> self) {
    auto failure = co_await connectStream(self->socket_.next_layer(), self->route_, self->deadline_.expiry());
    if (!failure && self->phase_ == Phase::connecting) failure = co_await upgrade(*self);
    if (failure) {
      self->end(std::move(*failure));
      co_return;
    }
    if (self->phase_ != Phase::connecting) co_return;
    self->opened();
    co_await readFrames(*self);
  }

  static asio::awaitable<std::optional<TransportError>> upgrade(StreamSession& self) {
    auto& socket = self.socket_;
    // The owner's own time-out governs until the connection is open.
    socket.set_option(websocket::stream_base::timeout{websocket::stream_base::none(), deadAfter, true});
    socket.read_message_max(limits::frameBytes);
    socket.auto_fragment(false);
    socket.text(true);
    socket.set_option(websocket::stream_base::decorator([&self](websocket::request_type& request) {
      request.set(beast::http::field::user_agent, "Tallyfox");
      for (const auto& [name, value] : self.headers_)
        request.set(name, value);
    }));
    websocket::response_type response;
    error_code error;
    co_await socket.async_handshake(response, self.route_.address.hostHeader, self.route_.address.target,
                                    asio::redirect_error(asio::use_awaitable, error));
    if (error == websocket::error::upgrade_declined)
      co_return TransportError{"The relay answered the WebSocket request with HTTP " +
                               std::to_string(response.result_int()) + "."};
    if (error) co_return TransportError{networkErrorDescription(error)};
    socket.set_option(websocket::stream_base::timeout{closingTime, deadAfter, true});
    socket.control_callback([&self](websocket::frame_type, beast::string_view) { self.isAlive(); });
    co_return std::nullopt;
  }

  /// Reads one frame ahead of the owner, so that pings are answered and a close is seen whether or not it asks.
  static asio::awaitable<void> readFrames(StreamSession& self) {
    beast::flat_buffer buffer;
    while (self.phase_ == Phase::open || self.phase_ == Phase::closing) {
      error_code error;
      co_await self.socket_.async_read(buffer, asio::redirect_error(asio::use_awaitable, error));
      if (error) {
        self.end(self.receiveFailure(error));
        co_return;
      }
      if (self.phase_ != Phase::open) {
        buffer.clear();
        continue;
      }
      const auto* begin = static_cast<const std::uint8_t*>(buffer.data().data());
      self.deliver(Bytes(begin, begin + buffer.size()));
      buffer.clear();
      while (self.waitingFrame_ && self.phase_ == Phase::open) {
        self.frameTaken_.expires_at(asio::steady_timer::time_point::max());
        error_code woken;
        co_await self.frameTaken_.async_wait(asio::redirect_error(asio::use_awaitable, woken));
      }
    }
  }

  void opened() {
    phase_ = Phase::open;
    deadline_.cancel();
    const auto onOpen = std::move(events_.onOpen);
    gate_->call(onOpen);
    if (phase_ == Phase::open && !outgoing_.empty()) writeNext();
  }

  /// Something came from the other side.
  void isAlive() {
    isProving_ = false;
    proof_.cancel();
  }

  void deliver(Bytes frame) {
    isAlive();
    if (receivers_.empty()) {
      waitingFrame_ = std::move(frame);
      return;
    }
    const auto receiver = std::move(receivers_.front());
    receivers_.pop_front();
    gate_->call(receiver, std::move(frame));
  }

  void writeNext() {
    const auto& frame = outgoing_.front();
    socket_.async_write(asio::buffer(frame->text), [self = this->shared_from_this(), frame](
                                                       const error_code& error, std::size_t) { self->written(error); });
  }

  void written(const error_code& error) {
    if (phase_ != Phase::open) return;  // the completion was told of the end already
    if (error) return end({networkErrorDescription(error)});
    const auto frame = std::move(outgoing_.front());
    outgoing_.pop_front();
    outgoingBytes_ -= frame->text.size();
    if (!outgoing_.empty()) writeNext();
    gate_->call(frame->completion, std::expected<void, TransportError>{});
  }

  TransportError receiveFailure(const error_code& error) const {
    TransportError failure{networkErrorDescription(error)};
    if (error != websocket::error::closed) return failure;
    const std::uint16_t code = socket_.reason().code;
    if (code != websocket::close_code::none && code != websocket::close_code::no_status) {
      failure.description = "The other side closed the connection with code " + std::to_string(code) + ".";
      failure.closeCode = code;
    }
    return failure;
  }

  void failPending(const TransportError& failure) {
    failure_ = failure;
    auto outgoing = std::exchange(outgoing_, {});
    auto receivers = std::exchange(receivers_, {});
    outgoingBytes_ = 0;
    for (const auto& frame : outgoing)
      gate_->call(frame->completion, std::unexpected(failure));
    for (const auto& receiver : receivers)
      gate_->call(receiver, std::unexpected(failure));
  }

  /// Once: the end of the connection, for whatever reason, and of its callbacks.
  void end(TransportError failure) {
    const Phase before = std::exchange(phase_, Phase::ended);
    if (before == Phase::ended) return;
    const auto self = this->shared_from_this();
    deadline_.cancel();
    frameTaken_.cancel();
    proof_.cancel();
    closeStream(socket_.next_layer());
    const auto events = std::exchange(events_, {});
    if (before != Phase::connecting) gate_->call(events.onClose);
    failPending(failure_.value_or(std::move(failure)));
  }

  websocket::stream<Stream> socket_;
  asio::steady_timer deadline_;
  asio::steady_timer frameTaken_;  ///< cancelled when the frame that waits was taken
  asio::steady_timer ownerGone_;
  asio::steady_timer proof_;  ///< runs while the other side has to prove that it is there
  bool isProving_ = false;
  bool isPinging_ = false;
  NetworkRoute route_;
  HeaderList headers_;
  WebSocketEvents events_;
  std::shared_ptr<CallbackGate> gate_;
  Phase phase_ = Phase::connecting;
  std::optional<TransportError> failure_;  ///< what every further call is told
  std::deque<std::shared_ptr<Outgoing>> outgoing_;
  std::size_t outgoingBytes_ = 0;
  std::deque<ReceiveCompletion> receivers_;
  std::optional<Bytes> waitingFrame_;
};

}  // namespace

std::shared_ptr<WebSocketSession> makeWebSocketSession(NetworkCore& core, const NetworkAddress& address,
                                                       HeaderList headers, WebSocketEvents events,
                                                       std::shared_ptr<CallbackGate> gate) {
  NetworkRoute route{address, core.proxies.proxyFor(address)};
  PlainStream plain(core.context);
  if (!address.isSecure)
    return std::make_shared<StreamSession<PlainStream>>(std::move(plain), std::move(route), std::move(headers),
                                                        std::move(events), std::move(gate));
  return std::make_shared<StreamSession<TlsStream>>(TlsStream(std::move(plain), core.tls), std::move(route),
                                                    std::move(headers), std::move(events), std::move(gate));
}

}  // namespace tallyfox::linux_os
