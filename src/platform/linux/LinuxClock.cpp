#include "platform/linux/LinuxClock.hpp"

#include <cerrno>
#include <cmath>
#include <ctime>

namespace tallyfox::linux_os {
namespace {

std::chrono::nanoseconds reading(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

Date LinuxClock::now() const {
  return Date(std::chrono::floor<std::chrono::microseconds>(reading(CLOCK_REALTIME)));
}

Seconds LinuxClock::continuous() const {
  return reading(CLOCK_BOOTTIME);
}

void LinuxClock::sleep(Seconds duration) {
  if (!(duration.count() > 0)) return;
  const auto until = reading(CLOCK_BOOTTIME) + std::chrono::duration_cast<std::chrono::nanoseconds>(duration);
  const auto whole = std::chrono::floor<std::chrono::seconds>(until);
  timespec deadline{};
  deadline.tv_sec = whole.count();
  deadline.tv_nsec = (until - whole).count();
  while (::clock_nanosleep(CLOCK_BOOTTIME, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
}

}  // namespace tallyfox::linux_os
