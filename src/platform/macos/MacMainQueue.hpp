#pragma once

#include <memory>

#include "base/Queue.hpp"

namespace tallyfox::mac_os {

/// The main queue: tasks and timers of the main thread's run loop, in its common modes, so that they run on while a
/// menu tracks the mouse, a modal panel is open, or a task waits in a run loop of its own. Made and destroyed on the
/// main thread; whoever runs the run loop runs the tasks. An exception that leaves a task ends the process.
class MacMainQueue : public SerialQueue {
 public:
  MacMainQueue();
  ~MacMainQueue() override;
  MacMainQueue(const MacMainQueue&) = delete;
  MacMainQueue& operator=(const MacMainQueue&) = delete;

  void post(Task task) override;
  ScheduledHandle after(Seconds delay, Task task) override;
  ScheduledHandle every(Seconds period, std::function<void()> task) override;
  [[nodiscard]] bool isCurrent() const override;

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
