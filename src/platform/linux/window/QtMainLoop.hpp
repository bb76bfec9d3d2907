#pragma once

#include <QObject>
#include <atomic>
#include <memory>
#include <thread>

#include "base/DeadlineTimers.hpp"
#include "platform/linux/MainLoop.hpp"
#include "platform/linux/TimerDescriptor.hpp"

namespace tallyfox::linux_os {

/// The main queue of a program with windows, in Qt's event loop: menus and dialogs that are open do not stop it. Its
/// thread has the application object. The desktop may end the application, and so the loop.
class QtMainLoop : public MainLoop {
 public:
  QtMainLoop();
  ~QtMainLoop() override;
  QtMainLoop(const QtMainLoop&) = delete;
  QtMainLoop& operator=(const QtMainLoop&) = delete;

  void run() override;
  void quit() override;
  [[nodiscard]] std::unique_ptr<Subscription> watchTerminationSignals(std::function<void()> onTerminate) override;

  void post(Task task) override;
  ScheduledHandle after(Seconds delay, Task task) override;
  ScheduledHandle every(Seconds period, std::function<void()> task) override;
  bool isCurrent() const override;
  std::unique_ptr<Subscription> watchReadable(int fd, std::function<void()> onReadable) override;

 private:
  class Receiver;

  bool runTask(Task& task);

  std::atomic<bool> isStopped_ = false;
  std::unique_ptr<Receiver> receiver_;
  TimerDescriptor alarm_;
  std::shared_ptr<DeadlineTimers> timers_ = std::make_shared<DeadlineTimers>(alarm_);
  std::unique_ptr<Subscription> dueTimers_;
  std::thread::id thread_ = std::this_thread::get_id();
};

}  // namespace tallyfox::linux_os
