#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "model/DialogFrame.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"

namespace tallyfox {

/// How long one message to an application may take: it must not delay the look at all the others.
inline constexpr Seconds messagingTimeout{0.2};

/// The failure-tolerant layer over the accessibility tree: every error, missing attribute or value of another type
/// reads as nothing. Stateless but for the two seams; any thread.
class AXHelpers {
 public:
  AXHelpers(Accessibility& accessibility, AccessibilityElements& elements)
      : accessibility_(accessibility), elements_(elements) {}

  /// Well-formed UTF-8 whatever the application gave.
  [[nodiscard]] std::optional<std::string> stringAttribute(const AXUIElement& element, AXAttribute attribute) const;
  [[nodiscard]] std::optional<bool> boolAttribute(const AXUIElement& element, AXAttribute attribute) const;
  [[nodiscard]] std::optional<AXUIElement> elementAttribute(const AXUIElement& element, AXAttribute attribute) const;
  [[nodiscard]] std::vector<std::string> actionNames(const AXUIElement& element) const;
  [[nodiscard]] std::vector<AXUIElement> children(const AXUIElement& element) const;
  [[nodiscard]] std::vector<AXUIElement> windows(const AXUIElement& application) const;
  /// Of the system-wide element, with a messaging time-out of 0.2 seconds.
  [[nodiscard]] std::optional<AXUIElement> focusedWindow() const;
  [[nodiscard]] std::optional<AXUIElement> focusedElement() const;
  /// The element itself or its closest ancestor that `matches`; the element counts as the first of `limit` steps.
  [[nodiscard]] std::optional<AXUIElement> nearest(const AXUIElement& element, int limit,
                                                   const std::function<bool(const AXUIElement&)>& matches) const;
  /// `nearest` with the role AXWindow or AXSheet.
  [[nodiscard]] std::optional<AXUIElement> nearestWindow(const AXUIElement& element, int limit) const;
  [[nodiscard]] std::optional<AXUIElement> nearestButton(const AXUIElement& element, int limit) const;
  /// Screen points, top-left origin. Absent when position or size cannot be read, is not finite or is beyond any
  /// screen.
  [[nodiscard]] std::optional<DialogFrame> frame(const AXUIElement& element) const;
  /// At most `limit` descendants, depth first, the last child first at every level; never the root.
  [[nodiscard]] std::vector<AXUIElement> deeplyNestedChildren(const AXUIElement& root, int limit) const;
  /// Empty when the role cannot be read.
  [[nodiscard]] std::string role(const AXUIElement& element) const;
  /// Whether the role is AXWindow or AXSheet.
  [[nodiscard]] bool isWindow(const AXUIElement& element) const;
  /// The title; the description when the title is absent or empty; absent when both are.
  [[nodiscard]] std::optional<std::string> label(const AXUIElement& element) const;

  [[nodiscard]] Accessibility& accessibility() const { return accessibility_; }
  [[nodiscard]] AccessibilityElements& elements() const { return elements_; }

 private:
  [[nodiscard]] std::vector<AXUIElement> elementsAttribute(const AXUIElement& element, AXAttribute attribute) const;
  [[nodiscard]] std::optional<AXUIElement> systemWideAttribute(AXAttribute attribute) const;

  Accessibility& accessibility_;
  AccessibilityElements& elements_;
};

}  // namespace tallyfox
