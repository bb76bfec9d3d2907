#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "LoadSocket.hpp"

namespace tallyfox::load {

/// Moves many sockets in one thread. A socket that is told to sleep is neither read nor written any more, as if its
/// machine had gone, while the system still acknowledges what comes for it.
class LoadLoop {
 public:
  using Clock = std::chrono::steady_clock;

  LoadLoop();
  ~LoadLoop();
  LoadLoop(const LoadLoop&) = delete;
  LoadLoop& operator=(const LoadLoop&) = delete;

  LoadSocket& add(const Address& address, LoadSocket::Events events);
  void sleep(LoadSocket& socket);
  /// Ends it and forgets it, at the end of the current turn.
  void remove(LoadSocket& socket, bool reset = false);
  [[nodiscard]] std::size_t size() const { return sockets_.size(); }

  /// Until `done` or the end of the time; whether it was done. `eachTurn` comes at least every `pause`.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds longest,
                const std::function<void()>& eachTurn = {},
                std::chrono::milliseconds pause = std::chrono::milliseconds(10));

 private:
  void turn(std::chrono::milliseconds pause);

  int poller_ = -1;
  std::map<LoadSocket*, std::unique_ptr<LoadSocket>> sockets_;
  std::vector<std::pair<LoadSocket*, bool>> removed_;
};

}  // namespace tallyfox::load
