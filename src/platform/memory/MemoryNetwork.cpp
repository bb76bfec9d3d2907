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
  state_->open(socket);
}

void MemoryNetwork::refuse(std::size_t socket, const std::string& description) {
  require(!state_->sockets.at(socket).isOpen, "an open socket cannot be refused");
  state_->end(socket, description);
}

void MemoryNetwork::deliver(std::size_t socket, const std::string& text) {
  state_->deliver(socket, text);
}

void MemoryNetwork::close(std::size_t socket) {
  state_->end(socket, "The connection was closed.");
}

void MemoryNetwork::failSends(std::size_t socket, bool fails) {
  state_->connections.at(socket).failsSends = fails;
}

void MemoryNetwork::holdSends(std::size_t socket, bool hold) {
  state_->connections.at(socket).holdsSends = hold;
  if (!hold) state_->release(socket);
}

const std::vector<MemoryNetwork::Request>& MemoryNetwork::requests() const {
  return state_->requests;
}

void MemoryNetwork::answer(std::size_t request, std::expected<HttpResponse, TransportError> response) {
  state_->answer(request, std::move(response));
}

void MemoryNetwork::answerAll(std::optional<std::expected<HttpResponse, TransportError>> response) {
  state_->standingAnswer = std::move(response);
}

}  // namespace tallyfox::memory
