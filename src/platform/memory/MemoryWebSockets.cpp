#include <utility>

#include "base/Limits.hpp"
#include "platform/memory/MemoryNetworkState.hpp"

namespace tallyfox::memory {

namespace {

/// The client's handle. Outlives the network without harm.
class MemoryWebSocketTask : public WebSocketTask {
 public:
  using Cancel = std::function<void(std::uint16_t)>;
  struct Calls {
    std::function<void(std::string, SendCompletion)> send;
    std::function<void(ReceiveCompletion)> receive;
    std::function<void(std::uint16_t)> cancel;
    std::function<void()> drop;
  };
  explicit MemoryWebSocketTask(Calls calls) : calls_(std::move(calls)) {}
  ~MemoryWebSocketTask() override { calls_.drop(); }

  void send(std::string text, SendCompletion completion) override {
    calls_.send(std::move(text), std::move(completion));
  }
  void receive(ReceiveCompletion completion) override { calls_.receive(std::move(completion)); }
  void cancel(std::uint16_t closeCode) override { calls_.cancel(closeCode); }

 private:
  Calls calls_;
};

}  // namespace

std::unique_ptr<WebSocketTask> MemoryNetwork::State::start(const WebSocketRequest& request, WebSocketEvents events) {
  const std::scoped_lock lock(mutex);
  const std::size_t number = sockets.size();
  sockets.push_back(
      {.number = number, .request = request, .isOpen = false, .isCancelled = false, .closeCode = {}, .sent = {}});
  MemoryConnection& connection = connections.emplace_back();
  connection.events = std::move(events);
  const auto alive = weak_from_this();
  connection.timeout = queue->after(request.timeout, [alive, number] {
    if (const auto state = alive.lock()) state->end(number, "The request timed out.");
  });
  if (onStart) onStart(number);
  return std::make_unique<MemoryWebSocketTask>(MemoryWebSocketTask::Calls{
      .send =
          [alive, number](std::string text, SendCompletion completion) {
            if (const auto state = alive.lock()) state->send(number, std::move(text), std::move(completion));
          },
      .receive =
          [alive, number](ReceiveCompletion completion) {
            if (const auto state = alive.lock()) state->receive(number, std::move(completion));
          },
      .cancel =
          [alive, number](std::uint16_t closeCode) {
            if (const auto state = alive.lock()) state->cancel(number, closeCode);
          },
      .drop =
          [alive, number] {
            if (const auto state = alive.lock()) state->drop(number);
          },
  });
}

void MemoryNetwork::State::postToClient(std::size_t socket, Task call) {
  queue->post([client = std::weak_ptr<const int>(connections[socket].client), call = std::move(call)]() mutable {
    if (client.lock()) call();
  });
}

void MemoryNetwork::State::send(std::size_t socket, std::string text, SendCompletion completion) {
  const std::scoped_lock lock(mutex);
  if (connections[socket].ending || sockets[socket].isOpen)
    return take(socket, {std::move(text), std::move(completion)});
  connections[socket].unsent.push_back({std::move(text), std::move(completion)});
}

void MemoryNetwork::State::take(std::size_t socket, MemoryConnection::Send send) {
  const std::scoped_lock lock(mutex);
  MemoryConnection& connection = connections[socket];
  std::expected<void, TransportError> outcome;
  if (connection.ending) {
    outcome = std::unexpected(*connection.ending);
  } else if (connection.failsSends) {
    outcome = std::unexpected(TransportError{"The message could not be sent."});
  } else {
    if (onFrame) onFrame(socket, send.text);
    sockets[socket].sent.push_back(std::move(send.text));
    if (connection.holdsSends) return connection.unanswered.push_back(std::move(send.completion));
  }
  postToClient(socket, [completion = std::move(send.completion), outcome] { completion(outcome); });
}

void MemoryNetwork::State::release(std::size_t socket) {
  const std::scoped_lock lock(mutex);
  MemoryConnection& connection = connections[socket];
  std::expected<void, TransportError> outcome;
  if (connection.ending) outcome = std::unexpected(*connection.ending);
  if (connection.failsSends) outcome = std::unexpected(TransportError{"The message could not be sent."});
  for (SendCompletion& completion : std::exchange(connection.unanswered, {}))
    postToClient(socket, [completion = std::move(completion), outcome] { completion(outcome); });
}

void MemoryNetwork::State::receive(std::size_t socket, ReceiveCompletion completion) {
  const std::scoped_lock lock(mutex);
  MemoryConnection& connection = connections[socket];
  if (!connection.frames.empty()) {
    Bytes frame = std::move(connection.frames.front());
    connection.frames.pop_front();
    postToClient(socket, [completion = std::move(completion), frame = std::move(frame)] { completion(frame); });
  } else if (connection.ending) {
    postToClient(socket, [completion = std::move(completion), error = *connection.ending] {
      completion(std::unexpected(error));
    });
  } else {
    connection.receivers.push_back(std::move(completion));
  }
}

void MemoryNetwork::State::cancel(std::size_t socket, std::uint16_t closeCode) {
  const std::scoped_lock lock(mutex);
  if (connections[socket].ending) return;
  sockets[socket].isCancelled = true;
  sockets[socket].closeCode = closeCode;
  end(socket, "The connection was cancelled.");
}

void MemoryNetwork::State::drop(std::size_t socket) {
  // What goes here may call back in while it goes.
  MemoryConnection gone;
  const std::scoped_lock lock(mutex);
  MemoryConnection& connection = connections[socket];
  if (!connection.ending) sockets[socket].isCancelled = true;
  sockets[socket].isOpen = false;
  gone = std::exchange(connection, {});
  connection.ending = TransportError{"The connection was dropped."};
  connection.client.reset();
}

void MemoryNetwork::State::open(std::size_t socket) {
  const std::scoped_lock lock(mutex);
  MemoryConnection& connection = connections.at(socket);
  if (connection.ending || sockets[socket].isOpen) return;
  sockets[socket].isOpen = true;
  connection.timeout.reset();
  postToClient(socket, [onOpen = connection.events.onOpen] {
    if (onOpen) onOpen();
  });
  for (MemoryConnection::Send& send : std::exchange(connection.unsent, {}))
    take(socket, std::move(send));
}

void MemoryNetwork::State::deliver(std::size_t socket, const std::string& text) {
  const std::scoped_lock lock(mutex);
  MemoryConnection& connection = connections.at(socket);
  if (!sockets[socket].isOpen) return;
  if (text.size() > limits::frameBytes) return end(socket, "The message is too long.");
  if (connection.receivers.empty()) return connection.frames.push_back(copyOfBytes(text));
  ReceiveCompletion completion = std::move(connection.receivers.front());
  connection.receivers.pop_front();
  postToClient(socket, [completion = std::move(completion), frame = copyOfBytes(text)] { completion(frame); });
}

void MemoryNetwork::State::end(std::size_t socket, const std::string& description) {
  const std::scoped_lock lock(mutex);
  MemoryConnection& connection = connections.at(socket);
  if (connection.ending) return;
  connection.ending = TransportError{description};
  connection.timeout.reset();
  if (std::exchange(sockets[socket].isOpen, false)) {
    postToClient(socket, [onClose = connection.events.onClose] {
      if (onClose) onClose();
    });
  }
  release(socket);
  for (MemoryConnection::Send& send : std::exchange(connection.unsent, {}))
    take(socket, std::move(send));
  for (ReceiveCompletion& completion : std::exchange(connection.receivers, {}))
    receive(socket, std::move(completion));
}

}  // namespace tallyfox::memory
