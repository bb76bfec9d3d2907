#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "base/Queue.hpp"

namespace tallyfox::mac_os {

/// Hands what the system reports to a callback, each report as a task of a queue. Destroyed on the queue's thread, it
/// calls no more, also not for what was told before; the callback itself may destroy it.
template <typename... Report>
class QueuedCallback {
 public:
  QueuedCallback(SerialQueue& queue, std::function<void(const Report&...)> callback)
      : queue_(queue), callback_(std::make_shared<const std::function<void(const Report&...)>>(std::move(callback))) {}

  /// Any thread.
  void tell(Report... report) const {
    queue_.post([waiting = std::weak_ptr(callback_), ... reported = std::move(report)] {
      if (const auto callback = waiting.lock()) (*callback)(reported...);
    });
  }

 private:
  SerialQueue& queue_;
  std::shared_ptr<const std::function<void(const Report&...)>> callback_;
};

}  // namespace tallyfox::mac_os
