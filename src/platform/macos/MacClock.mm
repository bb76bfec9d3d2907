#include "platform/macos/MacClock.hpp"

#include <algorithm>
#include <chrono>
#include <ctime>

#include "platform/macos/ContinuousTime.hpp"

namespace tallyfox::mac_os {
namespace {

/// The system refuses very long ones; what is left is slept afterwards.
constexpr Seconds longestNap{3600};

}  // namespace

Date MacClock::now() const {
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME, &time);
  const auto sinceEpoch = std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  return Date(std::chrono::floor<std::chrono::microseconds>(sinceEpoch));
}

Seconds MacClock::continuous() const {
  return std::chrono::nanoseconds(continuousNanoseconds());
}

void MacClock::sleep(Seconds duration) {
  const Seconds end = continuous() + duration;
  while (true) {
    const Seconds left = std::min(end - continuous(), longestNap);
    if (!(left.count() > 0)) return;
    const auto nap = std::chrono::ceil<std::chrono::nanoseconds>(left);
    const auto whole = std::chrono::floor<std::chrono::seconds>(nap);
    timespec length{};
    length.tv_sec = static_cast<std::time_t>(whole.count());
    length.tv_nsec = static_cast<long>((nap - whole).count());
    // Also when a signal ends it early.
    ::nanosleep(&length, nullptr);
  }
}

}  // namespace tallyfox::mac_os
