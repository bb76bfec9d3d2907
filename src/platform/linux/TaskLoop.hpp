#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "base/Queue.hpp"

namespace tallyfox::linux_os {

/// What the main queue and every thread queue consist of: tasks and timers in one io_context, run by one thread. Timers
/// share one timerfd on CLOCK_BOOTTIME, so that they go on through sleep and fall due at once after it. All calls but
/// run() may come from any thread. An exception that leaves a task ends the process.
class TaskLoop : public std::enable_shared_from_this<TaskLoop> {
 public:
  /// A timer that waits, or whose task runs now.
  struct Timer;

  explicit TaskLoop(std::string label);
  ~TaskLoop();
  TaskLoop(const TaskLoop&) = delete;
  TaskLoop& operator=(const TaskLoop&) = delete;

  /// Runs tasks on the calling thread until stop().
  void run();
  /// Lets run() return after the present task.
  void stop();

  void post(Task task);
  [[nodiscard]] ScheduledHandle after(Seconds delay, Task task);
  [[nodiscard]] ScheduledHandle every(Seconds period, std::function<void()> task);
  void cancel(const std::shared_ptr<Timer>& timer);

  /// Calls `task` under the rule for exceptions.
  void runTask(Task& task) const;
  /// For descriptors and signals that belong to this loop; their handlers run in run().
  [[nodiscard]] boost::asio::io_context& context() { return context_; }

 private:
  using Deadlines = std::multimap<std::int64_t, std::shared_ptr<Timer>>;

  ScheduledHandle schedule(std::shared_ptr<Timer> timer, Seconds delay);
  void insert(const std::shared_ptr<Timer>& timer);
  void arm();
  void awaitTimers();
  void runDueTimers();
  [[nodiscard]] std::shared_ptr<Timer> takeDue(std::int64_t now);

  std::string label_;
  boost::asio::io_context context_{1};
  boost::asio::posix::stream_descriptor timerDescriptor_;
  std::mutex mutex_;     ///< guards deadlines_ and the state of every timer
  Deadlines deadlines_;  ///< nanoseconds on CLOCK_BOOTTIME
};

}  // namespace tallyfox::linux_os
