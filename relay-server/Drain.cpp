#include "Drain.hpp"

#include <algorithm>

namespace tallyfox::server {
namespace {

using namespace std::chrono_literals;

constexpr Drain::Length greatestUsualLength = 10s;
/// From the end of one relay to the next one's listening.
constexpr Drain::Length restartTime = 1s;

Drain::Length timeFor(std::size_t sockets) {
  return Drain::Length(sockets * 1000 / Drain::socketsPerSecond);
}

}  // namespace

Drain::Length Drain::usualLength(std::size_t sockets) {
  return std::min(greatestUsualLength, timeFor(sockets));
}

void Drain::begin(Time now, Length length, std::size_t sockets) {
  start_ = now;
  end_ = now + length;
  sockets_ = sockets;
}

Drain::Time Drain::departure(std::size_t number) const {
  return start_ + (*end_ - start_) * number / std::max<std::size_t>(sockets_, 1);
}

Drain::Length Drain::reconnectAfter(Time now) {
  const Length spread = std::max(restartTime, timeFor(sockets_));
  const Length left = std::chrono::ceil<Length>(std::max(*end_ - now, Time::duration::zero()));
  return left + restartTime + Length(std::uniform_int_distribution<Length::rep>(0, spread.count())(random_));
}

}  // namespace tallyfox::server
