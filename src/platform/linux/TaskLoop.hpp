#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <memory>
#include <string>

#include "base/DeadlineTimers.hpp"
#include "base/Queue.hpp"
#include "platform/linux/TimerDescriptor.hpp"

namespace tallyfox::linux_os {

/// What every thread queue consists of, and the main queue of a program without windows: tasks and timers in one
/// io_context, run by one thread. All calls but run() may come from any thread. An exception that leaves a task ends
/// the process.
class TaskLoop {
 public:
  explicit TaskLoop(std::string label);
  TaskLoop(const TaskLoop&) = delete;
  TaskLoop& operator=(const TaskLoop&) = delete;

  /// Runs tasks on the calling thread until stop().
  void run();
  /// Lets run() return after the present task.
  void stop();

  void post(Task task);
  [[nodiscard]] ScheduledHandle after(Seconds delay, Task task) { return timers_->after(delay, std::move(task)); }
  [[nodiscard]] ScheduledHandle every(Seconds period, std::function<void()> task) {
    return timers_->every(period, std::move(task));
  }

  /// Calls `task` under the rule for exceptions.
  void runTask(Task& task) const;
  /// For descriptors and signals that belong to this loop; their handlers run in run().
  [[nodiscard]] boost::asio::io_context& context() { return context_; }

 private:
  void awaitTimers();

  std::string label_;
  boost::asio::io_context context_{1};
  TimerDescriptor alarm_;
  boost::asio::posix::stream_descriptor rings_;
  std::shared_ptr<DeadlineTimers> timers_ = std::make_shared<DeadlineTimers>(alarm_);
};

}  // namespace tallyfox::linux_os
