#pragma once

#include <memory>
#include <string>

#include "base/Queue.hpp"

namespace tallyfox::mac_os {

/// A serial dispatch queue for work that nobody waits for at the screen. Its destructor waits for the task that is
/// running, unless that very task destroys the queue. An exception that leaves a task ends the process.
class MacSerialQueue : public SerialQueue {
 public:
  /// `label` names the queue in crash reports and debuggers.
  explicit MacSerialQueue(std::string label);
  ~MacSerialQueue() override;
  MacSerialQueue(const MacSerialQueue&) = delete;
  MacSerialQueue& operator=(const MacSerialQueue&) = delete;

  void post(Task task) override;
  ScheduledHandle after(Seconds delay, Task task) override;
  ScheduledHandle every(Seconds period, std::function<void()> task) override;
  [[nodiscard]] bool isCurrent() const override;

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
