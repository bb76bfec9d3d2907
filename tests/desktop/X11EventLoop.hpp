#pragma once

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "desktop/DesktopSession.hpp"
#include "platform/linux/MainEventLoop.hpp"

namespace tallyfox::testing {

/// A real main queue on a thread of its own, for objects that live on the main thread; counts what wakes it.
class X11EventLoop : public linux_os::FileDescriptorWatcher {
 public:
  X11EventLoop() {
    std::promise<linux_os::MainEventLoop*> made;
    auto loop = made.get_future();
    thread_ = std::thread([&made] {
      linux_os::MainEventLoop own;
      made.set_value(&own);
      own.run();
    });
    loop_ = loop.get();
  }
  ~X11EventLoop() override {
    loop_->post([this] { loop_->quit(); });
    thread_.join();
  }

  [[nodiscard]] SerialQueue& queue() { return *loop_; }
  /// Runs `task` on the loop's thread and waits for it.
  void sync(std::function<void()> task) {
    std::promise<void> done;
    loop_->post([&] {
      task();
      done.set_value();
    });
    done.get_future().wait();
  }

  std::unique_ptr<Subscription> watchReadable(int fd, std::function<void()> onReadable) override {
    return loop_->watchReadable(fd, [this, onReadable = std::move(onReadable)] {
      ++wakeUps_;
      onReadable();
    });
  }
  [[nodiscard]] int wakeUps() const { return wakeUps_; }

 private:
  linux_os::MainEventLoop* loop_ = nullptr;
  std::atomic<int> wakeUps_ = 0;
  std::thread thread_;
};

/// What was told on one thread, for another to look at.
template <typename Entry>
class X11Record {
 public:
  void add(Entry entry) {
    const std::scoped_lock lock(mutex_);
    entries_.push_back(std::move(entry));
  }
  [[nodiscard]] std::vector<Entry> entries() const {
    const std::scoped_lock lock(mutex_);
    return entries_;
  }
  void clear() {
    const std::scoped_lock lock(mutex_);
    entries_.clear();
  }
  [[nodiscard]] bool has(const Entry& entry) const {
    for (const Entry& each : entries())
      if (each == entry) return true;
    return false;
  }
  /// Waits until it has the entry.
  [[nodiscard]] bool gets(const Entry& entry) const {
    return DesktopSession::waitUntil([&] { return has(entry); }, Seconds(25));
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Entry> entries_;
};

}  // namespace tallyfox::testing
