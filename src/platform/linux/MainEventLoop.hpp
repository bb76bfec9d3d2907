#pragma once

#include <memory>
#include <thread>

#include "base/Queue.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"

namespace tallyfox::linux_os {

class TaskLoop;

/// The main queue: bound to the thread that constructs it, which also runs it.
class MainEventLoop : public SerialQueue, public FileDescriptorWatcher {
 public:
  MainEventLoop();
  ~MainEventLoop() override;
  MainEventLoop(const MainEventLoop&) = delete;
  MainEventLoop& operator=(const MainEventLoop&) = delete;

  /// Runs tasks until quit(). Once.
  void run();
  /// Lets run() return after the present task. Any thread.
  void quit();

  void post(Task task) override;
  ScheduledHandle after(Seconds delay, Task task) override;
  ScheduledHandle every(Seconds period, std::function<void()> task) override;
  bool isCurrent() const override;

  std::unique_ptr<Subscription> watchReadable(int fd, std::function<void()> onReadable) override;
  /// Calls `onTerminate` as a task for each SIGINT and SIGTERM, instead of the signal's own effect.
  [[nodiscard]] std::unique_ptr<Subscription> watchTerminationSignals(std::function<void()> onTerminate);

 private:
  std::shared_ptr<TaskLoop> loop_;
  std::thread::id thread_ = std::this_thread::get_id();
};

}  // namespace tallyfox::linux_os
