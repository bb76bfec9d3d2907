#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/Queue.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/Applications.hpp"

namespace tallyfox::memory {

/// Those who listen for one kind of event. Each hears it in a task of its own on the queue, unless it has left by then.
template <typename Event>
class Listeners {
 public:
  using Listener = std::function<void(const Event&)>;
  using Filter = std::function<bool(const Event&)>;

  [[nodiscard]] std::unique_ptr<Subscription> add(Filter wants, Listener listener) {
    auto entry = std::make_shared<const Entry>(std::move(wants), std::move(listener));
    std::erase_if(entries_, [](const auto& old) { return old.expired(); });
    entries_.push_back(entry);
    return std::make_unique<Membership>(std::move(entry));
  }

  void post(SerialQueue& queue, const Event& event) const {
    for (const std::weak_ptr<const Entry>& listening : entries_) {
      const auto entry = listening.lock();
      if (!entry || !entry->wants(event)) continue;
      queue.post([listening, event] {
        if (const auto still = listening.lock()) still->listener(event);
      });
    }
  }

 private:
  struct Entry {
    Entry(Filter filter, Listener callback) : wants(std::move(filter)), listener(std::move(callback)) {}
    Filter wants;
    Listener listener;
  };
  class Membership : public Subscription {
   public:
    explicit Membership(std::shared_ptr<const Entry> entry) : entry_(std::move(entry)) {}

   private:
    std::shared_ptr<const Entry> entry_;
  };

  std::vector<std::weak_ptr<const Entry>> entries_;
};

/// What the desktop tells without being asked.
class DesktopEvents {
 public:
  struct Notification {
    std::int32_t processIdentifier = 0;
    std::string name;
  };
  struct TrustChange {};

  explicit DesktopEvents(SerialQueue& mainQueue) : mainQueue_(mainQueue) {}

  void post(std::int32_t processIdentifier, const std::string& notification) const {
    notifications.post(mainQueue_, {processIdentifier, notification});
  }
  void post(const WorkspaceEvent& event) const { workspace.post(mainQueue_, event); }
  void postTrustChange() const { trust.post(mainQueue_, {}); }

  Listeners<Notification> notifications;
  Listeners<WorkspaceEvent> workspace;
  Listeners<TrustChange> trust;

 private:
  SerialQueue& mainQueue_;
};

}  // namespace tallyfox::memory
