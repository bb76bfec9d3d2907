#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <random>

namespace tallyfox::server {

/// How a relay that is to end lets its sockets go: one after the other, and each with a time of its own to come back,
/// so that the relay that follows is not stormed. Knows no clock and no sockets.
class Drain {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Length = std::chrono::milliseconds;

  /// A new relay takes this many handshakes a second, each with a look at its storage, without being busy with them.
  static constexpr std::size_t socketsPerSecond = 100;
  /// For a relay that is not told otherwise: nothing when nobody is connected, ten seconds at most.
  [[nodiscard]] static Length usualLength(std::size_t sockets);

  void begin(Time now, Length length, std::size_t sockets);
  [[nodiscard]] bool isUnderWay() const { return end_.has_value(); }
  [[nodiscard]] Time end() const { return *end_; }
  /// When the socket of that number among all is let go.
  [[nodiscard]] Time departure(std::size_t number) const;
  /// How long a client waits that is told so now; another time for each.
  [[nodiscard]] Length reconnectAfter(Time now);

 private:
  Time start_{};
  std::optional<Time> end_;
  std::size_t sockets_ = 0;
  std::minstd_rand random_{std::random_device{}()};
};

}  // namespace tallyfox::server
