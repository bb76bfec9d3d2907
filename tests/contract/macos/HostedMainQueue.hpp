#pragma once

#include <functional>
#include <future>
#include <memory>
#include <utility>

#include "base/Queue.hpp"
#include "contract/macos/MainThread.hpp"
#include "platform/macos/MacMainQueue.hpp"

namespace tallyfox::contract {

/// A main queue for tests on another thread: made and destroyed on the main thread.
class HostedMainQueue : public SerialQueue {
 public:
  HostedMainQueue() {
    onMainThread([this] { queue_ = std::make_unique<mac_os::MacMainQueue>(); });
  }
  ~HostedMainQueue() override {
    onMainThread([this] { queue_.reset(); });
  }
  HostedMainQueue(const HostedMainQueue&) = delete;
  HostedMainQueue& operator=(const HostedMainQueue&) = delete;

  void post(Task task) override { queue_->post(std::move(task)); }
  ScheduledHandle after(Seconds delay, Task task) override { return queue_->after(delay, std::move(task)); }
  ScheduledHandle every(Seconds period, std::function<void()> task) override {
    return queue_->every(period, std::move(task));
  }
  [[nodiscard]] bool isCurrent() const override { return queue_->isCurrent(); }

  /// Runs the work as a task of the queue; returns when it is done.
  void sync(const std::function<void()>& work) {
    std::promise<void> done;
    queue_->post([&] {
      work();
      done.set_value();
    });
    done.get_future().wait();
  }

 private:
  std::unique_ptr<mac_os::MacMainQueue> queue_;
};

}  // namespace tallyfox::contract
