#include "platform/linux/BeastHttpClient.hpp"

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/none.hpp>

#include "base/CallbackGate.hpp"
#include "base/HttpHeaders.hpp"
#include "base/Limits.hpp"
#include "platform/linux/NetworkErrors.hpp"
#include "platform/linux/NetworkStreams.hpp"

namespace tallyfox::linux_os {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using Answer = std::expected<HttpResponse, TransportError>;
using Completion = std::function<void(Answer)>;

/// One exchange, alive as long as its operations are pending. Network thread only, but for construction.
class HttpSession {
 public:
  virtual ~HttpSession() = default;
  virtual void start(Seconds timeout) = 0;
  virtual void abandon() = 0;
};

template <typename Stream>
class StreamHttpSession : public HttpSession, public std::enable_shared_from_this<StreamHttpSession<Stream>> {
 public:
  StreamHttpSession(Stream stream, NetworkRoute route, http::request<http::string_body> request,
                    std::shared_ptr<CallbackGate> gate, Completion completion)
      : stream_(std::move(stream)),
        deadline_(stream_.get_executor()),
        route_(std::move(route)),
        request_(std::move(request)),
        gate_(std::move(gate)),
        completion_(std::move(completion)) {}

  void start(Seconds timeout) override {
    deadline_.expires_at(deadlineAfter(timeout));
    // The wait does not keep the session: the exchange may end long before.
    deadline_.async_wait([weak = this->weak_from_this()](const error_code& error) {
      const auto self = weak.lock();
      if (self && !error) self->finish(std::unexpected(TransportError{timedOutText}));
    });
    asio::co_spawn(stream_.get_executor(), run(this->shared_from_this()), [](const std::exception_ptr& failure) {
      if (failure) std::rethrow_exception(failure);
    });
  }

  void abandon() override { finish(std::unexpected(TransportError{})); }

 private:
  /// `self` keeps the session until the last operation is done.
  static asio::awaitable<void> run(std::shared_ptr<StreamHttpSession> self) {
    auto failure = co_await connectStream(self->stream_, self->route_, self->deadline_.expiry());
    if (self->isFinished_) co_return;
    if (failure) co_return self->finish(std::unexpected(std::move(*failure)));
    error_code error;
    co_await http::async_write(self->stream_, self->request_, asio::redirect_error(asio::use_awaitable, error));
    // A server that refuses early may stop reading: its answer counts for more than the failed write.
    int status = 0;
    do {
      self->parser_.emplace();
      self->parser_->header_limit(static_cast<std::uint32_t>(limits::httpHeadBytes));
      self->parser_->body_limit(boost::none);  // a body is not read, so its length does not matter
      error_code readError;
      co_await http::async_read_header(self->stream_, self->buffer_, *self->parser_,
                                       asio::redirect_error(asio::use_awaitable, readError));
      if (readError) {
        self->finish(std::unexpected(TransportError{networkErrorDescription(error ? error : readError)}));
        co_return;
      }
      status = static_cast<int>(self->parser_->get().result_int());
    } while (status >= 100 && status < 200 && status != 101);  // interim answers precede the one that counts
    self->finish(HttpResponse{status});
  }

  void finish(Answer answer) {
    if (isFinished_) return;
    isFinished_ = true;
    deadline_.cancel();
    closeStream(stream_);
    const Completion completion = std::move(completion_);
    completion_ = nullptr;
    gate_->call(completion, std::move(answer));
  }

  Stream stream_;
  asio::steady_timer deadline_;
  NetworkRoute route_;
  http::request<http::string_body> request_;
  boost::beast::flat_buffer buffer_;
  std::optional<http::response_parser<http::empty_body>> parser_;
  std::shared_ptr<CallbackGate> gate_;
  Completion completion_;
  bool isFinished_ = false;
};

class BeastHttpExchange : public HttpExchange {
 public:
  BeastHttpExchange(std::weak_ptr<NetworkCore> core, std::weak_ptr<HttpSession> session,
                    std::shared_ptr<CallbackGate> gate)
      : core_(std::move(core)), session_(std::move(session)), gate_(std::move(gate)) {}
  ~BeastHttpExchange() override {
    gate_->close();
    const auto core = core_.lock();
    if (!core) return;
    asio::post(core->context, [session = session_] {
      if (const auto live = session.lock()) live->abandon();
    });
  }

 private:
  std::weak_ptr<NetworkCore> core_;
  std::weak_ptr<HttpSession> session_;
  std::shared_ptr<CallbackGate> gate_;
};

http::request<http::string_body> messageOf(const HttpRequest& request, const NetworkAddress& address) {
  http::request<http::string_body> message;
  message.version(11);
  message.method_string(request.method);
  message.target(address.target);
  message.set(http::field::host, address.hostHeader);
  message.set(http::field::user_agent, "Tallyfox");
  message.set(http::field::connection, "close");
  for (const auto& [name, value] : request.headers)
    message.set(name, value);
  message.body() = request.body;
  message.prepare_payload();
  return message;
}

std::shared_ptr<HttpSession> makeSession(NetworkCore& core, const HttpRequest& request, const NetworkAddress& address,
                                         const std::shared_ptr<CallbackGate>& gate, Completion completion) {
  auto message = messageOf(request, address);
  const NetworkRoute route{address, core.proxies.proxyFor(address)};
  PlainStream plain(core.context);
  if (!address.isSecure)
    return std::make_shared<StreamHttpSession<PlainStream>>(std::move(plain), route, std::move(message), gate,
                                                            std::move(completion));
  return std::make_shared<StreamHttpSession<TlsStream>>(TlsStream(std::move(plain), core.tls), route,
                                                        std::move(message), gate, std::move(completion));
}

}  // namespace

std::unique_ptr<HttpExchange> BeastHttpClient::send(const HttpRequest& request, Completion completion) {
  auto gate = std::make_shared<CallbackGate>();
  std::shared_ptr<HttpSession> session;
  if (const auto core = core_.lock()) {
    const auto address = NetworkAddress::parsed(request.url, "http", "https");
    if (address && areHeadersWellFormed(request.headers) && areHeadersWellFormed({{request.method, ""}})) {
      session = makeSession(*core, request, *address, gate, std::move(completion));
      asio::post(core->context, [session, timeout = request.timeout] { session->start(timeout); });
    } else {
      asio::post(core->context, [gate, completion = std::move(completion)] {
        gate->call(completion, Answer(std::unexpected(TransportError{invalidRequestText})));
      });
    }
  }
  return std::make_unique<BeastHttpExchange>(core_, session, std::move(gate));
}

}  // namespace tallyfox::linux_os
