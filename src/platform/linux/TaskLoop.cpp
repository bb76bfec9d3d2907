#include "platform/linux/TaskLoop.hpp"

#include <fmt/format.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <boost/asio/post.hpp>
#include <cmath>
#include <ctime>
#include <exception>

#include "base/Require.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
/// Longer delays never end within the life of a process; the bound keeps the sum of clock and delay in range.
constexpr double longestDelaySeconds = 100.0 * 365 * 24 * 3600;
/// A repeating timer without a period would starve every other task.
constexpr std::int64_t shortestPeriod = 1'000'000;

std::int64_t bootTime() {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

std::int64_t nanoseconds(Seconds length) {
  if (!(length.count() > 0)) return 0;
  return static_cast<std::int64_t>(std::min(length.count(), longestDelaySeconds) * 1e9);
}

int openTimer() {
  const int fd = ::timerfd_create(CLOCK_BOOTTIME, TFD_NONBLOCK | TFD_CLOEXEC);
  require(fd >= 0, "a timer descriptor can be opened");
  return fd;
}

}  // namespace

struct TaskLoop::Timer {
  Task task;
  std::int64_t period = 0;  ///< 0 for a timer that fires once
  bool isCancelled = false;
  std::int64_t deadline = 0;
};

namespace {

class TimerHandle : public Scheduled {
 public:
  TimerHandle(std::weak_ptr<TaskLoop> loop, std::shared_ptr<TaskLoop::Timer> timer)
      : loop_(std::move(loop)), timer_(std::move(timer)) {}
  ~TimerHandle() override {
    if (const auto loop = loop_.lock()) loop->cancel(timer_);
  }

 private:
  std::weak_ptr<TaskLoop> loop_;
  std::shared_ptr<TaskLoop::Timer> timer_;
};

class NeverScheduled : public Scheduled {};

}  // namespace

TaskLoop::TaskLoop(std::string label) : label_(std::move(label)), timerDescriptor_(context_, openTimer()) {
  awaitTimers();
}

TaskLoop::~TaskLoop() {
  // Dropped tasks may own handles of this loop; these find it gone.
  const Deadlines dropped = std::move(deadlines_);
}

void TaskLoop::run() {
  context_.run();
}

void TaskLoop::stop() {
  context_.stop();
}

void TaskLoop::runTask(Task& task) const {
  try {
    task();
  } catch (const std::exception&) {
    // The exception's own text may quote what a task worked on, so it stays out of the line.
    invariantBroken(fmt::format("no exception leaves a task of the queue {}", label_), std::source_location::current());
  }
}

void TaskLoop::post(Task task) {
  boost::asio::post(context_, [this, task = std::move(task)]() mutable { runTask(task); });
}

ScheduledHandle TaskLoop::after(Seconds delay, Task task) {
  if (std::isinf(delay.count()) && delay.count() > 0) return std::make_unique<NeverScheduled>();
  auto timer = std::make_shared<Timer>();
  timer->task = std::move(task);
  return schedule(std::move(timer), delay);
}

ScheduledHandle TaskLoop::every(Seconds period, std::function<void()> task) {
  if (std::isinf(period.count()) && period.count() > 0) return std::make_unique<NeverScheduled>();
  auto timer = std::make_shared<Timer>();
  timer->task = std::move(task);
  timer->period = std::max(nanoseconds(period), shortestPeriod);
  return schedule(std::move(timer), period);
}

ScheduledHandle TaskLoop::schedule(std::shared_ptr<Timer> timer, Seconds delay) {
  timer->deadline = bootTime() + std::max(nanoseconds(delay), timer->period);
  {
    const std::scoped_lock lock(mutex_);
    insert(timer);
  }
  return std::make_unique<TimerHandle>(weak_from_this(), std::move(timer));
}

void TaskLoop::insert(const std::shared_ptr<Timer>& timer) {
  const auto position = deadlines_.emplace(timer->deadline, timer);
  if (position == deadlines_.begin()) arm();
}

void TaskLoop::cancel(const std::shared_ptr<Timer>& timer) {
  Task dropped;  // destroyed after the lock is released: what it owns may call this loop
  const std::scoped_lock lock(mutex_);
  timer->isCancelled = true;
  const auto [first, last] = deadlines_.equal_range(timer->deadline);
  const auto waiting = std::find_if(first, last, [&](const auto& entry) { return entry.second == timer; });
  if (waiting == last) return;
  dropped = std::move(timer->task);
  deadlines_.erase(waiting);
}

/// Sets the descriptor to the earliest deadline; an earlier setting that has become useless only wakes the loop once.
void TaskLoop::arm() {
  if (deadlines_.empty()) return;
  const std::int64_t first = std::max<std::int64_t>(deadlines_.begin()->first, 1);
  itimerspec setting{};
  setting.it_value.tv_sec = first / nanosecondsPerSecond;
  setting.it_value.tv_nsec = first % nanosecondsPerSecond;
  ::timerfd_settime(timerDescriptor_.native_handle(), TFD_TIMER_ABSTIME, &setting, nullptr);
}

void TaskLoop::awaitTimers() {
  timerDescriptor_.async_wait(
      boost::asio::posix::descriptor_base::wait_read, [this](const boost::system::error_code& error) {
        if (error) return;
        std::uint64_t expirations = 0;
        // Read empty only to be told of the next expiration; how many there were means nothing.
        [[maybe_unused]] const auto count = ::read(timerDescriptor_.native_handle(), &expirations, sizeof expirations);
        runDueTimers();
        awaitTimers();
      });
}

void TaskLoop::runDueTimers() {
  const std::int64_t now = bootTime();
  while (!context_.stopped()) {
    const auto timer = takeDue(now);
    if (!timer) break;
    runTask(timer->task);
    if (timer->period == 0) continue;
    const std::scoped_lock lock(mutex_);
    if (timer->isCancelled) continue;
    // Periods that were missed while the machine slept are not made up for.
    timer->deadline = std::max(timer->deadline + timer->period, now + 1);
    insert(timer);
  }
  const std::scoped_lock lock(mutex_);
  arm();
}

std::shared_ptr<TaskLoop::Timer> TaskLoop::takeDue(std::int64_t now) {
  const std::scoped_lock lock(mutex_);
  if (deadlines_.empty() || deadlines_.begin()->first > now) return nullptr;
  auto timer = std::move(deadlines_.begin()->second);
  deadlines_.erase(deadlines_.begin());
  return timer;
}

}  // namespace tallyfox::linux_os
