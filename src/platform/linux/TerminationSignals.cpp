#include "platform/linux/TerminationSignals.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include "base/Require.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr auto signals = std::to_array<int>({SIGINT, SIGTERM});
/// All that a signal handler may use; negative while nobody listens.
std::atomic<int> handlerDescriptor{-1};
static_assert(std::atomic<int>::is_always_lock_free);

void onSignal(int /*number*/) {
  const int error = errno;
  const char mark = 0;
  // A full pipe has signals enough to read.
  [[maybe_unused]] const auto written = ::write(handlerDescriptor, &mark, sizeof mark);
  errno = error;
}

void setHandler(void (*handler)(int)) {
  struct sigaction action{};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  for (const int number : signals)
    ::sigaction(number, &action, nullptr);
}

}  // namespace

TerminationSignals::TerminationSignals() {
  std::array<int, 2> ends{};
  require(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0, "a pipe can be opened");
  reading_ = posix_os::FileDescriptor(ends[0]);
  writing_ = posix_os::FileDescriptor(ends[1]);
  const int before = handlerDescriptor.exchange(writing_.get());
  require(before < 0, "termination signals are taken once");
  setHandler(onSignal);
}

TerminationSignals::~TerminationSignals() {
  setHandler(SIG_DFL);
  handlerDescriptor = -1;
}

int TerminationSignals::take() {
  std::array<char, 64> marks{};
  int count = 0;
  for (ssize_t size = 1; size > 0; count += size > 0 ? static_cast<int>(size) : 0)
    size = ::read(reading_.get(), marks.data(), marks.size());
  return count;
}

}  // namespace tallyfox::linux_os
