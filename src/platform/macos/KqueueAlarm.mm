#include "platform/macos/KqueueAlarm.hpp"

#include <sys/event.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "base/Require.hpp"
#include "platform/macos/ContinuousTime.hpp"

namespace tallyfox::mac_os {
namespace {

constexpr uintptr_t timer = 1;
/// The machine may fall asleep between a look at the clock and the setting that follows from it; any other delay of
/// that step is short.
constexpr std::int64_t longestStep = 1'000'000'000;

void setTimer(int queue, std::int64_t nanoseconds) {
  // An interval, since an absolute time would be one of the wall clock, or of the processor's own ticks, which are not
  // what a translated process takes them for. It counts on through sleep.
  const struct kevent change = {.ident = timer,
                                .filter = EVFILT_TIMER,
                                .flags = EV_ADD | EV_ONESHOT,
                                .fflags = NOTE_NSECONDS | NOTE_MACH_CONTINUOUS_TIME,
                                .data = static_cast<intptr_t>(nanoseconds),
                                .udata = nullptr};
  int result = -1;
  do
    result = ::kevent(queue, &change, 1, nullptr, 0, nullptr);
  while (result < 0 && errno == EINTR);
  require(result == 0, "a kernel timer can be set");
}

}  // namespace

KqueueAlarm::KqueueAlarm() : queue_(::kqueue()) {
  require(static_cast<bool>(queue_), "a kernel event queue can be opened");
}

std::int64_t KqueueAlarm::now() const {
  return continuousNanoseconds();
}

void KqueueAlarm::set(std::int64_t deadline) {
  std::int64_t start = 0;
  do {
    start = now();
    setTimer(queue_.get(), std::max<std::int64_t>(deadline - start, 0));
  } while (now() - start > longestStep);
}

void KqueueAlarm::acknowledge() {
  struct kevent fired = {};
  const timespec atOnce{};
  // A timer that was set anew after it fired leaves the queue readable for one look, which then finds nothing.
  while (::kevent(queue_.get(), nullptr, 0, &fired, 1, &atOnce) < 0 && errno == EINTR) {
  }
}

}  // namespace tallyfox::mac_os
