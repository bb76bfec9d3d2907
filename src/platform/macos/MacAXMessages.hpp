#pragma once

#include "platform/macos/AXMessages.hpp"

namespace tallyfox::mac_os {

/// Messages by the system's accessibility functions.
///
/// Our own process is answered by its own toolkit, which belongs to the main thread: from other threads nothing of it
/// can be read.
class MacAXMessages : public AXMessages {
 public:
  Answer copyAttribute(const AXUIElement& element, AXAttribute attribute, Seconds timeout) override;
  std::expected<std::vector<Answer>, AXError> copyAttributes(const AXUIElement& element,
                                                             const std::vector<AXAttribute>& attributes,
                                                             Seconds timeout) override;
  std::expected<void, AXError> setAttribute(const AXUIElement& element, AXAttribute attribute, const AXValue& value,
                                            Seconds timeout) override;
  std::expected<std::vector<std::string>, AXError> copyActionNames(const AXUIElement& element,
                                                                   Seconds timeout) override;
  std::expected<void, AXError> performAction(const AXUIElement& element, std::string_view action,
                                             Seconds timeout) override;
  AXAddressee addressee(const AXUIElement& element) override;

  /// Of the topmost window there.
  [[nodiscard]] std::expected<AXUIElement, AXError> copyElementAtPosition(AXPoint point, Seconds timeout);
};

}  // namespace tallyfox::mac_os
