#include "platform/linux/TimerDescriptor.hpp"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>

#include "base/Require.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

}  // namespace

TimerDescriptor::TimerDescriptor() : descriptor_(::timerfd_create(CLOCK_BOOTTIME, TFD_NONBLOCK | TFD_CLOEXEC)) {
  require(static_cast<bool>(descriptor_), "a timer descriptor can be opened");
}

std::int64_t TimerDescriptor::now() const {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

void TimerDescriptor::set(std::int64_t deadline) {
  // Zero would disarm it.
  const std::int64_t first = std::max<std::int64_t>(deadline, 1);
  itimerspec setting{};
  setting.it_value.tv_sec = first / nanosecondsPerSecond;
  setting.it_value.tv_nsec = first % nanosecondsPerSecond;
  ::timerfd_settime(descriptor_.get(), TFD_TIMER_ABSTIME, &setting, nullptr);
}

void TimerDescriptor::acknowledge() {
  std::uint64_t expirations = 0;
  // Read empty only to be told of the next expiration; how many there were means nothing.
  [[maybe_unused]] const auto count = ::read(descriptor_.get(), &expirations, sizeof expirations);
}

}  // namespace tallyfox::linux_os
