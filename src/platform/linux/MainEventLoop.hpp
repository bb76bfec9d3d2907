#pragma once

#include <memory>
#include <thread>

#include "platform/linux/MainLoop.hpp"

namespace tallyfox::linux_os {

class TaskLoop;

/// The main queue of a program without windows.
class MainEventLoop : public MainLoop {
 public:
  MainEventLoop();
  ~MainEventLoop() override;
  MainEventLoop(const MainEventLoop&) = delete;
  MainEventLoop& operator=(const MainEventLoop&) = delete;

  void run() override;
  void quit() override;
  [[nodiscard]] std::unique_ptr<Subscription> watchTerminationSignals(std::function<void()> onTerminate) override;

  void post(Task task) override;
  ScheduledHandle after(Seconds delay, Task task) override;
  ScheduledHandle every(Seconds period, std::function<void()> task) override;
  bool isCurrent() const override;
  std::unique_ptr<Subscription> watchReadable(int fd, std::function<void()> onReadable) override;

 private:
  std::shared_ptr<TaskLoop> loop_;
  std::thread::id thread_ = std::this_thread::get_id();
};

}  // namespace tallyfox::linux_os
