#pragma once

#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "base/Date.hpp"
#include "platform/AXTypes.hpp"

namespace tallyfox {

/// Operations on one element. Each is a message to the element's application and blocks until it answers, at most for
/// the messaging time-out. Callable from any thread; threads do not wait for each other. Source of every value: the
/// application itself, read at the time of the call, or the reading of a surrounding AXReadScope of the same thread.
class AccessibilityElements {
 public:
  virtual ~AccessibilityElements() = default;

  [[nodiscard]] virtual std::expected<AXValue, AXError> copyAttribute(const AXUIElement& element,
                                                                      AXAttribute attribute) = 0;
  /// Never answered from a read scope, and ends what a scope remembers of the element.
  virtual std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute,
                                                    const AXValue& value) = 0;
  [[nodiscard]] virtual std::expected<std::vector<std::string>, AXError> copyActionNames(
      const AXUIElement& element) = 0;
  /// Success means that the application took the action, not that it had an effect.
  virtual std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action) = 0;
  /// Known without a message for every element that came from its application. Fails for the system-wide element.
  [[nodiscard]] virtual std::expected<std::int32_t, AXError> processIdentifier(const AXUIElement& element) = 0;
  /// For an application element: the time-out of all later messages to that application from this thread; for the
  /// system-wide element: of all questions to it. Backends start with 0.2 seconds.
  virtual void setMessagingTimeout(const AXUIElement& element, Seconds timeout) = 0;
};

}  // namespace tallyfox
