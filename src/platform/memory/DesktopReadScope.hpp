#pragma once

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <vector>

#include "platform/memory/DesktopAccessibility.hpp"

namespace tallyfox::memory {

/// A reading made once, when the scope was opened: what changes afterwards is not seen through it.
class DesktopAccessibility::Scope : public AXReadScope {
 public:
  /// What reading one root cost.
  struct Cost {
    std::size_t elements = 0;
    std::size_t levels = 0;
  };

  /// `mutex` guards `open` and is held by the caller.
  Scope(std::recursive_mutex& mutex, std::vector<Scope*>& open, bool isOfMainThread)
      : mutex_(mutex), open_(open), isOfMainThread_(isOfMainThread) {
    open_.push_back(this);
  }
  ~Scope() override {
    const std::scoped_lock lock(mutex_);
    std::erase(open_, this);
  }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  [[nodiscard]] bool isOfMainThread() const { return isOfMainThread_; }
  [[nodiscard]] bool isSilent(std::int32_t pid) const { return silent_.contains(pid); }
  /// This application did not answer; it is not asked again.
  void silence(std::int32_t pid) { silent_.insert(pid); }
  void forget(const MemoryElementIdentity& element) { readings_.erase(element); }

  [[nodiscard]] const std::expected<AXValue, AXError>* remembered(const MemoryElementIdentity& element,
                                                                  AXAttribute attribute) const {
    const auto reading = readings_.find(element);
    if (reading == readings_.end()) return nullptr;
    const auto value = reading->second.find(attribute);
    return value == reading->second.end() ? nullptr : &value->second;
  }

  /// The same of an application and its windows; as the windows are asked for side by side, the deepest counts.
  Cost readWindows(const DesktopModel& model, const AXUIElement& application, const AXReadPlan& plan) {
    Cost cost{.elements = 1, .levels = 1};
    remember(model, application, plan.attributes);
    const auto windows = model.read(MemoryElementIdentity::of(application), AXAttribute::windows);
    const auto* elements = windows ? std::get_if<std::vector<AXUIElement>>(&*windows) : nullptr;
    if (elements == nullptr) return cost;
    for (const AXUIElement& window : *elements) {
      const Cost ofWindow = read(model, window, plan);
      cost.elements += ofWindow.elements;
      cost.levels = std::max(cost.levels, ofWindow.levels + 1);
    }
    return cost;
  }

  /// Reads the root and, by the bounded walk, its descendants.
  Cost read(const DesktopModel& model, const AXUIElement& root, const AXReadPlan& plan) {
    struct Step {
      AXUIElement element;
      std::size_t level;
    };
    Cost cost;
    std::vector<Step> stack{{root, 1}};
    for (int remaining = std::max(plan.descendantLimit, 0) + 1; !stack.empty() && remaining > 0; --remaining) {
      const Step step = stack.back();
      stack.pop_back();
      cost.elements += 1;
      cost.levels = std::max(cost.levels, step.level);
      remember(model, step.element, plan.attributes);
      if (plan.descendantLimit <= 0) break;
      const auto children = model.read(MemoryElementIdentity::of(step.element), AXAttribute::children);
      const auto* elements = children ? std::get_if<std::vector<AXUIElement>>(&*children) : nullptr;
      if (elements == nullptr) continue;
      for (const AXUIElement& child : *elements)
        stack.push_back({child, step.level + 1});
    }
    return cost;
  }

 private:
  using Reading = std::map<AXAttribute, std::expected<AXValue, AXError>>;

  void remember(const DesktopModel& model, const AXUIElement& element, const std::vector<AXAttribute>& attributes) {
    const MemoryElementIdentity& identity = MemoryElementIdentity::of(element);
    Reading& reading = readings_[identity];
    for (const AXAttribute attribute : attributes)
      reading.insert_or_assign(attribute, model.read(identity, attribute));
  }

  std::recursive_mutex& mutex_;
  std::vector<Scope*>& open_;
  const bool isOfMainThread_;
  std::map<MemoryElementIdentity, Reading> readings_;
  std::set<std::int32_t> silent_;
};

}  // namespace tallyfox::memory
