#pragma once

#include <memory>
#include <string>
#include <thread>

#include "base/Queue.hpp"

namespace tallyfox::linux_os {

class TaskLoop;

/// A serial queue with a thread of its own. Its destructor waits for the task that is running, unless that very task
/// destroys the queue.
class ThreadQueue : public SerialQueue {
 public:
  /// `label` also names the thread (its first 15 bytes).
  explicit ThreadQueue(const std::string& label);
  ~ThreadQueue() override;
  ThreadQueue(const ThreadQueue&) = delete;
  ThreadQueue& operator=(const ThreadQueue&) = delete;

  void post(Task task) override;
  ScheduledHandle after(Seconds delay, Task task) override;
  ScheduledHandle every(Seconds period, std::function<void()> task) override;
  bool isCurrent() const override;

 private:
  std::shared_ptr<TaskLoop> loop_;
  std::thread thread_;
};

}  // namespace tallyfox::linux_os
