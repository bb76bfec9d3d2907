#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "base/Queue.hpp"
#include "platform/linux/FileDescriptor.hpp"

namespace tallyfox::linux_os {

/// The timers of one queue, on CLOCK_BOOTTIME, so that they go on through sleep and fall due at once after it. They
/// share one descriptor, which the queue's event loop watches; when it is readable the queue calls runDue(). All other
/// calls may come from any thread.
class DeadlineTimers : public std::enable_shared_from_this<DeadlineTimers> {
 public:
  /// A timer that waits, or whose task runs now.
  struct Timer;

  DeadlineTimers();
  /// Timers that wait are dropped; their handles then do nothing.
  ~DeadlineTimers();
  DeadlineTimers(const DeadlineTimers&) = delete;
  DeadlineTimers& operator=(const DeadlineTimers&) = delete;

  [[nodiscard]] int descriptor() const { return descriptor_.get(); }
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

  FileDescriptor descriptor_;
  std::mutex mutex_;     ///< guards deadlines_ and the state of every timer
  Deadlines deadlines_;  ///< nanoseconds on CLOCK_BOOTTIME
};

}  // namespace tallyfox::linux_os
