#include "platform/linux/BeastWebSocketTransport.hpp"

#include <boost/asio/post.hpp>

#include "base/HttpHeaders.hpp"
#include "platform/linux/NetworkErrors.hpp"
#include "platform/linux/WebSocketSession.hpp"

namespace tallyfox::linux_os {
namespace {

/// The owner's end of a session; without one the request was not valid.
class BeastWebSocketTask : public WebSocketTask {
 public:
  BeastWebSocketTask(std::weak_ptr<NetworkCore> core, const std::shared_ptr<WebSocketSession>& session,
                     std::shared_ptr<CallbackGate> gate)
      : core_(std::move(core)), session_(session), gate_(std::move(gate)) {}

  ~BeastWebSocketTask() override {
    gate_->close();
    withSession([](WebSocketSession* session) {
      if (session != nullptr) session->abandon();
    });
  }

  void send(std::string text, SendCompletion completion) override {
    withSession(
        [text = std::move(text), completion = std::move(completion), gate = gate_](WebSocketSession* session) mutable {
          if (session != nullptr)
            session->send(std::move(text), std::move(completion));
          else
            gate->call(completion, std::unexpected(TransportError{invalidRequestText}));
        });
  }

  void receive(ReceiveCompletion completion) override {
    withSession([completion = std::move(completion), gate = gate_](WebSocketSession* session) mutable {
      if (session != nullptr)
        session->receive(std::move(completion));
      else
        gate->call(completion, std::unexpected(TransportError{invalidRequestText}));
    });
  }

  void cancel(std::uint16_t closeCode) override {
    withSession([closeCode](WebSocketSession* session) {
      if (session != nullptr) session->cancel(closeCode);
    });
  }

 private:
  /// Runs `work` on the network thread, with the session while there is one.
  template <typename Work>
  void withSession(Work work) {
    const auto core = core_.lock();
    if (!core) return;
    boost::asio::post(core->context, [weak = session_, work = std::move(work)]() mutable {
      const auto session = weak.lock();
      work(session.get());
    });
  }

  std::weak_ptr<NetworkCore> core_;
  std::weak_ptr<WebSocketSession> session_;
  std::shared_ptr<CallbackGate> gate_;
};

}  // namespace

std::unique_ptr<WebSocketTask> BeastWebSocketTransport::start(const WebSocketRequest& request, WebSocketEvents events) {
  auto gate = std::make_shared<CallbackGate>();
  std::shared_ptr<WebSocketSession> session;
  const auto core = core_.lock();
  const auto address = NetworkAddress::parsed(request.url, "ws", "wss");
  if (core && address && areHeadersWellFormed(request.headers)) {
    session = makeWebSocketSession(*core, *address, request.headers, std::move(events), gate);
    remember(session);
    boost::asio::post(core->context, [session, timeout = request.timeout] { session->start(timeout); });
  }
  return std::make_unique<BeastWebSocketTask>(core_, std::move(session), std::move(gate));
}

void BeastWebSocketTransport::remember(const std::shared_ptr<WebSocketSession>& session) {
  const std::scoped_lock lock(mutex_);
  std::erase_if(sessions_, [](const auto& known) { return known.expired(); });
  sessions_.push_back(session);
}

void BeastWebSocketTransport::demandProofOfLife() {
  const auto core = core_.lock();
  if (!core) return;
  const std::scoped_lock lock(mutex_);
  for (const auto& known : sessions_)
    boost::asio::post(core->context, [known] {
      if (const auto session = known.lock()) session->demandProof();
    });
}

}  // namespace tallyfox::linux_os
