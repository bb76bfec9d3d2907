#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "base/Alarm.hpp"
#include "base/Queue.hpp"

namespace tallyfox {

/// The timers of one queue, which go on through sleep and fall due at once after it. They share one alarm; when it
/// wakes the queue's event loop, the queue calls runDue(). All other calls may come from any thread.
class DeadlineTimers : public std::enable_shared_from_this<DeadlineTimers> {
 public:
  /// A timer that waits, or whose task runs now.
  struct Timer;

  /// `alarm` outlives the timers.
  explicit DeadlineTimers(Alarm& alarm);
  /// Timers that wait are dropped; their handles then do nothing.
  ~DeadlineTimers();
  DeadlineTimers(const DeadlineTimers&) = delete;
  DeadlineTimers& operator=(const DeadlineTimers&) = delete;

  [[nodiscard]] ScheduledHandle after(Seconds delay, Task task);
  [[nodiscard]] ScheduledHandle every(Seconds period, std::function<void()> task);
  void cancel(const std::shared_ptr<Timer>& timer);

  /// Gives every task that is due to `run`, one after the other, until that returns false: the queue has stopped.
  void runDue(const std::function<bool(Task&)>& run);

 private:
  using Deadlines = std::multimap<std::int64_t, std::shared_ptr<Timer>>;

  [[nodiscard]] ScheduledHandle schedule(std::shared_ptr<Timer> timer, Seconds delay);
  void insert(const std::shared_ptr<Timer>& timer);
  void arm();
  [[nodiscard]] std::shared_ptr<Timer> takeDue(std::int64_t now);

  Alarm& alarm_;
  std::mutex mutex_;     ///< guards deadlines_, the state of every timer, and what is written to alarm_
  Deadlines deadlines_;  ///< by the alarm's clock
};

}  // namespace tallyfox
