#pragma once

#include <QObject>
#include <atomic>
#include <memory>
#include <thread>

#include "base/Queue.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/linux/DeadlineTimers.hpp"
#include "platform/linux/FileDescriptorWatcher.hpp"

namespace tallyfox::linux_os {

/// The main queue of a program with windows, in Qt's event loop: menus and dialogs that are open do not stop it. Bound
/// to the thread that constructs it, which has the application object and also runs it. An exception that leaves a task
/// ends the process.
class QtMainLoop : public SerialQueue, public FileDescriptorWatcher {
 public:
  QtMainLoop();
  ~QtMainLoop() override;
  QtMainLoop(const QtMainLoop&) = delete;
  QtMainLoop& operator=(const QtMainLoop&) = delete;

  /// Runs tasks until quit(), or until the desktop ends the application. Once.
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
  class Receiver;

  bool runTask(Task& task);

  std::atomic<bool> isStopped_ = false;
  std::unique_ptr<Receiver> receiver_;
  std::shared_ptr<DeadlineTimers> timers_ = std::make_shared<DeadlineTimers>();
  std::unique_ptr<Subscription> dueTimers_;
  std::thread::id thread_ = std::this_thread::get_id();
};

}  // namespace tallyfox::linux_os
