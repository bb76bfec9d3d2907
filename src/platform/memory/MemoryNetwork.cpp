#include <mutex>
#include <utility>

#include "base/Require.hpp"
#include "platform/memory/MemoryNetworkState.hpp"

namespace tallyfox::memory {

MemoryNetwork::MemoryNetwork(std::shared_ptr<SerialQueue> queue) : state_(std::make_shared<State>(std::move(queue))) {}

MemoryNetwork::~MemoryNetwork() = default;

WebSocketTransport& MemoryNetwork::webSockets() {
  return *state_;
}

HttpClient& MemoryNetwork::http() {
  return *state_;
}

const std::vector<MemoryNetwork::Socket>& MemoryNetwork::sockets() const {
  return state_->sockets;
}

void MemoryNetwork::open(std::size_t socket) {
  const std::scoped_lock lock(state_->mutex);
  state_->open(socket);
}

void MemoryNetwork::refuse(std::size_t socket, const std::string& description) {
  const std::scoped_lock lock(state_->mutex);
  require(!state_->sockets.at(socket).isOpen, "an open socket cannot be refused");
  state_->end(socket, description);
}

void MemoryNetwork::deliver(std::size_t socket, const std::string& text) {
  const std::scoped_lock lock(state_->mutex);
  state_->deliver(socket, text);
}

void MemoryNetwork::close(std::size_t socket) {
  const std::scoped_lock lock(state_->mutex);
  state_->end(socket, "The connection was closed.");
}

void MemoryNetwork::failSends(std::size_t socket, bool fails) {
  const std::scoped_lock lock(state_->mutex);
  state_->connections.at(socket).failsSends = fails;
}

void MemoryNetwork::holdSends(std::size_t socket, bool hold) {
  const std::scoped_lock lock(state_->mutex);
  state_->connections.at(socket).holdsSends = hold;
  if (!hold) state_->release(socket);
}

void MemoryNetwork::onStart(std::function<void(std::size_t socket)> hook) {
  const std::scoped_lock lock(state_->mutex);
  state_->onStart = std::move(hook);
}

void MemoryNetwork::onRequest(std::function<void(std::size_t request)> hook) {
  const std::scoped_lock lock(state_->mutex);
  state_->onRequest = std::move(hook);
}

void MemoryNetwork::onFrame(std::function<void(std::size_t socket, const std::string& text)> hook) {
  const std::scoped_lock lock(state_->mutex);
  state_->onFrame = std::move(hook);
}

void MemoryNetwork::forgetFrames() {
  const std::scoped_lock lock(state_->mutex);
  for (Socket& socket : state_->sockets)
    socket.sent.clear();
}

const std::vector<MemoryNetwork::Request>& MemoryNetwork::requests() const {
  return state_->requests;
}

void MemoryNetwork::answer(std::size_t request, std::expected<HttpResponse, TransportError> response) {
  const std::scoped_lock lock(state_->mutex);
  state_->answer(request, std::move(response));
}

void MemoryNetwork::answerAll(std::optional<std::expected<HttpResponse, TransportError>> response) {
  const std::scoped_lock lock(state_->mutex);
  state_->standingAnswer = std::move(response);
}

}  // namespace tallyfox::memory
