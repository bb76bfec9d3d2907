#include "platform/macos/URLSessionWebSocketTransport.hpp"

#import <Foundation/Foundation.h>

#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "base/Limits.hpp"
#include "platform/macos/NetworkErrors.hpp"
#include "platform/macos/NetworkRequests.hpp"
#include "platform/macos/URLSessions.hpp"
#include "platform/macos/WebSocketConnection.hpp"

namespace tallyfox::mac_os {
namespace {

/// The session's own time-outs are for silence and would also end an open connection on which nothing happens. The
/// connection has a time limit of its own for the opening, and pings for the rest.
constexpr Seconds never{365.0 * 86'400};

/// Where the system's callbacks go. They come on the session's queue, in their order, and are told on the network queue
/// in the same.
class WireListener {
 public:
  WireListener(std::weak_ptr<WebSocketConnection> connection, dispatch_queue_t queue)
      : connection_(std::move(connection)), queue_(queue) {}

  template <typename Tell>
  void hears(Tell tell) const {
    runOn(queue_, [weak = connection_, tell = std::move(tell)]() mutable {
      if (const auto connection = weak.lock()) tell(*connection);
    });
  }

  void hearsFailure(TransportError reason) const {
    hears([reason = std::move(reason)](WebSocketConnection& connection) { connection.failed(reason); });
  }

  [[nodiscard]] dispatch_queue_t queue() const { return queue_; }

 private:
  std::weak_ptr<WebSocketConnection> connection_;
  dispatch_queue_t queue_;
};

std::uint16_t closeCodeOf(NSURLSessionWebSocketCloseCode code) {
  return code > 0 && code <= UINT16_MAX ? static_cast<std::uint16_t>(code) : 0;
}

}  // namespace
}  // namespace tallyfox::mac_os

@interface TallyfoxWebSocketDelegate : NSObject <NSURLSessionWebSocketDelegate>
- (instancetype)initWithListener:(tallyfox::mac_os::WireListener)listener;
@end

@implementation TallyfoxWebSocketDelegate {
  std::optional<tallyfox::mac_os::WireListener> _listener;
}

- (instancetype)initWithListener:(tallyfox::mac_os::WireListener)listener {
  if ((self = [super init])) _listener.emplace(std::move(listener));
  return self;
}

- (void)URLSession:(NSURLSession*)session
          webSocketTask:(NSURLSessionWebSocketTask*)webSocketTask
    didOpenWithProtocol:(NSString*)protocol {
  _listener->hears([](tallyfox::mac_os::WebSocketConnection& connection) { connection.opened(); });
}

- (void)URLSession:(NSURLSession*)session
       webSocketTask:(NSURLSessionWebSocketTask*)webSocketTask
    didCloseWithCode:(NSURLSessionWebSocketCloseCode)closeCode
              reason:(NSData*)reason {
  const std::uint16_t code = tallyfox::mac_os::closeCodeOf(closeCode);
  _listener->hears([code](tallyfox::mac_os::WebSocketConnection& connection) { connection.closed(code); });
}

/// Refused: the token in the request is for this host alone.
- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest*))completionHandler {
  completionHandler(nil);
}

- (void)URLSession:(NSURLSession*)session task:(NSURLSessionTask*)task didCompleteWithError:(NSError*)error {
  tallyfox::TransportError reason = tallyfox::mac_os::transportErrorOf(error);
  NSURLResponse* const response = task.response;
  if ([response isKindOfClass:NSHTTPURLResponse.class]) {
    const NSInteger status = static_cast<NSHTTPURLResponse*>(response).statusCode;
    constexpr NSInteger switchingProtocols = 101;
    if (status != switchingProtocols)
      reason.description = tallyfox::mac_os::refusedUpgradeDescription(static_cast<int>(status));
  }
  _listener->hears(
      [reason = std::move(reason)](tallyfox::mac_os::WebSocketConnection& connection) { connection.ended(reason); });
}

@end

namespace tallyfox::mac_os {
namespace {

/// A connection's session with its one task.
class URLSessionWire : public WebSocketWire {
 public:
  URLSessionWire(NSURLRequest* request, WireListener listener) : request_(request), listener_(std::move(listener)) {}
  ~URLSessionWire() override { drop(); }

  void connect() override {
    attempt([&] {
      session_ = makeSession([[TallyfoxWebSocketDelegate alloc] initWithListener:listener_], never);
      task_ = [session_ webSocketTaskWithRequest:request_];
      // One more than is taken, since the limit is documented as one that must not be reached.
      task_.maximumMessageSize = static_cast<NSInteger>(limits::frameBytes) + 1;
      [task_ resume];
    });
  }

  void send(const std::string& text) override {
    NSString* const string = stringOf(text);
    if (string == nil) return listener_.hearsFailure({"A message is not valid UTF-8."});
    attempt([&] {
      NSURLSessionWebSocketMessage* const message = [[NSURLSessionWebSocketMessage alloc] initWithString:string];
      [task_ sendMessage:message
          completionHandler:completion(^(const WireListener& listener) {
            listener.hears([](WebSocketConnection& connection) { connection.sent(); });
          })];
    });
  }

  void receive() override {
    const WireListener listener = listener_;
    // The system may never call this, so it must not keep the task.
    __weak NSURLSessionWebSocketTask* const weakTask = task_;
    // Not inside the attempt, whose lambda refers to these two: a block copies what it names, but a reference as such.
    const auto onMessage = ^(NSURLSessionWebSocketMessage* message, NSError* error) {
      if (message == nil) return hearsEnd(listener, weakTask, error);
      listener.hears([frame = bytesOfMessage(message)](WebSocketConnection& connection) mutable {
        connection.received(std::move(frame));
      });
    };
    attempt([&] { [task_ receiveMessageWithCompletionHandler:onMessage]; });
  }

  void ping() override {
    attempt([&] {
      [task_ sendPingWithPongReceiveHandler:completion(^(const WireListener& listener) {
               listener.hears([](WebSocketConnection& connection) { connection.heard(); });
             })];
    });
  }

  void close(std::uint16_t code) override {
    attempt([&] { [task_ cancelWithCloseCode:static_cast<NSURLSessionWebSocketCloseCode>(code) reason:nil]; });
  }

  void drop() override {
    [session_ invalidateAndCancel];
    session_ = nil;
    task_ = nil;
  }

  void after(Seconds delay, std::function<void()> work) override {
    runOnAfter(listener_.queue(), delay, std::move(work));
  }

 private:
  /// What the system does not take, it refuses with an exception.
  template <typename Work>
  void attempt(const Work& work) {
    @try {
      work();
    } @catch (NSException*) {
      listener_.hearsFailure({invalidRequestText});
    }
  }

  /// Tells of a failure, or else what `succeeded` says.
  void (^completion(void (^succeeded)(const WireListener&)))(NSError*) {
    const WireListener listener = listener_;
    __weak NSURLSessionWebSocketTask* const weakTask = task_;
    return ^(NSError* error) {
      if (error != nil) return hearsEnd(listener, weakTask, error);
      succeeded(listener);
    };
  }

  /// A call failed. Once the other side has closed, the calls under way fail too, perhaps before the close is told of.
  static void hearsEnd(const WireListener& listener, NSURLSessionWebSocketTask* task, NSError* error) {
    listener.hears([reason = transportErrorOf(error), code = closeCodeOf(task.closeCode)](
                       WebSocketConnection& connection) { connection.failed(reason, code); });
  }

  static Bytes bytesOfMessage(NSURLSessionWebSocketMessage* message) {
    NSData* const data = message.type == NSURLSessionWebSocketMessageTypeString
                             ? [message.string dataUsingEncoding:NSUTF8StringEncoding]
                             : message.data;
    const auto* const begin = static_cast<const std::uint8_t*>(data.bytes);
    return {begin, begin + data.length};
  }

  NSURLRequest* request_;
  WireListener listener_;
  NSURLSession* session_ = nil;
  NSURLSessionWebSocketTask* task_ = nil;
};

/// The owner's end of a connection.
class URLSessionSocketTask : public WebSocketTask {
 public:
  URLSessionSocketTask(dispatch_queue_t queue, std::shared_ptr<WebSocketConnection> connection,
                       std::shared_ptr<CallbackGate> gate)
      : queue_(queue), connection_(std::move(connection)), gate_(std::move(gate)) {}

  ~URLSessionSocketTask() override {
    gate_->close();
    runOn(queue_, [connection = std::move(connection_)] { connection->abandon(); });
  }

  void send(std::string text, SendCompletion completion) override {
    runOn(queue_, [connection = connection_, text = std::move(text), completion = std::move(completion)]() mutable {
      connection->send(std::move(text), std::move(completion));
    });
  }

  void receive(ReceiveCompletion completion) override {
    runOn(queue_, [connection = connection_, completion = std::move(completion)]() mutable {
      connection->receive(std::move(completion));
    });
  }

  void cancel(std::uint16_t closeCode) override {
    runOn(queue_, [connection = connection_, closeCode] { connection->cancel(closeCode); });
  }

 private:
  dispatch_queue_t queue_;
  std::shared_ptr<WebSocketConnection> connection_;
  std::shared_ptr<CallbackGate> gate_;
};

NSURLRequest* requestOf(const WebSocketRequest& request) {
  const auto address = requestAddress(request.url, {"ws", "wss"});
  if (!address || !isSendable("GET", request.headers)) return nil;
  return makeRequest(*address, request.headers, never);
}

}  // namespace

struct URLSessionWebSocketTransport::Impl {
  dispatch_queue_t queue = makeNetworkQueue("tallyfox.web-sockets");
  std::mutex mutex;  ///< guards connections
  std::vector<std::weak_ptr<WebSocketConnection>> connections;

  void remember(const std::shared_ptr<WebSocketConnection>& connection) {
    const std::scoped_lock lock(mutex);
    std::erase_if(connections, [](const auto& known) { return known.expired(); });
    connections.push_back(connection);
  }
};

URLSessionWebSocketTransport::URLSessionWebSocketTransport() : impl_(std::make_unique<Impl>()) {}
URLSessionWebSocketTransport::~URLSessionWebSocketTransport() = default;

std::unique_ptr<WebSocketTask> URLSessionWebSocketTransport::start(const WebSocketRequest& request,
                                                                   WebSocketEvents events) {
  auto gate = std::make_shared<CallbackGate>();
  auto connection = std::make_shared<WebSocketConnection>(std::move(events), gate);
  dispatch_queue_t const queue = impl_->queue;
  NSURLRequest* urlRequest = nil;
  @autoreleasepool {
    urlRequest = requestOf(request);
  }
  runOn(queue, [connection, queue, urlRequest, timeout = request.timeout] {
    if (urlRequest == nil) return connection->refuse({invalidRequestText});
    connection->start(std::make_unique<URLSessionWire>(urlRequest, WireListener(connection, queue)), timeout);
  });
  impl_->remember(connection);
  return std::make_unique<URLSessionSocketTask>(queue, std::move(connection), std::move(gate));
}

void URLSessionWebSocketTransport::demandProofOfLife() {
  const std::scoped_lock lock(impl_->mutex);
  for (const auto& known : impl_->connections)
    runOn(impl_->queue, [known] {
      if (const auto connection = known.lock()) connection->demandProof();
    });
}

}  // namespace tallyfox::mac_os
