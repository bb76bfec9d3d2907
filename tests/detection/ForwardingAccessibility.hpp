#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"

namespace tallyfox {

/// Another backend's accessibility with a few things bent by the test.
class ForwardingAccessibility : public Accessibility, public AccessibilityElements {
 public:
  ForwardingAccessibility(Accessibility& accessibility, AccessibilityElements& elements)
      : accessibility_(accessibility), elements_(elements) {}

  bool isProcessTrusted() override { return accessibility_.isProcessTrusted(); }
  AXUIElement applicationElement(std::int32_t processIdentifier) override {
    return accessibility_.applicationElement(processIdentifier);
  }
  AXUIElement systemWideElement() override { return accessibility_.systemWideElement(); }
  std::expected<AXUIElement, AXError> elementAtPosition(AXPoint point) override {
    if (onHitTest) onHitTest();
    return accessibility_.elementAtPosition(point);
  }
  std::unique_ptr<AXReadScope> willRead(const AXReadPlan& plan) override {
    plans.push_back(plan);
    if (ignoresPlans) return nullptr;
    return accessibility_.willRead(plan);
  }

  std::expected<AXValue, AXError> copyAttribute(const AXUIElement& element, AXAttribute attribute) override {
    if (onRead) onRead(element, attribute);
    return elements_.copyAttribute(element, attribute);
  }
  std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute,
                                            const AXValue& value) override {
    if (refusesFocus && attribute != AXAttribute::minimized) return std::unexpected(AXError::unsupported);
    return elements_.setAttribute(element, attribute, value);
  }
  std::expected<std::vector<std::string>, AXError> copyActionNames(const AXUIElement& element) override {
    return elements_.copyActionNames(element);
  }
  std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action) override {
    if (onAction) onAction(element, action);
    return elements_.performAction(element, action);
  }
  std::expected<std::int32_t, AXError> processIdentifier(const AXUIElement& element) override {
    if (!knowsProcesses || strangers.contains(element.hash())) return std::unexpected(AXError::invalidElement);
    return elements_.processIdentifier(element);
  }
  void setMessagingTimeout(const AXUIElement& element, Seconds timeout) override {
    timeouts.emplace_back(element, timeout);
    elements_.setMessagingTimeout(element, timeout);
  }

  bool ignoresPlans = false;
  bool refusesFocus = false;
  bool knowsProcesses = true;
  std::set<std::size_t> strangers;  ///< hashes of elements whose process is unknown
  std::vector<AXReadPlan> plans;
  std::vector<std::pair<AXUIElement, Seconds>> timeouts;
  std::function<void()> onHitTest;
  std::function<void(const AXUIElement&, AXAttribute)> onRead;
  std::function<void(const AXUIElement&, std::string_view)> onAction;

 private:
  Accessibility& accessibility_;
  AccessibilityElements& elements_;
};

}  // namespace tallyfox
