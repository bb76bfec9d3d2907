#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/AccessibilityObservers.hpp"

namespace tallyfox::linux_os {

/// Who is told of changes of one kind, in the order of subscription. A receiver may end any subscription, also its own,
/// and is not called any more from then on. One thread's own.
template <typename Change>
class SubscriberList {
 public:
  /// The subscription may outlive the list.
  [[nodiscard]] std::unique_ptr<Subscription> add(std::function<void(const Change&)> onChange) {
    struct Holder : Subscription {
      explicit Holder(std::shared_ptr<Subscriber> held) : subscriber(std::move(held)) {}
      std::shared_ptr<Subscriber> subscriber;
    };
    auto subscriber = std::make_shared<Subscriber>(Subscriber{std::move(onChange)});
    std::erase_if(subscribers_, [](const auto& entry) { return entry.expired(); });
    subscribers_.push_back(subscriber);
    return std::make_unique<Holder>(std::move(subscriber));
  }

  void tell(const Change& change) const {
    const auto present = subscribers_;
    for (const auto& entry : present)
      if (const auto subscriber = entry.lock()) subscriber->onChange(change);
  }

 private:
  /// Kept by its subscription alone, so that the end of this silences it.
  struct Subscriber {
    std::function<void(const Change&)> onChange;
  };
  std::vector<std::weak_ptr<Subscriber>> subscribers_;
};

}  // namespace tallyfox::linux_os
