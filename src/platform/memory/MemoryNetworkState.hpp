#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <expected>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::memory {

using SendCompletion = std::function<void(std::expected<void, TransportError>)>;
using ReceiveCompletion = std::function<void(std::expected<Bytes, TransportError>)>;
using ResponseCompletion = std::function<void(std::expected<HttpResponse, TransportError>)>;

/// What the network keeps of one connection besides what the test sees.
struct MemoryConnection {
  struct Send {
    std::string text;
    SendCompletion completion;
  };

  WebSocketEvents events;
  std::deque<Send> unsent;                  ///< called before the connection opened
  std::deque<SendCompletion> unanswered;    ///< taken, held back by the test
  std::deque<ReceiveCompletion> receivers;  ///< waiting for a frame
  std::deque<Bytes> frames;                 ///< waiting for a receiver
  std::optional<TransportError> ending;     ///< the connection is over
  ScheduledHandle timeout;                  ///< until it opens
  bool failsSends = false;
  bool holdsSends = false;
  /// Dies with the client's task object: no callback follows that.
  std::shared_ptr<const int> client = std::make_shared<const int>(0);
};

struct MemoryExchange {
  ResponseCompletion completion;
  ScheduledHandle timeout;
};

struct MemoryNetwork::State : public WebSocketTransport,
                              public HttpClient,
                              public std::enable_shared_from_this<MemoryNetwork::State> {
  explicit State(std::shared_ptr<SerialQueue> transportQueue) : queue(std::move(transportQueue)) {}

  std::unique_ptr<WebSocketTask> start(const WebSocketRequest& request, WebSocketEvents events) override;
  std::unique_ptr<HttpExchange> send(const HttpRequest& request, ResponseCompletion completion) override;

  // The client's side of a connection.
  void send(std::size_t socket, std::string text, SendCompletion completion);
  void receive(std::size_t socket, ReceiveCompletion completion);
  void cancel(std::size_t socket, std::uint16_t closeCode);
  void drop(std::size_t socket);

  // The far side.
  void open(std::size_t socket);
  void deliver(std::size_t socket, const std::string& text);
  void end(std::size_t socket, const std::string& description);
  void release(std::size_t socket);

  void answer(std::size_t request, std::expected<HttpResponse, TransportError> response);
  void abandon(std::size_t request);
  [[nodiscard]] ResponseCompletion takenCompletion(std::size_t request);

  std::recursive_mutex mutex;  ///< held by whoever touches what follows; never while a callback runs
  std::shared_ptr<SerialQueue> queue;
  std::vector<Socket> sockets;
  std::vector<MemoryConnection> connections;  ///< one for each socket
  std::vector<Request> requests;
  std::vector<MemoryExchange> exchanges;  ///< one for each request
  std::optional<std::expected<HttpResponse, TransportError>> standingAnswer;
  std::function<void(std::size_t socket)> onStart;
  std::function<void(std::size_t request)> onRequest;
  std::function<void(std::size_t socket, const std::string& text)> onFrame;

 private:
  void take(std::size_t socket, MemoryConnection::Send send);
  /// Runs `call` as a task of the transport's queue unless the client has dropped the connection by then.
  void postToClient(std::size_t socket, Task call);
};

}  // namespace tallyfox::memory
