#include "base/DeadlineTimers.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tallyfox {
namespace {

/// Longer delays never end within the life of a process; the bound keeps the sum of clock and delay in range.
constexpr double longestDelaySeconds = 100.0 * 365 * 24 * 3600;
/// A repeating timer without a period would starve every other task.
constexpr std::int64_t shortestPeriod = 1'000'000;

std::int64_t nanoseconds(Seconds length) {
  if (!(length.count() > 0)) return 0;
  return static_cast<std::int64_t>(std::min(length.count(), longestDelaySeconds) * 1e9);
}

bool isEndless(Seconds length) {
  return std::isinf(length.count()) && length.count() > 0;
}

}  // namespace

struct DeadlineTimers::Timer {
  Task task;
  std::int64_t period = 0;  ///< 0 for a timer that fires once
  bool isCancelled = false;
  std::int64_t deadline = 0;
};

namespace {

class TimerHandle : public Scheduled {
 public:
  TimerHandle(std::weak_ptr<DeadlineTimers> timers, std::shared_ptr<DeadlineTimers::Timer> timer)
      : timers_(std::move(timers)), timer_(std::move(timer)) {}
  ~TimerHandle() override {
    if (const auto timers = timers_.lock()) timers->cancel(timer_);
  }

 private:
  std::weak_ptr<DeadlineTimers> timers_;
  std::shared_ptr<DeadlineTimers::Timer> timer_;
};

class NeverScheduled : public Scheduled {};

}  // namespace

DeadlineTimers::DeadlineTimers(Alarm& alarm) : alarm_(alarm) {}

DeadlineTimers::~DeadlineTimers() {
  // Dropped tasks may own handles of these timers; these find them gone.
  const Deadlines dropped = std::move(deadlines_);
}

ScheduledHandle DeadlineTimers::after(Seconds delay, Task task) {
  if (isEndless(delay)) return std::make_unique<NeverScheduled>();
  auto timer = std::make_shared<Timer>();
  timer->task = std::move(task);
  return schedule(std::move(timer), delay);
}

ScheduledHandle DeadlineTimers::every(Seconds period, std::function<void()> task) {
  if (isEndless(period)) return std::make_unique<NeverScheduled>();
  auto timer = std::make_shared<Timer>();
  timer->task = std::move(task);
  timer->period = std::max(nanoseconds(period), shortestPeriod);
  return schedule(std::move(timer), period);
}

ScheduledHandle DeadlineTimers::schedule(std::shared_ptr<Timer> timer, Seconds delay) {
  timer->deadline = alarm_.now() + std::max(nanoseconds(delay), timer->period);
  {
    const std::scoped_lock lock(mutex_);
    insert(timer);
  }
  return std::make_unique<TimerHandle>(weak_from_this(), std::move(timer));
}

void DeadlineTimers::insert(const std::shared_ptr<Timer>& timer) {
  const auto position = deadlines_.emplace(timer->deadline, timer);
  if (position == deadlines_.begin()) arm();
}

void DeadlineTimers::cancel(const std::shared_ptr<Timer>& timer) {
  Task dropped;  // destroyed after the lock is released: what it owns may call these timers
  const std::scoped_lock lock(mutex_);
  timer->isCancelled = true;
  const auto [first, last] = deadlines_.equal_range(timer->deadline);
  const auto waiting = std::find_if(first, last, [&](const auto& entry) { return entry.second == timer; });
  if (waiting == last) return;
  dropped = std::move(timer->task);
  deadlines_.erase(waiting);
}

/// Sets the alarm to the earliest deadline; an earlier setting that has become useless only wakes the loop once.
void DeadlineTimers::arm() {
  if (!deadlines_.empty()) alarm_.set(deadlines_.begin()->first);
}

void DeadlineTimers::runDue(const std::function<bool(Task&)>& run) {
  {
    const std::scoped_lock lock(mutex_);
    alarm_.acknowledge();
  }
  const std::int64_t now = alarm_.now();
  bool goesOn = true;
  while (goesOn) {
    const auto timer = takeDue(now);
    if (!timer) break;
    goesOn = run(timer->task);
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

std::shared_ptr<DeadlineTimers::Timer> DeadlineTimers::takeDue(std::int64_t now) {
  const std::scoped_lock lock(mutex_);
  if (deadlines_.empty() || deadlines_.begin()->first > now) return nullptr;
  auto timer = std::move(deadlines_.begin()->second);
  deadlines_.erase(deadlines_.begin());
  // For a task that waits in an event loop of its own.
  arm();
  return timer;
}

}  // namespace tallyfox
