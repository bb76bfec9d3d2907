#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "base/Queue.hpp"

namespace tallyfox {

/// The tasks that wait for the thread of a serial queue, first in, first out. Any thread. No task is called or
/// destroyed under its lock.
class PendingTasks {
 public:
  /// True when the task is the only one that waits: the thread is then to be told. Dropped once closed.
  bool push(Task task) {
    const std::scoped_lock lock(mutex_);
    if (isClosed_) return false;
    tasks_.push_back(std::move(task));
    return tasks_.size() == 1;
  }

  /// The first task, which waits no longer; absent when none waits.
  [[nodiscard]] std::optional<Task> take() {
    const std::scoped_lock lock(mutex_);
    if (tasks_.empty()) return std::nullopt;
    std::optional<Task> first(std::move(tasks_.front()));
    tasks_.pop_front();
    return first;
  }

  [[nodiscard]] bool isEmpty() const {
    const std::scoped_lock lock(mutex_);
    return tasks_.empty();
  }

  /// Drops the tasks that wait, and each one that comes later.
  void close() {
    std::deque<Task> dropped;
    const std::scoped_lock lock(mutex_);
    isClosed_ = true;
    dropped.swap(tasks_);
  }

  [[nodiscard]] bool isClosed() const {
    const std::scoped_lock lock(mutex_);
    return isClosed_;
  }

 private:
  mutable std::mutex mutex_;
  std::deque<Task> tasks_;
  bool isClosed_ = false;
};

}  // namespace tallyfox
