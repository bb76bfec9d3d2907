// Shows that queues with threads, the main loop and the real clocks keep to what queues and clocks promise.

#include <future>
#include <thread>

#include "contract/SerialQueueContract.hpp"
#include "platform/LoopbackServers.hpp"
#include "platform/linux/LinuxClock.hpp"
#include "platform/linux/MainEventLoop.hpp"
#include "platform/linux/ThreadQueue.hpp"

namespace tallyfox::contract {
namespace {

class ThreadQueueBackend {
 public:
  std::shared_ptr<SerialQueue> makeQueue() { return std::make_shared<linux_os::ThreadQueue>("contract"); }
  Clock& clock() { return clock_; }
  bool waitUntil(const std::function<bool()>& condition) { return testing_network::waitUntil(condition); }
  void pass(Seconds duration) { clock_.sleep(duration); }

 private:
  linux_os::LinuxClock clock_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, SerialQueueContract, ThreadQueueBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, ClockContract, ThreadQueueBackend);

/// A main loop whose main thread is one of the test's making.
class HostedMainLoop : public SerialQueue {
 public:
  HostedMainLoop() {
    std::promise<linux_os::MainEventLoop*> made;
    auto loop = made.get_future();
    thread_ = std::thread([&made, this] {
      linux_os::MainEventLoop mainLoop;
      made.set_value(&mainLoop);
      mainLoop.run();
      finished_.get_future().wait();
    });
    loop_ = loop.get();
  }
  ~HostedMainLoop() override {
    loop_->quit();
    finished_.set_value();
    thread_.join();
  }
  void post(Task task) override { loop_->post(std::move(task)); }
  ScheduledHandle after(Seconds delay, Task task) override { return loop_->after(delay, std::move(task)); }
  ScheduledHandle every(Seconds period, std::function<void()> task) override {
    return loop_->every(period, std::move(task));
  }
  bool isCurrent() const override { return loop_->isCurrent(); }

 private:
  std::promise<void> finished_;
  std::thread thread_;
  linux_os::MainEventLoop* loop_ = nullptr;
};

class MainLoopBackend : public ThreadQueueBackend {
 public:
  std::shared_ptr<SerialQueue> makeQueue() { return std::make_shared<HostedMainLoop>(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(LinuxMain, SerialQueueContract, MainLoopBackend);

}  // namespace
}  // namespace tallyfox::contract
