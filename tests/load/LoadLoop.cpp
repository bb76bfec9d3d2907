#include "LoadLoop.hpp"

#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace tallyfox::load {

LoadLoop::LoadLoop() : poller_(epoll_create1(EPOLL_CLOEXEC)) {
  if (poller_ < 0) throw std::runtime_error("no epoll");
}

LoadLoop::~LoadLoop() {
  close(poller_);
}

LoadSocket& LoadLoop::add(const Address& address, LoadSocket::Events events) {
  auto socket = std::make_unique<LoadSocket>(address, std::move(events));
  LoadSocket& added = *socket;
  epoll_event event{.events = EPOLLIN | EPOLLOUT | EPOLLET, .data = {.ptr = &added}};
  epoll_ctl(poller_, EPOLL_CTL_ADD, added.descriptor(), &event);
  sockets_.emplace(&added, std::move(socket));
  return added;
}

void LoadLoop::sleep(LoadSocket& socket) {
  epoll_ctl(poller_, EPOLL_CTL_DEL, socket.descriptor(), nullptr);
}

void LoadLoop::remove(LoadSocket& socket, bool reset) {
  removed_.emplace_back(&socket, reset);
}

bool LoadLoop::runUntil(const std::function<bool()>& done, std::chrono::milliseconds longest,
                        const std::function<void()>& eachTurn, std::chrono::milliseconds pause) {
  const auto end = Clock::now() + longest;
  while (!done()) {
    if (Clock::now() >= end) return false;
    if (eachTurn) eachTurn();
    turn(pause);
  }
  return true;
}

void LoadLoop::turn(std::chrono::milliseconds pause) {
  std::array<epoll_event, 512> events;
  const int count = epoll_wait(poller_, events.data(), events.size(), static_cast<int>(pause.count()));
  for (int index = 0; index < count; ++index) {
    const epoll_event& event = events.at(static_cast<std::size_t>(index));
    auto& socket = *static_cast<LoadSocket*>(event.data.ptr);
    if (socket.state() == LoadSocket::State::ended) continue;
    if ((event.events & EPOLLOUT) != 0) socket.writable();
    if (socket.state() != LoadSocket::State::ended && (event.events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) {
      socket.readable();
    }
  }
  for (const auto& [socket, reset] : std::exchange(removed_, {})) {
    socket->end(reset);
    sockets_.erase(socket);
  }
}

}  // namespace tallyfox::load
