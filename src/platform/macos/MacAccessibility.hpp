#pragma once

#include <memory>

#include "base/Queue.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"

namespace tallyfox::mac_os {

/// Accessibility by the system's own interface. Announced reads take one message an element, for all its attributes
/// together; other reads one each. Every message is bounded by its time-out, 0.2 seconds unless set otherwise.
class MacAccessibility : public Accessibility, public AccessibilityElements {
 public:
  /// `clock` tells who let a time-out pass from who refused at once.
  explicit MacAccessibility(Clock& clock);
  ~MacAccessibility() override;

  bool isProcessTrusted() override;
  AXUIElement applicationElement(std::int32_t processIdentifier) override;
  AXUIElement systemWideElement() override;
  std::expected<AXUIElement, AXError> elementAtPosition(AXPoint point) override;
  std::unique_ptr<AXReadScope> willRead(const AXReadPlan& plan) override;

  std::expected<AXValue, AXError> copyAttribute(const AXUIElement& element, AXAttribute attribute) override;
  std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute,
                                            const AXValue& value) override;
  std::expected<std::vector<std::string>, AXError> copyActionNames(const AXUIElement& element) override;
  std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action) override;
  std::expected<std::int32_t, AXError> processIdentifier(const AXUIElement& element) override;
  void setMessagingTimeout(const AXUIElement& element, Seconds timeout) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
