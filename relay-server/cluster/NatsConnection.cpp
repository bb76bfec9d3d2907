#include "NatsConnection.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <boost/asio/post.hpp>
#include <chrono>
#include <future>
#include <vector>

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;

/// Calls under way at once; each waits for one answer of a server that is near.
constexpr std::size_t threadCount = 4;
constexpr std::chrono::milliseconds connectTime{5'000};
constexpr std::chrono::milliseconds reconnectWait{250};
constexpr std::chrono::milliseconds reconnectJitter{250};
/// A connection that is cut without a word is noticed after three of these.
constexpr std::chrono::milliseconds pingInterval{2'000};
constexpr int silentPings = 2;
/// A server that takes nothing for so long is gone.
constexpr std::chrono::milliseconds writeTime{5'000};
constexpr std::chrono::seconds closeTime{5};
/// Frames on their way to the library: as much as one slow peer may hold, twice.
constexpr std::size_t greatestOutgoing = 64U * 1024U * 1024U;

/// What a subscription's callback needs; freed by the library's last word on the subscription.
struct Delivery {
  asio::any_io_executor executor;
  std::shared_ptr<NatsConnection::Handler> handler;
};

void delivered(natsConnection*, natsSubscription*, natsMsg* received, void* closure) {
  const NatsMessageHandle message(received);
  const auto text = [](const char* value) { return std::string(value == nullptr ? "" : value); };
  const auto size = static_cast<std::size_t>(natsMsg_GetDataLength(message.get()));
  NatsConnection::Message taken{.subject = text(natsMsg_GetSubject(message.get())),
                                .reply = text(natsMsg_GetReply(message.get())),
                                .data = size == 0 ? std::string() : std::string(natsMsg_GetData(message.get()), size),
                                .nobodyThere = natsMsg_IsNoResponders(message.get())};
  const auto* const delivery = static_cast<Delivery*>(closure);
  asio::post(delivery->executor, [handler = delivery->handler, taken = std::move(taken)]() mutable {
    // A copy, as the handler may end its own subscription.
    if (const NatsConnection::Handler call = *handler) call(std::move(taken));
  });
}

void forgotten(void* closure) {
  delete static_cast<Delivery*>(closure);
}

}  // namespace

/// What the connection's own callbacks need, until its last one.
struct NatsConnection::Closing {
  asio::any_io_executor executor;
  Changed changed;
  std::promise<void> closed;

  static void onCut(natsConnection*, void* closure) { static_cast<Closing*>(closure)->tell(false); }
  static void onBack(natsConnection*, void* closure) { static_cast<Closing*>(closure)->tell(true); }
  static void onClosed(natsConnection*, void* closure) { static_cast<Closing*>(closure)->closed.set_value(); }
  void tell(bool connected) {
    asio::post(executor, [changed = changed, connected] {
      if (*changed) (*changed)(connected);
    });
  }
};

NatsConnection::NatsConnection(asio::any_io_executor executor)
    : executor_(std::move(executor)),
      closing_(new Closing{.executor = executor_, .changed = changed_, .closed = {}}),
      threads_(threadCount),
      order_(asio::make_strand(threads_.get_executor())) {}

std::expected<std::unique_ptr<NatsConnection>, std::string> NatsConnection::open(const NatsOptions& options,
                                                                                 asio::any_io_executor executor) {
  for (const auto& file : {options.credentials, options.authorities})
    if (file && ::access(file->c_str(), R_OK) != 0) return std::unexpected("Unable to read " + file->string());
  std::unique_ptr<NatsConnection> made(new NatsConnection(std::move(executor)));
  natsOptions* raw = nullptr;
  natsStatus status = natsOptions_Create(&raw);
  const NatsOptionsHandle set(raw);
  const auto also = [&status](natsStatus next) {
    if (status == NATS_OK) status = next;
  };
  std::vector<const char*> servers;
  for (const std::string& server : options.servers)
    servers.push_back(server.c_str());
  if (status == NATS_OK) {
    also(natsOptions_SetServers(raw, servers.data(), static_cast<int>(servers.size())));
    also(natsOptions_SetName(raw, "tallyfox-relay"));
    also(natsOptions_SetTimeout(raw, connectTime.count()));
    also(natsOptions_SetMaxReconnect(raw, -1));
    also(natsOptions_SetReconnectWait(raw, reconnectWait.count()));
    also(natsOptions_SetReconnectJitter(raw, reconnectJitter.count(), reconnectJitter.count()));
    // A decision that could not be sent was refused to its phone by then, and must not be sent after all.
    also(natsOptions_SetReconnectBufSize(raw, 0));
    also(natsOptions_SetFailRequestsOnDisconnect(raw, true));
    also(natsOptions_SetPingInterval(raw, pingInterval.count()));
    also(natsOptions_SetMaxPingsOut(raw, silentPings));
    also(natsOptions_SetWriteDeadline(raw, writeTime.count()));
    also(natsOptions_SetNoEcho(raw, true));
    also(natsOptions_SetSendAsap(raw, true));
    // One thread hands out the messages of all subscriptions, in their order.
    also(natsOptions_UseGlobalMessageDelivery(raw, true));
    also(natsOptions_SetDisconnectedCB(raw, Closing::onCut, made->closing_.get()));
    also(natsOptions_SetReconnectedCB(raw, Closing::onBack, made->closing_.get()));
    also(natsOptions_SetClosedCB(raw, Closing::onClosed, made->closing_.get()));
    if (options.isSecure()) also(natsOptions_SetSecure(raw, true));
    if (options.authorities) also(natsOptions_LoadCATrustedCertificates(raw, options.authorities->c_str()));
    if (options.credentials) {
      also(natsOptions_SetUserCredentialsFromFiles(raw, options.credentials->c_str(), nullptr));
    }
  }
  natsConnection* connection = nullptr;
  if (status == NATS_OK) status = natsConnection_Connect(&connection, raw);
  if (status != NATS_OK) {
    // The library's own words may quote the address with its password.
    return std::unexpected(
        fmt::format("Unable to connect to NATS at {}: {}", options.publicName(), natsStatus_GetText(status)));
  }
  made->connection_.reset(connection);
  return made;
}

NatsConnection::~NatsConnection() {
  close();
}

void NatsConnection::close() {
  // What was given to them is done first: others want to hear the goodbye.
  threads_.join();
  if (!connection_) return;
  *changed_ = nullptr;
  auto closed = closing_->closed.get_future();
  natsConnection_Close(connection_.get());
  // The callbacks may still be running; what they use is then left to them.
  if (closed.wait_for(closeTime) != std::future_status::ready) static_cast<void>(closing_.release());
  connection_.reset();
}

bool NatsConnection::connected() const {
  return connection_ && natsConnection_Status(connection_.get()) == NATS_CONN_STATUS_CONNECTED;
}

void NatsConnection::publish(std::string subject, std::string reply, std::string data, std::function<void(bool)> done) {
  const std::size_t size = data.size();
  if (size > greatestOutgoing - outgoingBytes_) {
    if (done) asio::post(executor_, [done = std::move(done)] { done(false); });
    return;
  }
  outgoingBytes_ += size;
  asio::post(order_, [this, size, subject = std::move(subject), reply = std::move(reply), data = std::move(data),
                      done = std::move(done)]() mutable {
    const char* const replyTo = reply.empty() ? nullptr : reply.c_str();
    const auto length = static_cast<int>(data.size());
    const natsStatus status =
        replyTo == nullptr ? natsConnection_Publish(handle(), subject.c_str(), data.data(), length)
                           : natsConnection_PublishRequest(handle(), subject.c_str(), replyTo, data.data(), length);
    asio::post(executor_, [this, size, status, done = std::move(done)] {
      outgoingBytes_ -= size;
      if (done) done(status == NATS_OK);
    });
  });
}

asio::awaitable<std::unique_ptr<NatsConnection::Subscription>> NatsConnection::subscribe(std::string subject,
                                                                                         Handler handler) {
  auto shared = std::make_shared<Handler>(std::move(handler));
  auto work = [this, subject, shared]() -> NatsSubscriptionHandle {
    auto delivery = std::make_unique<Delivery>(Delivery{.executor = executor_, .handler = shared});
    natsSubscription* raw = nullptr;
    if (natsConnection_Subscribe(&raw, handle(), subject.c_str(), delivered, delivery.get()) != NATS_OK) return {};
    natsSubscription_SetOnCompleteCB(raw, forgotten, delivery.release());
    // What waits here was taken from the network already; it is posted on at once.
    natsSubscription_SetPendingLimits(raw, -1, -1);
    return NatsSubscriptionHandle(raw);
  };
  auto made = co_await runInOrder(std::move(work));
  if (!made) co_return nullptr;
  co_return std::make_unique<Subscription>(*this, std::move(made), std::move(shared));
}

NatsConnection::Subscription::~Subscription() {
  *handler_ = nullptr;
  asio::post(connection_.order_, [handle = std::shared_ptr<natsSubscription>(std::move(handle_))] {});
}

}  // namespace tallyfox::server
