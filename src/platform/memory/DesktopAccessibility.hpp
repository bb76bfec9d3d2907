#pragma once

#include <map>
#include <set>
#include <utility>
#include <vector>

#include "base/Queue.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"
#include "platform/memory/DesktopModel.hpp"

namespace tallyfox::memory {

/// The accessibility seam over the model: trust, messages and what they cost, and read scopes.
///
/// Time-outs and scopes of the main queue do not count for the other queues, nor theirs for it: they stand for two
/// threads, whether or not they are.
class DesktopAccessibility : public Accessibility, public AccessibilityElements {
 public:
  DesktopAccessibility(DesktopModel& model, Clock& clock, SerialQueue& mainQueue)
      : model_(model), clock_(clock), mainQueue_(mainQueue) {}

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

  MemoryDesktop::Traffic traffic;

 private:
  class Scope;

  /// One message to an application in a round of its own: what it costs, and whether it is answered.
  Outcome message(const MemoryElementIdentity& element);
  /// Whether the application answers at all; waits for the time-out when it does not.
  Outcome reach(const MemoryElementIdentity& element);
  /// Waits as long as the caller is prepared to.
  std::unexpected<AXError> timeOut(const MemoryElementIdentity& element);
  void forget(const MemoryElementIdentity& element);
  [[nodiscard]] std::int32_t processBehind(const MemoryElementIdentity& element) const;
  [[nodiscard]] std::vector<Scope*> scopesOfThisThread() const;

  DesktopModel& model_;
  Clock& clock_;
  SerialQueue& mainQueue_;
  std::vector<Scope*> scopes_;                                 ///< open ones, outermost first
  std::map<std::pair<bool, std::int32_t>, Seconds> timeouts_;  ///< by thread and process; process 0: system-wide
};

}  // namespace tallyfox::memory
